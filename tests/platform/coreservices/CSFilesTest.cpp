#include "tests/platform/coreservices/FileTestSupport.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <tuple>

using namespace tvtest;
using namespace std::string_literals;

namespace {

constexpr FSCatalogInfoBitmap cRecords = kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo;

OSErr read(const FSRef& ref, FSCatalogInfoBitmap which, FSCatalogInfo& info) {
    return FSGetCatalogInfo(&ref, which, &info, nullptr, nullptr, nullptr);
}

std::string pathOf(const FSRef& ref) {
    return PathOf(Own(CFURLCreateFromFSRef(nullptr, &ref)));
}

class CSFiles : public testing::Test {
protected:
    TempHome home_;
    const std::string root_ = home_.Path();  // a canonical path
    const std::string file_ = home_.Write("caf\xC3\xA9", "12345");
};

TEST_F(CSFiles, AReferenceIsACanonicalPath) {
    std::filesystem::create_directory_symlink(root_, home_.Path("link"));
    std::filesystem::create_symlink("gone", home_.Path("dangling"));
    FSRef ref = RefOf(root_ + "/link/./caf\xC3\xA9");
    for (const std::string& none :
         {root_ + "/none", root_ + "/dangling", file_ + "/x", "/" + std::string(5000, 'x')}) {
        EXPECT_FALSE(CFURLGetFSRef(FileUrl(none), &ref)) << none;
        EXPECT_EQ(pathOf(ref), file_) << "untouched";
    }
    const FSRef folder = RefOf(root_);
    EXPECT_TRUE(Utf8(CFURLGetString(Own(CFURLCreateFromFSRef(nullptr, &folder)))).ends_with('/'));
    EXPECT_FALSE(CFURLGetFSRef(FileUrl("/"), nullptr));
}

TEST_F(CSFiles, CatalogInformationTellsWhatStatKnows) {
    constexpr FSCatalogInfoBitmap all =
        kFSCatInfoNodeFlags | kFSCatInfoPermissions | kFSCatInfoDataSizes;
    ASSERT_EQ(chmod(file_.c_str(), 0640), 0);
    ASSERT_EQ(chmod(root_.c_str(), 0755), 0);
    FSCatalogInfo info = {};
    const FSRef ref = RefOf(file_);
    EXPECT_EQ(read(RefOf(root_), all, info), noErr);
    EXPECT_EQ(std::tuple(info.nodeFlags, info.dataLogicalSize),
              std::tuple(kFSNodeIsDirectoryMask, 0U));
    EXPECT_EQ(read(ref, all, info), noErr);
    EXPECT_EQ(std::tuple(info.nodeFlags, info.dataLogicalSize, info.permissions.mode,
                         info.permissions.userID, info.permissions.fileSec),
              std::tuple(0, 5U, S_IFREG | 0640, geteuid(), nullptr));
    info.permissions.mode = 06751;
    EXPECT_EQ(FSSetCatalogInfo(&ref, all, &info), paramErr);
    EXPECT_TRUE(AsNobody(
        [&] { return FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info) == afpAccessDenied; }));
    EXPECT_TRUE(HasMode(file_, 0640));
    EXPECT_EQ(FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info), noErr);
    EXPECT_TRUE(HasMode(file_, 06751));
    std::filesystem::remove(file_);
    EXPECT_EQ(read(ref, kFSCatInfoNodeFlags, info), fnfErr) << "gone since";
}

