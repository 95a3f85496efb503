#include "tests/streams/MemoryStream.h"

#include <gtest/gtest.h>

#include <numeric>
#include <tuple>

using namespace std::string_literals;
using Tova::CStream;
using Tova::CString;
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
    std::string plain(256, '\0');
    std::iota(plain.begin(), plain.end(), '\0');
    MemoryStream stream(CStream::cScramble | CStream::cCheckValue);
    EXPECT_TRUE(stream.WriteRawByte('A') && stream.Write(1, "A", nullptr));
    EXPECT_EQ(stream.GetCheckValue(), 0x41U + 0xC9U);
    EXPECT_TRUE(stream.WriteString(plain.data(), 256) && stream.Write(256, plain.data(), nullptr));
    EXPECT_EQ(stream.bytes.substr(2, 256), stream.bytes.substr(258));
    EXPECT_EQ(stream.bytes[2] + 256 * stream.bytes[2 + 0xA5], '\xB5');

    EXPECT_TRUE(stream.SetPos(258));
    std::string back(300, '?');
    unsigned long done = 0;
    const std::uint32_t before = stream.GetCheckValue();
    EXPECT_TRUE(stream.Read(300, back.data(), &done)) << "a short read is no failure";
    EXPECT_EQ(back.substr(0, done), plain);
    EXPECT_TRUE(stream.Read(1, back.data(), &done)) << "nor is none";
    EXPECT_EQ(stream.GetCheckValue() - before, 255U * 128);
    EXPECT_TRUE(stream.SetPos(0));
    EXPECT_EQ(readChars(stream), "AA" + plain + plain);
    EXPECT_EQ(stream.GetCheckValue() - before, 255U * 128 * 3 + 0x82) << "the end adds nothing";
}

TEST(CStream, ReadCharTranslatesAndCountsLineEnds) {
    for (const auto& [flags, stored, expected, lines] :
         {std::tuple(cText, "a\r\nb\rc\n\n\r", "a\nb\nc\n\n\n", 5U),
          {cText, "\r\n\n\r\r\n", "\n\n\n\n", 4U},
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
    for (const auto& [stored, delimiter, maxLength, expected] : cases) {
        for (const unsigned long block : {0UL, 1UL, 2UL, 3UL, 9UL}) {
            MemoryStream stream(0, stored);
            stream.block = block;
            CString out("old");
            int count = -1;
            const bool found = stream.ReadToDelim(out, delimiter, maxLength, &count);
            EXPECT_EQ(std::to_string(found) + std::string(out.CStr(), size_t(count)) +
                          std::to_string(stream.Pos()),
                      expected);
        }
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
        std::string seen = std::to_string(stream.ReadUnicodeHeader());
        seen += std::to_string(static_cast<int>(stream.GetEncoding()));
        seen += (stream.GetFlags() & CStream::cBigEndian) != 0 ? '1' : '0';
        seen += std::to_string(stream.Pos());
        EXPECT_EQ(seen + readChars(stream), expected);
    }
}

TEST(CStream, WritesLineEndsAndIndentation) {
    const auto written = [](unsigned flags, LineEnd lineEnd, int level, int width) {
        MemoryStream stream(flags | CStream::cCountLines);
        stream.SetLineEnd(lineEnd);
        stream.SetIndent(level, width);
        EXPECT_TRUE(stream.WriteString("\nab", -1));
        EXPECT_EQ(stream.GetLineCount(), 1U);
        return stream.bytes;
    };
    EXPECT_EQ(written(cText, LineEnd::CrLf, 0, 0), "\r\nab");
    EXPECT_EQ(written(0, LineEnd::Cr, 2, 0), "\t\t\n\t\tab");
    EXPECT_EQ(written(cText, LineEnd::Cr, 1, 3), "   \r   ab");
    MemoryStream stream(CStream::cTranslate);
    EXPECT_TRUE(stream.WriteChar('\n'));
    stream.SetLineEnd(static_cast<LineEnd>(3));
    EXPECT_FALSE(stream.WriteString("a\nb", -1));
    EXPECT_EQ(stream.bytes, "\ra") << "a new stream writes carriage returns";
}

TEST(CStream, WritesUnicode) {
    MemoryStream utf8(0);
    EXPECT_FALSE(utf8.WriteWChar('a')) << "a raw stream";
    utf8.SetEncoding(CStream::Encoding::Utf8);
    for (const wchar_t w : {0x7F, 0xE9, 0x7FF, 0x800, 0x1F600}) {
        EXPECT_TRUE(utf8.WriteWChar(w));
    }
    // A byte that is no text of its own becomes U+0000, but is kept when written untranslated.
    EXPECT_TRUE(utf8.WriteString("a\xE9", -1) && utf8.WriteRawChar('\xE9'));
    EXPECT_EQ(utf8.bytes, "\x7F\xC3\xA9\xDF\xBF\xE0\xA0\x80\xFF\x98\x80"
                          "a\0\xE9"s);

    MemoryStream utf16(0);
    utf16.SetEncoding(CStream::Encoding::Utf16);
    EXPECT_TRUE(utf16.WriteWChar(0xE9));
    utf16.SetUTF16ByteOrder(CStream::ByteOrder::BigEndian);
    EXPECT_TRUE(utf16.WriteWChar(0x1F600));
    EXPECT_EQ(utf16.bytes, "\xE9\0\xF6\0"s);
}

TEST(CStream, FormatWritesAllOrNothing) {
    MemoryStream stream(0);
    EXPECT_TRUE(stream.Format("%lu|%1994d", 3179UL, 1));
    EXPECT_FALSE(stream.Format("%2000d", 1));
    EXPECT_EQ(stream.bytes, "3179|" + std::string(1993, ' ') + "1");
}

// Changes 'a' into 'b', drops '-' and refuses '!'.
class Editor final : public Tova::IStreamFilter {
    bool Filter(int& character, CStream&) override {
        character = character == 'a' ? 'b' : character == '-' ? -1 : character;
        return character != '!';
    }
};

TEST(CStream, FiltersChangeDropAndRefuse) {
    Editor editor;
    MemoryStream stream(CStream::cThrowOnError, "xa!");
    stream.SetReadFilter(&editor);
    CString out;
    EXPECT_THROW(stream.ReadToDelim(out, 10, -1, nullptr), Tova::RStatus);
    EXPECT_STREQ(out.CStr(), "xb");
    MemoryStream target(0);
    target.SetWriteFilter(&editor);
    EXPECT_FALSE(target.WriteString("a-\xFF!", -1));
    EXPECT_EQ(target.bytes, "a\xFF") << "a writing filter drops but does not change";
}

}  // namespace
