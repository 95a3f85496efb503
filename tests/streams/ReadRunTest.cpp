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

class ByteWiseFileStream : public CFileStream {
    RunEnd InternalReadRun(const unsigned char (&)[2], unsigned long, unsigned char*,
                           unsigned long&) override {
        return RunEnd::NotOffered;
    }
};

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
        try {
            seen << stream.ReadToDelim(out, request.delimiter, request.maxLength, &count);
        } catch (const Tova::RStatus& status) {
            seen << "thrown " << status;
        }
        seen << ' ' << static_cast<int>(stream.GetState()) << ' ' << stream.GetPos(pos) << pos
             << ' ' << stream.AtEOF() << ' ' << stream.GetCheckValue() << ' '
             << stream.GetLineCount() << ' ' << count << ' '
             << std::string(out.CStr(), static_cast<std::size_t>(out.Length())) << '\n';
    }
    return seen.str();
}

// Compares reading the same plain text with and without runs.
void compare(const std::string& plain, const std::vector<Request>& requests) {
    const tvtest::TempDir dir;
    for (const unsigned flags : {0x28U, 0x44U, 0x48U, 0x6CU}) {
        tvtest::MemoryStream memory(flags);
        ASSERT_TRUE(memory.Write(plain.size(), plain.data(), nullptr));
        Tova::CFSPath path;
        ASSERT_EQ(path.FromUnixPath(dir.Write("f", memory.bytes).c_str()), Tova::Ok);
        CFileStream runs;
        ByteWiseFileStream bytes;
        ASSERT_EQ(runs.Open(path, flags | CStream::cNoHeaderToo, nullptr), Tova::Ok);
        ASSERT_EQ(bytes.Open(path, flags | CStream::cNoHeaderToo, nullptr), Tova::Ok);
        ASSERT_EQ(trace(runs, requests), trace(bytes, requests)) << flags;
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

TEST(ReadRun, ReportsAReadErrorLikeAByteWiseRead) {
    Tova::CFSPath folder;
    ASSERT_EQ(folder.FromUnixPath("/"), Tova::Ok);
    for (const unsigned flags : {0x1800U, 0x1801U}) {
        CFileStream runs;
        ByteWiseFileStream bytes;
        ASSERT_EQ(runs.Open(folder, flags, nullptr), Tova::Ok);
        ASSERT_EQ(bytes.Open(folder, flags, nullptr), Tova::Ok);
        const std::string expected = trace(bytes, {{10, -1}, {0, -1}});
        EXPECT_EQ(trace(runs, {{10, -1}, {0, -1}}), expected);
        EXPECT_EQ(runs.GetState(), CStream::State::Failed);
        EXPECT_EQ(expected.find("thrown") == 0, flags == 0x1801U) << expected;
    }
}

}  // namespace
