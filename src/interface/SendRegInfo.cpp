#include "interface/SendRegInfo.h"

#include "interface/AppVariables.h"
#include "interface/DictStrings.h"
#include "mac/MacThreadedWebReader.h"
#include "registry/CNWRegistry.h"
#include "text/CFRef.h"
#include "vars/CFormat.h"
#include "vars/CVarList.h"

#include <memory>

namespace Tova {

namespace {

constexpr char cDefaultAddress[] = "https://" TV_REGISTRATION_HOST "/v/prod_reg";

struct ReleaseReader {
    void operator()(MacThreadedWebReader* reader) const { reader->Release(); }
};

}  // namespace

bool IsSendingAllowed(CFDictionaryRef details) {
    if (details == nullptr) {
        return false;
    }
    const CFTypeRef value = CFDictionaryGetValue(details, DetailsKey::Send());
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
    const CNWRegistry registry(appKey.CStr());
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
    CString address;
    CString userAgent;
    BuildRegistrationAddress(record, address);
    GetRegistrationUserAgent(userAgent);
    const CFRef<CFStringRef> agent(userAgent.CreateCFString(kCFStringEncodingInvalidId));
    const CFRef<CFStringRef> url(address.CreateCFString(kCFStringEncodingInvalidId));
    const std::unique_ptr<MacThreadedWebReader, ReleaseReader> reader(
        MacThreadedWebReader::Create());
    // The caller does not hear whether the request could be started.
    static_cast<void>(reader->StartRead(url.Get(), agent.Get(), nullptr, nullptr));
}

}  // namespace Tova
