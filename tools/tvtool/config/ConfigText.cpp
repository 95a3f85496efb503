#include "tvtool/config/ConfigText.h"

#include "tvtool/base/Escapes.h"
#include "tvtool/config/ListEditing.h"

#include <algorithm>
#include <unordered_map>

namespace tvtool {

namespace {

std::string FormatName(std::string_view name) {
    std::string text = EscapeSystem(name, "=");
    // EscapeSystem leaves a blank as it is, so the last character of `text` is that blank.
    if (name.size() > 1 && name.back() == ' ') {
        text.replace(text.size() - 1, 1, "\\x20");
    }
    if (!name.empty() && std::string_view(" %#[").find(name.front()) != name.npos) {
        text.replace(0, 1, Escape(name.substr(0, 1), " %#["));
    }
    return text;
}

// Adds variables to a list, each name once.
class ListBuilder {
public:
    explicit ListBuilder(Tova::CVarList& list) : list_(list) {}

    // `place` is where the variable stands, for messages.
    void Add(const std::string& name, const std::string& value, bool fixed,
             const std::string& place) {
        if (const std::string why = ReasonNotToStore(name, fixed); !why.empty()) {
            Fail(Exit::Damaged, place, why);
        }
        const auto [first, isNew] = places_.emplace(name, place);
        if (!isNew) {
            Fail(Exit::Damaged, place,
                 Quote(name) + " is set twice; the first time at " + first->second);
        }
        SetVariable(list_, name, value, fixed);
    }

private:
    Tova::CVarList& list_;
    std::unordered_map<std::string, std::string> places_;
};

class LineParser {
public:
    LineParser(const std::string& file, std::size_t number, std::string_view line)
        : file_(file), number_(number), line_(line) {}

    void Parse(ListBuilder& builder) const {
        if (const std::size_t nul = line_.find('\0'); nul != line_.npos) {
            FailAt(nul, "a NUL cannot stand in a text");
        }
        const std::size_t start = line_.front() == '%' ? 1 : 0;
        const std::size_t equals = line_.find('=');
        if (equals == line_.npos) {
            FailAt(0, "no \"=\"; a line is NAME=VALUE or %NAME=VALUE, or begins with \"#\"");
        }
        const std::string_view name = line_.substr(start, equals - start);
        RefuseBlanks(name, start);
        builder.Add(UnescapePart(start, equals), UnescapePart(equals + 1, line_.size()), start != 0,
                    At(file_, {number_, 1}));
    }

private:
    // A blank around the name is more likely a mistake than an intention.
    void RefuseBlanks(std::string_view name, std::size_t start) const {
        static constexpr std::string_view cBlanks = " \t";
        if (name.empty()) {
            return;
        }
        if (cBlanks.find(name.front()) != cBlanks.npos) {
            FailAt(start, "a blank before the name; leave it out, or write \\x20 when it is meant");
        }
        if (cBlanks.find(name.back()) != cBlanks.npos) {
            FailAt(start + name.size() - 1,
                   "a blank before the \"=\"; leave it out, or write \\x20 when it is meant");
        }
    }

    std::string UnescapePart(std::size_t begin, std::size_t end) const {
        std::string text;
        EscapeFault fault;
        if (!Unescape(line_.substr(begin, end - begin), text, fault)) {
            FailAt(begin + fault.offset, fault.what);
        }
        return text;
    }

    [[noreturn]] void FailAt(std::size_t offset, const std::string& what) const {
        Fail(Exit::Damaged, At(file_, {number_, PlaceOf(line_, offset).column}), what);
    }

    const std::string& file_;
    const std::size_t number_;
    const std::string_view line_;
};

void parseLines(std::string_view text, const std::string& file, ListBuilder& builder) {
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (line.find_first_not_of(" \t") != line.npos && line.front() != '#') {
            LineParser(file, number, line).Parse(builder);
        }
    }
}

void parseElements(const ParsedJson& array, const std::string& file, ListBuilder& builder) {
    std::size_t number = 0;
    for (const ParsedJson& element : array) {
        const std::string place = file + ": element " + std::to_string(++number);
        if (!element.is_object() || !element.contains("name") || !element.contains("value")) {
            Fail(Exit::Damaged, place, "is no object with \"name\" and \"value\"");
        }
        const ParsedJson fixed = element.value("fixed", ParsedJson(false));
        if (!fixed.is_boolean()) {
            Fail(Exit::Damaged, place, "\"fixed\" must be true or false");
        }
        builder.Add(TextFromJson(element["name"], place + ": \"name\""),
                    TextFromJson(element["value"], place + ": \"value\""), fixed.get<bool>(),
                    place);
    }
}

}  // namespace

std::string FormatVariable(const Tova::CVar& var) {
    return (var.IsFixed() ? "%" : "") + FormatName(var.Name()) + "=" + EscapeSystem(var.Value());
}

Json VariableToJson(const Tova::CVar& var) {
    return {
        {"name", JsonText(var.Name())}, {"value", JsonText(var.Value())}, {"fixed", var.IsFixed()}};
}

Json ListToJson(const Tova::CVarList& list) {
    Json array = Json::array();
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        array.push_back(VariableToJson(*var));
    }
    return array;
}

void ParseVariables(const std::string& text, const std::string& name, Tova::CVarList& list) {
    static constexpr std::string_view cMark = "\xEF\xBB\xBF";
    std::string_view rest = text;
    if (rest.substr(0, cMark.size()) == cMark) {
        rest.remove_prefix(cMark.size());
    }
    ListBuilder builder(list);
    const std::size_t first = rest.find_first_not_of(" \t\r\n");
    if (first != rest.npos && rest[first] == '[') {
        parseElements(ParseJson(text, name), name, builder);
    } else {
        parseLines(rest, name, builder);
    }
}

}  // namespace tvtool
