// How the registry's cost grows: each kind of large file at several sizes, each twice the one
// before, is read, looked up, enumerated, copied and destroyed. Prints milliseconds of processor
// time (the best of several runs, in which the sizes take turns) and the factor from size to size:
// 2 is growth in proportion, more than that where the tree outgrows a cache; 4 again and again
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
    // The path of the i-th value of n; empty when no more are to be looked up.
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

// Of this process: what else the machine does is of no interest.
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

// False when something was not read, found or copied.
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
    if (!good) {
        std::fputs("registry_bench: not everything was found\n", stderr);
    }
    return good ? 0 : 1;
}
