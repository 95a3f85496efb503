// Strings from bytes and to bytes.
#include "corefoundation/string/Charset.h"
#include "corefoundation/string/Encoding.h"
#include "corefoundation/string/String.h"
#include "corefoundation/string/Utf8.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace tvplatform {

namespace {

CFStringRef decodeString(std::string_view bytes, CFStringEncoding encoding) {
    auto text = Decode(bytes, encoding);
    return text ? MakeString(std::move(*text)) : nullptr;
}

bool holdsCStrings(CFStringEncoding encoding) {
    const Charset* charset = FindCharset(encoding);
    return charset != nullptr && charset->holdsCStrings;
}

// The part of a text that can be converted: how many units, and their bytes.
struct Converted {
    size_t units = 0;
    std::string bytes;
};

// Goes character by character to find how far `text` can be converted in at most `limit` bytes. A
// charset that shifts takes no more bytes for the characters in a row than for each by itself, so
// the bytes of the row are within the limit too.
Converted convertPart(std::u16string_view text, CFStringEncoding encoding,
                      const std::optional<std::u16string>& loss, size_t limit) {
    Converted done;
    std::u16string converted;
    size_t size = 0;
    for (size_t i = 0; i < text.size();) {
        size_t next = 0;
        CodePointAt(text, i, next);
        std::u16string_view character = text.substr(i, next - i);
        auto bytes = Encode(character, encoding);
        if (!bytes && loss) {
            character = *loss;
            bytes = Encode(character, encoding);
        }
        if (!bytes || bytes->size() > limit - size) {
            break;
        }
        converted += character;
        size += bytes->size();
        done.units = i = next;
    }
    done.bytes = Encode(converted, encoding).value_or(std::string());
    return done.bytes.size() <= limit ? done : Converted();
}

Converted convertWhatFits(std::u16string_view text, CFStringEncoding encoding, UInt8 lossByte,
                          size_t limit) {
    if (auto whole = Encode(text, encoding); whole && whole->size() <= limit) {
        return {text.size(), std::move(*whole)};
    }
    std::optional<std::u16string> loss;
    if (lossByte != 0) {
        const auto byte = static_cast<char>(lossByte);
        constexpr CFStringEncoding cAnyByte = kCFStringEncodingISOLatin1;
        loss = Decode({&byte, 1}, holdsCStrings(encoding) ? encoding : cAnyByte);
    }
    return convertPart(text, encoding, loss, limit);
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding) {
    return text != nullptr && holdsCStrings(encoding) ? decodeString(text, encoding) : nullptr;
}

CFStringRef CFStringCreateWithCStringNoCopy(CFAllocatorRef allocator, const char* text,
                                            CFStringEncoding encoding,
                                            CFAllocatorRef contentsDeallocator) {
    CFStringRef string = CFStringCreateWithCString(allocator, text, encoding);
    if (string != nullptr && contentsDeallocator != kCFAllocatorNull) {
        std::free(const_cast<char*>(text));
    }
    return string;
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
    if (numBytes < 0 || (bytes == nullptr && numBytes > 0) || isExternalRepresentation != 0 ||
        FindCharset(encoding) == nullptr) {
        return nullptr;
    }
    std::string_view view;
    if (numBytes > 0) {
        view = {reinterpret_cast<const char*>(bytes), static_cast<size_t>(numBytes)};
    }
    return decodeString(view, encoding);
}

void CFStringAppendCString(CFMutableStringRef string, const char* text, CFStringEncoding encoding) {
    String* object = AsMutable<String>(string);
    if (object == nullptr || text == nullptr || !holdsCStrings(encoding)) {
        return;
    }
    if (const auto appended = Decode(text, encoding)) {
        object->MutableText().append(*appended);
    }
}

const char* CFStringGetCStringPtr(CFStringRef, CFStringEncoding) {
    return nullptr;
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
    const auto text = TextOf(string);
    if (!text || buffer == nullptr || bufferSize <= 0 || !holdsCStrings(encoding) ||
        text->find(u'\0') != text->npos) {
        return false;
    }
    const auto room = static_cast<size_t>(bufferSize - 1);
    const auto bytes = Encode(*text, encoding);
    if (!bytes || bytes->size() > room) {
        return false;
    }
    std::memcpy(buffer, bytes->c_str(), bytes->size() + 1);
    return true;
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen) {
    if (usedBufLen != nullptr) {
        *usedBufLen = 0;
    }
    const auto text = TextOf(string);
    if (!text || !LiesIn(range, text->size()) || isExternalRepresentation != 0 ||
        FindCharset(encoding) == nullptr) {
        return 0;
    }
    const size_t limit = buffer == nullptr ? std::numeric_limits<size_t>::max()
                         : maxBufLen > 0   ? static_cast<size_t>(maxBufLen)
                                           : 0;
    const Converted done = convertWhatFits(Part(*text, range), encoding, lossByte, limit);
    if (buffer != nullptr) {
        std::copy(done.bytes.begin(), done.bytes.end(), buffer);
    }
    if (usedBufLen != nullptr) {
        *usedBufLen = static_cast<CFIndex>(done.bytes.size());
    }
    return static_cast<CFIndex>(done.units);
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    const Charset* charset = FindCharset(encoding);
    if (charset == nullptr || length < 0) {
        return kCFNotFound;
    }
    const CFIndex perUnit = charset->bytesPerUnit;
    const CFIndex extra = perUnit > 4 ? cShiftBytes : 0;
    return length <= (std::numeric_limits<CFIndex>::max() - extra) / perUnit
               ? length * perUnit + extra
               : kCFNotFound;
}

CFStringEncoding CFStringGetSystemEncoding() {
    return SystemEncoding();
}

CFStringEncoding CFStringConvertIANACharSetNameToEncoding(CFStringRef name) {
    const auto bytes = ToUtf8(name);
    const Charset* charset = bytes ? FindCharset(*bytes) : nullptr;
    return charset != nullptr ? charset->encoding : kCFStringEncodingInvalidId;
}
