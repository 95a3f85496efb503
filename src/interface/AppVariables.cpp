#include "interface/AppVariables.h"

#include "fs/CFSPath.h"
#include "vars/GlobalVars.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include <dlfcn.h>
#include <libgen.h>

namespace {

constexpr char cMajVersionVar[] = "MajVersion";
constexpr char cConfigSuffix[] = "/Resources/CXMnwc";
// The longest canonical path of the library's file that is followed, in bytes.
constexpr std::size_t cMaxPath = 1023;

struct Free {
    void operator()(char* memory) const { std::free(memory); }
};

// The folder of the file that holds this code; false when the loader or the file system cannot say.
bool findOwnFolder(Tova::CString& folder) {
    Dl_info image;
    if (dladdr(reinterpret_cast<const void*>(&doAppSetVariables), &image) == 0 ||
        image.dli_fname == nullptr) {
        return false;
    }
    const std::unique_ptr<char, Free> path(realpath(image.dli_fname, nullptr));
    if (!path || std::strlen(path.get()) > cMaxPath) {
        return false;
    }
    folder = dirname(path.get());
    return true;
}

}  // namespace

void doAppSetVariables() {
    if (Tova::GlobalVars.GetValue(cMajVersionVar) != nullptr) {
        return;
    }
    Tova::SetBuiltInVariables();
    Tova::CString path;
    if (findOwnFolder(path)) {
        path.Append(cConfigSuffix);
        static_cast<void>(Tova::MergeConfiguration(path.CStr()));
    }
}

namespace Tova {

void SetBuiltInVariables() {
    GlobalVars.SetValue(cMajVersionVar, "7", true);
    GlobalVars.SetValue("MinVersion", "4", true);
    GlobalVars.SetValue("AppName", "Calyx", false);
    GlobalVars.SetValue("ShortAppKey", "CX", false);
}

bool MergeConfiguration(const char* path) {
    CFSPath file;
    CVarList vars;
    if (file.FromUnixPath(path) < 0 || vars.ReadFromEncryptedFile(file) < 0) {
        return false;
    }
    GlobalVars += vars;
    return true;
}

}  // namespace Tova
