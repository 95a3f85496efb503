// The one path type: a file or folder name, held as one platform file URL. One thread at a time may
// use a path.
#pragma once

#include "text/CString.h"
#include "text/RStatus.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

namespace Tova {

// What GetComponent can be asked for.
enum FSComponentType : int {
    FSContainingFolder = 3,
};

// An operation that needs a path fails with `Failure` on an empty one, and whatever fails leaves
// the path and its output arguments unchanged. Texts are POSIX paths; a path whose text does not
// fit 1,024 bytes, the NUL included, cannot be converted. Nothing throws except for lack of memory.
class CFSPath {
public:
    // The empty path.
    CFSPath() = default;
    CFSPath(const CFSPath&) = delete;
    CFSPath& operator=(const CFSPath&) = delete;
    virtual ~CFSPath();

    // Appends `name` (UTF-8) as a new last component, less one leading "/".
    RStatus AppendComponent(const char* name);
    // The same: the text is not split, so "a/b" goes to the platform as it is and adds two levels.
    RStatus AppendComponents(const char* names);
    // Shares the URL of `other`. For a path that is still empty: a URL that is already held is not
    // released.
    void Copy(const CFSPath& other);
    // A path that names no directory; relative paths are taken from the current folder.
    RStatus FromUnixPath(const char* path);
    // Replaces the URL; null empties the path. With `adopt` the caller's reference is taken over,
    // without it the path makes one of its own.
    void Set(CFURLRef url, bool adopt);
    // Resolves a relative path: the URL becomes a new one without a base.
    RStatus MakeFullPath();
    // The path of the object behind a platform file reference.
    RStatus MacFromFSRef(const FSRef& ref);

    bool IsEmpty() const { return url_ == nullptr; }
    // The held URL, still owned by the path; null when empty.
    CFURLRef GetURL() const { return url_; }
    // The containing folder; a root is its own. `out` may be this path. Any `type` but
    // FSContainingFolder is ErrBadParameter.
    RStatus GetComponent(FSComponentType type, CFSPath& out) const;
    // True for "/" and for "/Volumes" in any case, where a walk upward is to end.
    bool IsRootDirectory() const;
    bool IsFullPath() const;
    RStatus ToUnixPath(CString& out) const;
    // Fails unless the object exists. The name is never supplied: `unused` may be null and is left
    // alone.
    RStatus MacToFSRef(FSRef& ref, CFStringRef* unused = nullptr) const;

private:
    RStatus Adopt(CFURLRef created);

    CFURLRef url_ = nullptr;
};

}  // namespace Tova
