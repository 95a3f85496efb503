#include "tvtool/endpoint/Fault.h"

#include "tvtool/base/Tool.h"

namespace tvtool {

std::optional<Fault> ParseFault(const std::string& text) {
    for (const FaultName& known : cFaultNames) {
        if (known.kind != Fault::Kind::Status && text == known.name) {
            return Fault{known.kind};
        }
        if (known.kind == Fault::Kind::Status && text.starts_with(known.name)) {
            const auto status = ParseNumber(text.substr(known.name.size()), 200U, 599U);
            return status ? std::optional(Fault{known.kind, *status}) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::string FaultText(const Fault& fault) {
    for (const FaultName& known : cFaultNames) {
        if (known.kind == fault.kind) {
            return std::string(known.name) +
                   (fault.kind == Fault::Kind::Status ? std::to_string(fault.status) : "");
        }
    }
    return "";
}

}  // namespace tvtool
