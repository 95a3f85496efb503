// Reading registry files of both formats, looking into them, and destroying what was read.
#include "bench/Bench.h"
#include "bench/Files.h"
#include "bench/Peers.h"
#include "registry/CRegistry.h"

#include <rapidjson/document.h>

#include <memory>
#include <string>

namespace {

using bench::Numbered;
using bench::ProcessorSecondsOf;
using bench::Require;
using bench::Sectioned;
using Tova::CFileRegistry;

std::unique_ptr<CFileRegistry> load(const bench::UnixPath& path) {
    auto registry = std::make_unique<CFileRegistry>(path, true);
    Require(registry->Read() >= 0, "registry: not read");
    return registry;
}

// The files are made when a benchmark of theirs runs.
using MakePath = std::function<std::string()>;

void addRead(const std::string& work, std::size_t size, const MakePath& makePath) {
    bench::Add(work, size, "read(2)", [=] {
        const std::string path = makePath();
        std::string buffer(std::filesystem::file_size(path) + 1, ' ');
        return
            [=]() mutable { Require(bench::ReadWhole(path, buffer) + 1 == buffer.size(), path); };
    });
}

// Names as callers have them, before the clock runs.
struct Names {
    std::vector<std::string> sections;
    std::vector<std::string> keys;
    std::vector<std::string> paths;
};

// Reads and looks up one value for each name; destroying is not timed.
void addLookups(const std::string& work, std::size_t size, const MakePath& makePath,
                const std::function<std::shared_ptr<Names>()>& makeNames) {
    bench::AddTimed(work, size, "ours", [=] {
        return [names = makeNames(), file = std::make_shared<bench::UnixPath>(makePath())] {
            std::unique_ptr<CFileRegistry> registry;
            return ProcessorSecondsOf([&] {
                registry = load(*file);
                for (const std::string& wanted : names->paths) {
                    Require(registry->GetValue(wanted.c_str()) != nullptr, wanted);
                }
            });
        };
    });
    bench::AddTimed(work, size, "SimpleIni", [=] {
        return [names = makeNames(), path = makePath()] {
            std::unique_ptr<bench::Ini> ini;
            return ProcessorSecondsOf([&] {
                ini = bench::LoadIni(path);
                for (std::size_t i = 0; i < names->keys.size(); ++i) {
                    Require(ini->GetValue(names->sections[i].c_str(), names->keys[i].c_str()) !=
                                nullptr,
                            names->keys[i]);
                }
            });
        };
    });
    bench::AddTimed(work, size, "GKeyFile", [=] {
        return [names = makeNames(), path = makePath()] {
            bench::KeyFile file;
            return ProcessorSecondsOf([&] {
                file = bench::LoadKeyFile(path);
                for (std::size_t i = 0; i < names->keys.size(); ++i) {
                    Require(bench::KeyFileHas(file, names->sections[i], names->keys[i]),
                            names->keys[i]);
                }
            });
        };
    });
    addRead(work, size, makePath);
}

void addSectioned(std::size_t size) {
    const Sectioned file(size);
    addLookups(
        "sectioned registry", size, [file] { return file.Path(); },
        [sections = file.sections] {
            auto names = std::make_shared<Names>();
            for (std::size_t i = 0; i < sections; ++i) {
                names->sections.push_back(Numbered("Section", i));
                names->keys.push_back("EntryName" + std::to_string(i % bench::cEntriesOfSection));
                names->paths.push_back(names->sections[i] + "/" + names->keys[i]);
            }
            return names;
        });
}

void addOneSection(std::size_t count) {
    const auto makePath = [count] {
        return bench::FileOf("one-section-" + std::to_string(count),
                             [count] { return bench::VariablesAsIni(count); });
    };
    addLookups("one section, look-up of each entry", count, makePath, [count] {
        auto names = std::make_shared<Names>();
        for (std::size_t i = 0; i < count; ++i) {
            names->sections.emplace_back("Variables");
            names->keys.push_back(bench::VariableName(i));
            names->paths.push_back("Variables/" + names->keys[i]);
        }
        return names;
    });
}

template <class Load>
void addDestroying(std::size_t size, const std::string& contender, Load loadFile) {
    // Loading, which does not count, takes hundreds of times as long.
    const int rounds = static_cast<int>(100'000'000 / size);
    bench::AddTimed(
        "destroying a sectioned registry", size, contender,
        [=] {
            return [loadFile, path = Sectioned(size).Path()] {
                auto loaded = loadFile(path);
                Require(loaded != nullptr, path);
                return ProcessorSecondsOf([&] { loaded.reset(); });
            };
        },
        rounds);
}

void addNested(std::size_t size) {
    using bench::Nested;
    const std::string work = "nested registry";
    const Nested nested(size);
    const std::string last = Numbered("Directory", nested.directories - 1);
    bench::AddTimed(work, size, "ours", [=] {
        return [=, file = std::make_shared<bench::UnixPath>(nested.Path(Nested::cOurs))] {
            std::unique_ptr<CFileRegistry> registry;
            const double seconds = ProcessorSecondsOf([&] { registry = load(*file); });
            Require(registry->GetValue((last + "/Inner/EntryName9").c_str()) != nullptr, last);
            return seconds;
        };
    });
    bench::AddTimed(work, size, "Boost", [=] {
        return [last, info = nested.Path(Nested::cInfo)] {
            bench::Tree tree;
            const double seconds =
                ProcessorSecondsOf([&] { boost::property_tree::read_info(info, tree); });
            Require(tree.get_child_optional(last + ".Inner.EntryName9").has_value(), info);
            return seconds;
        };
    });
    bench::AddTimed(work, size, "RapidJSON", [=] {
        const std::string json = nested.Path(Nested::cJson);
        return [=, buffer = std::string(std::filesystem::file_size(json) + 1, '\0')]() mutable {
            rapidjson::Document document;
            const double seconds = ProcessorSecondsOf([&] {
                buffer[bench::ReadWhole(json, buffer)] = '\0';
                document.Parse(buffer.c_str());
            });
            Require(document.IsObject() && document.HasMember(last.c_str()), json);
            return seconds;
        };
    });
    addRead(work, size, [nested] { return nested.Path(Nested::cOurs); });
}

// Each section is looked up by all of its name but the last character.
void addPrefixes(std::size_t count) {
    bench::Add("growth: sections and look-ups by prefix", count, "ours", [=] {
        std::vector<std::string> paths;
        std::string text;
        for (std::size_t i = 0; i < count; ++i) {
            text += "[" + Numbered("Section", i) + "x]\nv=" + std::to_string(i) + "\n";
            paths.push_back(Numbered("Section", i) + "/v");
        }
        const std::string path =
            bench::FileOf("prefixes-" + std::to_string(count), [&] { return text; });
        return [paths, file = std::make_shared<bench::UnixPath>(path)] {
            const auto registry = load(*file);
            for (const std::string& wanted : paths) {
                Require(registry->GetValue(wanted.c_str()) != nullptr, wanted);
            }
        };
    });
}

// Deletes from the front, with a look-up by prefix after each.
void addDeletions(std::size_t count) {
    bench::AddTimed("growth: deletions", count, "ours", [=] {
        std::vector<std::string> names;
        for (std::size_t i = 0; i < count; ++i) {
            names.push_back(Numbered("Directory", i));
        }
        const std::string last = Numbered("Directory", count) + "/v";
        return [names, last] {
            Tova::CMemRegistry registry;
            for (const std::string& name : names) {
                Require(registry.SetValue((name + "/v").c_str(), "x"), name);
            }
            Require(registry.SetValue((last.substr(0, last.size() - 2) + "x/v").c_str(), "x"),
                    last);
            return ProcessorSecondsOf([&] {
                for (const std::string& name : names) {
                    Require(registry.Delete(name.c_str()) &&
                                registry.GetValue(last.c_str()) != nullptr,
                            name);
                }
            });
        };
    });
}

void addLevels(std::size_t depth) {
    bench::Add("growth: levels", depth, "ours", [=] {
        std::string text = "!NWREG 1.0 {\n";
        std::string wanted;
        for (std::size_t i = 0; i < depth; ++i) {
            text += "d{v=" + std::to_string(i) + "\n";
            wanted += "d/";
        }
        wanted += "v";
        const std::string path =
            bench::FileOf("levels-" + std::to_string(depth), [&] { return text; });
        return [wanted, file = std::make_shared<bench::UnixPath>(path)] {
            Require(load(*file)->GetValue(wanted.c_str()) != nullptr, "levels");
        };
    });
}

}  // namespace

int main(int argc, char** argv) {
    return bench::Main(argc, argv, [] {
        for (const std::size_t size : {10'000UL, 1'000'000UL, 50'000'000UL}) {
            addSectioned(size);
            addNested(size);
        }
        addOneSection(100'000);
        for (const std::size_t size : {1'000'000UL, 50'000'000UL}) {
            addDestroying(size, "ours",
                          [](const std::string& path) { return load(bench::UnixPath(path)); });
            addDestroying(size, "SimpleIni", bench::LoadIni);
            addDestroying(size, "GKeyFile", bench::LoadKeyFile);
        }
        for (const std::size_t count : {1'000UL, 10'000UL, 100'000UL}) {
            addPrefixes(count);
            addDeletions(count);
            addLevels(count / 10);
        }
    });
}
