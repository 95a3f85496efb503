#include "interface/AppVariables.h"

#include "fs/CFSPath.h"
#include "vars/GlobalVars.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <dlfcn.h>
#include <libgen.h>

namespace {

constexpr char cConfigSuffix[] = "/Resources/CXMnwc";
// A longer canonical path of the library's file, in bytes, is not followed.
constexpr std::size_t cMaxPath = 1023;

struct Free {
    void operator()(char* memory) const { std::free(memory); }
};

// Returns the path by which the loader knows the file that holds this code.
const char* ownPath() {
    Dl_info image;
    const bool isKnown = dladdr(reinterpret_cast<const void*>(&doAppSetVariables), &image) != 0;
    return isKnown && image.dli_fname != nullptr ? image.dli_fname : "";
}

// The canonical form of a relative path. It is found at load, since the path leads elsewhere once
// the program has changed folders.
constinit char sOwnFile[PATH_MAX] = "";
[[maybe_unused]] const bool sIsRelative =
    *ownPath() != '/' && realpath(ownPath(), sOwnFile) != nullptr;

// Finds the folder of that file. Returns false if the loader or the file system cannot tell.
bool findOwnFolder(Tova::CString& folder) {
    const char* known = *sOwnFile == '/' ? sOwnFile : ownPath();
    if (*known != '/') {
        return false;
    }
    const std::unique_ptr<char, Free> path(realpath(known, nullptr));
    if (!path && errno == ENOMEM) {
        throw std::bad_alloc();
    }
    if (!path || std::strlen(path.get()) > cMaxPath) {
        return false;
    }
    folder = dirname(path.get());
    return true;
}

// The file could not be opened, for lack of descriptors or the like.
bool sIsFileDue = false;

// Adds the variables of the file beside the library. Returns false if a later try may succeed.
bool addOwnFile(Tova::CVarList& list) {
    Tova::CString path;
    if (!findOwnFolder(path)) {
        return true;
    }
    path.Append(cConfigSuffix);
    Tova::CFSPath file;
    Tova::CVarList vars;
    Tova::RStatus status = file.FromUnixPath(path.CStr());
    if (status >= 0) {
        status = vars.ReadFromEncryptedFile(file);
    }
    if (status >= 0) {
        list += vars;
    }
    return status != Tova::Failure;
}

}  // namespace

void doAppSetVariables() {
    const bool isFilled = Tova::GlobalVars.GetValue(Tova::cBuiltInVariables[0].name) != nullptr;
    if (isFilled && !sIsFileDue) {
        return;
    }
    // The first name is the mark that the list is filled, so the list is filled aside.
    Tova::CVarList filled;
    filled += Tova::GlobalVars;
    if (!isFilled) {
        Tova::SetBuiltInVariables(filled);
    }
    sIsFileDue = !addOwnFile(filled);
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
