#include "fs/CFSPath.h"

#include "text/CFRef.h"
#include "text/Str.h"

#include <cstring>

namespace Tova {

namespace {

// The text of a path: its bytes in the file system's form, resolved against the base.
class PathText {
public:
    explicit PathText(CFURLRef url) {
        valid_ = url != nullptr &&
                 CFURLGetFileSystemRepresentation(url, true, bytes_, sizeof bytes_) != 0;
    }
    explicit operator bool() const { return valid_; }
    const UInt8* Bytes() const { return bytes_; }
    const char* CStr() const { return reinterpret_cast<const char*>(bytes_); }
    CFIndex Length() const { return static_cast<CFIndex>(std::strlen(CStr())); }

private:
    bool valid_;
    // Holds a text only if valid_ is true.
    UInt8 bytes_[1024];
};

CFURLRef createURL(const UInt8* bytes, CFIndex length) {
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, bytes, length, false);
}

}  // namespace

// Takes over a new URL. Returns `Failure` if there is none.
RStatus CFSPath::Adopt(CFURLRef created) {
    if (created == nullptr) {
        return Failure;
    }
    Set(created, true);
    return Ok;
}

void CFSPath::Set(CFURLRef url, bool adopt) {
    if (url != nullptr && !adopt) {
        CFRetain(url);
    }
    if (url_ != nullptr) {
        CFRelease(url_);
    }
    url_ = url;
}

RStatus CFSPath::AppendComponent(const char* name) {
    if (name == nullptr || url_ == nullptr) {
        return Failure;
    }
    const CFRef<CFStringRef> component(CFStringCreateWithCString(
        kCFAllocatorDefault, *name == '/' ? name + 1 : name, kCFStringEncodingUTF8));
    return component ? Adopt(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, url_,
                                                                   component.Get(), false))
                     : Failure;
}

void CFSPath::Copy(const CFSPath& other) {
    url_ = other.url_;
    if (url_ != nullptr) {
        CFRetain(url_);
    }
}

RStatus CFSPath::FromUnixPath(const char* path) {
    if (path == nullptr || *path == '\0') {
        return Failure;
    }
    return Adopt(
        createURL(reinterpret_cast<const UInt8*>(path), static_cast<CFIndex>(std::strlen(path))));
}

RStatus CFSPath::MakeFullPath() {
    const PathText text(url_);
    return text ? Adopt(createURL(text.Bytes(), text.Length())) : Failure;
}

RStatus CFSPath::MacFromFSRef(const FSRef& ref) {
    return Adopt(CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
}

RStatus CFSPath::GetComponent(FSComponentType type, CFSPath& out) const {
    if (type != FSContainingFolder) {
        return ErrBadParameter;
    }
    if (url_ == nullptr) {
        return Failure;
    }
    if (IsRootDirectory()) {
        out.Set(url_, false);
        return Ok;
    }
    return out.Adopt(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, url_));
}

bool CFSPath::IsRootDirectory() const {
    const PathText text(url_);
    return text &&
           (std::strcmp(text.CStr(), "/") == 0 || Str::ICompare(text.CStr(), "/Volumes", -1) == 0);
}

bool CFSPath::IsFullPath() const {
    if (url_ == nullptr) {
        return false;
    }
    Boolean absolute = 0;
    const CFRef<CFStringRef> strict(CFURLCopyStrictPath(url_, &absolute));
    return strict && absolute != 0;
}

RStatus CFSPath::ToUnixPath(CString& out) const {
    const PathText text(url_);
    if (!text) {
        return Failure;
    }
    out.Copy(text.CStr());
    return Ok;
}

RStatus CFSPath::MacToFSRef(FSRef& ref, CFStringRef*) const {
    return url_ != nullptr && CFURLGetFSRef(url_, &ref) != 0 ? Ok : Failure;
}

}  // namespace Tova
