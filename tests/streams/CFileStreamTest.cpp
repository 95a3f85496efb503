#include "streams/CFileStream.h"

#include "streams/Scrambling.h"
#include "tests/fs/FSTesting.h"
#include "tests/support/TempHome.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <tuple>

using namespace Tova;

namespace {

constexpr unsigned cRO = CFileStream::cReadOnly;
constexpr unsigned cWO = CFileStream::cWriteOnly;
constexpr unsigned cNoMark = CFileStream::cNoHeaderToo;
constexpr unsigned cThrows = CFileStream::cThrowOnError;
constexpr unsigned cAlways = CFileStream::cCreateAlways;
constexpr unsigned cFolder = CFileStream::cCreateFolder;

class TestStream : public CFileStream {
public:
    int Descriptor() const { return file_; }
    RStatus OpenText(const std::string& text, unsigned flags) {
        return Open(Path(text), flags, nullptr);
    }
};

class CFileStreamTest : public testing::Test {
protected:
    tvtest::TempDir dir_;
    const std::string path_ = dir_.Path("f");
    TestStream stream_;
    CString out_;
    int eof_ = 0;
};

TEST_F(CFileStreamTest, DispositionsChooseStatusAndMode) {
    // The access mode, or the status of a failure, without and with the file.
    const std::tuple<unsigned, int, int> cases[] = {{0U, ErrNotFound, O_RDWR},
                                                    {cRO | cWO, ErrNotFound, O_RDONLY},
                                                    {0x1000000U, O_RDWR, ErrAlreadyExists},
                                                    {0x2000000U | cRO, O_RDWR, O_RDWR},
                                                    {0x2000000U | cWO, O_WRONLY, O_WRONLY},
                                                    {0x3000000U | cRO, O_RDWR, O_RDONLY},
                                                    {0x4000000U | cWO, O_WRONLY, ErrNotFound},
                                                    {0x5000000U, ErrBadParameter, ErrBadParameter}};
    for (const auto& [flags, ifMissing, ifThere] : cases) {
        for (const bool there : {false, true}) {
            std::filesystem::remove(path_);
            if (there) {
                dir_.Write("f", "old");
            }
            TestStream stream;
            const RStatus status = stream.OpenText(path_, flags);
            const int file = stream.Descriptor();
            EXPECT_EQ(status < 0 ? status : fcntl(file, F_GETFL) & O_ACCMODE,
                      there ? ifThere : ifMissing);
            EXPECT_EQ(stream.GetState(),
                      status < 0 ? CStream::State::NotOpen : CStream::State::Open);
            EXPECT_TRUE(status < 0 || (fcntl(file, F_GETFD) & FD_CLOEXEC) != 0);
            EXPECT_EQ(std::filesystem::exists(path_), there || status >= 0);
            EXPECT_EQ(tvtest::ReadFile(path_), there && (flags >> 24) != 2 ? "old" : "");
        }
    }
}

TEST_F(CFileStreamTest, PathsThatCannotBeOpened) {
    const std::string missing = dir_.Path("no/f");
    const auto longPath = [this](size_t n) { return dir_.Path(std::string(n, 'n')); };
    const std::tuple<std::string, unsigned, RStatus> cases[] = {
        {missing, cAlways | cFolder, Failure},  // the file system makes no folders
        {missing, cAlways, ErrBadName},
        {missing, CFileStream::cOpenMissing | cFolder, ErrBadName},
        {longPath(300), cAlways, ErrBadName},
        {longPath(1023), cAlways, Failure},  // has no text
        {dir_.Path(), cAlways, Failure}};
    for (const auto& [path, flags, expected] : cases) {
        EXPECT_EQ(TestStream().OpenText(path, flags), expected) << path << std::hex << flags;
    }
}

// Reading a folder is an error of the system: the stream fails, and with delimiter 0 that is an
// end. The end of a file is none.
TEST_F(CFileStreamTest, AReadErrorFailsTheStream) {
    ASSERT_EQ(stream_.OpenText("/", cRO | cNoMark), Ok);
    EXPECT_FALSE(stream_.ReadToDelim(out_, 10, -1, nullptr));
    EXPECT_TRUE(stream_.ReadToDelim(out_, 0, -1, nullptr));
    EXPECT_EQ(stream_.GetState(), CStream::State::Failed);
    ASSERT_EQ(stream_.OpenText("/", cRO | cNoMark | cThrows), Ok);
    EXPECT_THROW(stream_.ReadToDelim(out_, 10, -1, nullptr), RStatus);
    EXPECT_THROW(stream_.ReadRawByte(eof_), RStatus);
    ASSERT_EQ(stream_.OpenText(dir_.Write("f", "a"), cRO | CFileStream::cThrowAtEnd), Ok);
    char two[2] = {};
    EXPECT_TRUE(stream_.InternalRead(2, two, nullptr)) << "short, but something";
    EXPECT_THROW(stream_.AtEOF(), RStatus);
    EXPECT_TRUE(stream_.SetPos(0) && stream_.ReadRawByte(eof_) == 'a');
    EXPECT_FALSE(stream_.AtEOF()) << "not before a read has met the end";
}

TEST_F(CFileStreamTest, OpeningExaminesTheMarkAndAppendsOnRequest) {
    ASSERT_EQ(stream_.OpenText(dir_.Write("f", "\xFF\xFE!"), CFileStream::cAppend), Ok);
    EXPECT_EQ(stream_.GetEncoding(), CStream::Encoding::Utf16);
    EXPECT_TRUE(stream_.WriteChar('a') && stream_.Close());
    EXPECT_EQ(tvtest::ReadFile(path_), std::string("\xFF\xFE!a\0", 5));
}

TEST_F(CFileStreamTest, WithoutAFileEverythingIsFalse) {
    ASSERT_EQ(stream_.OpenText(path_, cAlways | cWO | 0x3), Ok);
    ASSERT_TRUE(stream_.Close());
    char b = 0;
    unsigned long n = 0;
    EXPECT_FALSE(stream_.InternalRead(1, &b, &n) || stream_.InternalWrite(1, &b, &n) ||
                 stream_.InternalSetPos(0) || stream_.InternalGetPos(n) ||
                 stream_.InternalSetLength(0) || stream_.InternalGetLength(n) || stream_.Flush() ||
                 stream_.Close());
    EXPECT_TRUE(stream_.AtEOF() && stream_.GetState() != CStream::State::Failed);
}

TEST_F(CFileStreamTest, ReadingAndWritingAlternate) {
    dir_.Write("f", "abcdefgh");
    ASSERT_EQ(stream_.OpenText(path_, 0), Ok);
    unsigned long n = 0;
    EXPECT_EQ(stream_.ReadChar(eof_), 'a');
    EXPECT_TRUE(stream_.WriteString("BC", -1) && stream_.ReadChar(eof_) == 'd');
    EXPECT_TRUE(stream_.WriteChar('E') && stream_.ReadToDelim(out_, 'g', -1, nullptr));
    EXPECT_STREQ(out_.CStr(), "f");
    stream_.SetPushedBack('p');
    EXPECT_TRUE(stream_.SetPosToEnd() && stream_.ReadChar(eof_) == 'p') << "only SetPos drops it";
    EXPECT_TRUE(stream_.WriteString("ij", -1));
    EXPECT_TRUE(stream_.InternalGetLength(n) && n == 10) << "what is still buffered counts";
    EXPECT_TRUE(stream_.SetPos(1) && stream_.ReadChar(eof_) == 'B');
    EXPECT_TRUE(stream_.InternalSetLength(3) && stream_.ReadToDelim(out_, 0, -1, nullptr));
    EXPECT_STREQ(out_.CStr(), "C") << "bytes read ahead are gone with the file's end";
    EXPECT_TRUE(stream_.WriteChar('z')) << "writing goes on after the end was met";
    EXPECT_FALSE(stream_.InternalSetLength(~0UL));
    EXPECT_EQ(stream_.GetState(), CStream::State::Open) << "lengths set no error";
    EXPECT_FALSE(stream_.SetPos(~0UL));
    EXPECT_TRUE(stream_.Close());
    EXPECT_EQ(tvtest::ReadFile(path_), "aBCz");
}

TEST_F(CFileStreamTest, KeepsAFileUntilItIsWritten) {
    constexpr unsigned cFlags = cAlways | CFileStream::cKeepUntilWritten;
    const auto kept = [&] {
        dir_.Write("f", "abcdefgh");
        return stream_.OpenText(path_, cFlags | cNoMark) >= 0 &&
               tvtest::ReadFile(path_) == "abcdefgh";
    };
    const auto left = [&] { return stream_.Close() ? tvtest::ReadFile(path_) : "not closed"; };
    EXPECT_TRUE(kept() && stream_.WriteString("longer than it", -1));
    EXPECT_EQ(tvtest::ReadFile(path_), "abcdefgh");
    EXPECT_EQ(left(), "longer than it");
    EXPECT_TRUE(kept() && stream_.WriteString("ab", -1) && stream_.Flush());
    EXPECT_EQ(tvtest::ReadFile(path_), "ab");
    EXPECT_TRUE(stream_.WriteChar('c') && stream_.SetPos(1) && stream_.WriteChar('B'));
    EXPECT_EQ(left(), "aBc");
    EXPECT_TRUE(kept());
    EXPECT_EQ(left(), "");
    unsigned long n = 0;
    EXPECT_TRUE(kept() && stream_.InternalGetLength(n) && n == 0);
    EXPECT_TRUE(kept() && stream_.ReadChar(eof_) == 0 && eof_ != 0) << "old bytes are not read";
    EXPECT_TRUE(kept() && stream_.SetPos(2) && stream_.WriteChar('x'));
    EXPECT_EQ(left(), std::string("\0\0x", 3));
    ASSERT_EQ(stream_.OpenText("/dev/full", cFlags | cWO), Ok);
    EXPECT_TRUE(stream_.WriteChar('x') && !stream_.Close());
}

// Many operations begin and end where a block of the stream does.
TEST_F(CFileStreamTest, AgreesWithBytesInMemoryOnRandomOperations) {
    std::mt19937 random(11);
    std::string bytes(20000, '\0'), piece;
    for (char& b : bytes) {
        b = static_cast<char>(random());
    }
    dir_.Write("f", bytes);
    ASSERT_EQ(stream_.OpenText(path_, CStream::cNoHeader), Ok);
    for (std::size_t at = 0, i = 0; i < 20000; ++i) {
        unsigned long done = 0, pos = 0;
        const auto blocks = [&random](unsigned most) { return random() % most * 4096UL; };
        piece.assign(random() % 2 == 0 ? random() % 40 : blocks(4), static_cast<char>(i));
        switch (random() % 4) {
        case 0:
            at = random() % 2 == 0 ? blocks(6) : at - std::min(at, random() % 9000UL);
            ASSERT_TRUE(stream_.SetPos(at));
            break;
        case 1:
            if (!piece.empty() && at + piece.size() < 30000) {
                ASSERT_TRUE(stream_.Write(piece.size(), piece.data(), nullptr));
                bytes.resize(std::max(bytes.size(), at + piece.size()));
                bytes.replace(at, piece.size(), piece);
                at += piece.size();
            }
            break;
        default:
            stream_.InternalRead(piece.size(), piece.data(), &done);
            const std::string rest = at < bytes.size() ? bytes.substr(at, piece.size()) : "";
            ASSERT_EQ(piece.substr(0, done), rest) << i;
            at += done;
        }
        ASSERT_TRUE(stream_.InternalGetPos(pos) && pos == at) << i;
    }
    EXPECT_TRUE(stream_.Close());
    EXPECT_EQ(tvtest::ReadFile(path_), bytes);
}

TEST_F(CFileStreamTest, AFullDeviceFailsFlushAndClose) {
    const std::string large(100000, 'x');
    {
        TestStream loud;
        ASSERT_EQ(loud.OpenText("/dev/full", cAlways | cWO | cThrows), Ok);
        EXPECT_TRUE(loud.WriteChar('x'));
        EXPECT_THROW(loud.Flush(), RStatus);
        EXPECT_THROW(loud.Write(large.size(), large.data(), nullptr), RStatus);
    }  // The destructor throws nothing.
    ASSERT_EQ(stream_.OpenText("/dev/full", cAlways | cWO), Ok);
    EXPECT_TRUE(stream_.WriteChar('x') && !stream_.Close());
}

// A reader that read ahead would wait for ever: this end of the pipe stays open for writing.
TEST_F(CFileStreamTest, AFifoIsReadAsItComes) {
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    const int out = open(path_.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(write(out, "ab\0", 3), 3);
    ASSERT_EQ(stream_.OpenText(path_, cRO | CFileStream::cScramble), Ok);
    const auto nul = static_cast<signed char>(Unscramble(0));
    EXPECT_TRUE(stream_.ReadToDelim(out_, nul, -1, nullptr) && out_.Length() == 2);
    EXPECT_FALSE(stream_.AtEOF());
    close(out);
    EXPECT_TRUE(stream_.ReadToDelim(out_, 0, -1, nullptr) && out_.IsEmpty());
    EXPECT_TRUE(stream_.AtEOF());
}

}  // namespace
