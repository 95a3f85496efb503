// Building strings by small appends, and escaping them as forms are sent.
#include "bench/Bench.h"
#include "text/CString.h"

#include <glib.h>

#include <cstring>
#include <string>

namespace {

using Tova::CString;

void addAppends(std::size_t pieceSize, std::size_t size) {
    const std::string work =
        pieceSize == 1 ? "append by 1 byte" : "append by " + std::to_string(pieceSize) + " bytes";
    const std::string piece(pieceSize, 'x');
    const std::size_t times = size / pieceSize;
    bench::Add(work, size, "ours", [=] {
        return [=] {
            CString text;
            for (std::size_t i = 0; i < times; ++i) {
                if (pieceSize == 1) {
                    text.Append('x', 1);
                } else {
                    text.Append(piece.c_str(), static_cast<int>(pieceSize));
                }
            }
            benchmark::DoNotOptimize(text.CStr());
        };
    });
    bench::Add(work, size, "std::string", [=] {
        return [=] {
            std::string text;
            for (std::size_t i = 0; i < times; ++i) {
                if (pieceSize == 1) {
                    text += 'x';
                } else {
                    text.append(piece.c_str(), pieceSize);
                }
            }
            benchmark::DoNotOptimize(text.c_str());
        };
    });
}

// Every `step`-th byte has to be escaped, or none if it is 0.
void addEscapes(const std::string& work, std::size_t size, std::size_t step) {
    std::string text(size, 'a');
    std::size_t escapes = 0;
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>('a' + i % 26);
        if (step > 0 && i % step == 0) {
            text[i] = '&';
            ++escapes;
        }
    }
    bench::Add(work, size, "ours", [=] {
        const auto escape = [text](CString& escaped) {
            escaped.ToURIEscapedString(text.c_str(), Tova::Ch::cURIQuery, Tova::Ch::cKeepUnreserved,
                                       Tova::Ch::cFormFormat);
        };
        CString escaped;
        escape(escaped);
        bench::Require(escaped.Length() == static_cast<int>(size + 2 * escapes), work + ": ours");
        return [escape] {
            CString result;
            escape(result);
            benchmark::DoNotOptimize(result.CStr());
        };
    });
    bench::Add(work, size, "GLib", [=] {
        return [=] {
            char* escaped = g_uri_escape_string(text.c_str(), nullptr, FALSE);
            benchmark::DoNotOptimize(escaped);
            g_free(escaped);
        };
    });
    bench::Add(work, size, "memcpy", [=] {
        return [text, copy = std::string(size, ' ')]() mutable {
            std::memcpy(copy.data(), text.data(), text.size());
            benchmark::DoNotOptimize(copy.data());
            benchmark::ClobberMemory();
        };
    });
}

}  // namespace

int main(int argc, char** argv) {
    return bench::Main(argc, argv, [] {
        for (const std::size_t size : {1'000UL, 100'000UL, 4'000'000UL}) {
            addAppends(1, size);
        }
        for (const std::size_t size : {100'000UL, 4'000'000UL}) {
            addAppends(16, size);
        }
        for (const std::size_t size : {30UL, 1'000UL, 1'000'000UL}) {
            addEscapes("escape, clean", size, 0);
        }
        addEscapes("escape, 10 % escaped", 1'000, 10);
        addEscapes("escape, 100 % escaped", 1'000, 1);
    });
}
