// The four registration details, in the framework's order, and how people see them.
#pragma once

#include "interface/CRegInfo.h"

#include <algorithm>
#include <array>
#include <string>

namespace tvtool {

struct DetailField : Tova::CRegInfo::Field {
    const char* label;
};

inline constexpr std::array<DetailField, Tova::CRegInfo::cFieldCount> cDetailFields = {{
    {Tova::CRegInfo::cFields[0], "First name"},
    {Tova::CRegInfo::cFields[1], "Last name"},
    {Tova::CRegInfo::cFields[2], "Organisation"},
    {Tova::CRegInfo::cFields[3], "E-mail"},
}};

// Returns a line whose text begins in the same column for every label of up to 13 characters.
inline std::string LabelledLine(std::string label, const std::string& text) {
    label += ":";
    label.resize(std::max<std::size_t>(label.size() + 1, 15), ' ');
    return label + text + "\n";
}

}  // namespace tvtool
