// Preferences on files that are damaged, in the way, out of reach, or shared with others.
#include "tests/platform/corefoundation/preferences/PreferencesTestSupport.h"

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <thread>

using namespace tvtest;

namespace {

class PreferencesFiles : public PreferencesTest {
protected:
    // Expects that nothing is read or written, and that everything stays.
    void ExpectUseless() {
        const std::size_t files = CountFiles();
        SetText("k", "v");
        EXPECT_FALSE(Sync());
        EXPECT_FALSE(Sync());
        EXPECT_EQ(GetText("k") + GetText("other"), "v(none)") << "the change waits";
        EXPECT_LE(CountFiles(), files + 1) << "the file to lock, at most";
        Set("k", nullptr);
    }
};

TEST_F(PreferencesFiles, ADamagedFileIsKeptUnderAnotherName) {
    std::string deep, tricky, closed, wide;
    for (int i = 0; i < 300; ++i) {
        deep += "<array>";
        tricky += "<dict><!--</dict>--><key><![CDATA[</dict>]]></key>";
        closed += "</dict>";
        wide += "<key>w</key><array><dict /><array/></array>";
    }
    for (int i = 0; i < 10; ++i) {
        deep += deep;
    }
    const std::string other = "<key>other</key><string>x</string>", good = Plist(other + wide);
    const std::string whole = "<plist><dict>" + other + "</dict></plist>";
    const std::string entity = "<plist><dict><key>k</key><string>&a;</string></dict></plist>";
    std::vector<std::string> cases = {"<plist>" + deep,
                                      Plist(other + "<key>k</key>" + tricky + "<true/>" + closed),
                                      "x",
                                      "<plist><array/></plist>",
                                      "bplist00",
                                      Plist(std::string("<key>a</key><string>\0</string>", 30)),
                                      "<!DOCTYPE plist [<!ENTITY a \"b\">]>" + entity,
                                      "<!DOCTYPE plist SYSTEM \"x\">" + entity,
                                      "<plist version=\"<!--\"><dict><key>k</key>" + deep + "-->",
                                      Plist("<key>k</key><string>\xEF\xBF\xBE</string>"),
                                      Plist("<key>k</key>"),
                                      Plist("<key>k</key><string><true/></string>"),
                                      good};
    for (std::size_t length = 0; length < whole.size(); ++length) {
        cases.push_back(whole.substr(0, length));
    }
    int kept = 0;
    for (const std::string& text : cases) {
        const bool isDamaged = text != good;
        WriteFile(text);
        EXPECT_EQ(Sync(), !isDamaged) << text.substr(0, 80);
        EXPECT_EQ(ReadFile(file_), text) << "left alone while there is nothing to write";
        SetText("k", "v");
        EXPECT_TRUE(Sync());
        EXPECT_EQ(GetText("other"), isDamaged ? "(none)" : "x") << text.substr(0, 80);
        kept += isDamaged ? 1 : 0;
        EXPECT_FALSE(std::filesystem::exists(file_ + ".damaged-" + std::to_string(kept + 1)));
        EXPECT_TRUE(!isDamaged || ReadFile(file_ + ".damaged-" + std::to_string(kept)) == text);
    }
}

TEST_F(PreferencesFiles, WhatIsNoFileIsLeftAlone) {
    std::filesystem::create_directory(folder_);
    const std::function<void()> obstacles[] = {
        [this] { std::filesystem::create_directory(file_); },
        [this] { ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0); },
        [this] { std::filesystem::create_symlink("org.x.plist", file_); },
        [this] { std::filesystem::resize_file(WriteFile(""), (16U << 20U) + 1); },
        [this] { std::filesystem::create_directory(file_ + ".lock"); }};
    for (const auto& obstruct : obstacles) {
        obstruct();
        ExpectUseless();
        std::filesystem::remove(file_);
    }
}

TEST_F(PreferencesFiles, AHomeThatIsMissingOrOutOfReach) {
    {
        const ScopedEnv home("HOME", home_.Path("missing"));
        ExpectUseless();
        home_.Write("missing", "a file");
        ExpectUseless();
    }
    WriteFile(Plist("<key>other</key><string>x</string>"));
    for (const char* folder : {"", ".config"}) {
        ASSERT_EQ(chmod(home_.Path(folder).c_str(), 0755), 0);
    }
    const auto cannotWrite = [] {
        SetText("k", "v");
        return !Sync() && !Sync() && GetText("k") == "v";
    };
    ASSERT_EQ(chmod(file_.c_str(), 0600), 0);
    EXPECT_TRUE(AsNobody([&] { return !Sync() && cannotWrite() && GetText("other") == "(none)"; }))
        << "not readable";
    ASSERT_EQ(chmod(file_.c_str(), 0644), 0);
    EXPECT_TRUE(AsNobody([&] { return Sync() && cannotWrite() && GetText("other") == "x"; }))
        << "not writable";
    EXPECT_EQ(CountFiles(), 3U);
    // Such a folder cannot be brought to the disk.
    const std::string closed = home_.Path("closed");
    std::filesystem::create_directory(closed);
    ASSERT_EQ(chmod(closed.c_str(), 01733), 0);
    const ScopedEnv config("XDG_CONFIG_HOME", closed);
    EXPECT_TRUE(AsNobody([] {
        SetText("k", "v");
        return Sync();
    }));
}

