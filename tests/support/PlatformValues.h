// Short ways to make and to read platform objects in tests.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <string>
#include <string_view>
#include <utility>

namespace tvtest {

// Owns the reference that a Create or Copy function returned.
template <class Ref>
class Owned {
public:
    explicit Owned(Ref ref) : ref_(ref) {}
    Owned(Owned&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
    Owned& operator=(Owned&& other) noexcept {
        std::swap(ref_, other.ref_);
        return *this;
    }
    ~Owned() { CFRelease(ref_); }

    operator Ref() const { return ref_; }  // NOLINT: tests read better without a call
    Ref Get() const { return ref_; }

private:
    Ref ref_;
};

template <class Ref>
Owned<Ref> Own(Ref ref) {
    return Owned<Ref>(ref);
}

inline Owned<CFStringRef> Str(std::u16string_view text) {
    return Own(CFStringCreateWithCharacters(nullptr, reinterpret_cast<const UniChar*>(text.data()),
                                            static_cast<CFIndex>(text.size())));
}

inline Owned<CFMutableStringRef> MutableStr(std::u16string_view text) {
    return Own(CFStringCreateMutableCopy(nullptr, 0, Str(text)));
}

// The units of a string; "<null>" for null.
inline std::u16string Text(CFStringRef string) {
    if (string == nullptr) {
        return u"<null>";
    }
    std::u16string text(static_cast<size_t>(CFStringGetLength(string)), u'\0');
    CFStringGetCharacters(string, CFRangeMake(0, CFStringGetLength(string)),
                          reinterpret_cast<UniChar*>(text.data()));
    return text;
}

inline Owned<CFNumberRef> Int(long value) {
    return Own(CFNumberCreate(nullptr, kCFNumberLongType, &value));
}

inline CFRange Whole(CFStringRef string) {
    return CFRangeMake(0, CFStringGetLength(string));
}

}  // namespace tvtest
