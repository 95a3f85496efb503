// Runs one command again and again in folders that are made afresh, each time with another
// misfortune, and checks what comes of it:
//
//   torture memory CASE [STEP]   allocation N fails, alone, and with all that follow
//   torture calls CASE [STEP]    the same for calls of the system
//   torture kill CASE [STEP]     the command is killed before its Nth call of the system
//   torture list                 prints the cases
//
// N runs from 1 until the command ends before it, in steps of STEP. A command that succeeds must
// have printed and changed exactly what it does without misfortune. One that fails must say why,
// end by itself, and leave every file as it was or as it shall be, and no file beside them. After
// a kill, the files are old or new, and the next run does the whole work.
#include "tests/support/LoopbackServer.h"
#include "tests/support/TempHome.h"
#include "tests/torture/Shim.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// A file's content by its path, and a link's target.
using Files = std::map<std::string, std::string>;

enum Properties : unsigned {
    cNone = 0,
    // The command cannot report failure: success says nothing of what is in the files.
    cSilent = 1,
    // The program counts from tvshim_arm, not from main.
    cArms = 2,
    // The system encoding is one that the C library converts.
    cKoi8 = 4,
};
struct Case {
    const char* name;
    // Words, split at spaces. "tvtool" and "calls" are our programs, and URL is a server's address.
    const char* command;
    unsigned properties = cNone;
};
constexpr Case cCases[] = {
    {"version", "tvtool --version"},
    {"config-create", "tvtool config create new.nwc A=1 %B=2"},
    {"config-show", "tvtool config show a.nwc --json"},
    {"config-show-koi8", "tvtool config show koi8.nwc", cKoi8},
    {"config-get", "tvtool config get a.nwc B"},
    {"config-set", "tvtool config set a.nwc A=5 New=6"},
    {"config-unset", "tvtool config unset a.nwc A"},
    {"config-verify", "tvtool config verify a.nwc"},
    {"config-edit", "tvtool config edit a.nwc"},
    {"config-diff", "tvtool config diff a.nwc a.nwc"},
    {"config-salvage", "tvtool config salvage a.nwc saved.nwc"},
    {"apply", "tvtool apply <A>_<AppName>_<Unknown> --config a.nwc"},
    {"apply-list", "tvtool apply <A>_<AppName> --set A=<B> --set B=2 --list --json"},
    {"details-read", "tvtool details read --config a.nwc --json"},
    {"details-prefs", "tvtool details read --prefs"},
    {"details-write", "tvtool details write a.nwc --first-name Zoe --email zoe@example.org"},
    {"details-check", "tvtool details check ada@example.org"},
    {"details-send", "tvtool details write a.nwc --email zoe@example.org --send --to URL"},
    {"prefs-list", "tvtool prefs list --json"},
    {"prefs-get", "tvtool prefs get K"},
    {"prefs-set", "tvtool prefs set K W"},
    {"prefs-set-koi8", "tvtool prefs set K Ж", cKoi8},
    {"prefs-delete", "tvtool prefs delete K"},
    {"prefs-export", "tvtool prefs export"},
    {"prefs-import", "tvtool prefs import prefs.json"},
    {"registry-show", "tvtool registry show registry --json"},
    {"registry-get", "tvtool registry get registry Calyx7/ProdRegURL"},
    {"registry-verify", "tvtool registry verify registry"},
    {"registry-app", "tvtool registry app Calyx7"},
    {"call-apply", "calls apply", cArms},
    {"call-delete", "calls delete", cArms | cSilent},
    {"call-read-config", "calls read-config", cArms},
    {"call-read-prefs", "calls read-prefs", cArms},
    {"call-write", "calls write", cArms | cSilent},
    {"call-send", "calls send", cArms | cSilent},
};

std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> found;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        found.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return found;
}

Files filesIn(const fs::path& folder) {
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().lexically_relative(folder);
        if (!entry.is_directory() && !name.ends_with(".lock")) {
            files[name] = tvtest::ReadFile(entry.path());
        }
    }
    return files;
}

// What became of a command: its exit status (or minus the signal that ended it), what it printed,
// and the files as it left them.
struct Outcome {
    int status = 0;
    std::string output, message;
    Files files;
    bool fired = false;
};

