#include "streams/CFileStream.h"

#include "fs/CLocalFileSystem.h"
#include "streams/Scrambling.h"
#include "tests/support/TempHome.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <future>
#include <thread>
#include <tuple>

using State = Tova::CStream::State;
using Tova::CFileStream;
using Tova::CString;
using Tova::RStatus;

namespace {

constexpr unsigned cRO = CFileStream::cReadOnly;
constexpr unsigned cWO = CFileStream::cWriteOnly;
constexpr unsigned cAlways = CFileStream::cCreateAlways;
constexpr unsigned cFolder = CFileStream::cCreateFolder;

class TestStream : public CFileStream {
public:
    int Descriptor() const { return fileno(file_); }
    RStatus OpenText(const std::string& text, unsigned flags,
                     const Tova::ILocalFileInfo* info = nullptr) {
        Tova::CFSPath path;
        path.FromUnixPath(text.c_str());
        return Open(path, flags, info);
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
    // Statuses and modes without and with the file.
    const std::tuple<unsigned, RStatus, RStatus, int, int> cases[] = {
        {0U, Tova::ErrNotFound, Tova::Ok, 0, O_RDWR},
        {cRO | cWO, Tova::ErrNotFound, Tova::Ok, 0, O_RDONLY},
        {0x1000000U, Tova::Ok, Tova::ErrAlreadyExists, O_RDWR, 0},
        {0x2000000U | cRO, Tova::Ok, Tova::Ok, O_RDWR, O_RDWR},
        {0x2000000U | cWO, Tova::Ok, Tova::Ok, O_WRONLY, O_WRONLY},
        {0x3000000U | cRO, Tova::Ok, Tova::Ok, O_RDWR, O_RDONLY},
        {0x4000000U | cWO, Tova::Ok, Tova::ErrNotFound, O_WRONLY, 0},
        {0x5000000U, Tova::ErrBadParameter, Tova::ErrBadParameter, 0, 0},
        {0x7000000U, Tova::ErrBadParameter, Tova::ErrBadParameter, 0, 0}};
    for (const auto& [flags, ifMissing, ifThere, mode, modeIfThere] : cases) {
        for (const bool there : {false, true}) {
            std::filesystem::remove(path_);
            if (there) {
                dir_.Write("f", "old");
            }
            TestStream stream;
            const RStatus status = there ? ifThere : ifMissing;
            ASSERT_EQ(stream.OpenText(path_, flags), status) << std::hex << flags << there;
            EXPECT_EQ(stream.GetState(), status < 0 ? State::NotOpen : State::Open);
            EXPECT_EQ(std::filesystem::exists(path_), there || status >= 0);
            EXPECT_EQ(tvtest::ReadFile(path_), there && (flags >> 24) != 2 ? "old" : "");
            if (status >= 0) {
                const int file = stream.Descriptor();
                EXPECT_EQ(fcntl(file, F_GETFL) & O_ACCMODE, there ? modeIfThere : mode);
                EXPECT_NE(fcntl(file, F_GETFD) & FD_CLOEXEC, 0);
            }
        }
    }
}

TEST_F(CFileStreamTest, PathsThatCannotBeOpened) {
    const std::string missing = dir_.Path("no/f");
    const auto longPath = [this](size_t n) { return dir_.Path(std::string(n, 'n')); };
    const std::tuple<std::string, unsigned, RStatus> cases[] = {
        {path_, cAlways | cFolder, Tova::Ok},
        {missing, cAlways | cFolder, Tova::Failure},  // the file system makes no folders
        {missing, cAlways, Tova::ErrBadName},
        {missing, CFileStream::cOpenMissing | cFolder, Tova::ErrBadName},
        {path_ + "/g", cAlways | cFolder, Tova::ErrBadName},
        {longPath(300), cAlways, Tova::ErrBadName},
        {longPath(1023), cAlways, Tova::Failure},  // has no text
        {longPath(5000), 0U, Tova::ErrNotFound},
        {dir_.Path(), cAlways, Tova::Failure}};
    for (const auto& [path, flags, expected] : cases) {
        EXPECT_EQ(TestStream().OpenText(path, flags), expected) << path << std::hex << flags;
    }
    EXPECT_FALSE(std::filesystem::exists(dir_.Path("no")));
}

// Reading a folder is an error of the system: the stream fails, and with delimiter 0 that is an
// end.
TEST_F(CFileStreamTest, AReadErrorFailsTheStream) {
    for (const unsigned flag : {0U, Tova::CStream::cThrowOnError}) {
        TestStream stream;
        ASSERT_EQ(stream.OpenText("/", cRO | flag | Tova::CStream::cNoHeaderToo), Tova::Ok);
        if (flag != 0) {
            EXPECT_THROW(stream.ReadToDelim(out_, 10, -1, nullptr), RStatus);
            EXPECT_THROW(stream.ReadRawByte(eof_), RStatus);
        } else {
            EXPECT_FALSE(stream.ReadToDelim(out_, 10, -1, nullptr));
            EXPECT_TRUE(stream.ReadToDelim(out_, 0, -1, nullptr));
        }
        EXPECT_EQ(stream.GetState(), State::Failed);
    }
}

TEST_F(CFileStreamTest, OpeningExaminesTheMarkAndAppendsOnRequest) {
    dir_.Write("f", "\xFF\xFE!");
    EXPECT_EQ(stream_.OpenText(path_, cRO | 0x8), Tova::Ok);
    EXPECT_EQ(stream_.ReadChar(eof_), '\xFF');
    TestStream marked;
    EXPECT_EQ(marked.OpenText(path_, CFileStream::cAppend), Tova::Ok);
    EXPECT_EQ(marked.GetEncoding(), Tova::CStream::Encoding::Utf16);
    EXPECT_TRUE(marked.WriteChar('a') && marked.Close());
    EXPECT_EQ(tvtest::ReadFile(path_), std::string("\xFF\xFE!a\0", 5));
}

TEST_F(CFileStreamTest, EndOfFileIsNoError) {
    dir_.Write("f", "a");
    ASSERT_EQ(stream_.OpenText(path_, cRO | Tova::CStream::cThrowAtEnd), Tova::Ok);
    char two[2] = {};
    unsigned long done = 9;
    EXPECT_TRUE(stream_.InternalRead(2, two, &done) && done == 1) << "short, but something";
    EXPECT_THROW(stream_.AtEOF(), RStatus);
    EXPECT_TRUE(stream_.SetPos(0) && stream_.ReadRawByte(eof_) == 'a');
    EXPECT_FALSE(stream_.AtEOF()) << "not before a read has met the end";
    EXPECT_EQ(stream_.GetState(), State::Open);
}

TEST_F(CFileStreamTest, WithoutAFileEverythingIsFalse) {
    TestStream closed;
    ASSERT_EQ(closed.OpenText(path_, cAlways | cWO | 0x3), Tova::Ok);
    ASSERT_TRUE(closed.Close());
    for (CFileStream* stream : {&stream_, &closed}) {
        char b = 0;
        unsigned long read = 7, written = 7, n = 0;
        EXPECT_FALSE(stream->InternalRead(1, &b, &read) || stream->InternalWrite(1, &b, &written) ||
                     stream->InternalSetPos(0) || stream->InternalGetPos(n) ||
                     stream->InternalSetLength(0) || stream->InternalGetLength(n) ||
                     stream->Flush() || stream->Close());
        EXPECT_EQ(read + written, 0U);
        EXPECT_TRUE(stream->AtEOF() && stream->GetState() != State::Failed);
    }
}

TEST_F(CFileStreamTest, ReadingAndWritingAlternate) {
    dir_.Write("f", "abcdefgh");
    ASSERT_EQ(stream_.OpenText(path_, 0), Tova::Ok);
    unsigned long n = 0;
    EXPECT_EQ(stream_.ReadChar(eof_), 'a');
    EXPECT_TRUE(stream_.WriteString("BC", -1) && stream_.ReadChar(eof_) == 'd');
    EXPECT_TRUE(stream_.WriteChar('E') && stream_.ReadToDelim(out_, 'g', -1, nullptr));
    EXPECT_STREQ(out_.CStr(), "f");
    EXPECT_TRUE(stream_.SetPosToEnd() && stream_.WriteString("ij", -1));
    EXPECT_TRUE(stream_.InternalGetLength(n) && n == 10) << "what is still buffered counts";
    EXPECT_TRUE(stream_.SetPos(1) && stream_.ReadChar(eof_) == 'B');
    EXPECT_TRUE(stream_.InternalSetLength(3) && stream_.ReadToDelim(out_, 0, -1, nullptr));
    EXPECT_STREQ(out_.CStr(), "C") << "bytes read ahead are gone with the file's end";
    EXPECT_TRUE(stream_.WriteChar('z')) << "writing goes on after the end was met";
    EXPECT_FALSE(stream_.InternalSetLength(~0UL));
    EXPECT_EQ(stream_.GetState(), State::Open) << "lengths set no error";
    EXPECT_FALSE(stream_.SetPos(~0UL));
    EXPECT_TRUE(stream_.Close());
    EXPECT_EQ(tvtest::ReadFile(path_), "aBCz");
}

TEST_F(CFileStreamTest, AFullDeviceFailsFlushAndClose) {
    const std::string large(100000, 'x');
    const unsigned throws = Tova::CStream::cThrowOnError;
    int descriptor = -1;
    {
        TestStream loud;
        ASSERT_EQ(loud.OpenText("/dev/full", cAlways | cWO | throws), Tova::Ok);
        descriptor = loud.Descriptor();
        EXPECT_TRUE(loud.WriteChar('x'));
        EXPECT_THROW(loud.Flush(), RStatus);
        EXPECT_THROW(loud.Write(large.size(), large.data(), nullptr), RStatus);
    }
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << "closed by the destructor, without a throw";
    ASSERT_EQ(stream_.OpenText("/dev/full", cAlways | cWO), Tova::Ok);
    EXPECT_TRUE(stream_.WriteChar('x') && !stream_.Close());
}

// The writer waits for its first text to arrive: a reader that read ahead would never end.
TEST_F(CFileStreamTest, AFifoIsReadAsItComes) {
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    std::promise<void> arrived;
    std::thread writer([&] {
        const int out = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(write(out, "ab\0", 3), 3);
        arrived.get_future().wait();
        EXPECT_EQ(write(out, "cd", 2), 2);
        close(out);
    });
    ASSERT_EQ(stream_.OpenText(path_, cRO | Tova::CStream::cScramble), Tova::Ok);
    const auto nul = static_cast<signed char>(Tova::Unscramble(0));
    EXPECT_TRUE(stream_.ReadToDelim(out_, nul, -1, nullptr) && out_.Length() == 2);
    EXPECT_FALSE(stream_.AtEOF());
    arrived.set_value();
    EXPECT_TRUE(stream_.ReadToDelim(out_, 0, -1, nullptr) && out_.Length() == 2);
    EXPECT_TRUE(stream_.AtEOF());
    writer.join();
}

struct Info final : Tova::ILocalFileInfo {
    unsigned GetCreator() const override { return 0x43524541; }
    unsigned GetType() const override { return 0x54595045; }
};

TEST_F(CFileStreamTest, StampsWhatIsOpenedForWriting) {
    const Info info;
    dir_.Write("f", "abc");
    Tova::CFSPath path;
    ASSERT_EQ(path.FromUnixPath(path_.c_str()), Tova::Ok);
    unsigned creator = 1;
    EXPECT_EQ(stream_.OpenText(path_, cRO, &info), Tova::Ok);
    EXPECT_EQ(Tova::LFS.GetFileFinderInfo(path, &creator, nullptr, nullptr), Tova::Ok);
    EXPECT_EQ(creator, 0U);
    EXPECT_EQ(stream_.OpenText(path_, 0, &info), Tova::Ok);
    EXPECT_EQ(Tova::LFS.GetFileFinderInfo(path, &creator, nullptr, nullptr), Tova::Ok);
    if (creator == 0) {
        GTEST_SKIP() << "this file system keeps no Finder information";
    }
    EXPECT_EQ(creator, info.GetCreator());
}

}  // namespace
