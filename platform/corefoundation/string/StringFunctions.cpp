// The C interface of strings as sequences of units, and the texts of all objects.
#include "corefoundation/string/String.h"

#include <cstring>

using namespace tvplatform;

CFTypeID CFStringGetTypeID() {
    return static_cast<CFTypeID>(TypeId::String);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* chars, CFIndex numChars) {
    if (numChars < 0 || (chars == nullptr && numChars > 0)) {
        return nullptr;
    }
    std::u16string text(static_cast<size_t>(numChars), u'\0');
    if (numChars > 0) {
        std::memcpy(text.data(), chars, text.size() * sizeof(UniChar));
    }
    return MakeString(std::move(text));
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef string) {
    const String* source = As<String>(string);
    if (source == nullptr) {
        return nullptr;
    }
    if (source->IsMutable()) {
        return MakeString(std::u16string(source->Text()));
    }
    source->Retain();
    return source;
}

CFMutableStringRef CFStringCreateMutable(CFAllocatorRef, CFIndex) {
    return new String({}, String::Kind::Mutable);
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef, CFIndex, CFStringRef string) {
    const auto text = TextOf(string);
    return text ? new String(std::u16string(*text), String::Kind::Mutable) : nullptr;
}

CFIndex CFStringGetLength(CFStringRef string) {
    const auto text = TextOf(string);
    return text ? static_cast<CFIndex>(text->size()) : 0;
}

UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index) {
    const auto text = TextOf(string);
    return text && LiesIn({index, 1}, text->size()) ? (*text)[static_cast<size_t>(index)]
                                                    : UniChar{0};
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer) {
    const auto text = TextOf(string);
    if (text && buffer != nullptr && LiesIn(range, text->size())) {
        const auto part = Part(*text, range);
        std::memcpy(buffer, part.data(), part.size() * sizeof(UniChar));
    }
}

void CFStringAppend(CFMutableStringRef string, CFStringRef appended) {
    String* object = AsMutable<String>(string);
    const auto text = TextOf(appended);
    if (object != nullptr && text) {
        object->MutableText().append(*text);
    }
}

void CFStringReplaceAll(CFMutableStringRef string, CFStringRef replacement) {
    String* object = AsMutable<String>(string);
    const auto text = TextOf(replacement);
    if (object != nullptr && text) {
        object->MutableText().assign(*text);
    }
}

CFStringRef CFCopyDescription(CFTypeRef object) {
    return MakeString(DescriptionOf(object));
}

CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b, CFStringCompareFlags) {
    // An absent text comes before every other.
    const auto left = TextOf(a);
    const auto right = TextOf(b);
    return left < right   ? kCFCompareLessThan
           : left > right ? kCFCompareGreaterThan
                          : kCFCompareEqualTo;
}
