#include "tests/platform/coreservices/FileTestSupport.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace tvtest;

namespace {

constexpr char cAttribute[] = "user.com.apple.FinderInfo";

OSErr Read(const FSRef& ref, FSCatalogInfoBitmap which, FSCatalogInfo& info) {
    return FSGetCatalogInfo(&ref, which, &info, nullptr, nullptr, nullptr);
}

class CSFiles : public testing::Test {
protected:
    TempHome home_;
    // Tests compare with canonical paths.
    const std::string root_ = std::filesystem::canonical(home_.Path());
    const std::string file_ = home_.Write("caf\xC3\xA9", "12345");
};

TEST_F(CSFiles, AReferenceIsACanonicalPath) {
    std::filesystem::create_directory_symlink(root_, home_.Path("link"));
    std::filesystem::create_symlink("gone", home_.Path("dangling"));
    FSRef ref = {};
    EXPECT_TRUE(CFURLGetFSRef(FileUrl(root_ + "/link/./caf\xC3\xA9"), &ref));
    UInt8 path[4096];
    EXPECT_EQ(FSRefMakePath(&ref, path, sizeof path), noErr);
    EXPECT_EQ(reinterpret_cast<char*>(path), root_ + "/caf\xC3\xA9");
    EXPECT_EQ(FSRefMakePath(&ref, path, static_cast<UInt32>(root_.size())), bdNamErr);
    EXPECT_EQ(PathOf(Own(CFURLCreateFromFSRef(nullptr, &ref))), root_ + "/caf\xC3\xA9");
    for (const char* none : {"/none", "/dangling", "/caf\xC3\xA9/x"}) {
        FSRef untouched = ref;
        EXPECT_FALSE(CFURLGetFSRef(FileUrl(root_ + none), &untouched)) << none;
        EXPECT_EQ(std::memcmp(&untouched, &ref, sizeof ref), 0);
    }
    EXPECT_FALSE(CFURLGetFSRef(FileUrl("/" + std::string(5000, 'x')), &ref));
    EXPECT_FALSE(CFURLGetFSRef(WebUrl("http://h/"), &ref));
    Boolean isDirectory = false;
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(root_.c_str()), &ref, &isDirectory),
              noErr);
    EXPECT_TRUE(isDirectory);
    EXPECT_TRUE(Utf8(CFURLGetString(Own(CFURLCreateFromFSRef(nullptr, &ref)))).ends_with('/'));
}

