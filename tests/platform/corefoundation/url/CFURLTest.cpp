#include "tests/platform/coreservices/FileTestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace tvtest;

namespace {

std::string Folder(CFURLRef url) {
    return PathOf(Own(CFURLCreateCopyDeletingLastPathComponent(nullptr, url)));
}

std::string appended(CFURLRef url, const std::string& component, bool isDirectory = false) {
    return Utf8(CFURLGetString(
        Own(CFURLCreateCopyAppendingPathComponent(nullptr, url, Utf8Str(component), isDirectory))));
}

TEST(CFURL, PathsAreBytes) {
    const struct {
        std::string path, text, back, asText;
    } cases[] = {
        {"/a b/c", "file:///a%20b/c", "/a b/c", "/a b/c"},
        {"/a/", "file:///a/", "/a", "/a"},
        {"/", "file:///", "/", "/"},
        {"//", "file:////", "/", "/"},
        {"//x//y", "file:////x//y", "//x//y", "//x//y"},
        {"/a/./../b", "file:///a/./../b", "/a/./../b", "/a/./../b"},
        {"/50%/#?;:", "file:///50%25/%23%3F%3B%3A", "/50%/#?;:", "/50%/#?;:"},
        {"/caf\xC3\xA9", "file:///caf%C3%A9", "/caf\xC3\xA9", "/caf\xC3\xA9"},
        {"/\xFF\xC3", "file:///%FF%C3", "/\xFF\xC3", "<null>"},
        {"/\x01\x7F\n", "file:///%01%7F%0A", "/\x01\x7F\n", "/\x01\x7F\n"},
    };
    for (const auto& c : cases) {
        const auto url = FileUrl(c.path);
        EXPECT_EQ(Utf8(CFURLGetString(url)), c.text);
        EXPECT_EQ(PathOf(url), c.back);
        EXPECT_EQ(Utf8(Own(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle))), c.asText);
        EXPECT_TRUE(CFEqual(url, WebUrl(c.text))) << "the text means the same";
    }
    EXPECT_EQ(FileUrl("").Get(), nullptr);
    EXPECT_EQ(FileUrl(std::string("/a\0b", 4)).Get(), nullptr);
    EXPECT_EQ(PathOf(WebUrl("file:///a%00b")), "<none>");
    EXPECT_EQ(PathOf(WebUrl("file:///a%2fb")), "<none>") << "no name has a slash";
}

TEST(CFURL, ABufferMustHoldTheTerminatorToo) {
    const auto url = FileUrl("/abc");
    UInt8 buffer[8] = "xxxxxxx";
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, true, buffer, 4));
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, true, buffer, -1));
    EXPECT_STREQ(reinterpret_cast<char*>(buffer), "xxxxxxx");
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url, true, buffer, 5));
    EXPECT_STREQ(reinterpret_cast<char*>(buffer), "/abc");
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
    EXPECT_EQ(PathOf(CFURLGetBaseURL(url)), here);
    EXPECT_EQ(PathOf(FileUrl(".")), here);
    EXPECT_EQ(PathOf(FileUrl("./../y/../z")), above + "/y/../z") << "y may be a link";
    Boolean absolute = true;
    EXPECT_EQ(Utf8(Own(CFURLCopyStrictPath(url, &absolute))), "a%3Ab/c");
    EXPECT_FALSE(absolute);
    EXPECT_EQ(Utf8(Own(CFURLCopyStrictPath(FileUrl("/a/b"), &absolute))), "a/b");
    EXPECT_TRUE(absolute);
    EXPECT_EQ(CFURLGetBaseURL(Own(CFURLCopyAbsoluteURL(url))), nullptr);
    EXPECT_EQ(InChild([] {
                  char gone[] = "/tmp/tvtest-XXXXXX";
                  const bool moved =
                      mkdtemp(gone) != nullptr && chdir(gone) == 0 && rmdir(gone) == 0;
                  return moved && FileUrl("x").Get() == nullptr && PathOf(FileUrl("/x")) == "/x";
              }),
              1)
        << "a current folder that is gone";
}

