// The C interface of the user names.
#include "corefoundation/string/String.h"
#include "posix/UserFolders.h"

#include <CoreServices/UserNames.h>

#include <cstdlib>

using namespace tvplatform;

CFStringRef CSCopyUserName(Boolean useShortName) {
    auto person = useShortName == 0 ? tvposix::FindUserEntry(&passwd::pw_gecos) : std::nullopt;
    if (person) {
        // Room and telephone numbers follow the name.
        person->resize(std::min(person->find(','), person->size()));
    }
    const auto login = tvposix::FindUserEntry(&passwd::pw_name);
    for (const char* name : {person ? person->c_str() : nullptr, login ? login->c_str() : nullptr,
                             static_cast<const char*>(secure_getenv("LOGNAME")),
                             static_cast<const char*>(secure_getenv("USER"))}) {
        CFStringRef text = name != nullptr && *name != '\0' ? MakeString(name) : nullptr;
        if (text != nullptr) {
            return text;
        }
    }
    return nullptr;
}
