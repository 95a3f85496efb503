// Puts 8-bit texts into JSON. A text is decoded from an encoding; bytes that are no text in it
// become {"base64": "..."}, so that nothing is lost.
#pragma once

#include "tvtool/base/Tool.h"

#include <CoreFoundation/CoreFoundation.h>
#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace tvtool {

using Json = nlohmann::ordered_json;
// This is what was parsed. Its members have no order, and are found fast, however many there are.
using ParsedJson = nlohmann::json;

// The system encoding is UTF-8 unless TV_SYSTEM_ENCODING says otherwise.
Json JsonText(std::string_view bytes, CFStringEncoding encoding = CFStringGetSystemEncoding());
// Returns the bytes of a value that JsonText made in the system encoding. Throws ToolError
// (Damaged) for another value, for a text that the system encoding cannot hold, and for a NUL.
// `where` names the value in the message.
std::string TextFromJson(const ParsedJson& value, const std::string& where);

// Parses a whole text. Throws ToolError (Damaged), also for values that are nested deeper than 100
// levels and for numbers beyond those of double. `name` is the file's name in the message.
ParsedJson ParseJson(const std::string& text, const std::string& name);
void PrintJson(Output& out, const Json& value);

}  // namespace tvtool