TEST(CFURL, AppendsBehindOneSlash) {
    const auto folder = FileUrl("/a");
    EXPECT_EQ(appended(folder, "b"), "file:///a/b");
    EXPECT_EQ(appended(FileUrl("/a/"), "b"), "file:///a/b");
    EXPECT_EQ(appended(FileUrl("/"), "b"), "file:///b");
    EXPECT_EQ(appended(folder, "b/c"), "file:///a/b/c");
    EXPECT_EQ(appended(folder, "/x"), "file:///a//x");
    EXPECT_EQ(appended(folder, "b", true), "file:///a/b/");
    EXPECT_EQ(appended(folder, "b/", true), "file:///a/b/");
    EXPECT_EQ(appended(folder, ""), "file:///a/");
    EXPECT_EQ(appended(folder, "%41?#\xC3\xA9"), "file:///a/%2541%3F%23%C3%A9");
    EXPECT_EQ(appended(WebUrl("http://h?q#f"), "b"), "http://h/b?q#f");
    EXPECT_EQ(appended(WebUrl("mailto:x@y"), "b"), "<null>");
    EXPECT_EQ(appended(WebUrl("file:/"), "/x"), "file:/.//x") << "x is no host";
    const auto surrogate = Str(u"\xD800");
    EXPECT_EQ(CFURLCreateCopyAppendingPathComponent(nullptr, folder, surrogate, false), nullptr);
}

TEST(CFURL, EveryWalkUpwardShortensAndEndsAtTheRoot) {
    for (const char* path : {"/a/b", "/a//b//"}) {
        const auto folder = Own(CFURLCreateCopyDeletingLastPathComponent(nullptr, FileUrl(path)));
        EXPECT_EQ(Utf8(CFURLGetString(folder)), "file:///a/");
    }
    EXPECT_EQ(Folder(FileUrl("/Volumes/Disk/")), "/Volumes");
    EXPECT_EQ(Folder(FileUrl("/a//b//")), "/a");
    EXPECT_EQ(Folder(FileUrl("//x")), "/");
    EXPECT_EQ(Folder(FileUrl("/a/..")), "/a");
    EXPECT_EQ(Folder(WebUrl("http://h/a/b?q")), "<none>");
    for (const char* start : {"/a/b/../c/./d", "//x//y//", "x/y/..", "../..", "./.", "..", "a",
                              "./x/", "/..", "/", "a/../../b"}) {
        auto url = FileUrl(start);
        std::string path = PathOf(url);
        while (path != "/") {
            url = Own(CFURLCreateCopyDeletingLastPathComponent(nullptr, url.Get()));
            const std::string next = PathOf(url);
            ASSERT_LT(next.size(), path.size()) << start << ": " << path << " to " << next;
            path = next;
        }
        EXPECT_EQ(Folder(url), "/") << start;
    }
    auto loose = WebUrl("x/../y");
    for (const char* next : {"x/../", "x/", "./", "./"}) {
        loose = Own(CFURLCreateCopyDeletingLastPathComponent(nullptr, loose.Get()));
        EXPECT_EQ(Utf8(CFURLGetString(loose)), next);
    }
}

TEST(CFURL, KnowsFoldersAndLastComponents) {
    const struct {
        std::string path, last;
        bool isDirectory;
    } cases[] = {{"/a/b", "b", false},  {"/a/b/", "b", true},   {"/", "/", true},
                 {"/a/..", "..", true}, {"/a/.b", ".b", false}, {"/a%2Fb//", "a%2Fb", true},
                 {"x", "x", false}};
    for (const auto& c : cases) {
        const auto url = FileUrl(c.path);
        EXPECT_EQ(CFURLHasDirectoryPath(url) != 0, c.isDirectory) << c.path;
        EXPECT_EQ(Utf8(Own(CFURLCopyLastPathComponent(url))), c.last);
    }
    EXPECT_TRUE(CFURLHasDirectoryPath(FileUrl("/a", true)));
    EXPECT_EQ(Utf8(Own(CFURLCopyLastPathComponent(WebUrl("http://h")))), "");
}

