// Reading, changing and writing configuration files, and reading preferences.
#include "bench/Bench.h"
#include "bench/Files.h"
#include "bench/Peers.h"
#include "text/CFRef.h"
#include "vars/CVarList.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstdio>
#include <memory>
#include <string>

namespace {

using bench::Require;
using Tova::CVarList;

std::string configuration(std::size_t size) {
    const std::string path = bench::Scratch().Path("configuration-" + std::to_string(size));
    if (!std::filesystem::exists(path)) {
        CVarList list;
        for (std::size_t i = 0; i < size / bench::cVariableSize; ++i) {
            list.SetValue(bench::VariableName(i).c_str(), bench::cVariableValue, false);
        }
        Require(list.WriteToFile(bench::UnixPath(path)) >= 0, path);
    }
    return path;
}

std::string keyFile(std::size_t size) {
    return bench::FileOf("variables-" + std::to_string(size),
                         [size] { return bench::VariablesAsIni(size / bench::cVariableSize); });
}

void readByStdio(const std::string& path, std::string& buffer) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    Require(std::fread(buffer.data(), 1, buffer.size(), file) + 1 == buffer.size(), path);
    std::fclose(file);
}

void writeByStdio(const std::string& path, const char* bytes, std::size_t length) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    Require(std::fwrite(bytes, 1, length, file) == length && std::fclose(file) == 0, path);
}

void writeKeyFile(const bench::KeyFile& file, const std::string& path) {
    gsize length = 0;
    char* text = g_key_file_to_data(file.get(), &length, nullptr);
    writeByStdio(path, text, length);
    g_free(text);
}

// A buffer of a byte more than the file.
std::string bufferFor(const std::string& path) {
    return std::string(std::filesystem::file_size(path) + 1, ' ');
}

void addReading(std::size_t size) {
    const std::string work = "configuration, read";
    bench::Add(work, size, "ours", [=] {
        return [file = std::make_shared<bench::UnixPath>(configuration(size))] {
            CVarList list;
            Require(list.ReadFromEncryptedFile(*file) >= 0 && list.First() != nullptr, "read");
        };
    });
    bench::Add(work, size, "GKeyFile", [=] {
        return [path = keyFile(size)] { Require(bench::LoadKeyFile(path) != nullptr, path); };
    });
    bench::Add(work, size, "stdio", [=] {
        const std::string path = configuration(size);
        return [path, buffer = bufferFor(path)]() mutable { readByStdio(path, buffer); };
    });
}

// Reads, changes four variables and writes.
void addChanging(std::size_t size) {
    constexpr std::size_t cChanges = 4;
    const std::string work = "configuration, change four";
    bench::Add(work, size, "ours", [=] {
        return [file = std::make_shared<bench::UnixPath>(configuration(size))] {
            CVarList list;
            Require(list.ReadFromEncryptedFile(*file) >= 0, "change: read");
            for (std::size_t i = 0; i < cChanges; ++i) {
                list.SetValue(bench::VariableName(i).c_str(), bench::cVariableValue, false);
            }
            Require(list.WriteToFile(*file) >= 0, "change: written");
        };
    });
    bench::Add(work, size, "GKeyFile", [=] {
        return [path = keyFile(size)] {
            const bench::KeyFile file = bench::LoadKeyFile(path);
            for (std::size_t i = 0; i < cChanges; ++i) {
                g_key_file_set_value(file.get(), "Variables", bench::VariableName(i).c_str(),
                                     bench::cVariableValue);
            }
            writeKeyFile(file, path);
        };
    });
    bench::Add(work, size, "stdio", [=] {
        const std::string path = configuration(size);
        return [path, buffer = bufferFor(path)]() mutable {
            readByStdio(path, buffer);
            writeByStdio(path, buffer.data(), buffer.size() - 1);
        };
    });
}

void addWriting(std::size_t size) {
    const std::string work = "configuration, write";
    const std::string out = bench::Scratch().Path("written");
    bench::Add(work, size, "ours", [=] {
        auto list = std::make_shared<CVarList>();
        Require(list->ReadFromEncryptedFile(bench::UnixPath(configuration(size))) >= 0, "read");
        return [list, file = std::make_shared<bench::UnixPath>(out)] {
            Require(list->WriteToFile(*file) >= 0, "write");
        };
    });
    bench::Add(work, size, "GKeyFile", [=] {
        const std::shared_ptr<GKeyFile> file(bench::LoadKeyFile(keyFile(size)).release(),
                                             bench::FreeKeyFile());
        return [file, out] {
            gsize length = 0;
            char* text = g_key_file_to_data(file.get(), &length, nullptr);
            writeByStdio(out, text, length);
            g_free(text);
        };
    });
    bench::Add(work, size, "write(2)", [=] {
        return [out, buffer = bufferFor(configuration(size))] {
            const int file = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            for (std::size_t done = 0; done < buffer.size();) {
                const ssize_t count = write(file, buffer.data() + done, buffer.size() - done);
                Require(count > 0, out);
                done += static_cast<std::size_t>(count);
            }
            close(file);
        };
    });
}

Tova::CFRef<CFStringRef> textOf(const std::string& text) {
    return Tova::CFRef<CFStringRef>(
        CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
}

// Synchronising reads the file anew.
void addPreferences(std::size_t count) {
    bench::Add("growth: keys of preferences", count, "ours", [=] {
        const std::string domain = "bench" + std::to_string(count);
        bench::FileOf("home/.config/" + domain + ".plist", [count] {
            std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                               "<plist version=\"1.0\">\n<dict>\n";
            for (std::size_t i = 0; i < count; ++i) {
                text += "<key>" + bench::VariableName(i) + "</key>\n<string>" +
                        bench::cVariableValue + "</string>\n";
            }
            return text + "</dict>\n</plist>\n";
        });
        const auto key =
            std::make_shared<Tova::CFRef<CFStringRef>>(textOf(bench::VariableName(count - 1)));
        return [key, name = std::make_shared<Tova::CFRef<CFStringRef>>(textOf(domain))] {
            Require(CFPreferencesSynchronize(name->Get(), kCFPreferencesCurrentUser,
                                             kCFPreferencesAnyHost),
                    "preferences: synchronise");
            const Tova::CFRef<CFTypeRef> value(CFPreferencesCopyValue(
                key->Get(), name->Get(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
            Require(value.Get() != nullptr, "preferences: value");
        };
    });
}

}  // namespace

int main(int argc, char** argv) {
    setenv("HOME", bench::Scratch().Path("home").c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    return bench::Main(argc, argv, [] {
        for (const std::size_t size : {1'000UL, 1'000'000UL, 100'000'000UL}) {
            addReading(size);
        }
        addChanging(1'000);
        addWriting(100'000'000);
        for (const std::size_t count : {1'000UL, 10'000UL, 100'000UL}) {
            addPreferences(count);
        }
    });
}
