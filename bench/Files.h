// The files that the benchmarks read, each in the formats of all contenders, in a scratch folder
// that goes with the process.
#pragma once

#include "fs/CFSPath.h"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace bench {

class ScratchFolder {
public:
    ScratchFolder() {
        std::string name = std::filesystem::temp_directory_path() / "tvbench-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("cannot make " + name);
        }
        path_ = name;
    }
    // A forked child leaves the folder to its parent.
    ~ScratchFolder() {
        if (owner_ == getpid()) {
            std::error_code ignored;
            std::filesystem::remove_all(path_, ignored);
        }
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string Path(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
    pid_t owner_ = getpid();
};

inline const ScratchFolder& Scratch() {
    static const ScratchFolder folder;
    return folder;
}

// Returns the path of the file `name`. The first call makes it of what `text` returns.
inline std::string FileOf(const std::string& name, const std::function<std::string()>& text) {
    const std::string path = Scratch().Path(name);
    if (!std::filesystem::exists(path)) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text();
    }
    return path;
}

struct UnixPath : Tova::CFSPath {
    explicit UnixPath(const std::string& path) {
        if (FromUnixPath(path.c_str()) < 0) {
            throw std::runtime_error("no path: " + path);
        }
    }
};

// Numbers with leading zeros, so that no name begins with another one.
inline std::string Numbered(const char* name, std::size_t number, std::size_t digits = 7) {
    const std::string text = std::to_string(number);
    return name + std::string(digits - text.size(), '0') + text;
}

constexpr std::size_t cEntriesOfSection = 10;
constexpr char cUsualValue[] = "some words of a usual value";

// An INI file of about `size` bytes.
struct Sectioned {
    explicit Sectioned(std::size_t wanted)
        : size(wanted), sections(wanted / SectionText(0).size()) {}

    // The first call makes the file.
    std::string Path() const {
        return FileOf("sectioned-" + std::to_string(size), [this] {
            std::string text;
            for (std::size_t i = 0; i < sections; ++i) {
                text += SectionText(i);
            }
            return text;
        });
    }
    static std::string SectionText(std::size_t section) {
        std::string text = "[" + Numbered("Section", section) + "]\n";
        for (std::size_t i = 0; i < cEntriesOfSection; ++i) {
            text += "EntryName" + std::to_string(i) + "=" + cUsualValue + "\n";
        }
        return text;
    }

    std::size_t size;
    std::size_t sections;
};

// A tree of three levels: directories with ten values and a directory with ten values in it.
struct Nested {
    // The punctuation of a format.
    struct Format {
        const char* name;
        const char* begin;
        const char* end;
        const char* quote;     // around a name
        const char* openDir;   // behind a name
        const char* closeDir;  // at the end of a directory
        const char* equals;
        const char* valueQuote;
        const char* separator;  // between entries
    };
    static constexpr Format cOurs{"ours", "!NWREG 1.0 {\n", "}\n", "", " {\n", "}\n", "=", "",
                                  "\n"};
    static constexpr Format cInfo{"info", "", "", "", " {\n", "}\n", " ", "\"", "\n"};
    static constexpr Format cJson{"json", "{", "}", "\"", ":{", "}", ":", "\"", ","};

    explicit Nested(std::size_t wanted)
        : size(wanted), directories(wanted / DirectoryText(0, cOurs).size()) {}

    // The first call for a format makes the file.
    std::string Path(const Format& format) const {
        return FileOf("nested-" + std::to_string(size) + format.name, [&] { return Text(format); });
    }
    static std::string Values(const Format& f) {
        std::string text;
        for (std::size_t i = 0; i < cEntriesOfSection; ++i) {
            text += std::string(i > 0 ? f.separator : "") + f.quote + "EntryName" +
                    std::to_string(i) + f.quote + f.equals + f.valueQuote + cUsualValue +
                    f.valueQuote;
        }
        return text;
    }
    static std::string DirectoryText(std::size_t number, const Format& f) {
        return f.quote + Numbered("Directory", number) + f.quote + f.openDir + Values(f) +
               f.separator + f.quote + "Inner" + f.quote + f.openDir + Values(f) +
               (*f.separator == '\n' ? "\n" : "") + f.closeDir + f.closeDir;
    }
    std::string Text(const Format& f) const {
        std::string text = f.begin;
        for (std::size_t i = 0; i < directories; ++i) {
            text += (i > 0 && *f.separator != '\n' ? f.separator : "") + DirectoryText(i, f);
        }
        return text + f.end;
    }

    std::size_t size;
    std::size_t directories;
};

// Variables of 50 bytes each, with their NULs.
inline std::string VariableName(std::size_t i) {
    return Numbered("Variable", i);
}
constexpr std::size_t cVariableSize = 50;
constexpr char cVariableValue[] = "a value of thirty-three bytes ...";
static_assert(sizeof cVariableValue + sizeof "Variable0000000" == cVariableSize);

inline std::string VariablesAsIni(std::size_t count) {
    std::string text = "[Variables]\n";
    for (std::size_t i = 0; i < count; ++i) {
        text += VariableName(i) + "=" + cVariableValue + "\n";
    }
    return text;
}

// The physical bound of reading a file: the calls of the system alone.
inline std::size_t ReadWhole(const std::string& path, std::string& buffer) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::size_t length = 0;
    ssize_t count = 0;
    while ((count = read(file, buffer.data() + length, buffer.size() - length)) > 0) {
        length += static_cast<std::size_t>(count);
    }
    close(file);
    return length;
}

}  // namespace bench
