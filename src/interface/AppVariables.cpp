#include "interface/AppVariables.h"

#include "fs/CFSPath.h"
#include "vars/GlobalVars.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include <dlfcn.h>
#include <libgen.h>

namespace {

constexpr char cConfigSuffix[] = "/Resources/CXMnwc";
// A longer canonical path of the library's file, in bytes, is not followed.
constexpr std::size_t cMaxPath = 1023;

struct Free {
    void operator()(char* memory) const { std::free(memory); }
};

// Finds the folder of the file that holds this code. Returns false if the loader or the file system
// cannot tell.
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
    if (Tova::GlobalVars.GetValue(Tova::cBuiltInVariables[0].name) != nullptr) {
        return;
    }
    // The first name is the mark that the list is filled, so the list is filled aside.
    Tova::CVarList filled;
    filled += Tova::GlobalVars;
    Tova::SetBuiltInVariables(filled);
    Tova::CString path;
    if (findOwnFolder(path)) {
        path.Append(cConfigSuffix);
        Tova::CFSPath file;
        Tova::CVarList vars;
        if (file.FromUnixPath(path.CStr()) >= 0 && vars.ReadFromEncryptedFile(file) >= 0) {
            filled += vars;
        }
    }
    Tova::GlobalVars.Swap(filled);
}

namespace Tova {

void SetBuiltInVariables(CVarList& list) {
    for (const BuiltInVariable& var : cBuiltInVariables) {
        list.SetValue(var.name, var.value, var.fixed);
    }
}

bool AppGetVariable(const char* name, CString& value) {
    if (!GlobalVars.GetValue(name, value)) {
        return false;
    }
    GlobalVars.Apply(value, nullptr);
    return true;
}

}  // namespace Tova