TEST(CFURL, RefusesWhatIsNoUrl) {
    for (const char* text : {"",
                             "http://a b/",
                             "http://h/\xC3\xA9",
                             "http://h/%",
                             "http://h/%4",
                             "http://h/%zz",
                             "http://h/%4g",
                             "1http://h",
                             ":x",
                             "a b:c",
                             "http://h:8x/",
                             "http://h[/",
                             "http://[::1/",
                             "http://[]/",
                             "http://[%31]/",
                             "http://[::1]x/",
                             "http://u@v@h/",
                             "h/[x]",
                             "a\\b",
                             "<a>",
                             "a^b",
                             "a`b",
                             "{a}",
                             "a|b",
                             "a\"b",
                             "a\nb",
                             "a\x7F",
                             "a#b#c",
                             "?a[b",
                             "//h:p"}) {
        EXPECT_EQ(WebUrl(text).Get(), nullptr) << text;
    }
    for (const char* text : {"http:", "http://", "//h", "?", "#", "a/b:c", "http://h:/",
                             "http://u:p%41@[2001:db8::1]:80/a;b=c,d@e/?x=y/?z#f/?", "mailto:a@b",
                             "x-1.+y:", "./a:b", "http://h/%C3%A9%00"}) {
        EXPECT_EQ(Utf8(CFURLGetString(WebUrl(text))), text);
    }
}

TEST(CFURL, PartsComeFromTheBaseWhereNeedBe) {
    const auto base = WebUrl("HTTP://u:p@ex%41mple.com:8080/a/b?q");
    const auto url = WebUrl("c?d", base);
    for (CFURLRef each : {base.Get(), url.Get()}) {
        EXPECT_EQ(Utf8(Own(CFURLCopyScheme(each))), "HTTP");
        EXPECT_EQ(Utf8(Own(CFURLCopyHostName(each))), "exAmple.com");
        EXPECT_EQ(CFURLGetPortNumber(each), 8080);
    }
    EXPECT_EQ(Utf8(Own(CFURLCopyPath(url))), "c");
    EXPECT_EQ(CFURLGetBaseURL(url), base.Get());
    EXPECT_EQ(Utf8(Own(CFURLCopyHostName(WebUrl("http://[::1]:/")))), "::1");
    EXPECT_EQ(CFURLGetPortNumber(WebUrl("http://[::1]:/")), -1);
    EXPECT_EQ(CFURLGetPortNumber(WebUrl("http://h:99999999999")), -1);
    EXPECT_EQ(CFURLCopyHostName(FileUrl("/a")), nullptr);
    EXPECT_EQ(CFURLCopyPath(WebUrl("mailto:x")), nullptr);
    EXPECT_EQ(PathOf(WebUrl("FILE://LocalHost/a%20b")), "/a b");
    EXPECT_EQ(PathOf(WebUrl("file://elsewhere/a")), "<none>");
    EXPECT_EQ(PathOf(base), "<none>");
    EXPECT_FALSE(CFEqual(url, WebUrl("c?d"))) << "another base";
    EXPECT_TRUE(CFEqual(url, WebUrl("c?d", base)));
    EXPECT_EQ(CFHash(url), CFHash(WebUrl("c?d", base)));
}

