// Preferences on files that are damaged, in the way, out of reach, or shared with others.
#include "tests/platform/corefoundation/preferences/PreferencesTestSupport.h"

#include <atomic>
#include <fcntl.h>
#include <sys/inotify.h>
#include <thread>
#include <tuple>
#include <vector>

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
    const std::string other = "<key>other</key><string>x</string>";
    std::vector<std::tuple<std::string, bool>> cases = {
        {"<plist>" + deep, true},
        {Plist(other + "<key>k</key>" + tricky + "<true/>" + closed), true},
        {"x", true},
        {"<plist><array/></plist>", true},
        {"bplist00", true},
        {Plist(std::string("<key>a</key><string>\0</string>", 30)), true},
        {"<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><dict><key>k</key><string>&a;</string></dict>"
         "</plist>",
         true},
        {Plist(other + wide), false}};
    const std::string whole = "<plist><dict>" + other + "</dict></plist>";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        cases.emplace_back(whole.substr(0, length), length < whole.find("</plist>"));
    }
    int kept = 0;
    for (const auto& [text, isDamaged] : cases) {
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
    std::filesystem::create_directories(file_);
    ExpectUseless();
    std::filesystem::remove(file_);
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    ExpectUseless();
    std::filesystem::remove(file_);
    std::filesystem::create_symlink("org.x.plist", file_);
    ExpectUseless();
    std::filesystem::remove(file_);
    WriteFile("");
    std::filesystem::resize_file(file_, (16U << 20U) + 1);
    ExpectUseless();
    std::filesystem::remove(file_);
    std::filesystem::create_directory(file_ + ".lock");
    ExpectUseless();
}

TEST_F(PreferencesFiles, AHomeThatIsMissingOrOutOfReach) {
    {
        const ScopedEnv home("HOME", home_.Path("missing"));
        ExpectUseless();
        home_.Write("missing", "a file");
        ExpectUseless();
    }
    WriteFile(Plist("<key>other</key><string>x</string>"));
    ASSERT_EQ(chmod(home_.Path().c_str(), 0755), 0);
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
    EXPECT_TRUE(AsNobody([&] {
        unsetenv("HOME");
        return std::filesystem::exists("/nonexistent") || cannotWrite();
    })) << "no HOME, and the password file's does not exist";
    EXPECT_EQ(CountFiles(), 3U);
}

TEST_F(PreferencesFiles, LinksAreFollowed) {
    std::filesystem::create_directories(home_.Path("dotfiles"));
    std::filesystem::create_directories(folder_);
    std::filesystem::create_symlink("../dotfiles/x", file_);
    for (const char* value : {"first", "second"}) {
        SetText("k", value);
        EXPECT_TRUE(Sync()) << "the first time nothing is there yet";
        EXPECT_TRUE(std::filesystem::is_symlink(file_));
        EXPECT_NE(ReadFile(home_.Path("dotfiles/x")).find(value), std::string::npos);
    }
    std::filesystem::remove_all(home_.Path("dotfiles"));
    SetText("k", "third");
    EXPECT_FALSE(Sync());
}

TEST_F(PreferencesFiles, AFullDiskOrAValueThatIsTooLargeLosesNothing) {
    SetText("k", "old");
    ASSERT_TRUE(Sync());
    const std::string before = ReadFile(file_);
    const std::size_t files = CountFiles();
    for (const rlim_t limit : {rlim_t{64}, RLIM_INFINITY}) {
        EXPECT_EQ(InChild([limit] {
                      std::signal(SIGXFSZ, SIG_IGN);
                      const rlimit bytes = {limit, limit};
                      setrlimit(RLIMIT_FSIZE, &bytes);
                      const std::string value(limit == 64 ? 3 : 17U << 20U, 'x');
                      SetText("k", value);
                      return !Sync() && GetText("k") == value;
                  }),
                  1);
        EXPECT_EQ(ReadFile(file_), before);
        EXPECT_EQ(CountFiles(), files) << "no temporary file";
    }
}

// Another process holds the lock until its end of the pipe is closed.
TEST_F(PreferencesFiles, ABusyFileIsWaitedForButNotForEver) {
    std::filesystem::create_directories(folder_);
    int ready[2], done[2];
    ASSERT_EQ(pipe(ready) | pipe(done), 0);
    const pid_t child = StartChild([&] {
        close(done[1]);
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        const int file = open((file_ + ".lock").c_str(), O_RDWR | O_CREAT, 0600);
        char byte = static_cast<char>(fcntl(file, F_OFD_SETLK, &lock) == 0);
        return write(ready[1], &byte, 1) == 1 && read(done[0], &byte, 1) == 0 ? 0 : 1;
    });
    char held = 0;
    ASSERT_EQ(read(ready[0], &held, 1), 1);
    EXPECT_TRUE(held);
    SetText("k", "v");
    EXPECT_FALSE(Sync());
    for (const int end : {done[0], done[1], ready[0], ready[1]}) {
        close(end);
    }
    EXPECT_EQ(EndOf(child), 0);
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
            failures += Sync() && GetText(key) == value ? 0 : 1;
        }
        return failures;
    };
    SetText("before", "waits in all");
    std::vector<pid_t> children;
    std::vector<std::thread> threads;
    for (const char* prefix : {"a", "b"}) {
        children.push_back(StartChild([&] { return update(prefix); }));
    }
    for (const char* prefix : {"c", "d"}) {
        threads.emplace_back([&update, prefix] { EXPECT_EQ(update(prefix), 0); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
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
    const ScopedEnv home("HOME", home_.Path("missing"));
    for (int i = 0; i < 5000; ++i) {
        SetText("k" + std::to_string(i), "waits");
    }
    std::atomic<bool> isDone = false;
    // Without a place for the file, this does little but copy the changes with the lock held.
    std::thread busy([&] {
        while (!isDone) {
            EXPECT_FALSE(Sync());
        }
    });
    int result = 1;
    for (int i = 0; i < 40 && result == 1; ++i) {
        result = InChild([] { return GetText("k1") == "waits"; });
    }
    isDone = true;
    busy.join();
    EXPECT_EQ(result, 1);
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
