#include "tvtool/details/SendDetails.h"

#include "interface/AppVariables.h"
#include "interface/SendRegInfo.h"
#include "mac/MacThreadedWebReader.h"
#include "posix/Base64.h"
#include "registry/CNWRegistry.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Json.h"
#include "tvtool/base/QueryDecoding.h"
#include "tvtool/config/ApplicationVariables.h"
#include "tvtool/details/WebExchange.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace tvtool {

namespace {

constexpr long cDefaultWait = 30;
constexpr long cLongestWait = 3600;
constexpr char cSaved[] = "; the details are saved";

// Shows one line if standard error is a terminal, rewrites it as time passes and removes it at the
// end. With NO_COLOR the line is written once and stays, without any escape sequence.
class ProgressLine {
public:
    explicit ProgressLine(std::string text)
        : text_(std::move(text)), isShown_(isatty(STDERR_FILENO) == 1),
          isRewritten_(isShown_ && !IsColourOff()) {}
    ~ProgressLine() {
        if (isRewritten_) {
            std::fputs("\r\033[K", stderr);
        }
    }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void Show(long seconds) {
        if (isRewritten_) {
            std::fprintf(stderr, "\r\033[K%s ... %ld s", text_.c_str(), seconds);
        } else if (isShown_ && seconds == 0) {
            std::fprintf(stderr, "%s ...\n", text_.c_str());
        }
    }

private:
    const std::string text_;
    const bool isShown_;
    const bool isRewritten_;
};

long parseWait(const std::string& text) {
    const std::optional<long> seconds =
        text.empty() ? cDefaultWait : ParseNumber<long>(text, 0, cLongestWait);
    if (!seconds) {
        Fail(Exit::Usage, "--wait " + Quote(text),
             "give a number of seconds up to " + std::to_string(cLongestWait) + "; 0: no limit");
    }
    return *seconds;
}

// Returns "user:password", whose second half may be empty.
std::string decodeCredentials(const std::string& escaped) {
    const StringRef text = DecodeText(escaped, kCFStringEncodingUTF8);
    const StringRef plain(
        CFURLCreateStringByReplacingPercentEscapes(nullptr, text.Get(), CFSTR("")));
    const std::string credentials = TextForPeople(plain.Get());
    return credentials + (credentials.find(':') == credentials.npos ? ":" : "");
}

// The framework's escaping breaks off at such a character, and the address that results cannot be
// requested.
void requireAscii(const Tova::CVarList& details) {
    for (const Tova::CVar* var = details.First(); var != nullptr; var = var->Next()) {
        const std::string_view value = var->Value();
        if (std::any_of(value.begin(), value.end(), [](char c) { return (c & 0x80) != 0; })) {
            Fail(Exit::Failed, Quote(value),
                 "the framework sends no details that are not ASCII; save them without --send");
        }
    }
}

}  // namespace

void AddSendOptions(CLI::App& command, SendOptions& options) {
    command.add_flag("--send", options.send,
                     "Then send them to the product registration, and wait for its\n"
                     "answer. Nothing leaves this machine without it");
    AddText(command, "--to", options.to, "Send to this http or https address instead")
        ->type_name("URL");
    AddText(command, "--wait", options.wait,
            "At most this number of seconds; " + std::to_string(cDefaultWait) +
                " otherwise, 0 for no limit")
        ->type_name("SECONDS");
    command.add_flag("--dry-run", options.dryRun,
                     "Print the request; neither save nor send anything");
}

RegistrationAddress FindRegistrationAddress() {
    SetApplicationVariables();
    Tova::CString key, path, named, address;
    Tova::AppGetVariable("AppKey", key);
    const Tova::CNWRegistry registry(key.CStr(), Tova::CNWRegistry::UserDirectory::LeaveOut);
    const bool hasPath = registry.RegistryPath().ToUnixPath(path) >= 0 && !path.IsEmpty();
    const std::string file = path.CStr();
    const std::string entry = "ProdRegURL of " + Quote(key.CStr());
    if (registry.ReadAppValue("ProdRegURL", named)) {
        const std::string source = entry + " in " + file;
        return {named.CStr(), named.IsEmpty() ? source + " is empty" : source};
    }
    std::string reason = !hasPath        ? "the shared registry has no place"
                         : !Exists(file) ? "there is no " + file
                                         : "no " + entry + " is in " + file;
    if (hasPath && Exists(file)) {
        try {
            ReadInput(file);
        } catch (const ToolError& error) {
            reason = error.what();
        }
    }
    Tova::GetRegistrationAddress(address);
    // A build without a host has this default address.
    if (std::string_view(address.CStr()).starts_with("https:///")) {
        return {"", "this build has none, and " + reason};
    }
    return {address.CStr(), "built in, because " + reason};
}

