#include "streams/CFileStream.h"
#include "tests/fs/FSTesting.h"
#include "tests/streams/MemoryStream.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <numeric>
#include <random>
#include <sstream>
#include <tuple>
#include <vector>

using namespace std::string_literals;
using namespace Tova;
using tvtest::MemoryStream;
using LineEnd = CStream::LineEnd;

namespace {

constexpr unsigned cText = CStream::cTranslate | CStream::cCountLines;

std::string readChars(CStream& stream) {
    std::string result;
    int eof = 0;
    for (char c = stream.ReadChar(eof); eof == 0; c = stream.ReadChar(eof)) {
        result += c;
    }
    return result;
}

TEST(CStream, ScramblesAndSumsPlainBytesSinglyAndStoredBytesInBulk) {
    std::string plain(256, '\0'), back(300, '?');
    std::iota(plain.begin(), plain.end(), '\0');
    MemoryStream stream(CStream::cScramble | CStream::cCheckValue);
    EXPECT_TRUE(stream.WriteRawByte('A') && stream.Write(1, "A", nullptr));
    EXPECT_EQ(stream.GetCheckValue(), 0x41U + 0xC9U);
    EXPECT_TRUE(stream.WriteString(plain.data(), 256) && stream.Write(256, plain.data(), nullptr));
    const std::uint32_t before = stream.GetCheckValue();
    unsigned long done = 0;
    EXPECT_TRUE(stream.SetPos(258) && stream.Read(300, back.data(), &done)) << "a short read";
    EXPECT_EQ(back.substr(0, done), plain);
    EXPECT_TRUE(stream.SetPos(0));
    EXPECT_EQ(readChars(stream), "AA" + plain + plain);
    EXPECT_EQ(stream.GetCheckValue() - before, 255U * 128 * 3 + 0x82) << "the end adds nothing";
}

TEST(CStream, ReadCharTranslatesAndCountsLineEnds) {
    for (const auto& [flags, stored, expected, lines] :
         {std::tuple(cText, "a\r\nb\rc\n\n\r", "a\nb\nc\n\n\n", 5U),
          {CStream::cCountLines, "a\r\nb\n", "a\r\nb\n", 2U}}) {
        MemoryStream stream(flags, stored);
        EXPECT_EQ(readChars(stream), expected);
        EXPECT_EQ(stream.GetLineCount(), lines);
    }
}

TEST(CStream, PushedBackCharacterComesFirstAndCountsAgain) {
    MemoryStream stream(cText, "\r\nb");
    int eof = 0;
    EXPECT_EQ(stream.ReadChar(eof), '\n');
    stream.SetPushedBack('\n');
    EXPECT_EQ(readChars(stream), "\nb") << "the pair was still under way";
    EXPECT_EQ(stream.GetLineCount(), 2U);
    EXPECT_TRUE(stream.SetPos(0));
    EXPECT_EQ(stream.ReadChar(eof), '\n');
    stream.SetPushedBack('x');
    EXPECT_TRUE(stream.SetPos(1));
    EXPECT_EQ(readChars(stream), "\nb") << "a new position ends the pair and drops the character";
    EXPECT_FALSE(stream.SetPos(4));
}

TEST(CStream, ReadToDelimStopsWhereItSays) {
    // With delimiter 0 the end is a delimiter. Expected are result, text and position.
    const std::tuple<std::string, int, int, std::string> cases[] = {
        {"ab"s, 0, -1, "1ab2"s},
        {"ab\0cd"s, 0, -1, "1ab3"s},
        {""s, 10, -1, "00"s},
        {"abcdef"s, 10, 3, "1abc3"s},
        {"a\0b\n"s, 10, 0, "1a\0b4"s},
        {"a\xFF"s, -1, -1, "1a2"s},
        {"a\xFF"s, 255, -1, "0a\xFF" + "2"s}};
    CString fresh;
    EXPECT_TRUE(MemoryStream(0, "\n").ReadToDelim(fresh, 10, -1, nullptr));
    EXPECT_EQ(fresh.Capacity(), 0) << "an empty line takes no memory";
    for (const auto& [stored, delimiter, maxLength, expected] : cases) {
        MemoryStream stream(0, stored);
        CString out("old");
        int count = -1;
        std::ostringstream seen;
        seen << stream.ReadToDelim(out, delimiter, maxLength, &count);
        seen << std::string(out.CStr(), static_cast<std::size_t>(count)) << stream.Pos();
        EXPECT_EQ(seen.str(), expected);
    }
}

TEST(CStream, RecognisesByteOrderMarks) {
    // Expected are result, encoding, whether big-endian, position and what can be read then.
    const std::string mark = "\xEF\xBB\xBF";
    const std::tuple<unsigned, std::string, std::string> cases[] = {
        {0U, "\xFE\xFF!"s, "1212"s},
        {CStream::cBigEndian, "\xFF\xFE!"s, "1202"s},
        {0U, mark + "!", "1103"s},
        {0U, "\xFF\xFE"s, "0000\xFF\xFE"s},
        {0U, "\xEF\xBB!"s, "0000\xEF\xBB!"s},
        {CStream::cCheckValue, mark, "0000" + mark},
        {CStream::cCountLines, mark, "0000" + mark},
        {CStream::cNoHeader, mark, "0000" + mark},
        {CStream::cNoHeaderToo, mark, "0000" + mark}};
    for (const auto& [flags, stored, expected] : cases) {
        MemoryStream stream(flags, stored);
        std::ostringstream seen;
        seen << stream.ReadUnicodeHeader() << static_cast<int>(stream.GetEncoding())
             << ((stream.GetFlags() & CStream::cBigEndian) != 0) << stream.Pos();
        EXPECT_EQ(seen.str() + readChars(stream), expected);
    }
}

TEST(CStream, WritesLineEndsAndIndentation) {
    const std::tuple<unsigned, LineEnd, int, const char*> cases[] = {
        {cText, LineEnd::CrLf, 3, "   \r\n   a"},
        {0U, LineEnd::Cr, 3, "   \n   a"},
        {cText, static_cast<LineEnd>(3), 0, "\t"}};
    for (const auto& [flags, lineEnd, width, expected] : cases) {
        MemoryStream stream(flags);
        stream.SetLineEnd(lineEnd);
        stream.SetIndent(1, width);
        EXPECT_EQ(stream.WriteString("\na", -1), lineEnd <= LineEnd::Lf);
        EXPECT_EQ(stream.bytes, expected);
    }
    MemoryStream stream(CStream::cTranslate);
    EXPECT_TRUE(stream.Format("%1999d", '\n'));
    EXPECT_FALSE(stream.Format("%2000d", 1));
    EXPECT_EQ(stream.bytes, std::string(1997, ' ') + "10") << "all or nothing";
}

TEST(CStream, WritesUnicode) {
    MemoryStream utf8(0), utf16(0);
    EXPECT_FALSE(utf8.WriteWChar('a')) << "a raw stream";
    utf8.SetEncoding(CStream::Encoding::Utf8);
    for (const wchar_t w : {0x7F, 0x7FF, 0x800}) {
        EXPECT_TRUE(utf8.WriteWChar(w));
    }
    // A byte that is no text of its own becomes U+0000, but is kept when written untranslated.
    EXPECT_TRUE(utf8.WriteString("\xE9", -1) && utf8.WriteRawChar('\xE9'));
    EXPECT_EQ(utf8.bytes, "\x7F\xDF\xBF\xE0\xA0\x80\0\xE9"s);
    utf16.SetEncoding(CStream::Encoding::Utf16);
    EXPECT_TRUE(utf16.WriteWChar(0xE9));
    utf16.SetUTF16ByteOrder(CStream::ByteOrder::BigEndian);
    EXPECT_TRUE(utf16.WriteWChar(0x1F600));
    EXPECT_EQ(utf16.bytes, "\xE9\0\xF6\0"s);
}

TEST(CStream, FiltersChangeDropAndRefuse) {
    class Editor final : public IStreamFilter {
        bool Filter(int& character, CStream&) override {
            character = character == 'a' ? 'b' : character == '-' ? -1 : character;
            return character != '!';
        }
    } editor;
    MemoryStream stream(CStream::cThrowOnError, "xa!"), target(0);
    stream.SetReadFilter(&editor);
    CString out;
    EXPECT_THROW(stream.ReadToDelim(out, 10, -1, nullptr), RStatus);
    EXPECT_STREQ(out.CStr(), "xb");
    target.SetWriteFilter(&editor);
    EXPECT_FALSE(target.WriteString("a-\xFF!", -1));
    EXPECT_EQ(target.bytes, "a\xFF") << "a writing filter drops but does not change";
}

// Reading in runs must be indistinguishable from reading byte by byte.
struct Request {
    int delimiter, maxLength, pushedBack = -1;
};

// All that a caller can see after each read.
std::string trace(CStream& stream, const std::vector<Request>& requests) {
    std::ostringstream seen;
    for (const Request& request : requests) {
        CString out;
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
        MemoryStream stored(flags);
        ASSERT_TRUE(stored.Write(plain.size(), plain.data(), nullptr));
        CFileStream file;
        ASSERT_EQ(file.Open(Path(dir.Write("f", stored.bytes)), flags, nullptr), Ok);
        MemoryStream byteWise(flags, stored.bytes);
        const std::string expected = trace(byteWise, requests);
        ASSERT_EQ(trace(file, requests), expected) << flags;
        for (const unsigned long block : {1UL, 2UL, 3UL, 700UL, ~0UL}) {
            MemoryStream blocks(flags, stored.bytes);
            blocks.block = block;
            ASSERT_EQ(trace(blocks, requests), expected) << flags << " by " << block;
        }
    }
}

TEST(CStream, RunsAgreeOnRandomTexts) {
    std::mt19937 random(7);
    const auto oneOf = [&random](const auto& list) { return list[random() % std::size(list)]; };
    // A run has at most 1,024 bytes.
    const std::size_t lengths[] = {0, 0, 0, 1, 2, 20, 300, 1022, 1023, 1024, 1025};
    const std::string ends[] = {"\n", "\r", "\r\n", "x", "\xFF", "\0"s};
    const int delimiters[] = {0, 10, 10, 13, 'x', -1, 255, 266, -300};
    const int limits[] = {-1, -1, 0, 1, 3, 700, 1024, 1025, 5000};
    const int pushedBack[] = {-1, -1, -1, 10, 13, 'x', 255};
    for (int round = 0; round < 12; ++round) {
        std::string plain;
        for (int piece = 0; piece < 20; ++piece) {
            plain += std::string(oneOf(lengths), 'a') + oneOf(ends);
        }
        std::vector<Request> requests(40);
        for (Request& request : requests) {
            request = {oneOf(delimiters), oneOf(limits), oneOf(pushedBack)};
        }
        compare(plain, requests);
    }
}

// Takes `room` bytes and no more.
struct SmallStream : MemoryStream {
    SmallStream(unsigned flags, unsigned long size) : MemoryStream(flags), room(size) {}
    bool InternalWrite(unsigned long count, const void* buffer, unsigned long* done) override {
        const unsigned long n = std::min(count, room - bytes.size());
        return CMemoryStream::InternalWrite(n, buffer, done) && n == count;
    }
    const unsigned long room;
};

TEST(CStream, WritingInRunsAgreesWithWritingSingly) {
    std::mt19937 random(5);
    const tvtest::TempDir dir;
    for (int round = 0; round < 200; ++round) {
        const unsigned flags = random() & (cText | CStream::cScramble | CStream::cCheckValue);
        SmallStream runs(flags, 1 + random() % 12000), singly(flags, runs.room);
        CFileStream file;
        ASSERT_EQ(file.Open(Path(dir.Path("f")), flags | CFileStream::cCreateAlways, nullptr), Ok);
        std::string text(random() % 5000, 'a');
        for (auto at = random() % 50; at < text.size(); at += 1 + random() % 700) {
            text[at] = "\n\n\r\xFF"[random() % 4];
        }
        for (const int indent : {0, 0, 1}) {
            for (CStream* stream : std::initializer_list<CStream*>{&runs, &singly, &file}) {
                stream->SetIndent(indent, 2);
            }
            const auto all = [&](char c) { return singly.WriteChar(c); };
            const auto length = static_cast<int>(text.size());
            ASSERT_EQ(runs.WriteString(text.data(), length),
                      std::all_of(text.begin(), text.end(), all));
            ASSERT_EQ(runs.bytes, singly.bytes);
            ASSERT_EQ(runs.GetCheckValue(), singly.GetCheckValue());
            ASSERT_EQ(runs.GetLineCount(), singly.GetLineCount());
            ASSERT_TRUE(file.WriteString(text.data(), length));
        }
        if (singly.bytes.size() < singly.room) {
            ASSERT_EQ(file.GetCheckValue(), singly.GetCheckValue());
        }
        ASSERT_TRUE(file.Close());
        ASSERT_EQ(tvtest::ReadFile(dir.Path("f")).substr(0, singly.bytes.size()), singly.bytes);
    }
}

}  // namespace
