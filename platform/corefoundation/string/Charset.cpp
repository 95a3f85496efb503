#include "corefoundation/string/Charset.h"

#include "corefoundation/object/ForkLocks.h"
#include "corefoundation/object/Object.h"
#include "corefoundation/string/Iconv.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tvplatform {

namespace {

// The charsets that have published numbers. The most used ones come first.
constexpr Charset cKnown[] = {
    {kCFStringEncodingUTF8, "UTF-8", 3, true, true},
    {kCFStringEncodingASCII, "US-ASCII"},
    {kCFStringEncodingISOLatin1, "ISO-8859-1"},
    {kCFStringEncodingMacRoman, "MACINTOSH"},
    {0x0007, "MAC-CYRILLIC"},
    {0x001D, "MAC-CENTRALEUROPE"},
    {kCFStringEncodingUTF16, cIconvUtf16, 2, false, false},
    {0x0202, "ISO-8859-2"},
    {0x0203, "ISO-8859-3"},
    {0x0204, "ISO-8859-4"},
    {0x0205, "ISO-8859-5"},
    {0x0206, "ISO-8859-6"},
    {0x0207, "ISO-8859-7"},
    {0x0208, "ISO-8859-8"},
    {0x0209, "ISO-8859-9"},
    {0x020A, "ISO-8859-10"},
    {0x020B, "ISO-8859-11"},
    {0x020D, "ISO-8859-13"},
    {0x020E, "ISO-8859-14"},
    {0x020F, "ISO-8859-15"},
    {0x0210, "ISO-8859-16"},
    {0x0400, "IBM437"},
    {0x0410, "IBM850"},
    {0x0412, "IBM852"},
    {0x0413, "IBM855"},
    {0x0419, "IBM864", 1, false, true},
    {0x041B, "IBM866"},
    {kCFStringEncodingWindowsLatin1, "WINDOWS-1252"},
    {0x0501, "WINDOWS-1250"},
    {0x0502, "WINDOWS-1251"},
    {0x0503, "WINDOWS-1253"},
    {0x0504, "WINDOWS-1254"},
    {0x0505, "WINDOWS-1255", 8, true, true},
    {0x0506, "WINDOWS-1256"},
    {0x0507, "WINDOWS-1257"},
    {0x0508, "WINDOWS-1258", 8, true, true},
    {0x0631, "GBK", 2, true, true},
    {0x0632, "GB18030", 4, true, true},
    {0x0820, "ISO-2022-JP", 8, false, true},
    {0x0920, "EUC-JP", 3, true, true},
    {0x0930, "GB2312", 2, true, true},
    {0x0940, "EUC-KR", 2, true, true},
    {0x0A01, "SHIFT_JIS", 2, false, true},
    {0x0A02, "KOI8-R"},
    {0x0A03, "BIG5", 2, true, true},
    {0x0A08, "KOI8-U"},
    {0x04000100, "UTF-7", 8, false, true},
    {kCFStringEncodingUTF16BE, "UTF-16BE", 2, false, false},
    {kCFStringEncodingUTF16LE, "UTF-16LE", 2, false, false},
};

struct Alias {
    const char* name;  // as plainName leaves it
    CFStringEncoding encoding;
};
constexpr Alias cAliases[] = {
    {"ASCII", kCFStringEncodingASCII},
    {"ANSIX341968", kCFStringEncodingASCII},
    {"ISO646US", kCFStringEncodingASCII},
    {"LATIN1", kCFStringEncodingISOLatin1},
    {"L1", kCFStringEncodingISOLatin1},
    {"CP819", kCFStringEncodingISOLatin1},
    {"LATIN2", 0x0202},
    {"LATIN9", 0x020F},
    {"MAC", kCFStringEncodingMacRoman},
    {"MACROMAN", kCFStringEncodingMacRoman},
    {"CP1252", kCFStringEncodingWindowsLatin1},
    {"CP1250", 0x0501},
    {"CP1251", 0x0502},
    {"CP437", 0x0400},
    {"CP850", 0x0410},
    {"CP852", 0x0412},
    {"CP866", 0x041B},
    {"EUCCN", 0x0930},
    {"SJIS", 0x0A01},
};

// Charsets without a published number are numbered from here on, in the order in which they are
// first asked for.
constexpr CFStringEncoding cFirstPrivate = 0x7F000000;
// This bounds the memory that names from outside can make the process keep. Iconv knows fewer.
constexpr size_t cMostPrivates = 4096;
constexpr size_t cLongestName = 64;

struct PrivateCharset {
    std::string name;
    Charset charset;
};

// Guarded by its lock, and never destroyed. What the pointers lead to never moves.
constinit Immortal<std::vector<std::unique_ptr<const PrivateCharset>>> sPrivates;

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
bool isAlnum(char c) {
    return (upper(c) >= 'A' && upper(c) <= 'Z') || (c >= '0' && c <= '9');
}

// Upper case, letters and digits only: "iso_8859-1" and "ISO8859-1" are one name.
std::string plainName(std::string_view name) {
    std::string plain;
    for (const char c : name) {
        if (isAlnum(c)) {
            plain.push_back(upper(c));
        }
    }
    return plain;
}

// Whether a name can be passed to iconv. A name with a slash or comma has options in it, and an
// empty one or "char" stands for the locale's charset.
bool isSafe(std::string_view name) {
    return !name.empty() && name.size() <= cLongestName && name != "CHAR" &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return isAlnum(c) || std::string_view("-_.:+()").find(c) != std::string_view::npos;
           });
}