DetailsRequest::DetailsRequest(const Tova::CRegInfo& record, const SendOptions& options)
    : wait_(parseWait(options.wait)) {
    Tova::CVarList details;
    record.SetVariables(details);
    requireAscii(details);
    const RegistrationAddress found =
        options.to.empty() ? FindRegistrationAddress() : RegistrationAddress{options.to, ""};
    if (found.address.empty()) {
        Fail(Exit::Failed, "details write",
             "there is no address to send to: " + found.source + "; give one with --to URL");
    }
    source_ = found.source;
    Tova::CString address(found.address.c_str());
    Tova::AppendRegistrationQuery(record, address);
    Tova::CString userAgent;
    Tova::GetRegistrationUserAgent(userAgent);
    address_.Reset(address.CreateCFString(kCFStringEncodingInvalidId));
    userAgent_.Reset(userAgent.CreateCFString(kCFStringEncodingInvalidId));
    const Tova::CFRef<CFURLRef> url(
        address_ ? MacThreadedWebReader::CreateRequestUrl(address_.Get()) : nullptr);
    TakeApart(url ? TextForPeople(CFURLGetString(url.Get())) : std::string());
    WarnOfLosses(details);
}

void DetailsRequest::TakeApart(const std::string& url) {
    const std::size_t colon = std::min(url.find("://"), url.size());
    const std::string scheme = url.substr(0, colon);
    const bool isHttps = strcasecmp(scheme.c_str(), "https") == 0;
    const std::size_t start = std::min(colon + 3, url.size());
    const std::size_t end = std::min(url.find_first_of("/?", start), url.size());
    host_ = url.substr(start, end - start);
    if (const std::size_t at = host_.rfind('@'); at != host_.npos) {
        credentials_ = decodeCredentials(host_.substr(0, at));
        host_.erase(0, at + 1);
    }
    if ((!isHttps && strcasecmp(scheme.c_str(), "http") != 0) || host_.empty() ||
        host_.front() == ':') {
        Fail(source_.empty() ? Exit::Usage : Exit::Damaged, source_.empty() ? "--to" : source_,
             "is no http or https address with a host, or has a malformed escape");
    }
    const std::string defaultPort = isHttps ? ":443" : ":80";
    if (host_.ends_with(defaultPort)) {
        host_.resize(host_.size() - defaultPort.size());
    }
    origin_ = (isHttps ? "https://" : "http://") + host_;
    proxy_ = FindProxy(isHttps ? "https" : "http", host_);
    target_ = (url[end] == '/' ? "" : "/") + url.substr(end);
}

// Normalising the address removes the escapes of "&" and "+".
void DetailsRequest::WarnOfLosses(const Tova::CVarList& details) const {
    const std::vector<QueryField> fields = DecodeQuery(target_.substr(target_.find('?') + 1));
    for (const Tova::CVar* var = details.First(); var != nullptr; var = var->Next()) {
        for (const QueryField& field : fields) {
            if (field.name == var->Name() && field.value != var->Value()) {
                Complain(Quote(var->Value()) + " arrives as " + Quote(field.value) +
                         ": \"&\" and \"+\" are lost on the way");
            }
        }
    }
}

std::string DetailsRequest::Route() const {
    return origin_ +
           (proxy_.address.empty() ? "" : " through the proxy " + WithoutPassword(proxy_.address));
}

std::string DetailsRequest::Destination() const {
    return Route() + (source_.empty() ? "" : " (" + source_ + ")");
}

std::string DetailsRequest::Describe() const {
    std::string text = "GET " + target_ + " HTTP/1.1\nHost: " + host_ + "\n";
    if (!credentials_.empty()) {
        text += "Authorization: Basic " + tvposix::EncodeBase64(credentials_) + "\n";
    }
    return text + "Accept: */*\nUser-Agent: " + TextForPeople(userAgent_.Get()) + "\n";
}

std::string DetailsRequest::Send() const {
    WebResult result;
    {
        ProgressLine progress("Sending to " + origin_);
        result = FetchAndWait(address_.Get(), userAgent_.Get(), wait_,
                              [&](long seconds) { progress.Show(seconds); });
    }
    const std::string status = "HTTP " + std::to_string(result.status);
    const std::string answered = result.status == 0 ? "" : status + ", but ";
    switch (result.end) {
    case WebResult::End::Complete:
        break;
    case WebResult::End::Failed:
        Fail(Exit::Network, Route(),
             answered + DescribeError(result.error, !proxy_.address.empty()) + cSaved);
    case WebResult::End::TimeLimit:
        Fail(Exit::Network, Route(),
             answered + "no complete answer came within " + std::to_string(wait_) +
                 " s, so it is not known whether the details arrived" + cSaved);
    }
    if (result.status >= 400) {
        Fail(Exit::Network, Route(), status + ": the registration was not accepted" + cSaved);
    }
    return status + ", " + std::to_string(result.bodyBytes) + " bytes";
}

}  // namespace tvtool
