// What a substitution gives, for tests and fuzzing.
#pragma once

#include "vars/CVarList.h"

#include <cstring>
#include <string>

namespace tvtest {

// The rules as they are stated, with no thought for speed. Adds the count to the text, and returns
// "" if the passes do not end soon.
inline std::string ApplyByTheRules(const Tova::CVarList& list, std::string text, const char* pair,
                                   bool isWide) {
    int total = 0;
    const auto holds = [&](int i) { return text.find(pair[i]) != text.npos; };
    for (int before = -1;
         before != total && (isWide ? holds(0) && holds(1) : holds(0) || holds(1));) {
        before = total;
        for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
            const std::string pattern = std::string(1, pair[0]) + var->Name() + pair[1];
            for (std::size_t pos = 0; (pos = text.find(pattern, pos)) != text.npos;) {
                text.replace(pos, pattern.size(), var->Value());
                // Only the narrow form looks into what it has put in.
                pos += isWide ? std::strlen(var->Value()) : 0;
                if (++total > 60) {
                    return "";
                }
            }
        }
    }
    return text + std::to_string(total);
}

}  // namespace tvtest
