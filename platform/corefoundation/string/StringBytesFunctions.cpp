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

bool HoldsCStrings(CFStringEncoding encoding) {
    const Charset* charset = FindCharset(encoding);
    return charset != nullptr && charset->holdsCStrings;
}

struct Mark {
    CFStringEncoding encoding;
    std::string_view bytes;
    CFStringEncoding marked;  // what text after the mark is in
};
// A mark of UTF-32 begins with one of UTF-16, but each encoding only looks for its own.
constexpr Mark cMarks[] = {
    {kCFStringEncodingUTF8, {"\xEF\xBB\xBF", 3}, kCFStringEncodingUTF8},
    {kCFStringEncodingUTF16, {"\xFE\xFF", 2}, kCFStringEncodingUTF16BE},
    {kCFStringEncodingUTF16, {"\xFF\xFE", 2}, kCFStringEncodingUTF16LE},
    {kCFStringEncodingUTF32, {"\0\0\xFE\xFF", 4}, kCFStringEncodingUTF32BE},
    {kCFStringEncodingUTF32, {"\xFF\xFE\0\0", 4}, kCFStringEncodingUTF32LE},
};

// Takes a byte-order mark off `bytes` and tells in which encoding the rest is.
CFStringEncoding skipMark(std::string_view& bytes, CFStringEncoding encoding) {
    for (const Mark& mark : cMarks) {
        if (mark.encoding == encoding && bytes.starts_with(mark.bytes)) {
            bytes.remove_prefix(mark.bytes.size());
            return mark.marked;
        }
    }
    switch (encoding) {
    case kCFStringEncodingUTF16:
        return kCFStringEncodingUTF16BE;
    case kCFStringEncodingUTF32:
        return kCFStringEncodingUTF32BE;
    default:
        return encoding;
    }
}

bool beginsWithMark(CFStringEncoding encoding) {
    return encoding == kCFStringEncodingUTF16 || encoding == kCFStringEncodingUTF32;
}

// A text as far as it can be converted.
struct Converted {
    size_t units = 0;
    std::string bytes;
};

// Goes character by character to find how far `text` can be converted in at most `limit` bytes.
// The characters by themselves are never shorter than in a row, where a charset that shifts need
// not shift each time, so the bytes of the row are within the limit too.
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
        loss = Decode({&byte, 1}, HoldsCStrings(encoding) ? encoding : cAnyByte);
    }
    return convertPart(text, encoding, loss, limit);
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding) {
    return text != nullptr && HoldsCStrings(encoding) ? decodeString(text, encoding) : nullptr;
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
    if (numBytes < 0 || (bytes == nullptr && numBytes > 0)) {
        return nullptr;
    }
    std::string_view view;
    if (numBytes > 0) {
        view = {reinterpret_cast<const char*>(bytes), static_cast<size_t>(numBytes)};
    }
    if (isExternalRepresentation) {
        encoding = skipMark(view, encoding);
    }
    return FindCharset(encoding) != nullptr ? decodeString(view, encoding) : nullptr;
}

CFStringRef CFStringCreateWithFileSystemRepresentation(CFAllocatorRef, const char* path) {
    return path != nullptr ? MakeString(std::string_view(path)) : nullptr;
}

void CFStringAppendCString(CFMutableStringRef string, const char* text, CFStringEncoding encoding) {
    String* object = As<String>(string);
    if (object == nullptr || !object->IsMutable() || text == nullptr || !HoldsCStrings(encoding)) {
        return;
    }
    if (const auto appended = Decode(text, encoding)) {
        object->MutableText()->append(*appended);
    }
}

const char* CFStringGetCStringPtr(CFStringRef, CFStringEncoding) {
    return nullptr;
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
    const auto text = TextOf(string);
    if (!text || buffer == nullptr || bufferSize <= 0 || !HoldsCStrings(encoding)) {
        return false;
    }
    const auto room = static_cast<size_t>(bufferSize - 1);
    if (encoding == kCFStringEncodingUTF8) {
        const auto size = Utf8Size(*text);
        if (!size || *size > room) {
            return false;
        }
        WriteUtf8(*text, buffer);
        buffer[*size] = '\0';
        return true;
    }
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
    if (!text || !LiesIn(range, text->size()) || FindCharset(encoding) == nullptr) {
        return 0;
    }
    std::string mark;
    if (isExternalRepresentation && beginsWithMark(encoding)) {
        mark = Encode(u"\xFEFF", encoding).value_or(std::string());
    }
    size_t limit = buffer == nullptr ? std::numeric_limits<size_t>::max()
                   : maxBufLen > 0   ? static_cast<size_t>(maxBufLen)
                                     : 0;
    if (mark.size() > limit) {
        return 0;
    }
    limit -= mark.size();
    const Converted done = convertWhatFits(Part(*text, range), encoding, lossByte, limit);
    if (buffer != nullptr) {
        UInt8* end = std::copy(mark.begin(), mark.end(), buffer);
        std::copy(done.bytes.begin(), done.bytes.end(), end);
    }
    if (usedBufLen != nullptr) {
        *usedBufLen = static_cast<CFIndex>(mark.size() + done.bytes.size());
    }
    return static_cast<CFIndex>(done.units);
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    const Charset* charset = FindCharset(encoding);
    if (charset == nullptr || length < 0) {
        return kCFNotFound;
    }
    const CFIndex perUnit = charset->bytesPerUnit;
    const CFIndex extra = perUnit > 4 ? cShiftBytes : beginsWithMark(encoding) ? perUnit : 0;
    return length <= (std::numeric_limits<CFIndex>::max() - extra) / perUnit
               ? length * perUnit + extra
               : kCFNotFound;
}

Boolean CFStringGetFileSystemRepresentation(CFStringRef string, char* buffer, CFIndex maxBufLen) {
    const auto text = TextOf(string);
    return text && text->find(u'\0') == std::u16string_view::npos &&
           CFStringGetCString(string, buffer, maxBufLen, kCFStringEncodingUTF8);
}

CFIndex CFStringGetMaximumSizeOfFileSystemRepresentation(CFStringRef string) {
    const auto text = TextOf(string);
    return text ? static_cast<CFIndex>(text->size()) * 3 + 1 : 0;
}

CFStringEncoding CFStringGetSystemEncoding() {
    return SystemEncoding();
}

Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding) {
    return FindCharset(encoding) != nullptr;
}

CFStringEncoding CFStringConvertIANACharSetNameToEncoding(CFStringRef name) {
    const auto text = ToUtf8(name);
    const Charset* charset = text ? FindCharset(std::string_view(*text)) : nullptr;
    return charset != nullptr ? charset->encoding : kCFStringEncodingInvalidId;
}

CFStringRef CFStringConvertEncodingToIANACharSetName(CFStringEncoding encoding) {
    const Charset* charset = FindCharset(encoding);
    return charset != nullptr ? __CFStringMakeConstantString(charset->name) : nullptr;
}
