// Sends registration details like the framework. Unlike the framework it waits for the answer.
#pragma once

#include "interface/CRegInfo.h"
#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"
#include "tvtool/details/Proxy.h"

#include <string>

namespace tvtool {

struct SendOptions {
    bool send = false;
    bool dryRun = false;
    std::string to;    // if empty, the framework's own address
    std::string wait;  // seconds, as typed
};
void AddSendOptions(CLI::App& command, SendOptions& options);

// The address that the framework sends to on this machine.
struct RegistrationAddress {
    std::string address;  // "" if there is none
    std::string source;   // says what names it, or why there is none
};
RegistrationAddress FindRegistrationAddress();

// One request. Everything in it is known without the network.
class DetailsRequest {
public:
    // Throws ToolError if an option is wrong, or if there is no address that can be requested.
    // Warns of details that will not arrive as they are.
    DetailsRequest(const Tova::CRegInfo& record, const SendOptions& options);

    // Returns the lines of the request's head, as a server gets them if there is no proxy between.
    std::string Describe() const;
    // For example "https://example.org".
    const std::string& Origin() const { return origin_; }
    const Proxy& Way() const { return proxy_; }
    // Returns the origin and the proxy, for messages.
    std::string Route() const;
    // Returns also what named the address, for messages.
    std::string Destination() const;

    // Sends and waits. Returns what was answered, "HTTP 200, 5 bytes". Throws ToolError (Network)
    // for any failure and for a status of 400 or more. Its text says that the details are saved.
    std::string Send() const;

private:
    void TakeApart(const std::string& url);
    void WarnOfLosses(const Tova::CVarList& details) const;

    StringRef address_;
    StringRef userAgent_;
    long wait_;           // seconds
    std::string source_;  // "" if an option gave the address
    std::string origin_;
    Proxy proxy_;
    std::string credentials_;  // those in the address
    std::string host_;
    std::string target_;
};

}  // namespace tvtool
