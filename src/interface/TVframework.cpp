// The exported functions. tvApplyVariables and tvWriteRegInfo release what they hold and let lack
// of memory through. The others let no exception out. The cancellation of a thread waits until a
// function returns.
#include <TVframework/TVframework.h>

#include "interface/AppVariables.h"
#include "interface/CPrefs.h"
#include "interface/CRegInfo.h"
#include "interface/DictStrings.h"
#include "interface/RegInfoStorage.h"
#include "interface/SendRegInfo.h"
#include "text/CFRef.h"
#include "text/CatchAll.h"
#include "vars/GlobalVars.h"

#include <pthread.h>

using Tova::CFRef;
using Tova::CRegInfo;
using Tova::CString;

namespace {

// Holds cancellation back. A file is closed in a destructor, and a cancellation that unwinds
// through one ends the process.
class NoCancellation {
public:
    NoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~NoCancellation() { pthread_setcancelstate(before_, nullptr); }
    NoCancellation(const NoCancellation&) = delete;
    NoCancellation& operator=(const NoCancellation&) = delete;

private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

// Anything that is no dictionary counts as null.
bool isDictionary(CFTypeRef details) {
    return details != nullptr && CFGetTypeID(details) == CFDictionaryGetTypeID();
}

}  // namespace

int tvApplyVariables(CFMutableStringRef text, CFStringRef delimiters) {
    const auto heldText = CFRef<CFMutableStringRef>::Retain(text);
    const auto heldDelimiters = CFRef<CFStringRef>::Retain(delimiters);
    return Tova::GlobalVars.Apply(text, delimiters);
}

void tvDeletePrefsItem(CFStringRef key) {
    const NoCancellation guard;
    Tova::CatchAll([&] {
        const auto held = CFRef<CFStringRef>::Retain(key);
        Tova::CPrefs::Clear(key);
    });
}

int tvReadRegInfoFromNWC(CFStringRef path, CFMutableDictionaryRef details) {
    if (path == nullptr || !isDictionary(details)) {
        return -1;
    }
    const NoCancellation guard;
    int result = -1;
    Tova::CatchAll([&] {
        const auto heldPath = CFRef<CFStringRef>::Retain(path);
        const auto heldDetails = CFRef<CFMutableDictionaryRef>::Retain(details);
        doAppSetVariables();
        CString file;
        CRegInfo record;
        const bool loaded = file.CopyFromCFString(path, kCFStringEncodingUTF8) &&
                            Tova::CNWCFileRegInfo::Load(file.CStr(), record);
        // Deliberate: a failure empties the form, so that it is never left half filled.
        const bool filled = Tova::SetDictFromRegInfo(details, record);
        result = loaded && filled ? 1 : -1;
    });
    return result;
}

int tvReadRegInfoFromPrefs(CFMutableDictionaryRef details) {
    if (!isDictionary(details)) {
        return -1;
    }
    const NoCancellation guard;
    int result = -1;
    Tova::CatchAll([&] {
        const auto held = CFRef<CFMutableDictionaryRef>::Retain(details);
        doAppSetVariables();
        CRegInfo record;
        if (Tova::CPrefsRegInfo::Load(record) && Tova::SetDictFromRegInfo(details, record)) {
            result = 1;
        }
    });
    return result;
}

int tvWriteRegInfo(CFStringRef path, CFDictionaryRef details, unsigned int send) {
    const NoCancellation guard;
    CString file;
    if (path == nullptr || !isDictionary(details) ||
        !file.CopyFromCFString(path, kCFStringEncodingUTF8)) {
        return -1;
    }
    auto held = CFRef<CFDictionaryRef>::Retain(details);
    doAppSetVariables();
    const bool allowed = Tova::IsSendingAllowed(details);
    const CRegInfo record = Tova::GetRegInfoFromDict(details);
    held.Reset(nullptr);
    if (send != 0 && allowed) {
        Tova::SendRegInfo(record);
    }
    return Tova::CNWCFileRegInfo::Save(file.CStr(), record) ? 0 : -3;
}
