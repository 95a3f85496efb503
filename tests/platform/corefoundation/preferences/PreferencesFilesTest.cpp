// Preferences on files that are damaged, in the way, out of reach, or shared with others.
#include "tests/platform/corefoundation/preferences/PreferencesTestSupport.h"

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <thread>

using namespace tvtest;

namespace {

class PreferencesFiles : public PreferencesTest {
protected:
    // Reads nothing, cannot write, and leaves everything as it is.
    void ExpectUseless() {
        const std::size_t files = CountFiles();
        Set("k", CFSTR("v"));
        EXPECT_FALSE(Sync());
        EXPECT_FALSE(Sync());
        EXPECT_TRUE(CFEqual(Get("k"), CFSTR("v"))) << "it waits on";
        EXPECT_EQ(Get("other").Get(), nullptr);
        EXPECT_LE(CountFiles(), files + 1) << "the file to lock, at most";
        Set("k", nullptr);
    }
};

TEST_F(PreferencesFiles, ADamagedFileIsKeptWhereverItIsCut) {
    const std::string whole = "<plist><dict><key>other</key><string>x</string></dict></plist>";
    std::size_t kept = 0;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::string cut = whole.substr(0, length);
        WriteFile(cut);
        const bool readable = Sync();
        EXPECT_EQ(ReadFile(file_), cut) << "left alone as long as there is nothing to write";
        Set("k", CFSTR("v"));
        EXPECT_TRUE(Sync());
        const std::string aside = file_ + ".damaged-" + std::to_string(kept + 1);
        if (readable) {
            EXPECT_TRUE(CFEqual(Get("other"), CFSTR("x"))) << length;
            EXPECT_FALSE(std::filesystem::exists(aside));
        } else {
            EXPECT_EQ(Get("other").Get(), nullptr);
            EXPECT_EQ(ReadFile(aside), cut);
            ++kept;
        }
    }
    EXPECT_EQ(kept, whole.find("</plist>")) << "numbers go on, nothing is overwritten";
}

TEST_F(PreferencesFiles, HostileDocumentsAreDamagedOnes) {
    std::string deep, tricky, closed, wide;
    for (int i = 0; i < 300; ++i) {
        deep += "<array>";
        tricky += "<dict><!--</dict>--><key><![CDATA[</dict>]]></key>";
        closed += "</dict>";
    }
    std::string abyss = deep;
    for (int i = 0; i < 10; ++i) {
        abyss += abyss;
    }
    for (const std::string& text :
         {"<plist>" + abyss, Plist("<key>k</key>" + tricky + "<true/>" + closed), std::string("x"),
          std::string("<plist><array/></plist>"), std::string("bplist00"),
          Plist(std::string("<key>a</key><string>\0</string>", 30)),
          std::string("<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><dict><key>k</key>"
                      "<string>&a;</string></dict></plist>")}) {
        WriteFile(text);
        EXPECT_FALSE(Sync()) << text.substr(0, 40);
    }
    for (int i = 0; i < 150; ++i) {
        wide += "<key>k" + std::to_string(i) + "</key><array><dict /><array/></array>";
    }
    WriteFile(Plist(wide));
    EXPECT_TRUE(Sync()) << "many, but not deep";
    EXPECT_NE(Get("k149").Get(), nullptr);
}

