// Sends registration details like the framework, and other than that waits to see what becomes of
// them.
#pragma once

#include "interface/CRegInfo.h"
#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"

#include <string>

namespace tvtool {

struct SendOptions {
    bool send = false;
    bool dryRun = false;
    std::string to;    // empty: where the framework would send to
    std::string wait;  // seconds, as typed
};
void AddSendOptions(CLI::App& command, SendOptions& options);

// One request, made of what can be known without the network.
class DetailsRequest {
public:
    // ToolError when the options do not fit together, or there is no address or none that can be
    // requested. Warns of details that will not arrive as they are.
    DetailsRequest(const Tova::CRegInfo& record, const SendOptions& options);

    // The head of the request in lines, as it goes to a server without a proxy between.
    std::string Describe() const;
    // "https://example.org"
    const std::string& Origin() const { return origin_; }

    // Sends and waits. Says what was answered: "HTTP 200, 5 bytes". ToolError (Network) for any
    // failure and for a status of 400 or more; its text says that the details are saved.
    std::string Send() const;

private:
    void TakeApart(const std::string& url, bool isGiven);
    void WarnOfLosses(const Tova::CVarList& details) const;

    StringRef address_;
    StringRef userAgent_;
    long wait_;  // seconds
    std::string origin_;
    std::string credentials_;  // that the address names
    std::string host_;
    std::string target_;
};

}  // namespace tvtool
