#include "interface/CPrefs.h"

namespace Tova {

void CPrefs::Synchronize() {
    // Nothing can be done about a failure: reading then gives the earlier values.
    static_cast<void>(
        CFPreferencesSynchronize(Domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
}

int CPrefs::Clear(CFStringRef key) {
    if (key == nullptr) {
        return 0;
    }
    CFPreferencesSetValue(key, nullptr, Domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
    Synchronize();
    return 1;
}

}  // namespace Tova
