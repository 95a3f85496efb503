#include "posix/Files.h"

#include "tests/platform/coreservices/FileTestSupport.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

// Replaces the file, and returns true if mode and owner are what they were.
bool keepsModeAndOwner(const std::string& path, mode_t mode) {
    struct stat before = {}, after = {};
    return chmod(path.c_str(), mode) == 0 && stat(path.c_str(), &before) == 0 &&
           tvposix::Replacement(path).Finish("new").error == 0 && stat(path.c_str(), &after) == 0 &&
           tvtest::ReadFile(path) == "new" && before.st_ino != after.st_ino &&
           before.st_mode == (mode | S_IFREG) && after.st_mode == before.st_mode &&
           after.st_uid == before.st_uid;
}

TEST(PosixFiles, AReplacedFileKeepsItsModeAndOwner) {
    const tvtest::TempDir folder;
    const std::string file = folder.Write("f", "old");
    for (const mode_t mode : {06755U, 0640U}) {
        EXPECT_TRUE(keepsModeAndOwner(file, mode)) << mode;
    }
    if (geteuid() == 0) {
        ASSERT_EQ(chown(file.c_str(), 65534, 0) | chown(folder.Path().c_str(), 65534, 0), 0);
        EXPECT_TRUE(keepsModeAndOwner(file, 06755));
        // Unlike root's, the writing of other users takes the set-id bits away.
        EXPECT_TRUE(tvtest::AsNobody([&] { return keepsModeAndOwner(file, 06755); }));
        // A file that becomes the editor's must not give away the editor's rights.
        struct stat status = {};
        ASSERT_EQ(chown(file.c_str(), 0, 0) | chmod(file.c_str(), 06777), 0);
        EXPECT_TRUE(tvtest::AsNobody([&] {
            return tvposix::Replacement(file).Finish("").error == 0 &&
                   stat(file.c_str(), &status) == 0 && (status.st_mode & 07777) == 0777;
        }));
    }
}

TEST(PosixFiles, LinksAreFollowedToWhereNothingIsYet) {
    const tvtest::TempDir folder;
    std::filesystem::create_directory(folder.Path("d"));
    std::filesystem::create_symlink("d/x", folder.Path("link"));
    const auto replace = [&folder](const std::string& bytes) {
        return tvposix::Replacement(folder.Path("link")).Finish(bytes).error;
    };
    EXPECT_EQ(replace("first") | replace("second"), 0);
    EXPECT_EQ(tvtest::ReadFile(folder.Path("d/x")), "second");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("link")));
    std::filesystem::remove_all(folder.Path("d"));
    EXPECT_EQ(replace("third"), ENOENT);
}

}  // namespace