TEST_F(PreferencesFiles, RootFollowsNoLinksOfOthers) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "not root";
    }
    constexpr uid_t cOther = 65534;
    const std::string victim = home_.Write("victim", "root's");
    const auto give = [](const std::string& path) {
        return lchown(path.c_str(), cOther, cOther) == 0;
    };
    const std::string folder = home_.Path(".config");
    std::filesystem::create_directory(folder);
    ASSERT_TRUE(give(home_.Path()) && give(folder));
    for (const std::string& link : {file_, file_ + ".lock", folder}) {
        std::filesystem::remove_all(link);
        std::filesystem::create_symlink(link == folder ? "/tmp" : victim, link);
        ASSERT_TRUE(give(link));
        SetText("k", link);
        EXPECT_FALSE(Sync()) << link;
        std::filesystem::remove(link);
    }
    EXPECT_EQ(ReadFile(victim), "root's");
    // What root makes is the other user's.
    EXPECT_TRUE(Sync());
    for (const std::string& path : {folder, file_, file_ + ".lock"}) {
        struct stat status = {};
        EXPECT_TRUE(lstat(path.c_str(), &status) == 0 && status.st_uid == cOther) << path;
    }
}

TEST_F(PreferencesFiles, AFullDiskOrAValueThatIsTooLargeLosesNothing) {
    SetText("k", "old");
    ASSERT_TRUE(Sync());
    const std::string before = ReadFile(file_);
    const std::size_t files = CountFiles();
    // The first limit is that of the layer; the second is a disk of 64 bytes.
    for (const std::size_t size : {std::size_t{17} << 20U, std::size_t{64}}) {
        EXPECT_TRUE(HoldsInChild([&] {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit = {size, size};
            SetText("k", std::string(size, 'x'));
            return (size > 64 || setrlimit(RLIMIT_FSIZE, &limit) == 0) && !Sync() &&
                   GetText("k").size() == size;
        }));
    }
    EXPECT_EQ(ReadFile(file_), before);
    EXPECT_EQ(CountFiles(), files) << "no temporary file";
}

// The lock belongs to an opening of the file, so another one stands for another process. That one
// only waits for its turn, and is not overtaken.
TEST_F(PreferencesFiles, ABusyFileIsWaitedForButNotForEver) {
    const int file = open((WriteFile("") + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_start = 1;
    lock.l_len = 1;
    ASSERT_EQ(fcntl(file, F_OFD_SETLK, &lock), 0);
    SetText("k", "v");
    EXPECT_FALSE(Sync());
    EXPECT_EQ(ReadFile(file_), "");
    close(file);
    EXPECT_TRUE(Sync()) << "the change has waited";
    EXPECT_NE(ReadFile(file_).find("<key>k<"), std::string::npos);
}

TEST_F(PreferencesFiles, NoUpdateOfSeveralProcessesAndThreadsIsLost) {
    // Each key is written twice, so that a late write of an old value would show.
    const auto update = [](const std::string& prefix) {
        int failures = 0;
        for (int i = 0; i < 60; ++i) {
            const std::string key = prefix + std::to_string(i / 2), value = std::to_string(i);
            SetText(key, value);
            bool done = Sync();
            // On a busy machine others may keep the lock longer than a call waits for it.
            for (int tries = 20; !done && errno == EAGAIN && tries > 0; --tries) {
                done = Sync();
            }
            failures += done && GetText(key) == value ? 0 : 1;
        }
        return failures;
    };
    SetText("before", "waits in all");
    const pid_t children[] = {StartChild([&] { return update("a"); }),
                              StartChild([&] { return update("b"); })};
    OnThreads(2, [&](int i) { EXPECT_EQ(update(i == 0 ? "c" : "d"), 0); });
    for (const pid_t child : children) {
        EXPECT_EQ(EndOf(child), 0);
    }
    const ScopedEnv config("XDG_CONFIG_HOME", Alias());
    EXPECT_EQ(GetText("before"), "waits in all");
    for (int i = 0; i < 30; ++i) {
        for (const char* prefix : {"a", "b", "c", "d"}) {
            EXPECT_EQ(GetText(prefix + std::to_string(i)), std::to_string(i * 2 + 1));
        }
    }
}

TEST_F(PreferencesFiles, AChildCanGoOnWhenAnotherThreadIsAtWork) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "a child of this sanitizer's may hang if another thread was busy at the fork";
#endif
    const ScopedEnv home("HOME", home_.Path("missing"));
    for (int i = 0; i < 5000; ++i) {
        SetText("k" + std::to_string(i), "waits");
    }
    // Without a place for the file, this does little but copy the changes with the lock held.
    const auto copyChanges = [] { EXPECT_FALSE(Sync()); };
    EXPECT_TRUE(ChildrenCanGoOn(40, {copyChanges}, [] { return GetText("k1") == "waits"; }));
}

TEST_F(PreferencesFiles, AnOlderReadingDoesNotReplaceANewerOne) {
    std::string large;
    for (int i = 0; i < 100000; ++i) {
        large += "<key>k" + std::to_string(i) + "</key><string>x</string>";
    }
    WriteFile(Plist(large + "<key>k</key><string>old</string>"));
    const std::string newer = home_.Write("new", Plist("<key>k</key><string>new</string>"));
    const int watch = inotify_init1(IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, file_.c_str(), IN_OPEN), 0);
    std::thread slow([] { EXPECT_TRUE(Sync()); });
    // The slow thread has opened the large file, and is busy with it for a while.
    char event[512];
    EXPECT_GT(read(watch, event, sizeof event), 0);
    std::filesystem::rename(newer, file_);
    EXPECT_TRUE(Sync());
    slow.join();
    close(watch);
    EXPECT_EQ(GetText("k"), "new");
}

}  // namespace
