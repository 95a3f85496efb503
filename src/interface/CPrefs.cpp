#include "interface/CPrefs.h"

namespace Tova {

void CPrefs::Synchronize() {
    // Nothing can be done about a failure: a file that cannot be read counts as empty, and changes
    // wait for the next time.
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
