// What substituting and looking up variables costs, against what a caller would write instead:
// passes of find and replace over std::string, and a template filled from a std::unordered_map. And
// how the cost of substituting and of reading a configuration file grows with the size.
#include "vars/CVarList.h"

#include "bench/ratios.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;
using Map = std::unordered_map<std::string, std::string>;

// Every variable in turn, again and again until nothing changes.
std::string applyInPasses(const Pairs& vars, std::string text) {
    for (bool changed = true; changed;) {
        changed = false;
        for (const auto& [name, value] : vars) {
            const std::string pattern = "<" + name + ">";
            for (std::size_t at = 0; (at = text.find(pattern, at)) != std::string::npos;) {
                text.replace(at, pattern.size(), value);
                at += value.size();
                changed = true;
            }
        }
    }
    return text;
}

// Placeholder by placeholder into a new text, again and again until nothing changes.
std::string applyFromMap(const Map& vars, std::string text) {
    for (bool changed = true; changed;) {
        changed = false;
        std::string out;
        std::size_t at = 0;
        for (std::size_t open = 0; (open = text.find('<', at)) != std::string::npos;) {
            out.append(text, at, open - at);
            const std::size_t close = text.find_first_of("<>", open + 1);
            const bool ends = close != std::string::npos && text[close] == '>';
            const auto found =
                ends ? vars.find(text.substr(open + 1, close - open - 1)) : vars.end();
            if (found == vars.end()) {
                out += '<';
                at = open + 1;
            } else {
                out += found->second;
                at = close + 1;
                changed = true;
            }
        }
        out.append(text, at);
        text = std::move(out);
    }
    return text;
}

struct Case {
    const char* what;
    int vars;
    int depth;  // values of a chain that refer to the next one
    int placeholders;
    bool passesToo;
};

void compareSubstitution(const Case& c) {
    Pairs pairs;
    for (int i = 0; i < c.vars; ++i) {
        const bool ends = i % c.depth == c.depth - 1 || i == c.vars - 1;
        pairs.emplace_back("Variable" + std::to_string(i),
                           ends ? "a value" : "(<Variable" + std::to_string(i + 1) + ">)");
    }
    std::string text;
    for (int i = 0; i < c.placeholders; ++i) {
        const int first = i * c.depth % c.vars / c.depth * c.depth;
        text += "Some words of text and <Variable" + std::to_string(first) + ">. ";
    }
    auto list = std::make_shared<Tova::CVarList>();
    auto map = std::make_shared<Map>();
    for (const auto& [name, value] : pairs) {
        list->SetValue(name.c_str(), value.c_str(), false);
        map->emplace(name, value);
    }
    const auto ours = [=] {
        Tova::CString changed(text.c_str());
        benchmark::DoNotOptimize(list->Apply(changed, nullptr));
    };
    ratios::Compare(std::string("substitute/map/") + c.what, ours,
                    [=] { benchmark::DoNotOptimize(applyFromMap(*map, text)); });
    if (c.passesToo) {
        ratios::Compare(std::string("substitute/passes/") + c.what, ours,
                        [=] { benchmark::DoNotOptimize(applyInPasses(pairs, text)); });
    }
}

// Names as callers have them: NUL-terminated, not in the order of the list.
void compareLookUp(int count) {
    auto list = std::make_shared<Tova::CVarList>();
    auto map = std::make_shared<Map>();
    auto names = std::make_shared<std::vector<std::string>>();
    for (int i = 0; i < count; ++i) {
        names->push_back("Variable" + std::to_string(i * 7919LL % count));
        list->SetValue(("Variable" + std::to_string(i)).c_str(), "a value", false);
        map->emplace("Variable" + std::to_string(i), "a value");
    }
    names->resize(static_cast<std::size_t>(std::min(count, 1000)));
    ratios::Compare(
        "look-up/map/" + std::to_string(count),
        [=] {
            for (const std::string& name : *names) {
                benchmark::DoNotOptimize(list->GetValue(name.c_str()));
            }
        },
        [=] {
            for (const std::string& name : *names) {
                benchmark::DoNotOptimize(map->find(name.c_str()));
            }
        });
}

// Compares twice as much work with the work itself: a ratio of about 2 is growth in proportion.
template <class Make>
void compareGrowth(const char* what, std::size_t size, const Make& make) {
    ratios::Compare(std::string("growth/") + what, make(2 * size), make(size));
}

void compareTextGrowth(const char* what, const char* delimiters,
                       const std::function<std::string(std::size_t)>& textOf) {
    auto list = std::make_shared<Tova::CVarList>();
    list->SetValue("w", "word", false);
    compareGrowth(what, 50'000, [&](std::size_t count) {
        return [list, delimiters, text = textOf(count)] {
            Tova::CString changed(text.c_str());
            benchmark::DoNotOptimize(list->Apply(changed, delimiters));
        };
    });
}

// Each value refers to the next variable.
void compareChainGrowth() {
    compareGrowth("chain", 50'000, [](std::size_t count) {
        auto list = std::make_shared<Tova::CVarList>();
        for (std::size_t i = 0; i < count; ++i) {
            list->SetValue(std::to_string(i).c_str(), ("(<" + std::to_string(i + 1) + ">)").c_str(),
                           false);
        }
        return [list] {
            Tova::CString text("<0>");
            benchmark::DoNotOptimize(list->Apply(text, nullptr));
        };
    });
}

// A configuration file with one long value.
void compareFileGrowth() {
    compareGrowth("configuration-file", 5'000'000, [](std::size_t size) {
        const std::shared_ptr<std::string> path(
            new std::string(std::filesystem::temp_directory_path() /
                            ("vars_bench-" + std::to_string(size) + ".nwc")),
            [](const std::string* made) {
                std::filesystem::remove(*made);
                delete made;
            });
        auto file = std::make_shared<Tova::CFSPath>();
        Tova::CVarList list;
        list.SetValue("A", std::string(size, 'x').c_str(), false);
        if (file->FromUnixPath(path->c_str()) < 0 || list.WriteToFile(*file) < 0) {
            throw std::runtime_error(*path);
        }
        return [path, file] {
            Tova::CVarList read;
            benchmark::DoNotOptimize(read.ReadFromEncryptedFile(*file));
        };
    });
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    for (const Case& c : {Case{"200-bytes-10-variables", 10, 1, 5, true},
                          Case{"200-bytes-10-variables-chains-of-5", 10, 5, 5, true},
                          Case{"40-KB-1000-variables", 1000, 1, 1000, true},
                          Case{"40-KB-1000-variables-chains-of-100", 1000, 100, 1000, false},
                          Case{"400-KB-10-variables", 10, 1, 10000, true},
                          Case{"4-MB-10-variables", 10, 1, 100000, false}}) {
        compareSubstitution(c);
    }
    for (const int count : {4, 10, 15, 16, 1000, 100000}) {
        compareLookUp(count);
    }
    const auto times = [](const char* piece) {
        return [piece](std::size_t count) {
            std::string text;
            while (count-- > 0) {
                text += piece;
            }
            return text;
        };
    };
    compareChainGrowth();
    compareTextGrowth("placeholders", "<>", times("<w>"));
    compareTextGrowth("open-delimiters", "<>",
                      [&](std::size_t count) { return times("<")(count) + "w>>"; });
    compareTextGrowth("passes", "%%", times("%w% text and "));
    compareFileGrowth();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
