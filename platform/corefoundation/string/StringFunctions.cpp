// The C interface of strings as sequences of units, and the texts of all objects.
#include "corefoundation/string/String.h"

#include <cstring>
#include <new>

namespace tvplatform {

namespace {

std::u16string copyOfUnits(const UniChar* units, CFIndex count) {
    std::u16string text;
    if (static_cast<size_t>(count) > text.max_size()) {
        throw std::bad_alloc();
    }
    text.resize(static_cast<size_t>(count));
    if (count > 0) {
        std::memcpy(text.data(), units, text.size() * sizeof(UniChar));
    }
    return text;
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFTypeID CFStringGetTypeID() {
    return static_cast<CFTypeID>(TypeId::String);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* chars, CFIndex numChars) {
    if (numChars < 0 || (chars == nullptr && numChars > 0)) {
        return nullptr;
    }
    return MakeString(copyOfUnits(chars, numChars));
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef, CFStringRef string, CFRange range) {
    const auto text = TextOf(string);
    return text && LiesIn(range, text->size()) ? MakeString(std::u16string(Part(*text, range)))
                                               : nullptr;
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

const UniChar* CFStringGetCharactersPtr(CFStringRef string) {
    const auto text = TextOf(string);
    return text ? reinterpret_cast<const UniChar*>(text->data()) : nullptr;
}

void CFStringAppendCharacters(CFMutableStringRef string, const UniChar* chars, CFIndex numChars) {
    String* object = As<String>(string);
    if (object != nullptr && object->IsMutable() && chars != nullptr && numChars > 0) {
        object->MutableText()->append(copyOfUnits(chars, numChars));
    }
}

CFStringRef CFCopyDescription(CFTypeRef object) {
    return MakeString(object != nullptr ? static_cast<const Object*>(object)->Description()
                                        : std::u16string(u"(null)"));
}

void CFStringReplace(CFMutableStringRef string, CFRange range, CFStringRef replacement) {
    String* object = As<String>(string);
    const auto inserted = TextOf(replacement);
    if (object == nullptr || !object->IsMutable() || !inserted ||
        !LiesIn(range, object->Text().size())) {
        return;
    }
    // The standard string copes with a source that is part of itself.
    object->MutableText()->replace(static_cast<size_t>(range.location),
                                   static_cast<size_t>(range.length), inserted->data(),
                                   inserted->size());
}

void CFStringReplaceAll(CFMutableStringRef string, CFStringRef replacement) {
    CFStringReplace(string, {0, CFStringGetLength(string)}, replacement);
}

void CFStringAppend(CFMutableStringRef string, CFStringRef appended) {
    CFStringReplace(string, {CFStringGetLength(string), 0}, appended);
}

void CFStringInsert(CFMutableStringRef string, CFIndex index, CFStringRef inserted) {
    CFStringReplace(string, {index, 0}, inserted);
}

void CFStringDelete(CFMutableStringRef string, CFRange range) {
    CFStringReplace(string, range, CFSTR(""));
}
