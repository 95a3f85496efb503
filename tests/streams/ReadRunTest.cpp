// Reading in runs must be indistinguishable from reading byte by byte.
#include "streams/CFileStream.h"
#include "tests/streams/MemoryStream.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <vector>

using Tova::CFileStream;
using Tova::CStream;

namespace {

struct Request {
    int delimiter, maxLength, pushedBack = -1;
};

// All that a caller can see after each read.
std::string trace(CStream& stream, const std::vector<Request>& requests) {
    std::ostringstream seen;
    for (const Request& request : requests) {
        Tova::CString out;
        int count = -1;
        unsigned long pos = 0;
        stream.SetPushedBack(request.pushedBack);
        seen << stream.ReadToDelim(out, request.delimiter, request.maxLength, &count);
        seen << ' ' << static_cast<int>(stream.GetState()) << ' ' << stream.GetPos(pos) << pos
             << ' ' << stream.AtEOF() << ' ' << stream.GetCheckValue() << ' '
             << stream.GetLineCount() << ' ' << count << ' '
             << std::string(out.CStr(), static_cast<std::size_t>(out.Length())) << '\n';
    }
    return seen.str();
}

// Compares reading the same plain text with and without runs, from memory and from a file.
void compare(const std::string& plain, const std::vector<Request>& requests) {
    const tvtest::TempDir dir;
    for (const unsigned base : {0x28U, 0x44U, 0x48U, 0x6CU}) {
        const unsigned flags = base | CStream::cNoHeaderToo;
        tvtest::MemoryStream stored(flags);
        ASSERT_TRUE(stored.Write(plain.size(), plain.data(), nullptr));
        Tova::CFSPath path;
        ASSERT_EQ(path.FromUnixPath(dir.Write("f", stored.bytes).c_str()), Tova::Ok);
        CFileStream file;
        ASSERT_EQ(file.Open(path, flags, nullptr), Tova::Ok);
        tvtest::MemoryStream byteWise(flags, stored.bytes);
        const std::string expected = trace(byteWise, requests);
        ASSERT_EQ(trace(file, requests), expected) << flags;
        for (const unsigned long block : {1UL, 2UL, 3UL, 700UL, ~0UL}) {
            tvtest::MemoryStream blocks(flags, stored.bytes);
            blocks.block = block;
            ASSERT_EQ(trace(blocks, requests), expected) << flags << " by " << block;
        }
    }
}

TEST(ReadRun, AgreesAtEveryBlockBoundary) {
    // The runs' own size and that of the C library's buffer.
    for (const std::size_t block : {1024U, 4096U}) {
        for (std::size_t length = block - 2; length <= block + 1; ++length) {
            for (const char* end : {"\n", "\r", "\r\n"}) {
                const std::string plain = std::string(length, 'a') + end + "bc";
                compare(plain, {{10, -1}, {10, -1}, {10, -1}, {0, -1}});
                compare(plain,
                        {{0, static_cast<int>(block) + 1}, {'b', 1}, {'b', 1, 10}, {13, -1}});
            }
        }
    }
}

TEST(ReadRun, AgreesOnRandomTexts) {
    std::mt19937 random(7);
    const auto oneOf = [&random](const auto& list) { return list[random() % std::size(list)]; };
    const char bytes[] = {'a', 'x', '\r', '\n', '\0', '\xFF'};
    const int delimiters[] = {0, 10, 13, 'x', -1, 255, 266, -300};
    const int limits[] = {-1, 0, 1, 3, 700, 1024, 1025, 5000};
    const int pushedBack[] = {-1, -1, -1, 10, 13, 'x', 255};
    for (const unsigned sparseness : {1U, 2U, 10U, 20U, 300U, 900U, 900U, 2000U}) {
        std::string plain(random() % 6000, 'a');
        for (char& c : plain) {
            c = random() % sparseness == 0 ? oneOf(bytes) : 'a';
        }
        std::vector<Request> requests(40);
        for (Request& request : requests) {
            request = {oneOf(delimiters), oneOf(limits), oneOf(pushedBack)};
        }
        compare(plain, requests);
    }
}

}  // namespace
