// How an endpoint misbehaves on purpose, once it has read a request.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tvtool {

struct Fault {
    enum class Kind { None, Stall, Slow, Reset, Truncate, RedirectLoop, Status };
    Kind kind = Kind::None;
    unsigned status = 200;  // for Kind::Status
};

struct FaultName {
    std::string_view name;
    Fault::Kind kind;
    std::string_view meaning;
};
inline constexpr std::array<FaultName, 7> cFaultNames = {{
    {"none", Fault::Kind::None, "answers as it should"},
    {"stall", Fault::Kind::Stall, "never answers"},
    {"slow", Fault::Kind::Slow, "answers with a byte a second"},
    {"reset", Fault::Kind::Reset, "resets the connection before the answer"},
    {"truncate", Fault::Kind::Truncate, "ends before the length that the answer announces"},
    {"redirect-loop", Fault::Kind::RedirectLoop, "redirects to the same address"},
    // A number from 200 to 599 follows: below 200 it is no answer, and the client goes on waiting.
    {"status=", Fault::Kind::Status, "answers with this status"},
}};

// Returns nullopt if the text names no fault.
std::optional<Fault> ParseFault(const std::string& text);
// Returns the text that ParseFault takes.
std::string FaultText(const Fault& fault);

}  // namespace tvtool
