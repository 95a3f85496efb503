#include "fs/CLocalFileSystem.h"

#include "tests/fs/FSTesting.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>

using Tova::CFSPath;
using Tova::CLocalFileSystem;
using Tova::LFS;
using Tova::RStatus;

namespace {

// Makes every folder but "/a/no".
class FakeFileSystem final : public Tova::CFileSystem {
public:
    RStatus GetNodeType(const CFSPath& path) override {
        return text(path) == "/file"            ? Tova::S_NodeIsFile
               : folders.count(text(path)) != 0 ? Tova::S_NodeIsDirectory
                                                : Tova::Failure;
    }
    RStatus NativeCreateDirectory(const CFSPath& path) override {
        made += text(path) + " ";
        return text(path) == "/a/no" ? Tova::ErrAccessDenied : Tova::Ok;
    }

    std::set<std::string> folders = {"/", "/a"};
    std::string made;
};

TEST(CFileSystem, CreatesMissingFoldersFromTheTop) {
    const struct {
        const char* path;
        RStatus status;
        const char* made;
    } cases[] = {
        {"/a", Tova::Ok, ""},
        {"/a/b/c", Tova::Ok, "/a/b /a/b/c "},
        {"/Volumes/d", Tova::Ok, "/Volumes/d "},
        {"/a/no/c", Tova::ErrAccessDenied, "/a/no "},
        {"/file/c", Tova::ErrAlreadyExists, ""},
    };
    for (const auto& c : cases) {
        FakeFileSystem fake;
        EXPECT_EQ(fake.CreateDirectory(Path(c.path)), c.status) << c.path;
        EXPECT_EQ(fake.made, c.made);
    }
}

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
    const struct {
        std::string path;
        RStatus exists, type, create;
    } cases[] = {
        {home_.Path(), Tova::Ok, Tova::S_NodeIsDirectory, Tova::Ok},
        {".", Tova::Ok, Tova::S_NodeIsDirectory, Tova::Ok},
        {file_, Tova::Ok, Tova::S_NodeIsFile, Tova::ErrAlreadyExists},
        {none_, Tova::ErrNotFound, Tova::Failure, Tova::Failure},
        {"", Tova::Failure, Tova::ErrBadParameter, Tova::ErrBadParameter},
        {deep, Tova::Failure, Tova::Failure, Tova::Failure},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(LFS.CreateDirectory(Path(c.path)), c.create) << c.path;
        EXPECT_EQ(LFS.GetNodeType(Path(c.path)), c.type) << c.path;
        EXPECT_EQ(LFS.FileExists(Path(c.path)), c.exists) << c.path;
    }
}

TEST_F(CLocalFileSystemTest, ReportsAMissingObjectBeforeABadKind) {
    unsigned long long out[2] = {};
    EXPECT_EQ(LFS.GetInfo(Path(file_), CLocalFileSystem::DataSizeInfo, out), Tova::Ok);
    EXPECT_EQ(LFS.GetInfo(Path(none_), 5, out), Tova::Failure);
    EXPECT_EQ(LFS.GetInfo(Path(file_), 5, out), Tova::ErrBadParameter);
    EXPECT_EQ(LFS.GetInfo(Path(file_), -1, out), Tova::ErrBadParameter);
    EXPECT_EQ(LFS.GetInfo(Path(file_), 0, nullptr), Tova::ErrBadParameter);
    EXPECT_EQ(out[0], 5U);
}

TEST_F(CLocalFileSystemTest, ReadOnlyIsAboutAllThreeWriteBits) {
    const Path path(file_);
    bool value = false;
    for (const mode_t mode : {0666U, 0644U, 0464U, 0777U, 0400U}) {
        ASSERT_EQ(chmod(file_.c_str(), mode), 0);
        EXPECT_EQ(LFS.GetAttribute(path, CLocalFileSystem::ReadOnly, value), Tova::Ok);
        EXPECT_EQ(value, (mode & 0222U) != 0222U) << mode;
        EXPECT_EQ(LFS.SetAttribute(path, CLocalFileSystem::ReadOnly, !value), Tova::Ok);
        struct stat status = {};
        ASSERT_EQ(stat(file_.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, value ? mode | 0222U : mode & ~0222U);
    }
    const auto unknown = CLocalFileSystem::FSAttribute(3);
    EXPECT_EQ(LFS.GetAttribute(path, unknown, value), Tova::Failure);
    EXPECT_EQ(LFS.SetAttribute(path, CLocalFileSystem::Hidden, true), Tova::ErrBadParameter);
}

TEST_F(CLocalFileSystemTest, FinderInformationIsKeptWithTheFile) {
    unsigned creator = 1, type = 1;
    unsigned short flags = 1;
    bool hidden = false;
    const Path path(file_);
    EXPECT_EQ(LFS.SetFileFinderInfo(Path(none_), 1, 2, 3), Tova::Failure);
    EXPECT_EQ(LFS.SetFileFinderInfo(path, 0x61626364, 0x31323334, 0x4001), Tova::Ok);
    EXPECT_EQ(LFS.GetFileFinderInfo(path, &creator, &type, &flags), Tova::Ok);
    EXPECT_EQ(LFS.GetAttribute(path, CLocalFileSystem::Hidden, hidden), Tova::Ok);
    if (type == 0) {
        GTEST_SKIP() << "this file system keeps no Finder information";
    }
    EXPECT_EQ(creator, 0x61626364U);
    EXPECT_EQ(type, 0x31323334U);
    EXPECT_EQ(flags, 0x4001);
    EXPECT_TRUE(hidden);
}

TEST_F(CLocalFileSystemTest, BracketsNameFolders) {
    const struct {
        const char* text;
        RStatus status;
        std::string path;
    } cases[] = {
        {"[UserAppDataDir]", Tova::Ok, home_.Path(".local/share")},
        {"[MachineAppDataDir]/N W/R", Tova::Ok, home_.Path("machine/N W/R")},
        {"[MachineAppDataDir]/\xFF", Tova::Failure, "/old"},
        {"[machineAppDataDir]", Tova::ErrBadParameter, "/old"},
        {"[]", Tova::ErrBadParameter, "/old"},
        {"[UserAppDataDir", Tova::ErrBadParameter, "/old"},
        {"MachineAppDataDir]/x", Tova::ErrBadParameter, "/old"},
        {nullptr, Tova::ErrBadParameter, "/old"},
    };
    for (const auto& c : cases) {
        Path path("/old");
        EXPECT_EQ(LFS.MakePath(c.text, path), c.status) << c.path;
        EXPECT_EQ(text(path), c.path);
    }
    EXPECT_EQ(LFS.GetNodeType(Path(home_.Path("machine"))), Tova::S_NodeIsDirectory) << "made";
    CFSPath out;
    for (const int type : {1, 3, 8}) {
        EXPECT_EQ(LFS.GetDirectory(CLocalFileSystem::DirType(type), out), Tova::Failure);
    }
}

}  // namespace
