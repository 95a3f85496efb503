// The C interface of dictionaries.
#include "corefoundation/collection/Dictionary.h"
#include "corefoundation/object/Ref.h"

#include <CoreFoundation/CFString.h>

#include <memory>

namespace tvplatform {

namespace {

const void* copyString(CFAllocatorRef allocator, const void* key) {
    return CFStringCreateCopy(allocator, static_cast<CFStringRef>(key));
}

Dictionary* copyOf(const Dictionary& source, bool isMutable) {
    auto copy =
        std::make_unique<Dictionary>(&source.Keys().Get(), &source.Values().Get(), isMutable);
    for (const auto& [key, value] : source.Entries()) {
        copy->Add(key, value);
    }
    return copy.release();
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

constinit const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {
    0, RetainMember, ReleaseMember, CFCopyDescription, CFEqual, CFHash};
constinit const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {
    0, RetainMember, ReleaseMember, CFCopyDescription, CFEqual};
constinit const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks = {
    0, copyString, ReleaseMember, CFCopyDescription, CFEqual, CFHash};

CFTypeID CFDictionaryGetTypeID() {
    return static_cast<CFTypeID>(TypeId::Dictionary);
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
    if (count < 0 || (count > 0 && (keys == nullptr || values == nullptr))) {
        return nullptr;
    }
    auto dictionary = std::make_unique<Dictionary>(keyCallBacks, valueCallBacks, false);
    for (CFIndex i = 0; i < count; ++i) {
        if (dictionary->Find(keys[i]) == nullptr && !dictionary->Add(keys[i], values[i])) {
            return nullptr;
        }
    }
    return dictionary.release();
}

CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef, CFDictionaryRef dictionary) {
    const Dictionary* source = As<Dictionary>(dictionary);
    if (source == nullptr) {
        return nullptr;
    }
    if (source->IsMutable()) {
        return copyOf(*source, false);
    }
    source->Retain();
    return source;
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
    return new Dictionary(keyCallBacks, valueCallBacks, true);
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef, CFIndex,
                                                     CFDictionaryRef dictionary) {
    const Dictionary* source = As<Dictionary>(dictionary);
    return source != nullptr ? copyOf(*source, true) : nullptr;
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
    const Dictionary* object = As<Dictionary>(dictionary);
    return object != nullptr ? static_cast<CFIndex>(object->Entries().size()) : 0;
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key) {
    return CFDictionaryGetValueIfPresent(dictionary, key, nullptr);
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const void* value = nullptr;
    CFDictionaryGetValueIfPresent(dictionary, key, &value);
    return value;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key,
                                      const void** value) {
    const Dictionary* object = As<Dictionary>(dictionary);
    const void* const* found = object != nullptr ? object->Find(key) : nullptr;
    if (found != nullptr && value != nullptr) {
        *value = *found;
    }
    return found != nullptr;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values) {
    const Dictionary* object = As<Dictionary>(dictionary);
    if (object == nullptr) {
        return;
    }
    size_t i = 0;
    for (const auto& [key, value] : object->Entries()) {
        if (keys != nullptr) {
            keys[i] = key;
        }
        if (values != nullptr) {
            values[i] = value;
        }
        ++i;
    }
}

void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    Dictionary* object = AsMutable<Dictionary>(dictionary);
    if (object != nullptr && object->Find(key) == nullptr) {
        object->Add(key, value);
    }
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    Dictionary* object = AsMutable<Dictionary>(dictionary);
    if (object == nullptr) {
        return;
    }
    if (object->Find(key) != nullptr) {
        object->Replace(key, value);
    } else {
        object->Add(key, value);
    }
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key) {
    if (Dictionary* object = AsMutable<Dictionary>(dictionary)) {
        object->Remove(key);
    }
}
