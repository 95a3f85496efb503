// What each fuzz target defines, how it takes the input apart, and how it says that something does
// not hold.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tvfuzz {

inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

// The part of the input that is still to be read.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes_(data, data + size), rest_(bytes_) {}
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    bool IsEmpty() const { return rest_.empty(); }
    // Takes one byte and returns a number below `count`. Returns 0 at the end.
    int Below(int count) {
        const std::string_view byte = Take(1);
        return byte.empty() ? 0 : static_cast<unsigned char>(byte[0]) % count;
    }
    // Takes the bytes up to `mark` and the mark.
    std::string Until(char mark) {
        const std::string_view piece = Take(std::min(rest_.find(mark), rest_.size()));
        Take(1);
        return std::string(piece);
    }
    std::string Rest() { return std::string(Take(rest_.size())); }

private:
    std::string_view Take(std::size_t count) {
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    const std::string bytes_;
    std::string_view rest_;
};

// Returns the text up to the first NUL, as a C string ends there.
inline std::string UpToNul(std::string text) {
    return text.substr(0, text.find('\0'));
}

}  // namespace tvfuzz
