#include "tvtool/base/PlatformText.h"

namespace tvtool {

namespace {

// Returns the bytes of as much of `text` as `encoding` can hold. `isWhole` tells whether that is
// all of it.
std::string encode(CFStringRef text, CFStringEncoding encoding, UInt8 substitute, bool& isWhole) {
    const CFRange whole = CFRangeMake(0, CFStringGetLength(text));
    CFIndex size = 0;
    isWhole = CFStringGetBytes(text, whole, encoding, substitute, false, nullptr, 0, &size) ==
              whole.length;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(text, whole, encoding, substitute, false,
                     reinterpret_cast<UInt8*>(bytes.data()), size, &size);
    return bytes;
}

}  // namespace

StringRef DecodeText(std::string_view bytes, CFStringEncoding encoding) {
    return StringRef(CFStringCreateWithBytes(kCFAllocatorDefault,
                                             reinterpret_cast<const UInt8*>(bytes.data()),
                                             static_cast<CFIndex>(bytes.size()), encoding, false));
}

std::optional<std::string> EncodeText(CFStringRef text, CFStringEncoding encoding) {
    bool isWhole = false;
    std::string bytes = encode(text, encoding, 0, isWhole);
    return isWhole ? std::optional(std::move(bytes)) : std::nullopt;
}

std::optional<std::string> ConvertText(std::string_view bytes, CFStringEncoding from,
                                       CFStringEncoding to) {
    const StringRef text = DecodeText(bytes, from);
    return text ? EncodeText(text.Get(), to) : std::nullopt;
}

std::string TextForPeople(CFStringRef text) {
    bool isWhole = false;
    return encode(text, kCFStringEncodingUTF8, '?', isWhole);
}

std::string TextForPeople(std::string_view bytes) {
    const auto text = ConvertText(bytes, CFStringGetSystemEncoding(), kCFStringEncodingUTF8);
    return text.value_or(std::string(bytes));
}

}  // namespace tvtool
