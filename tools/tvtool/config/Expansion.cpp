#include "tvtool/config/Expansion.h"

#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"

#include <algorithm>
#include <unordered_set>

namespace tvtool {

namespace {

// How many characters the repeated passes may look at, some seconds' worth.
constexpr std::size_t cMaxWork = 4'000'000'000;

bool isBlank(char16_t c) {
    return c == u' ' || c == u'\t' || c == u'\r';
}

}  // namespace

void Advance(Place& place, std::u16string_view passed) {
    for (const char16_t c : passed) {
        if (c == u'\n') {
            ++place.line;
            place.column = 1;
        } else if (c < 0xDC00 || c > 0xDFFF) {
            ++place.column;
        }
    }
}

Place PlaceOf(std::u16string_view text, std::size_t offset) {
    Place place;
    Advance(place, text.substr(0, offset));
    return place;
}

// What is still to be read of a text or a value.
struct Expansion::Source {
    std::u16string_view text;
    std::size_t pos;
    std::uint32_t step;
};

Expansion::Expansion(const Tova::CVarList& vars, char16_t open, char16_t close)
    : open_(open), close_(close), canScan_(open != close) {
    const CFStringEncoding system = CFStringGetSystemEncoding();
    for (const Tova::CVar* var = vars.First(); var != nullptr; var = var->Next()) {
        const StringRef name = DecodeText(var->Name(), system);
        const StringRef value = DecodeText(var->Value(), system);
        if (name && value) {
            variables_.push_back({UnitsOf(name.Get()), UnitsOf(value.Get()), Quote(var->Name())});
        }
    }
    for (std::uint32_t i = 0; i < variables_.size(); ++i) {
        const std::u16string_view name = variables_[i].name;
        const bool isNew = byName_.emplace(name, i).second;
        canScan_ =
            canScan_ && isNew && name.find(open) == name.npos && name.find(close) == name.npos;
    }
}

void Expansion::Follow(std::u16string_view text, const std::string& name) {
    textName_ = name;
    steps_.assign(1, Step{});
    result_.clear();
    maxSteps_ = cMaxSteps + text.size();
    if (text.size() > cMaxLength) {
        RefuseSize("the text is longer than");
    }
    canScan_ ? Scan(text) : Pass(text);
}

Expansion::Unit Expansion::Take(Source& source) const {
    const std::size_t offset = source.step == 0 ? source.pos : steps_[source.step].offset;
    return {source.text[source.pos++], source.step, static_cast<std::uint32_t>(offset)};
}

// Replaces each placeholder when its end is met, and reads on in the value.
void Expansion::Scan(std::u16string_view text) {
    std::vector<Source> sources = {{text, 0, 0}};
    std::u16string name;
    while (!sources.empty()) {
        if (sources.back().pos == sources.back().text.size()) {
            sources.pop_back();
            continue;
        }
        const Unit unit = Take(sources.back());
        Append(unit, result_);
        if (unit.character != close_) {
            continue;
        }
        std::size_t start = result_.size() - 1;
        name.clear();
        while (start > 0 && result_[start - 1].character != open_ &&
               result_[start - 1].character != close_) {
            name += result_[--start].character;
        }
        std::reverse(name.begin(), name.end());
        const auto found = byName_.find(name);
        if (start > 0 && result_[start - 1].character == open_ && found != byName_.end()) {
            const std::uint32_t step = AddStep(found->second, result_[start - 1], unit);
            result_.resize(start - 1);
            if (sources.back().pos == sources.back().text.size()) {
                sources.pop_back();
            }
            sources.push_back({variables_[found->second].value, 0, step});
        }
    }
}

// Goes over all variables in their order, again and again, which is what the substitution does
// where the order matters.
void Expansion::Pass(std::u16string_view text) {
    result_ = UnitsOfText(text);
    const auto holds = [this](char16_t c) {
        return std::any_of(result_.begin(), result_.end(),
                           [c](const Unit& unit) { return unit.character == c; });
    };
    std::size_t work = 0;
    for (bool isReplaced = true; isReplaced && holds(open_) && holds(close_);) {
        isReplaced = false;
        for (std::uint32_t i = 0; i < variables_.size(); ++i) {
            isReplaced = ReplaceAll(i) || isReplaced;
            work += result_.size();
            if (work > cMaxWork) {
                RefuseSize("these variables take too many passes over a text of up to");
            }
        }
    }
}

bool Expansion::ReplaceAll(std::uint32_t variable) {
    const std::u16string pattern = open_ + variables_[variable].name + close_;
    const auto find = [&pattern](auto from, auto end) {
        return std::search(from, end, pattern.begin(), pattern.end(),
                           [](const Unit& unit, char16_t c) { return unit.character == c; });
    };
    auto from = result_.cbegin();
    auto found = find(from, result_.cend());
    if (found == result_.cend()) {
        return false;
    }
    std::vector<Unit> replaced;
    while (found != result_.cend()) {
        const auto last = found + static_cast<std::ptrdiff_t>(pattern.size() - 1);
        replaced.insert(replaced.end(), from, found);
        AppendValue(AddStep(variable, *found, *last), replaced);
        from = last + 1;
        found = find(from, result_.cend());
    }
    replaced.insert(replaced.end(), from, result_.cend());
    result_ = std::move(replaced);
    return true;
}

std::uint32_t Expansion::AddStep(std::uint32_t variable, const Unit& open, const Unit& close) {
    const bool isOpenShallower = steps_[open.step].depth <= steps_[close.step].depth;
    const std::uint32_t cause = isOpenShallower ? open.step : close.step;
    const auto step = static_cast<std::uint32_t>(steps_.size());
    steps_.push_back(
        {variable, cause, steps_[cause].depth + 1, isOpenShallower ? open.offset : close.offset});
    if (steps_[step].depth > variables_.size()) {
        RefuseCircle(step);
    }
    if (steps_.size() > maxSteps_) {
        RefuseCircle(step);
        Fail(Exit::Failed, textName_,
             "takes more than " + std::to_string(maxSteps_) + " replacements");
    }
    return step;
}

void Expansion::Append(const Unit& unit, std::vector<Unit>& to) const {
    if (to.size() >= cMaxLength) {
        RefuseCircle(unit.step);
        RefuseSize("the result is longer than");
    }
    to.push_back(unit);
}

void Expansion::AppendValue(std::uint32_t step, std::vector<Unit>& to) const {
    for (Source source{variables_[steps_[step].variable].value, 0, step};
         source.pos < source.text.size();) {
        Append(Take(source), to);
    }
}

std::vector<std::string> Expansion::Trail(std::uint32_t step) const {
    std::vector<std::string> labels;
    for (std::uint32_t at = step; at != 0; at = steps_[at].cause) {
        labels.push_back(variables_[steps_[at].variable].label);
    }
    std::reverse(labels.begin(), labels.end());
    return labels;
}

// The causes of a step that is too deep hold some variable twice: what lies between is the circle.
void Expansion::RefuseCircle(std::uint32_t step) const {
    std::vector<std::uint32_t> path;  // the variables from the step to the text
    for (std::uint32_t at = step; at != 0; at = steps_[at].cause) {
        path.push_back(steps_[at].variable);
    }
    std::unordered_map<std::uint32_t, std::size_t> seen;
    std::size_t end = 0;
    while (end < path.size() && seen.emplace(path[end], end).second) {
        ++end;
    }
    if (end == path.size()) {
        return;
    }
    const auto first = path.begin() + static_cast<std::ptrdiff_t>(seen[path[end]]);
    std::vector<std::uint32_t> circle(first, path.begin() + static_cast<std::ptrdiff_t>(end));
    std::reverse(circle.begin(), circle.end());
    // It is told from where the text comes into it.
    const auto entry = std::find_first_of(path.rbegin(), path.rend(), circle.begin(), circle.end());
    std::rotate(circle.begin(), std::find(circle.begin(), circle.end(), *entry), circle.end());
    std::string names;
    for (const std::uint32_t variable : circle) {
        names += variables_[variable].label + " -> ";
    }
    Fail(Exit::Damaged, textName_,
         "values refer to each other in a circle: " + names + variables_[circle[0]].label);
}

void Expansion::RefuseSize(const std::string& what) const {
    Fail(Exit::Failed, textName_, what + " " + std::to_string(cMaxLength) + " characters");
}

bool Expansion::LooksLikeName(std::u16string_view name) const {
    return !name.empty() && !isBlank(name.front()) && !isBlank(name.back()) &&
           name.find(u'\n') == name.npos && name.find(u'\r') == name.npos;
}

std::vector<Expansion::Unit> Expansion::UnitsOfText(std::u16string_view text) const {
    std::vector<Unit> units;
    units.reserve(text.size());
    for (Source source{text, 0, 0}; source.pos < text.size();) {
        units.push_back(Take(source));
    }
    return units;
}

std::vector<Placeholder> Expansion::Find(const std::vector<Unit>& units) const {
    std::vector<Placeholder> all;
    std::u16string name;
    const Unit* start = nullptr;
    for (const Unit& unit : units) {
        const bool isOpen = unit.character == open_;
        if (start != nullptr && unit.character == close_) {
            const bool isDefined = byName_.contains(name);
            if (isDefined || LooksLikeName(name)) {
                all.push_back({name, start->offset, isDefined, Trail(start->step)});
                start = nullptr;
            } else {
                start = isOpen ? &unit : nullptr;
            }
            name.clear();
        } else if (isOpen) {
            start = &unit;
            name.clear();
        } else if (start != nullptr) {
            name += unit.character;
        }
    }
    return all;
}

std::vector<Placeholder> Expansion::Undefined() const {
    std::vector<Placeholder> left = Find(result_);
    std::erase_if(left, [](const Placeholder& found) { return found.isDefined; });
    return left;
}

std::vector<Placeholder> Expansion::List(std::u16string_view text) const {
    std::vector<Placeholder> all = Find(UnitsOfText(text));
    std::unordered_set<std::u16string> seen;
    std::erase_if(all,
                  [&seen](const Placeholder& found) { return !seen.insert(found.name).second; });
    return all;
}

}  // namespace tvtool
