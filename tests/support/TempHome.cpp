#include "tests/support/TempHome.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace tvtest {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tvtest-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary folder");
    }
    path_ = std::filesystem::canonical(pattern);
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::Path(std::string_view name) const {
    return name.empty() ? path_.string() : (path_ / name).string();
}

std::string TempDir::Write(std::string_view name, std::string_view bytes) const {
    std::string path = Path(name);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
    return path;
}

ScopedEnv::ScopedEnv(std::string name, const std::optional<std::string>& value)
    : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str())) {
        old_ = old;
    }
    Set(value);
}

void ScopedEnv::Set(const std::optional<std::string>& value) const {
    if (value) {
        setenv(name_.c_str(), value->c_str(), 1);
    } else {
        unsetenv(name_.c_str());
    }
}

TempHome::TempHome()
    : home_("HOME", Path()), config_("XDG_CONFIG_HOME", std::nullopt),
      data_("XDG_DATA_HOME", std::nullopt), machine_("TV_MACHINE_DATA_DIR", Path("machine")),
      encoding_("TV_SYSTEM_ENCODING", std::nullopt) {}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace tvtest
