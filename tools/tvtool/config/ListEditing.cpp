#include "tvtool/config/ListEditing.h"

#include "tvtool/base/Escapes.h"

namespace tvtool {

void SetVariable(Tova::CVarList& list, const std::string& name, const std::string& value,
                 bool fixed) {
    // With a "%" in front, one of the name's own stays.
    list.SetValue(fixed ? ("%" + name).c_str() : name.c_str(), value.c_str(), false);
}

void CopyVariables(const Tova::CVarList& from, Tova::CVarList& to) {
    for (const Tova::CVar* var = from.First(); var != nullptr; var = var->Next()) {
        SetVariable(to, var->Name(), var->Value(), var->IsFixed());
    }
}

std::string ReasonNotToStore(std::string_view name, bool fixed) {
    if (!fixed && name.empty()) {
        return "an empty name can only be stored as that of a fixed variable, %=VALUE";
    }
    if (!fixed && name.front() == '%') {
        return "a name that begins with \"%\" can only be stored as that of a fixed variable";
    }
    return {};
}

Assignment ParseAssignment(const std::string& argument) {
    const bool fixed = argument.starts_with('%');
    const std::size_t equals = argument.find('=');
    if (equals == argument.npos) {
        Fail(Exit::Usage, Quote(argument), "has no \"=\"; write NAME=VALUE or %NAME=VALUE");
    }
    const std::size_t start = fixed ? 1 : 0;
    return {argument.substr(start, equals - start), argument.substr(equals + 1), fixed};
}

void Assign(Tova::CVarList& list, const Assignment& assignment, const std::string& where,
            const std::string& hint, Session& session) {
    SetVariable(list, assignment.name, assignment.value, assignment.fixed);
    if (list.GetValue(assignment.name.c_str()) != assignment.value) {
        TellThatFixed(assignment.name, where, hint, session);
    }
}

void TellThatFixed(const std::string& name, const std::string& where, const std::string& hint,
                   Session& session) {
    Complain(where + ": " + Quote(name) + " is fixed and kept its value" + hint);
    session.SetStatus(Exit::Failed);
}

}  // namespace tvtool
