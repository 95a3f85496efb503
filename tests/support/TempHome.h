// A folder that lives as long as a test, and environment settings that are undone with it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tvtest {

// A fresh folder under the system's temporary folder. The destructor removes it with all it holds.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // Returns the path of `name` in the folder, or of the folder itself if `name` is empty.
    std::string Path(std::string_view name = "") const;
    // Writes a file (byte for byte) into the folder and returns its path.
    std::string Write(std::string_view name, std::string_view bytes) const;

private:
    std::filesystem::path path_;
};

// Sets an environment variable, or removes it if the value is nullopt. The destructor restores it.
class ScopedEnv {
public:
    ScopedEnv(std::string name, const std::optional<std::string>& value);
    ~ScopedEnv() { Set(old_); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    void Set(const std::optional<std::string>& value) const;

    std::string name_;
    std::optional<std::string> old_;
};

// A home of the test's own: HOME is a fresh folder, the XDG variables are unset, and the
// machine-wide data folder is "machine" inside it. So no test touches the user's files.
class TempHome : public TempDir {
public:
    TempHome();

private:
    ScopedEnv home_, config_, data_, machine_, encoding_;
};

// Returns the whole file, byte for byte, or nothing if it cannot be read.
std::string ReadFile(const std::string& path);

}  // namespace tvtest
