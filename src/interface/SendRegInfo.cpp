#include "interface/SendRegInfo.h"

#include "interface/AppVariables.h"
#include "interface/DictStrings.h"
#include "mac/MacThreadedWebReader.h"
#include "mac/MacThreadedWebReaderManager.h"
#include "registry/CNWRegistry.h"
#include "text/CFRef.h"
#include "vars/CFormat.h"
#include "vars/CVarList.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <memory>

namespace Tova {

namespace {

constexpr char cDefaultAddress[] = "https://" TV_REGISTRATION_HOST "/v/prod_reg";

struct ReleaseReader {
    void operator()(MacThreadedWebReader* reader) const { reader->Release(); }
};

// Returns true if one more request, and those under way that may not have their descriptors yet,
// leave some to the process. The lowest free descriptor tells how many are taken.
bool areDescriptorsLeft() {
    constexpr rlim_t cOfARequest = 8;
    constexpr rlim_t cLeft = 16;
    int lowest = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (lowest < 0) {
        lowest = open("/", O_RDONLY | O_CLOEXEC);  // where there are no devices
    }
    rlimit limit{};
    if (lowest < 0 || close(lowest) != 0 || getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return false;
    }
    const auto requests =
        static_cast<rlim_t>(MacThreadedWebReaderManager::sSingleton.CountThreads()) + 1;
    return static_cast<rlim_t>(lowest) + requests * cOfARequest + cLeft <= limit.rlim_cur;
}

}  // namespace

bool IsSendingAllowed(CFDictionaryRef details) {
    if (details == nullptr) {
        return false;
    }
    const CFTypeRef value = CFDictionaryGetValue(details, SendKey());
    SInt8 consent = 0;
    // A number that does not fit, or is no integer, is no consent.
    return value != nullptr && CFGetTypeID(value) == CFNumberGetTypeID() &&
           CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberSInt8Type, &consent) &&
           consent == 1;
}

void GetRegistrationAddress(CString& address) {
    CString appKey;
    // Without a key, the registry finds nothing.
    static_cast<void>(AppGetVariable("AppKey", appKey));
    const CNWRegistry registry(appKey.CStr(), CNWRegistry::UserDirectory::LeaveOut);
    CString found;
    address = registry.ReadAppValue("ProdRegURL", found) ? found.CStr() : cDefaultAddress;
}

void AppendRegistrationQuery(const CRegInfo& record, CString& address) {
    CVarList vars;
    record.SetVariables(vars);
    CString query;
    vars.GetValues(query);
    address.Append("?");
    address.Append(query.CStr());
}

void BuildRegistrationAddress(const CRegInfo& record, CString& address) {
    GetRegistrationAddress(address);
    AppendRegistrationQuery(record, address);
}

void GetRegistrationUserAgent(CString& userAgent) {
    userAgent.Copy(CFormat("Calyx Registration", nullptr, 0));
}

void SendRegInfo(const CRegInfo& record) {
    if (!areDescriptorsLeft()) {
        return;
    }
    CString address;
    CString userAgent;
    BuildRegistrationAddress(record, address);
    GetRegistrationUserAgent(userAgent);
    const CFRef<CFStringRef> agent(userAgent.CreateCFString(kCFStringEncodingInvalidId));
    const CFRef<CFStringRef> url(address.CreateCFString(kCFStringEncodingInvalidId));
    const std::unique_ptr<MacThreadedWebReader, ReleaseReader> reader(
        MacThreadedWebReader::Create());
    // The caller neither waits for a thread nor hears whether the request could be started.
    static_cast<void>(reader->TryStartRead(url.Get(), agent.Get(), nullptr, nullptr));
}

}  // namespace Tova
