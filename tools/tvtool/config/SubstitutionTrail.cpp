#include "tvtool/config/SubstitutionTrail.h"

#include "tvtool/base/Escapes.h"
#include "tvtool/base/Tool.h"

#include <algorithm>
#include <unordered_map>

namespace tvtool {

namespace {

// The most characters that the repeated passes may look at, some seconds' worth.
constexpr std::size_t cMaxWork = 4'000'000'000;

std::string labelOf(const Tova::WideVar& variable) {
    return Quote(variable.var->Name());
}

}  // namespace

SubstitutionTrail::SubstitutionTrail(std::u16string_view text, const Tova::WideVars& vars,
                                     std::string name)
    : text_(text), variableCount_(vars.All().size()), name_(std::move(name)), steps_(1) {
    if (text.size() > cMaxLength) {
        RefuseSize("the text is longer than");
    }
}

void SubstitutionTrail::Append(const char16_t* from, std::size_t count, Source source) {
    if (count > cMaxLength - std::min(origins_.size(), cMaxLength)) {
        RefuseCircle(source);
        RefuseSize("the result is longer than");
    }
    if (source != 0) {
        origins_.insert(origins_.end(), count, {source, steps_[source].offset});
        return;
    }
    auto offset = static_cast<std::uint32_t>(from - text_.data());
    for (; count > 0; --count) {
        origins_.push_back({0, offset++});
    }
}

SubstitutionTrail::Source SubstitutionTrail::Replace(const Tova::WideVar& var, std::size_t open) {
    const Origin opening = origins_[open];
    const Origin closing = origins_.back();
    origins_.resize(open);
    const Origin cause =
        steps_[opening.step].depth <= steps_[closing.step].depth ? opening : closing;
    const auto step = static_cast<std::uint32_t>(steps_.size());
    steps_.push_back({&var, cause.step, steps_[cause.step].depth + 1, cause.offset});
    if (steps_[step].depth > variableCount_) {
        RefuseCircle(step);
    }
    const std::size_t most = cMaxSteps + text_.size();
    if (steps_.size() > most) {
        RefuseCircle(step);
        Fail(Exit::Failed, name_, "takes more than " + std::to_string(most) + " replacements");
    }
    return step;
}

void SubstitutionTrail::Turn() {
    before_.swap(origins_);
    origins_.clear();
}

void SubstitutionTrail::Keep(std::size_t from, std::size_t count) {
    const auto first = before_.begin() + static_cast<std::ptrdiff_t>(from);
    origins_.insert(origins_.end(), first, first + static_cast<std::ptrdiff_t>(count));
}

void SubstitutionTrail::EndPass(std::size_t length) {
    work_ += length;
    if (work_ > cMaxWork) {
        RefuseSize("these variables take too many passes over a text of up to");
    }
}

std::vector<std::string> SubstitutionTrail::Through(std::size_t index) const {
    std::vector<std::string> labels;
    for (std::uint32_t at = origins_[index].step; at != 0; at = steps_[at].cause) {
        labels.push_back(labelOf(*steps_[at].var));
    }
    std::reverse(labels.begin(), labels.end());
    return labels;
}

// The causes of a step that is too deep hold some variable twice. The circle lies between.
void SubstitutionTrail::RefuseCircle(std::uint32_t step) const {
    std::vector<const Tova::WideVar*> path;  // from the step to the text
    for (std::uint32_t at = step; at != 0; at = steps_[at].cause) {
        path.push_back(steps_[at].var);
    }
    std::unordered_map<const Tova::WideVar*, std::size_t> seen;
    std::size_t end = 0;
    while (end < path.size() && seen.emplace(path[end], end).second) {
        ++end;
    }
    if (end == path.size()) {
        return;
    }
    const auto first = path.begin() + static_cast<std::ptrdiff_t>(seen[path[end]]);
    std::vector<const Tova::WideVar*> circle(first,
                                             path.begin() + static_cast<std::ptrdiff_t>(end));
    std::reverse(circle.begin(), circle.end());
    // The message begins where the text comes into the circle.
    const auto entry = std::find_first_of(path.rbegin(), path.rend(), circle.begin(), circle.end());
    std::rotate(circle.begin(), std::find(circle.begin(), circle.end(), *entry), circle.end());
    std::string names;
    for (const Tova::WideVar* var : circle) {
        names += labelOf(*var) + " -> ";
    }
    Fail(Exit::Damaged, name_,
         "values refer to each other in a circle: " + names + labelOf(*circle[0]));
}

void SubstitutionTrail::RefuseSize(const std::string& what) const {
    Fail(Exit::Failed, name_, what + " " + std::to_string(cMaxLength) + " characters");
}

}  // namespace tvtool
