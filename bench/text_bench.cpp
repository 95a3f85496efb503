// Compares strings with the standard string, and escaping for URIs with that of libcurl.
#include "bench/ratios.h"
#include "text/CString.h"
#include "text/Str.h"

#include <curl/curl.h>

#include <string>
#include <strings.h>

namespace {

using Tova::CString;

void compareAppend(const std::string& name, std::size_t size, std::size_t pieceSize, bool reserve) {
    const std::string piece(pieceSize, 'x');
    const auto times = size / pieceSize;
    ratios::Compare(
        name,
        [=] {
            CString text;
            text.Alloc(reserve ? static_cast<int>(size) + 1 : 0);
            for (std::size_t i = 0; i < times; ++i) {
                text.Append(piece.c_str());
            }
            benchmark::DoNotOptimize(text.CStr());
        },
        [=] {
            std::string text;
            text.reserve(reserve ? size : 0);
            for (std::size_t i = 0; i < times; ++i) {
                text += piece.c_str();
            }
            benchmark::DoNotOptimize(text.c_str());
        });
}

// Returns `size` bytes. Every eighth of them has to be escaped.
std::string textToEscape(std::size_t size) {
    std::string text;
    while (text.size() < size) {
        text += "abcdefg&";
    }
    return text;
}

void compareEscape(const std::string& name, std::size_t size) {
    const std::string text = textToEscape(size);
    ratios::Compare(
        name,
        [=] {
            CString escaped;
            escaped.ToURIEscapedString(text.c_str(), Tova::Ch::cURIQuery, Tova::Ch::cKeepUnreserved,
                                       Tova::Ch::cPercentFormat);
            benchmark::DoNotOptimize(escaped.CStr());
        },
        [=] {
            char* escaped = curl_easy_escape(nullptr, text.c_str(), static_cast<int>(text.size()));
            benchmark::DoNotOptimize(escaped);
            curl_free(escaped);
        });
}

void compareIgnoringCase(const std::string& name, std::size_t size) {
    const std::string a(size, 'a');
    const std::string b(size, 'A');
    ratios::Compare(
        name, [=] { benchmark::DoNotOptimize(Tova::Str::ICompare(a.c_str(), b.c_str(), -1)); },
        [=] { benchmark::DoNotOptimize(strcasecmp(a.c_str(), b.c_str())); });
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    compareAppend("append/200-bytes-by-10", 200, 10, false);
    compareAppend("append/1-KB-by-16", 1024, 16, false);
    compareAppend("append/64-KB-by-100", 65536, 100, false);
    compareAppend("append/64-KB-by-100-reserved", 65536, 100, true);
    compareEscape("escape/20-bytes", 20);
    compareEscape("escape/200-bytes", 200);
    compareEscape("escape/64-KB", 65536);
    compareIgnoringCase("compare-ignoring-case/16-bytes", 16);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
