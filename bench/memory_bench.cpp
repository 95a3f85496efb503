// How much memory contenders need for what they have read. Each reads in a process of its own.
// Prints JSON: the largest resident size above that of the beginning, and the heap that is in use
// afterwards, in bytes, with the number of entries.
#include "bench/Files.h"
#include "bench/Peers.h"
#include "bench/Programs.h"
#include "registry/CRegistry.h"
#include "vars/CVarList.h"

#include <rapidjson/document.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <string>

#include <malloc.h>

namespace {

constexpr std::size_t cRegistrySize = 50'000'000;
constexpr std::size_t cConfigurationSize = 100'000'000;
constexpr std::size_t cKilo = 1024;

std::size_t residentSize(const char* which) {
    std::FILE* status = std::fopen("/proc/self/status", "r");
    char line[256];
    std::size_t kilobytes = 0;
    while (status != nullptr && std::fgets(line, sizeof line, status) != nullptr) {
        if (std::strncmp(line, which, std::strlen(which)) == 0) {
            kilobytes = std::strtoul(line + std::strlen(which), nullptr, 10);
        }
    }
    std::fclose(status);
    return kilobytes * cKilo;
}

std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

const char* separator = "";

void print(const std::string& work, std::size_t size, const std::string& contender,
           std::size_t peak, std::size_t heap, std::size_t entries) {
    std::printf("%s\n{\"name\": \"%s/%zu/%s\", \"peak\": %zu, \"heap\": %zu, \"entries\": %zu}",
                separator, work.c_str(), size, contender.c_str(), peak, heap, entries);
    std::fflush(stdout);
    separator = ",";
}

// `load` returns what it has read, which is false if it could not be read.
template <class Load>
void measure(const std::string& work, std::size_t size, const std::string& contender,
             std::size_t entries, const Load& load) {
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const std::size_t residentBefore = residentSize("VmRSS:");
        const std::size_t heapBefore = heapInUse();
        const auto loaded = load();
        if (loaded) {
            print(work, size, contender, residentSize("VmHWM:") - residentBefore,
                  heapInUse() - heapBefore, entries);
        }
        _exit(loaded ? 0 : 1);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error(work + ": " + contender + " failed");
    }
    separator = ",";
}

std::unique_ptr<Tova::CFileRegistry> loadRegistry(const std::string& path) {
    auto registry = std::make_unique<Tova::CFileRegistry>(bench::UnixPath(path), true);
    return registry->Read() >= 0 && registry->GetNode()->FirstChild() != nullptr
               ? std::move(registry)
               : nullptr;
}

void measureRegistries() {
    const bench::Sectioned sectioned(cRegistrySize);
    const std::size_t entries = sectioned.sections * (bench::cEntriesOfSection + 1);
    const std::string work = "sectioned registry";
    measure(work, cRegistrySize, "ours", entries, [&] { return loadRegistry(sectioned.Path()); });
    measure(work, cRegistrySize, "SimpleIni", entries,
            [&] { return bench::LoadIni(sectioned.Path()); });
    measure(work, cRegistrySize, "GKeyFile", entries,
            [&] { return bench::LoadKeyFile(sectioned.Path()); });

    using bench::Nested;
    const Nested nested(cRegistrySize);
    const std::string info = nested.Path(Nested::cInfo);
    const std::string json = nested.Path(Nested::cJson);
    const std::size_t nodes = nested.directories * 2 * (bench::cEntriesOfSection + 1);
    measure("nested registry", cRegistrySize, "ours", nodes,
            [&] { return loadRegistry(nested.Path(Nested::cOurs)); });
    measure("nested registry", cRegistrySize, "Boost", nodes, [&] {
        auto tree = std::make_unique<bench::Tree>();
        boost::property_tree::read_info(info, *tree);
        return tree;
    });
    measure("nested registry", cRegistrySize, "RapidJSON", nodes, [&] {
        std::string text(std::filesystem::file_size(json) + 1, '\0');
        text[bench::ReadWhole(json, text)] = '\0';
        auto document = std::make_unique<rapidjson::Document>();
        document->Parse(text.c_str());
        return document;
    });
}

void measureConfiguration() {
    const std::size_t count = cConfigurationSize / bench::cVariableSize;
    const std::string ini = bench::FileOf("ini", [&] { return bench::VariablesAsIni(count); });
    const std::string path = bench::Scratch().Path("configuration");
    // A child writes it, so that this process stays small.
    measure("configuration to write", cConfigurationSize, "ours", count, [&] {
        auto list = std::make_unique<Tova::CVarList>();
        for (std::size_t i = 0; i < count; ++i) {
            list->SetValue(bench::VariableName(i).c_str(), bench::cVariableValue, false);
        }
        return list->WriteToFile(bench::UnixPath(path)) >= 0 ? std::move(list) : nullptr;
    });
    const std::string work = "configuration";
    measure(work, cConfigurationSize, "ours", count, [&] {
        auto list = std::make_unique<Tova::CVarList>();
        return list->ReadFromEncryptedFile(bench::UnixPath(path)) >= 0 ? std::move(list) : nullptr;
    });
    measure(work, cConfigurationSize, "GKeyFile", count, [&] { return bench::LoadKeyFile(ini); });
    const std::size_t size = std::filesystem::file_size(path);
    print(work, cConfigurationSize, "file", size, size, count);
}

void measurePrograms() {
    for (const auto& [contender, program] :
         {std::pair("ours", "bench_applied"), std::pair("bare program", "bench_bare")}) {
        const std::string line = bench::LineOf({bench::ProgramPath(program), "resident"}, [] {});
        const std::size_t size = std::strtoul(line.c_str(), nullptr, 10) * cKilo;
        print("program that applies once", 1, contender, size, 0, 0);
    }
}

}  // namespace

int main() {
    try {
        std::printf("{\"memory\": [");
        measureRegistries();
        measureConfiguration();
        measurePrograms();
        std::printf("\n]}\n");
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "memory_bench: " << error.what() << "\n";
        return 1;
    }
}