TEST_F(CSFiles, CatalogInformationTellsWhatStatKnows) {
    ASSERT_EQ(chmod(file_.c_str(), 0640), 0);
    FSCatalogInfo info = {};
    HFSUniStr255 name = {};
    FSRef ref = RefOf(file_);
    EXPECT_EQ(FSGetCatalogInfo(&ref,
                               kFSCatInfoNodeFlags | kFSCatInfoPermissions | kFSCatInfoDataSizes,
                               &info, &name, nullptr, &ref),
              noErr)
        << "the parent may replace the object";
    EXPECT_EQ(info.nodeFlags, 0);
    EXPECT_EQ(info.permissions.mode, S_IFREG | 0640);
    EXPECT_EQ(info.permissions.userID, geteuid());
    EXPECT_EQ(info.permissions.fileSec, nullptr);
    EXPECT_EQ(info.dataLogicalSize, 5U);
    EXPECT_EQ(std::u16string(name.unicode, name.unicode + name.length), u"café");
    EXPECT_EQ(PathOf(Own(CFURLCreateFromFSRef(nullptr, &ref))), root_);
    EXPECT_EQ(Read(ref, kFSCatInfoNodeFlags | kFSCatInfoDataSizes, info), noErr);
    EXPECT_EQ(info.nodeFlags, kFSNodeIsDirectoryMask);
    EXPECT_EQ(info.dataLogicalSize, 0U);
    info.permissions.mode = 06751;
    ref = RefOf(file_);
    EXPECT_EQ(FSSetCatalogInfo(&ref, kFSCatInfoPermissions, &info), noErr);
    struct stat status = {};
    ASSERT_EQ(stat(file_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 06751U);
    EXPECT_EQ(FSSetCatalogInfo(&ref, kFSCatInfoPermissions | kFSCatInfoNodeFlags, &info), paramErr);
    std::filesystem::remove(file_);
    EXPECT_EQ(Read(ref, kFSCatInfoNodeFlags, info), fnfErr) << "gone since";
    const FSRef slash = RefOf("/");
    FSRef above = ref;
    EXPECT_EQ(FSGetCatalogInfo(&slash, 0, nullptr, nullptr, nullptr, &above), noErr);
    EXPECT_EQ(above.hidden[0], 0);
    const FSRef top = RefOf("/dev");
    EXPECT_EQ(FSGetCatalogInfo(&top, 0, nullptr, nullptr, nullptr, &above), noErr);
    EXPECT_EQ(std::memcmp(&above, &slash, sizeof slash), 0);
}

TEST_F(CSFiles, FinderRecordsAreKeptBigEndian) {
    FSCatalogInfo info = {};
    const FSRef file = RefOf(file_), folder = RefOf(root_);
    info.finderInfo[3] = 9;
    EXPECT_EQ(Read(file, kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo, info), noErr);
    EXPECT_EQ(info.finderInfo[3], 0) << "nobody wrote one";
    FileInfo record = {0x54455854, 0x41424344, 0x4001, {1, 2}, 3};
    std::memcpy(info.finderInfo, &record, sizeof record);
    ASSERT_EQ(FSSetCatalogInfo(&file, kFSCatInfoFinderInfo, &info), noErr);
    UInt8 stored[32] = {};
    if (getxattr(file_.c_str(), cAttribute, stored, sizeof stored) < 0 && errno == ENOTSUP) {
        GTEST_SKIP() << "this file system has no attributes";
    }
    EXPECT_EQ(std::memcmp(stored, "TEXTABCD\x40\x01\0\x01\0\x02\0\x03\0\0\0", 20), 0);
    const ExtendedFileInfo extended = {{0, 0, 0, 1}, 2, 3, 0x04050607};
    std::memcpy(info.extFinderInfo, &extended, sizeof extended);
    info.finderInfo[0] = 77;
    ASSERT_EQ(FSSetCatalogInfo(&file, kFSCatInfoFinderXInfo, &info), noErr);
    ASSERT_EQ(getxattr(file_.c_str(), cAttribute, stored, sizeof stored), 32);
    EXPECT_EQ(std::memcmp(stored, "TEXT", 4), 0) << "the other record stays";
    EXPECT_EQ(std::memcmp(stored + 22, "\0\x01\0\x02\0\x03\x04\x05\x06\x07", 10), 0);
    FSCatalogInfo back = {};
    EXPECT_EQ(Read(file, kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo, back), noErr);
    EXPECT_EQ(std::memcmp(back.finderInfo, &record, 16), 0);
    EXPECT_EQ(std::memcmp(back.extFinderInfo, &extended, 16), 0);
    // A folder's fields have other widths.
    const FolderInfo window = {{1, 2, 3, 4}, 5, {6, 7}, 8};
    std::memcpy(info.finderInfo, &window, sizeof window);
    ASSERT_EQ(FSSetCatalogInfo(&folder, kFSCatInfoFinderInfo, &info), noErr);
    ASSERT_EQ(getxattr(root_.c_str(), cAttribute, stored, sizeof stored), 32);
    EXPECT_EQ(std::memcmp(stored, "\0\x01\0\x02\0\x03\0\x04\0\x05\0\x06\0\x07\0\x08", 16), 0);
    for (const size_t size : {0U, 31U, 33U}) {
        ASSERT_EQ(setxattr(file_.c_str(), cAttribute, std::string(size, 'x').data(), size, 0), 0);
        EXPECT_EQ(Read(file, kFSCatInfoFinderInfo, back), noErr);
        EXPECT_EQ(back.finderInfo[0], 0) << "a record of another size is none";
    }
}

TEST_F(CSFiles, NewFoldersHaveOneName) {
    const FSRef parent = RefOf(root_);
    const auto make = [&](std::u16string_view name, FSRef* made = nullptr) {
        return FSCreateDirectoryUnicode(&parent, name.size(),
                                        reinterpret_cast<const UniChar*>(name.data()), 0, nullptr,
                                        made, nullptr, nullptr);
    };
    FSRef made = {};
    EXPECT_EQ(make(u"n\u00EB", &made), noErr);
    EXPECT_EQ(PathOf(Own(CFURLCreateFromFSRef(nullptr, &made))), root_ + "/n\xC3\xAB");
    EXPECT_EQ(make(u"n\u00EB"), dupFNErr);
    for (const auto name : {std::u16string_view(), std::u16string_view(u"."),
                            std::u16string_view(u".."), std::u16string_view(u"a/b"),
                            std::u16string_view(u"a\0b", 3), std::u16string_view(u"\xDC00")}) {
        EXPECT_EQ(make(name), bdNamErr);
    }
    EXPECT_EQ(make(std::u16string(256, u'x')), bdNamErr);
    EXPECT_EQ(make(std::u16string(200, u'\u00EB')), bdNamErr) << "400 bytes";
    const FSRef inFile = RefOf(file_);
    EXPECT_EQ(FSCreateDirectoryUnicode(&inFile, 1, reinterpret_cast<const UniChar*>(u"x"), 0,
                                       nullptr, nullptr, nullptr, nullptr),
              dirNFErr);
    FSCatalogInfo info = {};
    info.permissions.mode = 0711;
    const auto* name = reinterpret_cast<const UniChar*>(u"ab");
    EXPECT_EQ(FSCreateDirectoryUnicode(&parent, 1, name, kFSCatInfoPermissions, &info, nullptr,
                                       nullptr, nullptr),
              noErr);
    EXPECT_EQ(FSCreateDirectoryUnicode(&parent, 2, name, kFSCatInfoNodeFlags, &info, nullptr,
                                       nullptr, nullptr),
              paramErr);
    struct stat status = {};
    ASSERT_EQ(stat(home_.Path("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0711U);
    EXPECT_FALSE(std::filesystem::exists(home_.Path("ab"))) << "nothing half made stays";
}

TEST_F(CSFiles, NullAndEmptyReferencesAreParameterErrors) {
    FSRef garbage;
    std::memset(&garbage, '/', sizeof garbage);
    const FSRef empty = {};
    FSCatalogInfo info = {};
    UInt8 path[8];
    for (const FSRef* none :
         {static_cast<const FSRef*>(nullptr), &empty, static_cast<const FSRef*>(&garbage)}) {
        EXPECT_EQ(FSGetCatalogInfo(none, 0, &info, nullptr, nullptr, nullptr), paramErr);
        EXPECT_EQ(FSSetCatalogInfo(none, 0, &info), paramErr);
        EXPECT_EQ(FSRefMakePath(none, path, sizeof path), paramErr);
        EXPECT_EQ(CFURLCreateFromFSRef(nullptr, none), nullptr);
        EXPECT_EQ(FSCreateDirectoryUnicode(none, 0, nullptr, 0, nullptr, nullptr, nullptr, nullptr),
                  paramErr);
    }
    const FSRef ref = RefOf(file_);
    EXPECT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNodeFlags, nullptr, nullptr, nullptr, nullptr),
              paramErr);
    EXPECT_EQ(Read(ref, 0x00000001, info), paramErr) << "an unknown kind";
    EXPECT_EQ(FSSetCatalogInfo(&ref, kFSCatInfoPermissions, nullptr), paramErr);
    EXPECT_EQ(FSPathMakeRef(nullptr, &garbage, nullptr), paramErr);
    EXPECT_FALSE(CFURLGetFSRef(FileUrl("/"), nullptr));
    EXPECT_EQ(FSFindFolder(kUserDomain, kApplicationSupportFolderType, false, nullptr), paramErr);
}

TEST_F(CSFiles, PermissionsKeepOthersOut) {
    ASSERT_EQ(chmod(root_.c_str(), 0755), 0);
    const FSRef file = RefOf(file_), folder = RefOf(root_);
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    EXPECT_EQ(InChild([&] {
                  FSCatalogInfo info = {};
                  const auto* name = reinterpret_cast<const UniChar*>(u"x");
                  return setuid(65534) == 0 &&
                         FSSetCatalogInfo(&file, kFSCatInfoPermissions, &info) == afpAccessDenied &&
                         FSCreateDirectoryUnicode(&folder, 1, name, 0, nullptr, nullptr, nullptr,
                                                  nullptr) == afpAccessDenied;
              }),
              1);
}

// The folder that was found, or the error.
std::string Find(FSVolumeRefNum domain, bool create, OSType type = kApplicationSupportFolderType) {
    FSRef ref = {};
    const OSErr error = FSFindFolder(domain, type, create, &ref);
    return error == noErr ? PathOf(Own(CFURLCreateFromFSRef(nullptr, &ref)))
                          : std::to_string(error);
}

TEST_F(CSFiles, FoldersAreFoundAndMadeOnRequest) {
    const std::string missing = std::to_string(fnfErr);
    EXPECT_EQ(Find(kUserDomain, false), missing);
    EXPECT_FALSE(std::filesystem::exists(home_.Path(".local")));
    EXPECT_EQ(Find(kUserDomain, true), root_ + "/.local/share");
    EXPECT_EQ(Find(kLocalDomain, true), root_ + "/machine");
    EXPECT_EQ(Find(kLocalDomain, false), root_ + "/machine");
    struct stat status = {};
    ASSERT_EQ(stat(home_.Path(".local").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
    ASSERT_EQ(stat(home_.Path("machine").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0755U);
    const ScopedEnv data("XDG_DATA_HOME", root_ + "/d//e/");
    EXPECT_EQ(Find(kUserDomain, true), root_ + "/d/e");
    EXPECT_EQ(Find(kUserDomain, true, 0x70726566), missing);
    EXPECT_EQ(Find(kSystemDomain, true), missing);
    const ScopedEnv inTheWay("XDG_DATA_HOME", file_);
    EXPECT_EQ(Find(kUserDomain, true), std::to_string(dupFNErr));
    EXPECT_EQ(Find(kUserDomain, false), std::to_string(dirNFErr));
    const ScopedEnv under("XDG_DATA_HOME", file_ + "/x");
    EXPECT_EQ(Find(kUserDomain, true), std::to_string(dirNFErr));
    const ScopedEnv relative("XDG_DATA_HOME", "rel");
    const ScopedEnv homeless("HOME", root_ + "/nobody");
    EXPECT_EQ(Find(kUserDomain, true), missing) << "a home is never made";
}

TEST(CSUserName, IsTheEffectiveUsersElseTheEnvironments) {
    const ScopedEnv logname("LOGNAME", "\xFF");
    const ScopedEnv user("USER", "someone");
    const passwd* entry = getpwuid(geteuid());
    EXPECT_EQ(Utf8(Own(CSCopyUserName(true))), entry != nullptr ? entry->pw_name : "someone");
    if (geteuid() == 0) {
        EXPECT_EQ(InChild([] {
                      return setuid(4000000) == 0 && Utf8(Own(CSCopyUserName(true))) == "someone" &&
                             setenv("LOGNAME", "first", 1) == 0 &&
                             Utf8(Own(CSCopyUserName(false))) == "first" &&
                             unsetenv("LOGNAME") == 0 && setenv("USER", "", 1) == 0 &&
                             CSCopyUserName(true) == nullptr;
                  }),
                  1)
            << "without an entry";
    }
}

}  // namespace
