// Runs a fuzz target over files, and folders of files, named on the command line: each whole, cut
// at every byte, and with every byte replaced by some that matter to parsers.
#include "fuzz/FuzzTarget.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

void Run(const std::string& input) {
    // A copy of the exact size, so that reading past the end is seen.
    const std::vector<std::uint8_t> bytes(input.begin(), input.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

bool replay(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::string seed{std::istreambuf_iterator<char>(in), {}};
    if (!in) {
        std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
        return false;
    }
    Run(seed);
    for (std::size_t at = 0; at < seed.size(); ++at) {
        Run(seed.substr(0, at));
        for (const char byte : {'\0', '\xFF', '\r', '\n', '%', '=', '{', '}', '/'}) {
            std::string changed = seed;
            changed[at] = byte;
            Run(changed);
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    int files = 0;
    bool good = true;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            good = replay(argv[i]) && good;
            ++files;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            good = replay(entry.path()) && good;
            ++files;
        }
    }
    std::printf("%d files\n", files);
    return good && files > 0 ? 0 : 1;
}
