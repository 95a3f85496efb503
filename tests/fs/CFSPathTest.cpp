#include "tests/fs/FSTesting.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace Tova;

namespace {

TEST(CFSPath, AppendsComponentsAsTheyAre) {
    Path path("/a");
    for (const char* name : {"x", "/x", "b/c", "caf\xC3\xA9"}) {
        EXPECT_EQ(path.AppendComponent(name), Ok);
    }
    EXPECT_EQ(path.AppendComponent(nullptr), Failure);
    EXPECT_EQ(path.AppendComponents("\xFF"), Failure) << "not UTF-8";
    EXPECT_EQ(path.FromUnixPath(nullptr), Failure);
    EXPECT_EQ(text(path), "/a/x/x/b/c/caf\xC3\xA9") << "a failure changes nothing";
    path.Set(path.GetURL(), false);
    EXPECT_EQ(CFGetRetainCount(path.GetURL()), 1) << "its own URL survives";
}

TEST(CFSPath, WalkingUpwardEndsAtARoot) {
    const char* const walks[][3] = {{"/a/b", "/a", "/"},
                                    {"/Volumes/Disk", "/Volumes", "/Volumes"},
                                    {"/vOLUMES", "/vOLUMES", "/vOLUMES"},
                                    {"/Volumes2/x", "/Volumes2", "/"}};
    for (const auto& walk : walks) {
        Path path(walk[0]);
        for (const char* folder : {walk[1], walk[2], walk[2]}) {
            EXPECT_EQ(path.IsRootDirectory(), text(path) == walk[2]);
            EXPECT_EQ(path.GetComponent(FSContainingFolder, path), Ok) << "into itself";
            EXPECT_EQ(text(path), folder);
        }
    }
    CFSPath empty;
    EXPECT_EQ(Path("/a").GetComponent(FSComponentType(1), empty), ErrBadParameter);
    EXPECT_FALSE(empty.GetComponent(FSContainingFolder, empty) >= 0 ||
                 empty.AppendComponent("x") >= 0 || empty.IsRootDirectory() || empty.IsFullPath());
}

TEST(CFSPath, ATextIsFullAndHasAtMost1023Bytes) {
    Path relative("x/y");
    EXPECT_FALSE(relative.IsFullPath());
    EXPECT_TRUE(relative.MakeFullPath() >= 0 && relative.IsFullPath());
    EXPECT_EQ(text(relative), std::filesystem::current_path().string() + "/x/y");
    const std::string longest = "/" + std::string(1022, 'x');
    Path path(longest), longer(longest + "x");
    EXPECT_TRUE(path.MakeFullPath() >= 0 && longer.MakeFullPath() < 0);
    EXPECT_EQ(text(path), longest);
    EXPECT_EQ(text(longer), "(none)");
}

}  // namespace
