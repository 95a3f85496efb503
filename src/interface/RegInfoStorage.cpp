#include "interface/RegInfoStorage.h"

#include "fs/CFSPath.h"
#include "interface/CPrefs.h"
#include "text/CFRef.h"

namespace Tova {

bool ReadValue(const CString& name, CString& value) {
    CString text("RegisterInfo/");
    text.Append(name.CStr());
    const CFRef<CFStringRef> key(text.CreateCFString(kCFStringEncodingInvalidId));
    if (!key) {
        return false;
    }
    const CFRef<CFTypeRef> stored(CFPreferencesCopyValue(
        key.Get(), CPrefs::Domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    if (!stored || CFGetTypeID(stored.Get()) != CFStringGetTypeID()) {
        return false;
    }
    // A text that cannot be converted still counts as found. `value` then stays as it is.
    value.CopyFromCFString(static_cast<CFStringRef>(stored.Get()), kCFStringEncodingInvalidId);
    return true;
}

bool CPrefsRegInfo::Load(CRegInfo& record) {
    CPrefs::Synchronize();
    CVarList vars;
    bool complete = true;
    for (const CRegInfo::Field& field : CRegInfo::cFields) {
        CString value;
        if (!ReadValue(CString(field.variable), value)) {
            complete = false;
            break;
        }
        vars.SetValue(field.variable, value.CStr(), false);
    }
    record.SetFromVars(vars);
    return complete;
}

namespace {

bool readList(const char* path, CFSPath& file, CVarList& vars) {
    return file.FromUnixPath(path) >= 0 && vars.ReadFromEncryptedFile(file) >= 0;
}

}  // namespace

bool CNWCFileRegInfo::Load(const char* path, CRegInfo& record) {
    CFSPath file;
    CVarList vars;
    if (!readList(path, file, vars)) {
        return false;
    }
    record.SetFromVars(vars);
    return true;
}

bool CNWCFileRegInfo::Save(const char* path, const CRegInfo& record) {
    CFSPath file;
    CVarList vars;
    if (!readList(path, file, vars)) {
        return false;
    }
    record.SetVariables(vars);
    return vars.WriteToFile(file) >= 0;
}

}  // namespace Tova