class Runner {
public:
    explicit Runner(const Case& theCase) : case_(theCase) {
        page_ = memfd_create("report", 0);  // not close-on-exec: the shim maps it
        void* shared = MAP_FAILED;
        if (page_ >= 0 && ftruncate(page_, sizeof *report_) == 0) {
            shared = mmap(nullptr, sizeof *report_, PROT_READ | PROT_WRITE, MAP_SHARED, page_, 0);
        }
        if (shared == MAP_FAILED) {
            std::perror("torture: no shared page");
            std::exit(2);
        }
        report_ = static_cast<TVShimReport*>(shared);
        makeStart();
    }

    const Files& Start() const { return start_; }

    // Makes the folder of the command afresh.
    void Reset() {
        fs::remove_all(scratch_ / "work");
        fs::copy(scratch_ / "start", scratch_ / "work", fs::copy_options::recursive);
    }
    // Runs the command in the folder as it is now. `orders` are the shim's.
    Outcome Run(const std::string& orders) {
        *report_ = {};
        const pid_t child = startChild(orders);
        int status = 0;
        waitpid(child, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
                tvtest::ReadFile(scratch_ / "out"), tvtest::ReadFile(scratch_ / "err"),
                filesIn(scratch_ / "work"), report_->fired != 0};
    }

private:
    // The functions write more into a.nwc than is in it, so they need not empty it first.
    void makeStart() {
        const fs::path home = scratch_ / "start";
        fs::create_directories(home / "machine/Nimbus Works");
        const std::string registry = "!NWREG 1.0 {\nCalyx7 {\n    ProdRegURL=http://127.0.0.1:9/v\n"
                                     "}\n; a comment\nOther {\n    Value=a text\n}\n}\n";
        std::ofstream(home / "registry") << registry;
        std::ofstream(home / "prefs.json") << R"({"K": "W", "L": 7})";
        std::ofstream(home / "machine/Nimbus Works/Nimbus Works Registry") << registry;
        const std::string commands =
            "set -e; cd '" + home.string() +
            "'; export HOME=$PWD; t='" TORTURE_TVTOOL "'; "
            "$t config create a.nwc A=1 B=two %F=fix RegFirstName=Ada RegLastName=B "
            "RegOrg=E RegEmail=a@b.org; TV_SYSTEM_ENCODING=KOI8-R $t config create koi8.nwc A=Ж; "
            "$t prefs set K V; "
            "for d in FirstName=Ada LastName=Byron Org=Engines Email=a@b.org; do "
            "$t prefs set RegisterInfo/Reg${d%%=*} ${d#*=}; done";
        if (std::system(commands.c_str()) != 0) {
            std::fprintf(stderr, "torture: the files cannot be made\n");
            std::exit(2);
        }
        start_ = filesIn(home);
    }

    pid_t startChild(const std::string& orders) {
        std::vector<std::string> line = words(case_.command);
        line[0] = line[0] == "tvtool" ? TORTURE_TVTOOL : TORTURE_CALLS;
        std::vector<char*> arguments;
        for (std::string& word : line) {
            word = word == "URL" ? server_.Url() : word;
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        const pid_t child = fork();
        if (child != 0) {
            return child;
        }
        const std::string work = (scratch_ / "work").string();
        const auto redirect = [&](const char* name, int file) {
            dup2(open((scratch_ / name).c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), file);
        };
        redirect("out", 1);
        redirect("err", 2);
        if (chdir(work.c_str()) != 0) {
            _exit(126);
        }
        setenv("HOME", work.c_str(), 1);
        setenv("TV_MACHINE_DATA_DIR", (work + "/machine").c_str(), 1);
        setenv("EDITOR", "sed -i s/two/2/", 1);
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "TV_SYSTEM_ENCODING"}) {
            unsetenv(name);
        }
        if ((case_.properties & cKoi8) != 0) {
            setenv("TV_SYSTEM_ENCODING", "KOI8-R", 1);
        }
        setenv("TVSHIM", orders.c_str(), 1);
        setenv("TVSHIM_REPORT", std::to_string(page_).c_str(), 1);
        alarm(30);  // a command that hangs ends with SIGALRM
        setenv("LD_PRELOAD", TORTURE_SHIM, 1);
        execv(arguments[0], arguments.data());
        _exit(127);
    }

    const Case& case_;
    const tvtest::LoopbackServer server_{[](tvtest::Connection& connection) {
        if (!connection.ReadRequest().empty()) {
            connection.Answer("200 OK", "");
        }
    }};
    const tvtest::TempDir folder_;
    const fs::path scratch_ = folder_.Path();
    int page_;
    TVShimReport* report_ = nullptr;
    Files start_;
};