TEST_F(CSFiles, FinderRecordsAreKeptBigEndian) {
    constexpr char attribute[] = "user.com.apple.FinderInfo";
    const auto stored = [&] {
        char bytes[33] = {};
        const auto size = getxattr(file_.c_str(), attribute, bytes, sizeof bytes);
        return std::string(bytes, size == 32 ? 32 : 0);
    };
    FSCatalogInfo info = {}, back = {};
    const FSRef file = RefOf(file_);
    std::memset(&info, 9, sizeof info);
    EXPECT_EQ(read(file, cRecords, info), noErr);
    EXPECT_EQ(info.finderInfo[0] + info.extFinderInfo[15], 0) << "nobody wrote one";
    const FileInfo record = {0x54455854, 0x41424344, 0x4001, {1, 2}, 3};
    std::memcpy(info.finderInfo, &record, sizeof record);
    ASSERT_EQ(FSSetCatalogInfo(&file, kFSCatInfoFinderInfo, &info), noErr);
    if (stored().empty() && errno == ENOTSUP) {
        GTEST_SKIP() << "this file system has no attributes";
    }
    const UInt16 words[] = {1, 2, 3, 4, 5, 6, 0x0607, 0x0405};
    std::memcpy(info.extFinderInfo, words, sizeof words);
    ASSERT_EQ(FSSetCatalogInfo(&file, kFSCatInfoFinderXInfo, &info), noErr);
    EXPECT_EQ(stored(), "TEXTABCD\x40\x01\0\x01\0\x02\0\x03"
                        "\0\x01\0\x02\0\x03\0\x04\0\x05\0\x06\x04\x05\x06\x07"s)
        << "the other record stays";
    EXPECT_EQ(read(file, cRecords, back), noErr);
    EXPECT_EQ(std::memcmp(back.finderInfo, &record, 16), 0);
    EXPECT_EQ(std::memcmp(back.extFinderInfo, words, 16), 0);
    for (const size_t size : {0U, 31U, 33U}) {
        ASSERT_EQ(setxattr(file_.c_str(), attribute, std::string(size, 'x').data(), size, 0), 0);
        EXPECT_EQ(read(file, kFSCatInfoFinderInfo, back), noErr);
        EXPECT_EQ(back.finderInfo[0], 0) << "a record of another size is none";
    }
}

TEST_F(CSFiles, WhatIsNoReferenceIsAParameterError) {
    FSRef garbage;
    std::memset(&garbage, '/', sizeof garbage);
    FSCatalogInfo info = {};
    for (const FSRef* none : std::initializer_list<const FSRef*>{nullptr, &garbage}) {
        EXPECT_EQ(FSGetCatalogInfo(none, 0, &info, nullptr, nullptr, nullptr), paramErr);
        EXPECT_EQ(FSSetCatalogInfo(none, 0, &info), paramErr);
        EXPECT_EQ(CFURLCreateFromFSRef(nullptr, none), nullptr);
    }
    EXPECT_EQ(read(RefOf(file_), 0x00000001, info), paramErr) << "an unknown kind";
}

// The folder that was found, or the error.
std::string find(FSVolumeRefNum domain, bool create, OSType type = kApplicationSupportFolderType) {
    FSRef ref = {};
    const OSErr error = FSFindFolder(domain, type, create, &ref);
    return error == noErr ? pathOf(ref) : std::to_string(error);
}

TEST_F(CSFiles, FoldersAreFoundAndMadeOnRequest) {
    const std::string missing = std::to_string(fnfErr), noFolder = std::to_string(dirNFErr);
    EXPECT_EQ(find(kUserDomain, false), missing);
    EXPECT_FALSE(std::filesystem::exists(home_.Path(".local")));
    EXPECT_EQ(find(kUserDomain, true), root_ + "/.local/share");
    EXPECT_EQ(find(kLocalDomain, true), root_ + "/machine");
    EXPECT_TRUE(HasMode(home_.Path(".local"), 0700) && HasMode(home_.Path("machine"), 0755));
    const ScopedEnv data("XDG_DATA_HOME", root_ + "/d//e/");
    EXPECT_EQ(find(kUserDomain, true), root_ + "/d/e");
    EXPECT_EQ(find(kUserDomain, true, 0x70726566), missing);
    EXPECT_EQ(find(-32766, true), missing);
    const ScopedEnv inTheWay("XDG_DATA_HOME", file_);
    EXPECT_EQ(find(kUserDomain, true), std::to_string(dupFNErr));
    EXPECT_EQ(find(kUserDomain, false), noFolder);
    const ScopedEnv relative("XDG_DATA_HOME", "rel");
    const ScopedEnv homeless("HOME", root_ + "/nobody");
    EXPECT_EQ(find(kUserDomain, true), missing) << "a home is never made";
}

TEST(CSUserName, IsTheEffectiveUsersElseTheEnvironments) {
    const ScopedEnv logname("LOGNAME", "\xFF");
    const ScopedEnv user("USER", "someone");
    const passwd* entry = getpwuid(geteuid());
    EXPECT_EQ(Utf8(Own(CSCopyUserName(true))), entry != nullptr ? entry->pw_name : "someone");
    const auto withoutEntry = [] {
        return setuid(4000000) == 0 && Utf8(Own(CSCopyUserName(true))) == "someone";
    };
    EXPECT_TRUE(geteuid() != 0 || HoldsInChild(withoutEntry));
}

}  // namespace
