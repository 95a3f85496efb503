// Shows how the registry's cost grows. It reads, looks up, enumerates, copies and destroys each
// kind of large file at several sizes, each twice the one before. It also adds and deletes entries
// with a look-up by prefix after each. It prints milliseconds of processor time (the best of
// several runs, in which the sizes take turns) and the factor from size to size. A factor of 2 is
// growth in proportion, somewhat more if the tree outgrows a cache. A factor of 4 again and again
// would be quadratic.
#include "registry/CRegistry.h"
#include "streams/CFileStream.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Tova::CMemRegistry;

constexpr int cRuns = 5;
// Each twice the one before.
constexpr int cSizes = 4;
constexpr int cDeepLookups = 10;

struct Kind {
    const char* name;
    int size;
    std::function<std::string(int)> text;
    // Returns the path of the i-th value of n, or "" if no more are to be looked up.
    std::function<std::string(int, int)> path;
};

const Kind cKinds[] = {
    {"values in one section", 100'000,
     [](int n) {
         std::string text = "[section]\n";
         for (int i = 0; i < n; ++i) {
             text += "value" + std::to_string(i) + "=" + std::to_string(i) + "\n";
         }
         return text;
     },
     [](int i, int) { return "section/value" + std::to_string(i); }},
    {"sections", 100'000,
     [](int n) {
         std::string text;
         for (int i = 0; i < n; ++i) {
             text += "[section" + std::to_string(i) + "]\nv=" + std::to_string(i) + "\n";
         }
         return text;
     },
     [](int i, int) { return "section" + std::to_string(i) + "/v"; }},
    {"levels of braces", 10'000,
     [](int n) {
         std::string text = "!NWREG 1.0 {\n";
         for (int i = 0; i < n; ++i) {
             text += "d{v=" + std::to_string(i) + "\n";
         }
         return text;
     },
     // One look-up walks the whole depth, so there are only a few of them.
     [](int i, int n) {
         std::string path;
         for (int level = 0; i < cDeepLookups && level < n; ++level) {
             path += "d/";
         }
         return i < cDeepLookups ? path + "v" : path;
     }},
};

// Counts the processor time of this process alone.
class Clock {
public:
    double Milliseconds() {
        const std::clock_t now = std::clock();
        return 1000.0 * static_cast<double>(now - std::exchange(last_, now)) / CLOCKS_PER_SEC;
    }

private:
    std::clock_t last_ = std::clock();
};

constexpr const char* cSteps[] = {"read", "look up", "enumerate", "copy", "destroy"};

struct Sample {
    std::string file;
    std::vector<std::string> paths;
    std::vector<double> best =
        std::vector<double>(std::size(cSteps), std::numeric_limits<double>::max());
};

Sample makeSample(const Kind& kind, int size, const std::string& file) {
    Sample sample{.file = file, .paths = {}};
    std::ofstream(file, std::ios::binary) << kind.text(size);
    for (int i = 0; i < size; ++i) {
        if (std::string path = kind.path(i, size); !path.empty()) {
            sample.paths.push_back(std::move(path));
        }
    }
    return sample;
}

// Returns false if something was not read, found or copied.
bool measure(Sample& sample) {
    Tova::CFSPath path;
    bool good = path.FromUnixPath(sample.file.c_str()) >= 0;
    std::vector<double> times;
    Clock clock;
    auto registry = std::make_unique<Tova::CFileRegistry>(path, true);
    good = registry->Read() >= 0 && good;
    times.push_back(clock.Milliseconds());
    for (const std::string& wanted : sample.paths) {
        good = registry->GetValue(wanted.c_str()) != nullptr && good;
    }
    times.push_back(clock.Milliseconds());
    Tova::CRegDir directory(*registry);
    registry->OpenDir("section", directory);
    Tova::CString name;
    for (int i = 0; directory.EnumEntry(i, name); ++i) {
    }
    times.push_back(clock.Milliseconds());
    {
        CMemRegistry copy;
        good = copy.CopyDir(*registry) && good;
        times.push_back(clock.Milliseconds());
    }
    directory.ReleaseNode();
    clock.Milliseconds();
    registry.reset();
    times.push_back(clock.Milliseconds());
    for (std::size_t step = 0; step < times.size(); ++step) {
        sample.best[step] = std::min(sample.best[step], times[step]);
    }
    return good;
}

// Adds n directories, and then deletes them from the front, with a look-up by prefix after each.
// Two names begin alike, one in each half of the list. Returns false if something was not found.
bool changeAndLookUp(int n, double& best) {
    Clock clock;
    CMemRegistry registry;
    Tova::CRegDir directory;
    bool good = true;
    const auto nameOf = [n](int i) {
        return "d" + std::to_string(100'000'000 + i % (n / 2)) + (i < n / 2 ? "a" : "b");
    };
    const auto find = [&registry](const std::string& name) {
        return registry.GetNodeType((name.substr(0, 10) + "/v").c_str()) >= 0;
    };
    for (int i = 0; i < n; ++i) {
        good = registry.SetValue((nameOf(i) + "/v").c_str(), "") && find(nameOf(i)) && good;
    }
    for (int i = 0; i < n; ++i) {
        good = registry.Delete(nameOf(i).c_str()) && find(nameOf(i)) == (i < n / 2) && good;
    }
    best = std::min(best, clock.Milliseconds());
    return good;
}

}  // namespace

int main() {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("registry_bench-" + std::to_string(getpid()));
    std::filesystem::create_directory(folder);
    bool good = true;
    for (const Kind& kind : cKinds) {
        std::vector<Sample> samples;
        std::printf("%s\n  %-10s", kind.name, "");
        for (int doubling = 0; doubling < cSizes; ++doubling) {
            const int size = kind.size << doubling;
            samples.push_back(makeSample(kind, size, folder / std::to_string(size)));
            std::printf(doubling == 0 ? "%12d" : "%20d", size);
        }
        for (int run = 0; run < cRuns; ++run) {
            for (Sample& sample : samples) {
                good = measure(sample) && good;
            }
        }
        for (std::size_t step = 0; step < std::size(cSteps); ++step) {
            std::printf("\n  %-10s %8.2f ms", cSteps[step], samples[0].best[step]);
            for (std::size_t i = 1; i < samples.size(); ++i) {
                const double now = samples[i].best[step];
                std::printf("  %8.2f ms x%5.2f", now, now / samples[i - 1].best[step]);
            }
        }
        std::printf("\n");
    }
    std::filesystem::remove_all(folder);
    std::printf("adding and deleting with a look-up by prefix after each\n");
    std::vector<double> best(cSizes, std::numeric_limits<double>::max());
    for (int run = 0; run < cRuns; ++run) {
        for (std::size_t i = 0; i < best.size(); ++i) {
            good = changeAndLookUp(25'000 << i, best[i]) && good;
        }
    }
    for (std::size_t i = 0; i < best.size(); ++i) {
        std::printf("%12d %10.2f ms x%5.2f\n", 25'000 << i, best[i],
                    i == 0 ? 1.0 : best[i] / best[i - 1]);
    }
    if (!good) {
        std::fputs("registry_bench: not everything was found\n", stderr);
    }
    return good ? 0 : 1;
}