// Returns what is wrong with the files, or nothing. Each must be as before or as after the work.
std::string filesFault(const Files& files, const Files& before, const Files& after, bool mayAdd) {
    for (const auto& [name, content] : files) {
        const auto old = before.find(name), fresh = after.find(name);
        if (old == before.end() && fresh == after.end()) {
            if (!mayAdd) {
                return "left " + name;
            }
        } else if ((old == before.end() || content != old->second) &&
                   (fresh == after.end() || content != fresh->second)) {
            return "neither old nor new: " + name;
        }
    }
    for (const auto& [name, content] : before) {
        if (after.contains(name) && !files.contains(name)) {
            return "lost " + name;
        }
    }
    return "";
}

class Torture {
public:
    explicit Torture(const Case& theCase) : case_(theCase), runner_(theCase) {
        runner_.Reset();
        good_ = runner_.Run("none 0 once main");
        if (good_.status != 0) {
            std::fprintf(stderr, "torture: %s fails by itself: %s\n", case_.name,
                         good_.message.c_str());
            std::exit(2);
        }
    }

    // Runs the command with each misfortune of the kind. Returns 1 if there were faults.
    int Run(const std::string& kind, unsigned step) {
        const std::string start = (case_.properties & cArms) != 0 ? " call" : " main";
        const std::string family = kind == "kill" ? "calls " : kind + " ";
        for (const std::string mode : {" once", " on", " kill"}) {
            if ((mode == " kill") != (kind == "kill")) {
                continue;
            }
            for (unsigned n = 1;; n += step) {
                const std::string orders = family + std::to_string(n) + mode + start;
                runner_.Reset();
                const Outcome outcome = runner_.Run(orders);
                ++runs_;
                if (!outcome.fired) {
                    break;
                }
                const std::string fault =
                    kind == "kill" ? faultOfKilled(outcome) : faultOf(outcome);
                if (!fault.empty()) {
                    ++faults_;
                    std::printf("%s, %s: %s [%d: %s]\n", case_.name, orders.c_str(), fault.c_str(),
                                outcome.status, outcome.message.c_str());
                }
            }
        }
        std::printf("%-8s%-18s%6u runs, %u faults\n", kind.c_str(), case_.name, runs_, faults_);
        return faults_ == 0 ? 0 : 1;
    }

private:
    // Returns what is wrong after the command met a failure, or nothing.
    std::string faultOf(const Outcome& outcome) const {
        if (outcome.status < 0) {
            return outcome.status == -SIGALRM ? "hangs" : strsignal(-outcome.status);
        }
        if (outcome.status == 0) {
            if (outcome.output != good_.output) {
                return "prints something else: " + outcome.output;
            }
            if ((case_.properties & cSilent) == 0 && outcome.files != good_.files) {
                return "says that it succeeded, but has not";
            }
        } else if (outcome.status > 6 || outcome.message.empty()) {
            return "says nothing of its failure, status " + std::to_string(outcome.status);
        }
        return filesFault(outcome.files, runner_.Start(), good_.files, false);
    }
    // The same after it was killed. Runs it again, in the files that it left.
    std::string faultOfKilled(const Outcome& killed) {
        const std::string fault = filesFault(killed.files, runner_.Start(), good_.files, true);
        const Outcome next = runner_.Run("none 0 once main");
        if (!fault.empty()) {
            return fault;
        }
        if (killed.files != good_.files && (next.status != 0 || next.output != good_.output)) {
            return "the next run fails: " + next.message;
        }
        return filesFault(next.files, good_.files, good_.files, false);
    }

    const Case& case_;
    Runner runner_;
    Outcome good_;
    unsigned runs_ = 0, faults_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::string kind = argc > 1 ? argv[1] : "";
    const unsigned step = argc > 3 ? static_cast<unsigned>(std::atoi(argv[3])) : 1;
    for (const Case& each : cCases) {
        if (kind == "list") {
            std::puts(each.name);
        } else if ((kind == "memory" || kind == "calls" || kind == "kill") && argc > 2 &&
                   step > 0 && std::strcmp(each.name, argv[2]) == 0) {
            return Torture(each).Run(kind, step);
        }
    }
    if (kind != "list") {
        std::fprintf(stderr, "usage: torture memory|calls|kill CASE [STEP], or torture list\n");
        return 2;
    }
    return 0;
}
