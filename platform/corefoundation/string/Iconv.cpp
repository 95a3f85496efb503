#include "corefoundation/string/Iconv.h"

#include "corefoundation/object/ForkLocks.h"
#include "corefoundation/object/Object.h"
#include "corefoundation/string/Utf8.h"

#include <iconv.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace tvplatform {

namespace {

// -1 is how iconv_open says that it failed.
bool isOpen(iconv_t handle) {
    return reinterpret_cast<std::intptr_t>(handle) != -1;
}

// Returns a handle that is not open if iconv does not know the charset.
iconv_t openIconv(const char* to, const char* from) {
    iconv_t handle = iconv_open(to, from);
    if (!isOpen(handle) && errno == EINVAL) {
        // It says so too if memory was lacking for the module of a charset. If it still is, this
        // throws.
        constexpr size_t cModule = 65536;  // bytes
        operator delete(operator new(cModule));
        handle = iconv_open(to, from);
    }
    if (!isOpen(handle) && errno != EINVAL) {
        throw std::bad_alloc();
    }
    return handle;
}

// An open conversion in one direction. One thread at a time.
class Converter {
public:
    Converter(const char* charset, bool encodes)
        : charset_(charset), encodes_(encodes),
          handle_(encodes ? openIconv(charset, cIconvUtf16) : openIconv(cIconvUtf16, charset)) {}
    ~Converter() {
        if (IsOpen()) {
            iconv_close(handle_);
        }
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool IsOpen() const { return isOpen(handle_); }
    bool Serves(const char* charset, bool encodes) const {
        return encodes_ == encodes && charset_ == charset;
    }

    // Converts all of `in`, and then returns a charset with shifts to its initial state.
    std::optional<std::string> Run(std::string_view in) {
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        std::string out(in.size() * 2 + 16, '\0');
        size_t used = 0;
        char* source = const_cast<char*>(in.data());
        size_t left = in.size();
        for (bool flushing = false;;) {
            char* target = out.data() + used;
            size_t room = out.size() - used;
            const size_t result =
                iconv(handle_, flushing ? nullptr : &source, &left, &target, &room);
            used = out.size() - room;
            if (result == 0 && flushing) {
                out.resize(used);
                return out;
            }
            if (result == 0) {
                flushing = true;
            } else if (result == static_cast<size_t>(-1) && errno == E2BIG) {
                out.resize(out.size() * 2);
            } else {
                // Malformed, cut off, or (a positive result) only approximated.
                return std::nullopt;
            }
        }
    }

private:
    const std::string charset_;
    const bool encodes_;
    const iconv_t handle_;
};

// Opening a conversion costs far more than converting a short text, so a few are kept. The lock is
// also held while one is opened or closed, because iconv has a lock that a fork does not care for.
constexpr size_t cMostIdle = 4;
constinit Immortal<std::vector<std::unique_ptr<Converter>>> sIdle;

std::unique_ptr<Converter> takeConverter(const char* charset, bool encodes) {
    const std::lock_guard guard(LockOf(ForkLock::Converters));
    auto& idle = sIdle.object;
    for (auto& converter : idle) {
        if (converter->Serves(charset, encodes)) {
            auto taken = std::move(converter);
            converter = std::move(idle.back());
            idle.pop_back();
            return taken;
        }
    }
    return std::make_unique<Converter>(charset, encodes);
}

void giveBack(std::unique_ptr<Converter> converter) {
    const std::lock_guard guard(LockOf(ForkLock::Converters));
    auto& idle = sIdle.object;
    if (idle.size() >= cMostIdle) {
        idle.erase(idle.begin());
    }
    idle.push_back(std::move(converter));
}

std::optional<std::string> convert(std::string_view in, const char* charset, bool encodes) {
    auto converter = takeConverter(charset, encodes);
    if (!converter->IsOpen()) {
        return std::nullopt;
    }
    auto out = converter->Run(in);
    giveBack(std::move(converter));
    return out;
}

// Whether the text has one of the characters U+E0000 to U+E007F, which iconv may drop silently.
bool hasTags(std::u16string_view text) {
    for (size_t i = 0; (i = text.find(u'\xDB40', i)) != std::u16string_view::npos; ++i) {
        if (i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDC7F) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::optional<std::u16string> IconvDecode(std::string_view bytes, const char* charset) {
    const auto units = convert(bytes, charset, false);
    if (!units) {
        return std::nullopt;
    }
    std::u16string text(units->size() / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), units->data(), text.size() * sizeof(char16_t));
    return text;
}

std::optional<std::string> IconvEncode(std::u16string_view text, const char* charset) {
    const std::string_view units(reinterpret_cast<const char*>(text.data()),
                                 text.size() * sizeof(char16_t));
    auto bytes = convert(units, charset, true);
    if (bytes && hasTags(text) && IconvDecode(*bytes, charset) != text) {
        return std::nullopt;
    }
    return bytes;
}

}  // namespace tvplatform
