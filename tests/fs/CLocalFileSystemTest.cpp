#include "fs/CLocalFileSystem.h"

#include "tests/fs/FSTesting.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <tuple>

using Tova::CFSPath;
using Tova::CLocalFileSystem;
using Tova::LFS;
using Tova::RStatus;

namespace {

class CLocalFileSystemTest : public testing::Test {
protected:
    tvtest::TempHome home_;
    const std::string file_ = home_.Write("f", "12345");
    const std::string none_ = home_.Path("none");
};

TEST_F(CLocalFileSystemTest, TellsWhatAPathIsAndMakesNoFolders) {
    std::string deep;
    for (int level = 0; level < 100000; ++level) {
        deep += "/x";
    }
    const std::tuple<std::string, RStatus, RStatus, RStatus> cases[] = {
        {home_.Path(), Tova::Ok, Tova::S_NodeIsDirectory, Tova::Ok},
        {".", Tova::Ok, Tova::S_NodeIsDirectory, Tova::Ok},
        {file_, Tova::Ok, Tova::S_NodeIsFile, Tova::ErrAlreadyExists},
        {none_, Tova::ErrNotFound, Tova::Failure, Tova::Failure},
        {"", Tova::Failure, Tova::ErrBadParameter, Tova::ErrBadParameter},
        {deep, Tova::Failure, Tova::Failure, Tova::Failure}};
    for (const auto& [name, exists, type, create] : cases) {
        const Path path(name);
        EXPECT_EQ(
            std::tuple(LFS.FileExists(path), LFS.GetNodeType(path), LFS.CreateDirectory(path)),
            std::tuple(exists, type, create))
            << name.substr(0, 80);
    }
    // A missing object is reported before a bad kind.
    unsigned long long out[2] = {};
    const Path file(file_);
    const std::tuple seen{LFS.GetInfo(Path(none_), 5, out), LFS.GetInfo(file, 5, out),
                          LFS.GetInfo(file, 0, nullptr), LFS.GetInfo(file, 0, out), out[0]};
    EXPECT_EQ(seen,
              std::tuple(Tova::Failure, Tova::ErrBadParameter, Tova::ErrBadParameter, Tova::Ok, 5));
}

TEST_F(CLocalFileSystemTest, ReadOnlyIsAboutAllThreeWriteBits) {
    const Path path(file_);
    bool value = false;
    for (const mode_t mode : {0666U, 0464U, 0777U, 0400U}) {
        ASSERT_EQ(chmod(file_.c_str(), mode), 0);
        EXPECT_EQ(LFS.GetAttribute(path, CLocalFileSystem::ReadOnly, value), Tova::Ok);
        EXPECT_EQ(value, (mode & 0222U) != 0222U) << mode;
        EXPECT_EQ(LFS.SetAttribute(path, CLocalFileSystem::ReadOnly, !value), Tova::Ok);
        EXPECT_EQ(std::filesystem::status(file_).permissions(),
                  std::filesystem::perms(value ? mode | 0222U : mode & ~0222U));
    }
    EXPECT_EQ(LFS.GetAttribute(path, CLocalFileSystem::FSAttribute(3), value), Tova::Failure);
    EXPECT_EQ(LFS.SetAttribute(path, CLocalFileSystem::Hidden, true), Tova::ErrBadParameter);
}

TEST_F(CLocalFileSystemTest, FinderInformationIsKeptWithTheFile) {
    unsigned creator = 1, type = 1;
    unsigned short flags = 1;
    bool hidden = false;
    const Path path(file_);
    EXPECT_EQ(LFS.SetFileFinderInfo(path, 0x61626364, 0x31323334, 0x4001), Tova::Ok);
    EXPECT_EQ(LFS.GetFileFinderInfo(path, &creator, &type, &flags), Tova::Ok);
    EXPECT_EQ(LFS.GetAttribute(path, CLocalFileSystem::Hidden, hidden), Tova::Ok);
    if (type == 0) {
        GTEST_SKIP() << "this file system keeps no Finder information";
    }
    EXPECT_EQ(std::tuple(creator, type, flags, hidden),
              std::tuple(0x61626364U, 0x31323334U, 0x4001, true));
}

TEST_F(CLocalFileSystemTest, BracketsNameFolders) {
    const std::tuple<const char*, RStatus, std::string> cases[] = {
        {"[UserAppDataDir]", Tova::Ok, home_.Path(".local/share")},
        {"[MachineAppDataDir]/N W/R", Tova::Ok, home_.Path("machine/N W/R")},
        {"[MachineAppDataDir]/\xFF", Tova::Failure, "/old"},
        {"[machineAppDataDir]", Tova::ErrBadParameter, "/old"},
        {"[UserAppDataDir", Tova::ErrBadParameter, "/old"},
        {"MachineAppDataDir]/x", Tova::ErrBadParameter, "/old"},
        {nullptr, Tova::ErrBadParameter, "/old"}};
    for (const auto& [name, status, expected] : cases) {
        Path path("/old");
        EXPECT_EQ(LFS.MakePath(name, path), status) << expected;
        EXPECT_EQ(text(path), expected);
    }
    EXPECT_EQ(LFS.GetNodeType(Path(home_.Path("machine"))), Tova::S_NodeIsDirectory) << "made";
    CFSPath out;
    EXPECT_EQ(LFS.GetDirectory(CLocalFileSystem::DirType(8), out), Tova::Failure);
}

}  // namespace
