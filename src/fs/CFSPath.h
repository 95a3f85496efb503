// The path type: the name of a file or folder, held as one platform file URL. One thread at a time
// may use a path.
#pragma once

#include "text/CString.h"
#include "text/RStatus.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

namespace Tova {

// The parts of a path that GetComponent returns.
enum FSComponentType : int {
    FSContainingFolder = 3,
};

// An operation that needs a path returns `Failure` for an empty one. An operation that fails leaves
// the path and its output arguments unchanged. Texts are POSIX paths. A path with a text of more
// than 1,024 bytes, the NUL included, cannot be converted. Nothing throws except for lack of
// memory.
class CFSPath {
public:
    // The empty path.
    CFSPath() = default;
    CFSPath(const CFSPath&) = delete;
    CFSPath& operator=(const CFSPath&) = delete;
    virtual ~CFSPath() { Set(nullptr, true); }

    // Appends `name` (UTF-8) as a new last component, without one leading "/".
    RStatus AppendComponent(const char* name);
    // Does the same. Deliberate: the text is not split. "a/b" goes to the platform as it is, which
    // adds two levels.
    RStatus AppendComponents(const char* names) { return AppendComponent(names); }
    // Shares the URL of `other`. Deliberate: a URL that this path holds already is not released, so
    // call this for an empty path only.
    void Copy(const CFSPath& other);
    // Makes this a path that does not name a directory. A relative path begins at the current
    // folder.
    RStatus FromUnixPath(const char* path);
    // Replaces the URL. Null makes the path empty. With `adopt` the path takes over the caller's
    // reference, without it the path makes its own.
    void Set(CFURLRef url, bool adopt);
    // Resolves a relative path: a new URL without a base replaces the old one.
    RStatus MakeFullPath();
    // Makes this the path of the object that a platform file reference stands for.
    RStatus MacFromFSRef(const FSRef& ref);

    bool IsEmpty() const { return url_ == nullptr; }
    // Returns the URL, which the path still owns, or null if the path is empty.
    CFURLRef GetURL() const { return url_; }
    // Returns the containing folder in `out`, which may be this path. A root contains itself.
    // ErrBadParameter if `type` is not FSContainingFolder.
    RStatus GetComponent(FSComponentType type, CFSPath& out) const;
    // Returns true for "/", and for "/Volumes" in upper or lower case. A walk upward ends there.
    bool IsRootDirectory() const;
    bool IsFullPath() const;
    RStatus ToUnixPath(CString& out) const;
    // Fails unless the object exists. Deliberate: the name is never supplied. `unused` may be null
    // and is left alone.
    RStatus MacToFSRef(FSRef& ref, CFStringRef* unused = nullptr) const;

private:
    RStatus Adopt(CFURLRef created);

    CFURLRef url_ = nullptr;
};

}  // namespace Tova