TEST_F(PreferencesFiles, WhatIsNoFileIsLeftAlone) {
    std::filesystem::create_directories(file_);
    ExpectUseless();
    std::filesystem::remove_all(file_);
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

TEST_F(PreferencesFiles, WhatWouldBeTooLargeIsNotWritten) {
    Set("other", CFSTR("x"));
    ASSERT_TRUE(Sync());
    const std::string before = ReadFile(file_);
    Set("k", Utf8Str(std::string(17U << 20U, 'x')));
    EXPECT_FALSE(Sync());
    EXPECT_EQ(ReadFile(file_), before);
}

TEST_F(PreferencesFiles, AHomeThatIsMissingOrOutOfReach) {
    {
        const ScopedEnv home("HOME", home_.Path("missing"));
        ExpectUseless();
        home_.Write("missing", "a file");
        ExpectUseless();
    }
    WriteFile(Plist("<key>other</key><string>x</string>"));
    ASSERT_EQ(chmod(file_.c_str(), 0600), 0);
    const auto cannotWrite = [] {
        Set("k", CFSTR("v"));
        return !Sync() && !Sync() && CFEqual(Get("k"), CFSTR("v"));
    };
    EXPECT_TRUE(AsNobody([&] { return !Sync() && cannotWrite() && Get("other").Get() == nullptr; }))
        << "not readable";
    ASSERT_EQ(chmod(file_.c_str(), 0644), 0);
    EXPECT_TRUE(AsNobody([&] { return Sync() && cannotWrite() && Get("other").Get() != nullptr; }))
        << "not writable";
    EXPECT_TRUE(AsNobody([&] {
        unsetenv("HOME");
        return std::filesystem::exists("/nonexistent") || cannotWrite();
    })) << "no HOME, and the password file's does not exist";
    EXPECT_TRUE(AsNobody([&] {
        setenv("HOME", home_.Path("new").c_str(), 1);
        return Sync() && cannotWrite();
    })) << "nothing there to read";
    EXPECT_EQ(CountFiles(), 3U);
}

TEST_F(PreferencesFiles, LinksAreFollowed) {
    std::filesystem::create_directories(home_.Path("dotfiles"));
    std::filesystem::create_directories(folder_);
    std::filesystem::create_symlink("../dotfiles/x", file_);
    for (const char* value : {"first", "second"}) {
        Set("k", Utf8Str(value));
        EXPECT_TRUE(Sync()) << "the first time nothing is there yet";
        EXPECT_TRUE(std::filesystem::is_symlink(file_));
        EXPECT_NE(ReadFile(home_.Path("dotfiles/x")).find(value), std::string::npos);
    }
    std::filesystem::remove_all(home_.Path("dotfiles"));
    Set("k", CFSTR("third"));
    EXPECT_FALSE(Sync());
}

TEST_F(PreferencesFiles, AFullDiskLosesNothing) {
    Set("k", CFSTR("old"));
    ASSERT_TRUE(Sync());
    const std::string before = ReadFile(file_);
    const std::size_t files = CountFiles();
    EXPECT_EQ(InChild([] {
                  std::signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit = {64, 64};
                  setrlimit(RLIMIT_FSIZE, &limit);
                  Set("k", CFSTR("new"));
                  return !Sync() && CFEqual(Get("k"), CFSTR("new"));
              }),
              1);
    EXPECT_EQ(ReadFile(file_), before);
    EXPECT_EQ(CountFiles(), files) << "no temporary file";
}

// Holds the lock as another process would, which is let go by closing its end of the pipe.
TEST_F(PreferencesFiles, ABusyFileIsWaitedForButNotForEver) {
    std::filesystem::create_directories(folder_);
    int ready[2], done[2];
    ASSERT_EQ(pipe(ready) | pipe(done), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(done[1]);
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        const int file = open((file_ + ".lock").c_str(), O_RDWR | O_CREAT, 0600);
        char byte = static_cast<char>(fcntl(file, F_OFD_SETLK, &lock) == 0);
        _exit(write(ready[1], &byte, 1) == 1 && read(done[0], &byte, 1) == 0 ? 0 : 1);
    }
    char held = 0;
    ASSERT_EQ(read(ready[0], &held, 1), 1);
    EXPECT_TRUE(held);
    Set("k", CFSTR("v"));
    EXPECT_FALSE(Sync());
    for (const int end : {done[0], done[1], ready[0], ready[1]}) {
        close(end);
    }
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(Sync()) << "the change has waited";
    EXPECT_NE(ReadFile(file_).find("<key>k<"), std::string::npos);
}

TEST_F(PreferencesFiles, NoUpdateOfTwoProcessesIsLost) {
    constexpr int updates = 100;
    const auto update = [](const std::string& prefix) {
        int failures = 0;
        for (int i = 0; i < updates; ++i) {
            Set(prefix + std::to_string(i), Int(i));
            failures += Sync() ? 0 : 1;
        }
        return failures;
    };
    Set("before", CFSTR("waits in both"));
    std::vector<pid_t> children;
    for (const char* prefix : {"a", "b"}) {
        children.push_back(fork());
        if (children.back() == 0) {
            _exit(update(prefix) == 0 ? 0 : 1);
        }
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    const ScopedEnv config("XDG_CONFIG_HOME", Alias());
    for (int i = 0; i < updates; ++i) {
        EXPECT_TRUE(CFEqual(Get("a" + std::to_string(i)), Int(i)));
        EXPECT_TRUE(CFEqual(Get("b" + std::to_string(i)), Int(i)));
    }
    EXPECT_NE(Get("before").Get(), nullptr);
}

TEST_F(PreferencesFiles, NoUpdateOfSeveralThreadsIsLostAndForksAreSafe) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < 30; ++i) {
                // Each key is written twice, so that a late write of an old value would show.
                const std::string key = std::to_string(thread) + "-" + std::to_string(i / 2);
                Set(key, Int(i));
                EXPECT_TRUE(Sync());
                EXPECT_TRUE(CFEqual(Get(key), Int(i)));
            }
        });
    }
    for (int i = 0; i < 20; ++i) {
        // At any moment of a thread's synchronising.
        EXPECT_TRUE(i == 0 || CFEqual(Get("main"), Int(i - 1)));
        Set("main", Int(i));
        EXPECT_EQ(InChild([] { return Get("x").Get() == nullptr; }), 1);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(Sync());
    const ScopedEnv config("XDG_CONFIG_HOME", Alias());
    for (int thread = 0; thread < 3; ++thread) {
        for (int i = 0; i < 15; ++i) {
            EXPECT_TRUE(
                CFEqual(Get(std::to_string(thread) + "-" + std::to_string(i)), Int(i * 2 + 1)));
        }
    }
}

}  // namespace
