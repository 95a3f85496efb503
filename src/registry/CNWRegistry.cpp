#include "registry/CNWRegistry.h"

#include "fs/CLocalFileSystem.h"
#include "registry/RegErrors.h"
#include "text/CFRef.h"
#include "vars/GlobalVars.h"

#include <new>

namespace Tova {

CErrorTableEntry RegErrors[2] = {{S_RegIsDirectory, "S_RegIsDirectory"},
                                 {S_RegIsValue, "S_RegIsValue"}};
CErrorTable RegErrorTable("Reg", 6, 2, RegErrors);

namespace {

constexpr char cDefaultLocation[] = "[MachineAppDataDir]/Nimbus Works/Nimbus Works Registry";
constexpr char cLocationVar[] = "NWRegistry";
constexpr char cNoUserName[] = "NoUsername";

// Returns the name of the current user's directory. It is always a valid name.
CString userDirName() {
    CString name;
    const CFRef<CFStringRef> user(CSCopyUserName(true));
    if (!user || !name.CopyFromCFString(user.Get(), kCFStringEncodingInvalidId) || name.IsEmpty()) {
        name = cNoUserName;
    }
    CRegDir::FixName(name);
    return name;
}

}  // namespace

CNWRegistry::CNWRegistry(const char* appKey, UserDirectory user)
    : CFileRegistry(CFSPath(), true), hasApplication_(appKey != nullptr) {
    // The path stays empty if the location cannot be expanded; then there is no file to read.
    FindRegistry(registryPath_);
    filePath_.Copy(registryPath_);
    Read();  // a missing or damaged file is no error: the object finds less
    if (lacksMemory_) {
        throw std::bad_alloc();
    }
    if (hasApplication_) {
        OpenOrCreate(appKey, appDir_);
    }
    if (user == UserDirectory::Open) {
        OpenOrCreate(userDirName().CStr(), userDir_);
    }
}

RStatus CNWRegistry::FindRegistry(CFSPath& path) {
    CString location;
    if (const char* custom = GlobalVars.GetValue(cLocationVar); custom != nullptr) {
        location = custom;
        GlobalVars.Apply(location, nullptr);
    } else {
        location = cDefaultLocation;
    }
    return LFS.MakePath(location.CStr(), path);
}

void CNWRegistry::OpenOrCreate(const char* path, CRegDir& out) {
    if (!IsRead() || !OpenDir(path, out)) {
        // On failure `out` stays on no node, and finds nothing.
        CreateDir(path, out);
    }
}

}  // namespace Tova
