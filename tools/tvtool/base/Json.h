// 8-bit texts in JSON. A text is decoded from the system encoding (UTF-8 unless TV_SYSTEM_ENCODING
// says otherwise); one that does not decode becomes {"base64": "..."}, so that nothing is lost.
#pragma once

#include "tvtool/base/Tool.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace tvtool {

using Json = nlohmann::ordered_json;

Json JsonText(std::string_view bytes);
// The bytes of what JsonText made. `where` names the value in the ToolError (Damaged) for anything
// else, a text that the system encoding cannot hold, or one that holds a NUL.
std::string TextFromJson(const Json& value, const std::string& where);

// Parses a whole text; `name` is that of the file, for the ToolError (Damaged).
Json ParseJson(const std::string& text, const std::string& name);
void PrintJson(Output& out, const Json& value);

std::string Base64Encode(std::string_view bytes);
// False when `text` is not base64 with its padding.
bool Base64Decode(std::string_view text, std::string& bytes);

}  // namespace tvtool
