#include "tests/platform/coreservices/FileTestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace tvtest;

namespace {

std::string folderOf(CFURLRef url) {
    return PathOf(Own(CFURLCreateCopyDeletingLastPathComponent(nullptr, url)));
}

std::string appended(CFURLRef url, const std::string& component, bool isDirectory = false) {
    return Utf8(CFURLGetString(
        Own(CFURLCreateCopyAppendingPathComponent(nullptr, url, Utf8Str(component), isDirectory))));
}

TEST(CFURL, PathsAreBytes) {
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"/", "file:///", "/"},
        {"//x//y", "file:////x//y", "//x//y"},
        {"/50% /#?;:", "file:///50%25%20/%23%3F%3B%3A", "/50% /#?;:"},
        {"/\xFF\xC3\x01\x7F\n", "file:///%FF%C3%01%7F%0A", "/\xFF\xC3\x01\x7F\n"}};
    for (const auto& [path, text, back] : cases) {
        const auto url = FileUrl(path);
        EXPECT_EQ(Utf8(CFURLGetString(url)), text);
        EXPECT_EQ(PathOf(url), back);
        EXPECT_TRUE(CFEqual(url, WebUrl(text))) << "the text means the same";
    }
    UInt8 buffer[8] = "xxxxxxx";
    for (const CFIndex size : {4, -1}) {
        EXPECT_FALSE(CFURLGetFileSystemRepresentation(FileUrl("/abc"), true, buffer, size));
    }
    EXPECT_STREQ(reinterpret_cast<char*>(buffer), "xxxxxxx");
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(FileUrl("/abc"), true, buffer, 5));
    EXPECT_TRUE(FileUrl("") == nullptr && FileUrl(std::string("/a\0b", 4)) == nullptr);
    EXPECT_EQ(PathOf(WebUrl("FILE://LocalHost/a%20b")), "/a b");
    for (const char* text :
         {"file:///a%00b", "file:///a%2fb", "file://elsewhere/a", "http://h/a"}) {
        EXPECT_EQ(PathOf(WebUrl(text)), "<none>") << text;
    }
}

TEST(CFURL, RelativePathsTakeTheCurrentFolderAsItIs) {
    const std::string here = std::filesystem::current_path().string();
    const std::string above = std::filesystem::path(here).parent_path().string();
    const auto url = FileUrl("a:b/c");
    std::filesystem::current_path("/");
    const auto atRoot = FileUrl("../x");
    std::filesystem::current_path(here);
    EXPECT_EQ(PathOf(url), here + "/a:b/c");
    EXPECT_EQ(PathOf(url, false), "a:b/c");
    EXPECT_EQ(PathOf(atRoot), "/x");
    EXPECT_EQ(PathOf(FileUrl("./../y/../z")), above + "/y/../z") << "y may be a link";
    Boolean absolute = true;
    EXPECT_EQ(Utf8(Own(CFURLCopyStrictPath(url, &absolute))), "a%3Ab/c");
    EXPECT_FALSE(absolute);
    EXPECT_EQ(Utf8(Own(CFURLCopyStrictPath(FileUrl("/a/b"), &absolute))), "a/b");
    EXPECT_TRUE(absolute);
    EXPECT_TRUE(HoldsInChild([] {
        char gone[] = "/tmp/tvtest-XXXXXX";
        return mkdtemp(gone) != nullptr && chdir(gone) == 0 && rmdir(gone) == 0 &&
               FileUrl("x").Get() == nullptr && PathOf(FileUrl("/x")) == "/x";
    })) << "a current folder that is gone";
}

TEST(CFURL, AppendsBehindOneSlash) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"file:///a/", "b", "file:///a/b"},
        {"file:///a", "/x", "file:///a//x"},
        {"file:///a", "", "file:///a/"},
        {"file:///a", "%41?#\xC3\xA9", "file:///a/%2541%3F%23%C3%A9"},
        {"http://h?q#f", "b", "http://h/b?q#f"},
        {"mailto:x@y", "b", "<null>"},
        {"file:/", "/x", "file:/.//x"}};  // x is no host
    for (const auto& [url, component, expected] : cases) {
        EXPECT_EQ(appended(WebUrl(url), component), expected);
    }
    EXPECT_EQ(appended(FileUrl("/a"), "b", true), "file:///a/b/");
    EXPECT_EQ(appended(FileUrl("/a"), "b/", true), "file:///a/b/");
    EXPECT_EQ(CFURLCreateCopyAppendingPathComponent(nullptr, FileUrl("/a"), Str(u"\xD800"), false),
              nullptr);
}

TEST(CFURL, EveryWalkUpwardShortensAndEndsAtTheRoot) {
    const std::pair<const char*, const char*> cases[] = {
        {"/Volumes/Disk/", "/Volumes"}, {"/a//b//", "/a"}, {"//x", "/"}, {"/a/..", "/a"}};
    for (const auto& [path, folder] : cases) {
        EXPECT_EQ(folderOf(FileUrl(path)), folder);
    }
    for (const char* start : {"/a/b/../c/./d", "//x//y//", "x/y/..", "../..", "./.", "..", "a",
                              "./x/", "/..", "/", "a/../../b"}) {
        auto url = FileUrl(start);
        for (std::string path = PathOf(url); path != "/";) {
            url = Own(CFURLCreateCopyDeletingLastPathComponent(nullptr, url));
            ASSERT_LT(PathOf(url).size(), path.size()) << start << ": " << path;
            path = PathOf(url);
        }
        EXPECT_EQ(folderOf(url), "/") << start;
    }
}

TEST(CFURL, RefusesWhatIsNoUrl) {
    // clang-format off
    for (const char* text : {
             "", "http://h/\xC3\xA9", "http://h/%", "http://h/%4g", "1http://h", ":x", "a b:c",
             "http://h:8x/", "http://h[/", "http://[::1/", "http://[]/", "http://[%31]/",
             "http://[::1]x/", "http://u@v@h/", "h/[x]", "a\\b", "<a>", "a^b", "a`b", "{a}", "a|b",
             "a\"b", "a\nb", "a\x7F", "a#b#c", "?a[b", "//h:p"}) {
        // clang-format on
        EXPECT_EQ(WebUrl(text).Get(), nullptr) << text;
    }
    for (const char* text : {"http:", "http://", "//h", "?", "#", "a/b:c", "http://h:/",
                             "http://u:p%41@[2001:db8::1]:80/a;b=c,d@e/?x=y/?z#f/?", "mailto:a@b",
                             "x-1.+y:", "./a:b", "http://h/%C3%A9%00"}) {
        EXPECT_EQ(Utf8(CFURLGetString(WebUrl(text))), text);
    }
}

}  // namespace
