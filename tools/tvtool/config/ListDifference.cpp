#include "tvtool/config/ListDifference.h"

#include "tvtool/config/ConfigText.h"

#include <cstring>

namespace tvtool {

namespace {

bool isSame(const Tova::CVar& a, const Tova::CVar& b) {
    return a.IsFixed() == b.IsFixed() && std::strcmp(a.Value(), b.Value()) == 0;
}

// Calls use(old, new) for each variable that differs, with null for one that a list lacks.
template <class Use>
void forEachDifference(const Tova::CVarList& before, const Tova::CVarList& after, Use use) {
    for (const Tova::CVar* old = before.First(); old != nullptr; old = old->Next()) {
        const Tova::CVar* var = after.FindVar(old->Name());
        if (var == nullptr || !isSame(*var, *old)) {
            use(old, var);
        }
    }
    for (const Tova::CVar* var = after.First(); var != nullptr; var = var->Next()) {
        if (before.FindVar(var->Name()) == nullptr) {
            use(nullptr, var);
        }
    }
}

}  // namespace

std::string LinesThatDiffer(const Tova::CVarList& before, const Tova::CVarList& after,
                            const Output& out) {
    std::string lines;
    const auto add = [&](const char* sign, const char* colour, const Tova::CVar* var) {
        if (var == nullptr) {
            return;
        }
        const std::string line = sign + FormatVariable(*var);
        lines += out.IsColoured() ? colour + line + "\x1B[0m\n" : line + "\n";
    };
    forEachDifference(before, after, [&](const Tova::CVar* old, const Tova::CVar* var) {
        add("-", "\x1B[31m", old);
        add("+", "\x1B[32m", var);
    });
    return lines;
}

Json DifferenceToJson(const Tova::CVarList& before, const Tova::CVarList& after) {
    const auto side = [](const Tova::CVar* var) {
        return var == nullptr ? Json(nullptr)
                              : Json{{"value", JsonText(var->Value())}, {"fixed", var->IsFixed()}};
    };
    Json array = Json::array();
    forEachDifference(before, after, [&](const Tova::CVar* old, const Tova::CVar* var) {
        array.push_back({{"name", JsonText((old != nullptr ? old : var)->Name())},
                         {"before", side(old)},
                         {"after", side(var)}});
    });
    return array;
}

}  // namespace tvtool
