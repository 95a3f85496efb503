#include "fs/CLocalFileSystem.h"

#include "tests/fs/FSTesting.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <tuple>

using namespace Tova;

namespace {

class CLocalFileSystemTest : public testing::Test {
protected:
    tvtest::TempHome home_;
    const std::string file_ = home_.Write("f", "12345");
    const std::string none_ = home_.Path("none");
};

TEST_F(CLocalFileSystemTest, TellsWhatAPathIsAndMakesNoFolders) {
    // Without a text, because it is too long for one.
    std::string folder = home_.Path();
    for (int level = 0; level < 6; ++level) {
        folder += "/" + std::string(200, 'n');
    }
    ASSERT_TRUE(std::filesystem::create_directories(folder));
    std::filesystem::copy(file_, folder);
    const std::tuple<std::string, RStatus, RStatus, RStatus> cases[] = {
        {folder + "/f", Failure, S_NodeIsFile, ErrAlreadyExists},
        {folder + "/f/x", Failure, Failure, ErrAlreadyExists},
        {home_.Path(), Ok, S_NodeIsDirectory, Ok},
        {file_, Ok, S_NodeIsFile, ErrAlreadyExists},
        {none_, ErrNotFound, Failure, Failure},
        {"", Failure, ErrBadParameter, ErrBadParameter}};
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
    EXPECT_EQ(seen, std::tuple(Failure, ErrBadParameter, ErrBadParameter, Ok, 5));
}

TEST_F(CLocalFileSystemTest, AttributesAreKeptWithTheFile) {
    const Path path(file_);
    bool value = false;
    // Read-only is about all three write bits.
    for (const mode_t mode : {0666U, 0464U, 0777U, 0400U}) {
        ASSERT_EQ(chmod(file_.c_str(), mode), 0);
        EXPECT_EQ(LFS.GetAttribute(path, CLocalFileSystem::ReadOnly, value), Ok);
        EXPECT_EQ(value, (mode & 0222U) != 0222U) << mode;
        EXPECT_EQ(LFS.SetAttribute(path, CLocalFileSystem::ReadOnly, !value), Ok);
        EXPECT_EQ(std::filesystem::status(file_).permissions(),
                  std::filesystem::perms(value ? mode | 0222U : mode & ~0222U));
    }
    EXPECT_EQ(LFS.GetAttribute(Path(none_), CLocalFileSystem::ReadOnly, value), Failure);
    EXPECT_EQ(LFS.SetAttribute(path, CLocalFileSystem::Hidden, true), ErrBadParameter);
    unsigned creator = 1, type = 1;
    unsigned short flags = 1;
    EXPECT_EQ(LFS.SetFileFinderInfo(path, 1, 2, 0x4001), Ok);
    EXPECT_EQ(LFS.GetFileFinderInfo(path, &creator, &type, &flags), Ok);
    EXPECT_EQ(LFS.GetAttribute(path, CLocalFileSystem::Hidden, value), Ok);
    // A file system without attributes keeps none.
    EXPECT_EQ(std::tuple(creator, type, flags, value),
              type == 0 ? std::tuple(0, 0, 0, false) : std::tuple(1, 2, 0x4001, true));
}

TEST_F(CLocalFileSystemTest, BracketsNameFolders) {
    const std::tuple<const char*, RStatus, std::string> cases[] = {
        {"[UserAppDataDir]", Ok, home_.Path(".local/share")},
        {"[MachineAppDataDir]/N W/R", Ok, home_.Path("machine/N W/R")},
        {"[MachineAppDataDir]/\xFF", Failure, "/old"},
        {"[machineAppDataDir]", ErrBadParameter, "/old"},
        {"[UserAppDataDir", ErrBadParameter, "/old"},
        {"MachineAppDataDir]/x", ErrBadParameter, "/old"},
        {nullptr, ErrBadParameter, "/old"}};
    for (const auto& [name, status, expected] : cases) {
        Path path("/old");
        EXPECT_EQ(LFS.MakePath(name, path), status) << expected;
        EXPECT_EQ(text(path), expected);
    }
    EXPECT_EQ(LFS.GetNodeType(Path(home_.Path("machine"))), S_NodeIsDirectory) << "made";
    CFSPath out;
    EXPECT_EQ(LFS.GetDirectory(CLocalFileSystem::DirType(8), out), Failure);
}

}  // namespace
