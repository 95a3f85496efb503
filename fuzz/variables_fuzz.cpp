// Reads the input as a list of variables in the tool's text form or JSON. Writes the list in both
// and as a configuration file, and reads each back.
#include "fuzz/FuzzTarget.h"
#include "posix/CodePoint.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Tool.h"
#include "tvtool/config/ConfigFiles.h"
#include "tvtool/config/ConfigText.h"

#include <string>

namespace {

using tvfuzz::Require;

std::string lines(const Tova::CVarList& list) {
    std::string text;
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        text += tvtool::FormatVariable(*var) + "\n";
    }
    return text;
}

void requireParsed(const std::string& text, const std::string& expected) {
    Tova::CVarList list;
    try {
        tvtool::ParseVariables(text, "again", list);
    } catch (const tvtool::ToolError&) {
        Require(false, "what was written can be read");
    }
    Require(lines(list) == expected, "and is the same list");
}

void checkEscapes(const std::string& text) {
    const std::string escaped = tvtool::Escape(text, "=");
    Require(escaped.find_first_of("\r\n=") == escaped.npos, "an escaped text is one line");
    std::string back;
    tvtool::EscapeFault fault;
    Require(tvtool::Unescape(escaped, back, fault) && back == text, "escapes turn back");
    for (std::size_t at = 0, length = 0; at < escaped.size(); at += length) {
        char32_t character = 0;
        length = tvposix::DecodeCodePoint(std::string_view(escaped).substr(at), character);
        Require(length != 0, "an escaped text is UTF-8");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    checkEscapes(tvfuzz::UpToNul(text));
    Tova::CVarList list;
    try {
        tvtool::ParseVariables(text, "input", list);
    } catch (const tvtool::ToolError& error) {
        Require(error.Status() == tvtool::Exit::Damaged, "a fault is damage");
    }
    // Those before a fault are in the list.
    const std::string expected = lines(list);
    requireParsed(expected, expected);
    requireParsed(tvtool::ListToJson(list).dump(), expected);
    Tova::CVarList decoded;
    const tvtool::ConfigReading read = tvtool::DecodeConfig(tvtool::EncodeConfig(list), decoded);
    Require(read.IsSound() && lines(decoded) == expected, "a file holds the list");
    return 0;
}