const Charset* findKnown(std::string_view name) {
    const std::string plain = plainName(name);
    for (const Alias& alias : cAliases) {
        if (plain == alias.name) {
            return FindCharset(alias.encoding);
        }
    }
    for (const Charset& charset : cKnown) {
        if (plain == plainName(charset.name)) {
            return &charset;
        }
    }
    return nullptr;
}

const Charset* findPrivate(const std::string& name) {
    const std::lock_guard guard(LockOf(ForkLock::Charsets));
    auto& privates = sPrivates.object;
    for (const auto& known : privates) {
        if (known->name == name) {
            return &known->charset;
        }
    }
    // A charset is usable if it converts a letter to and fro.
    const auto letter = IconvEncode(u"A", name.c_str());
    if (!letter || IconvDecode(*letter, name.c_str()) != std::u16string(u"A") ||
        privates.size() >= cMostPrivates) {
        return nullptr;
    }
    const auto encoding = cFirstPrivate + static_cast<CFStringEncoding>(privates.size());
    auto added = std::make_unique<PrivateCharset>(PrivateCharset{name, {}});
    added->charset = {encoding, added->name.c_str(), 8, false,
                      letter->find('\0') == std::string::npos};
    return &privates.emplace_back(std::move(added))->charset;
}

// The number of the charset with that name, or nothing if it cannot serve for 8-bit texts.
std::optional<CFStringEncoding> byteEncoding(std::string_view name) {
    const Charset* charset = FindCharset(name);
    return charset != nullptr && charset->holdsCStrings ? std::optional(charset->encoding)
                                                        : std::nullopt;
}

// The name last asked for, with the system encoding that it gives. A comparison costs less than a
// look-up in the table of names.
struct LastName {
    // Not a string, whose constant initialisation not every compiler can do.
    std::vector<char> name;
    CFStringEncoding encoding = kCFStringEncodingUTF8;
};
constinit Immortal<LastName> sLast;

}  // namespace

const Charset* FindCharset(CFStringEncoding encoding) {
    if (encoding < cFirstPrivate) {
        const auto* found =
            std::find_if(std::begin(cKnown), std::end(cKnown),
                         [&](const Charset& charset) { return charset.encoding == encoding; });
        return found != std::end(cKnown) ? found : nullptr;
    }
    const std::lock_guard guard(LockOf(ForkLock::Charsets));
    const size_t index = encoding - cFirstPrivate;
    return index < sPrivates.object.size() ? &sPrivates.object[index]->charset : nullptr;
}

const Charset* FindCharset(std::string_view name) {
    std::string capitals(name);
    std::transform(capitals.begin(), capitals.end(), capitals.begin(), upper);
    if (!isSafe(capitals)) {
        return nullptr;
    }
    const Charset* known = findKnown(capitals);
    return known != nullptr ? known : findPrivate(capitals);
}

CFStringEncoding SystemEncoding() {
    constexpr const char* cBuildDefault = TV_DEFAULT_SYSTEM_ENCODING;
    const char* given = secure_getenv("TV_SYSTEM_ENCODING");
    const std::string_view name = given == nullptr || *given == '\0' ? cBuildDefault : given;
    const std::lock_guard guard(LockOf(ForkLock::SystemEncoding));
    LastName& last = sLast.object;
    if (!std::equal(last.name.begin(), last.name.end(), name.begin(), name.end())) {
        auto found = byteEncoding(name);
        if (!found) {
            found = byteEncoding(cBuildDefault);
        }
        last = {{name.begin(), name.end()}, found.value_or(kCFStringEncodingUTF8)};
    }
    return last.encoding;
}

}  // namespace tvplatform
