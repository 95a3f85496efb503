// Short ways to make and to read platform objects in tests.
#pragma once

#include "corefoundation/object/Ref.h"

#include <CoreFoundation/CoreFoundation.h>

#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tvtest {

// Owns the reference that a Create or Copy function returned, and passes for it in a call.
template <class T>
struct Owned : tvplatform::Ref<T> {
    using tvplatform::Ref<T>::Ref;
    operator T() const { return this->Get(); }  // NOLINT: tests read better without a call
};

template <class T>
Owned<T> Own(T adopted) {
    return Owned<T>(adopted);
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

inline Owned<CFArrayRef> ArrayOf(const std::vector<CFTypeRef>& values) {
    return Own(CFArrayCreate(nullptr, const_cast<const void**>(values.data()),
                             static_cast<CFIndex>(values.size()), &kCFTypeArrayCallBacks));
}

// Returns `inmost` in `depth` arrays, each of which holds `copies` times what is in it.
inline Owned<CFTypeRef> Nest(int depth, CFTypeRef inmost, std::size_t copies = 1) {
    auto nested = Own(CFRetain(inmost));
    for (int i = 0; i < depth; ++i) {
        nested = Own(CFRetain(ArrayOf(std::vector<CFTypeRef>(copies, nested))));
    }
    return nested;
}

inline Owned<CFMutableDictionaryRef> MutableDict() {
    return Own(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                         &kCFTypeDictionaryValueCallBacks));
}

inline CFRange Whole(CFStringRef string) {
    return CFRangeMake(0, CFStringGetLength(string));
}

// What an object holds: "[a,b]" for an array, "{k=v,l=w}" for a dictionary with its keys in order,
// the description of any other.
inline std::u16string Dump(CFTypeRef object) {
    std::u16string text;
    if (CFGetTypeID(object) == CFArrayGetTypeID()) {
        const auto array = static_cast<CFArrayRef>(object);
        for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
            text += (i > 0 ? u"," : u"") + Dump(CFArrayGetValueAtIndex(array, i));
        }
        return u"[" + text + u"]";
    }
    if (CFGetTypeID(object) != CFDictionaryGetTypeID()) {
        return Text(Own(CFCopyDescription(object)));
    }
    const auto dictionary = static_cast<CFDictionaryRef>(object);
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count), values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    std::map<std::u16string, std::u16string> entries;
    for (std::size_t i = 0; i < count; ++i) {
        entries[Dump(keys[i])] = Dump(values[i]);
    }
    for (const auto& [key, value] : entries) {
        text += (text.empty() ? u"" : u",") + key + u"=" + value;
    }
    return u"{" + text + u"}";
}

// Calls `body` with 0 to count - 1, each on a thread of its own, and waits for the threads.
template <class Body>
void OnThreads(int count, Body body) {
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(body, i);
    }
}

}  // namespace tvtest