TEST(CFURL, ResolvesReferencesByTheRules) {
    const struct {
        const char *base, *reference, *whole;
    } cases[] = {
        // The examples of RFC 3986.
        {"http://a/b/c/d;p?q", "g:h", "g:h"},
        {"http://a/b/c/d;p?q", "g", "http://a/b/c/g"},
        {"http://a/b/c/d;p?q", "./g/", "http://a/b/c/g/"},
        {"http://a/b/c/d;p?q", "/g", "http://a/g"},
        {"http://a/b/c/d;p?q", "//g", "http://g"},
        {"http://a/b/c/d;p?q", "?y", "http://a/b/c/d;p?y"},
        {"http://a/b/c/d;p?q", "#s", "http://a/b/c/d;p?q#s"},
        {"http://a/b/c/d;p?q", "", "http://a/b/c/d;p?q"},
        {"http://a/b/c/d;p?q", "..", "http://a/b/"},
        {"http://a/b/c/d;p?q", "../../../../g", "http://a/g"},
        {"http://a/b/c/d;p?q", "/../g", "http://a/g"},
        {"http://a/b/c/d;p?q", "g;x=1/../y", "http://a/b/c/y"},
        {"http://a/b/c/d;p?q", "g?y/../x", "http://a/b/c/g?y/../x"},
        {"http://a", "g", "http://a/g"},
        // Texts that must not become another kind of URL.
        {"file:/f", ".//host/x", "file:/.//host/x"},
        {"x", "./a:b", "./a:b"},
        // Files: names may be links.
        {"file:///a/b", "c/../d", "file:///a/c/../d"},
        {"file:///a/../b", "../c", "file:///a/../../c"},
        {"file:///a/b", "/c/../d", "file:///c/../d"},
    };
    for (const auto& c : cases) {
        const auto url = WebUrl(c.reference, WebUrl(c.base));
        EXPECT_EQ(Utf8(CFURLGetString(Own(CFURLCopyAbsoluteURL(url)))), c.whole) << c.reference;
    }
}

TEST(CFURL, LongPathsAndChainsCostNoMoreThanTheirLength) {
    std::string dots = "/", names;
    for (int i = 0; i < 100000; ++i) {
        dots += "../";
        names += "a/";
    }
    EXPECT_EQ(PathOf(WebUrl(names + dots.substr(1) + "x", WebUrl("http://h/"))), "<none>");
    EXPECT_EQ(Utf8(CFURLGetString(Own(CFURLCopyAbsoluteURL(
                  WebUrl(names + dots.substr(1) + "x", WebUrl("http://h/")))))),
              "http://h/x");
    auto url = WebUrl("http://h/a");
    for (int i = 0; i < 30000; ++i) {
        url = WebUrl("b", url);
    }
    EXPECT_EQ(Utf8(CFURLGetString(Own(CFURLCopyAbsoluteURL(url)))), "http://h/b");
}

TEST(CFURL, NullAndOtherObjectsAreHarmless) {
    CFStringRef text = CFSTR("text");
    for (CFURLRef none : {static_cast<CFURLRef>(nullptr), reinterpret_cast<CFURLRef>(text)}) {
        Boolean flag = true;
        UInt8 buffer[4];
        FSRef ref = {};
        EXPECT_EQ(CFURLGetString(none), nullptr);
        EXPECT_EQ(CFURLGetBaseURL(none), nullptr);
        EXPECT_EQ(CFURLCopyAbsoluteURL(none), nullptr);
        EXPECT_EQ(CFURLCopyScheme(none), nullptr);
        EXPECT_EQ(CFURLCopyHostName(none), nullptr);
        EXPECT_EQ(CFURLGetPortNumber(none), -1);
        EXPECT_EQ(CFURLCopyStrictPath(none, &flag), nullptr);
        EXPECT_FALSE(flag || CFURLHasDirectoryPath(none) || CFURLGetFSRef(none, &ref));
        EXPECT_EQ(CFURLCopyLastPathComponent(none), nullptr);
        EXPECT_EQ(CFURLCopyFileSystemPath(none, kCFURLPOSIXPathStyle), nullptr);
        EXPECT_FALSE(CFURLGetFileSystemRepresentation(none, true, buffer, 4));
        EXPECT_EQ(CFURLCreateCopyAppendingPathComponent(nullptr, none, text, false), nullptr);
        EXPECT_EQ(CFURLCreateCopyDeletingLastPathComponent(nullptr, none), nullptr);
    }
    EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, text, 1, false), nullptr);
    EXPECT_EQ(CFURLCreateFromFileSystemRepresentation(nullptr, nullptr, 4, false), nullptr);
    EXPECT_EQ(CFURLCreateWithFileSystemPathRelativeToBase(nullptr, text, kCFURLPOSIXPathStyle,
                                                          false, WebUrl("http://h/")),
              nullptr)
        << "the base is no file";
}

}  // namespace
