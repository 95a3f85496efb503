#include "corefoundation/preferences/PreferencesFile.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace tvplatform {

namespace {

constexpr size_t cLargestFile = size_t{16} << 20U;
constexpr int cMostKept = 1000;
constexpr int cMostLinks = 40;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return number_; }

private:
    const int number_;
};

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

// Up to one byte more than is allowed; nothing on an error.
std::optional<std::string> ReadAll(int file) {
    std::string bytes;
    constexpr size_t block = size_t{1} << 16U;
    while (bytes.size() <= cLargestFile) {
        const size_t before = bytes.size();
        bytes.resize(before + block);
        const ssize_t count = read(file, bytes.data() + before, block);
        bytes.resize(before + (count > 0 ? static_cast<size_t>(count) : 0));
        if (count == 0) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
    }
    return bytes;
}

bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(count > 0 ? static_cast<size_t>(count) : 0);
    }
    return true;
}

// Where a chain of links leads, even when nothing is there yet.
std::optional<std::string> followLinks(std::string path) {
    for (int links = 0; links < cMostLinks; ++links) {
        std::error_code error;
        const std::string target = std::filesystem::read_symlink(path, error).string();
        if (error) {
            return path;  // no link
        }
        path = target.starts_with('/') ? target : folderOf(path) + target;
    }
    return std::nullopt;
}

// Gives the file a second name that was free.
bool keepUnderAnotherName(const std::string& path) {
    for (int number = 1; number <= cMostKept; ++number) {
        if (link(path.c_str(), (path + ".damaged-" + std::to_string(number)).c_str()) == 0) {
            return true;
        }
        if (errno != EEXIST) {
            return false;
        }
    }
    return false;
}

// A new file beside another; gone with this object unless it took the other's place.
class Replacement {
public:
    explicit Replacement(const std::string& path)
        : path_(path), temporary_(path + ".XXXXXX"), file_(mkostemp(temporary_.data(), O_CLOEXEC)) {
    }
    ~Replacement() {
        if (file_.Get() >= 0 && !placed_) {
            unlink(temporary_.c_str());
        }
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    bool Write(std::string_view bytes) {
        if (file_.Get() < 0) {
            return false;
        }
        GiveToFolderOwner(file_.Get(), path_);
        return writeAll(file_.Get(), bytes) && fsync(file_.Get()) == 0;
    }
    bool Place() {
        placed_ = rename(temporary_.c_str(), path_.c_str()) == 0;
        return placed_;
    }

private:
    const std::string path_;
    std::string temporary_;
    const Descriptor file_;
    bool placed_ = false;
};

bool syncFolderOf(const std::string& path) {
    const Descriptor folder(open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot, and need not.
    return folder.Get() >= 0 && (fsync(folder.Get()) == 0 || errno == EINVAL);
}

}  // namespace

PreferencesReading ReadPreferencesFile(const std::string& path) {
    // A pipe must not make this wait.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.Get() < 0) {
        return {errno == ENOENT ? FileState::Absent : FileState::Unusable, {}};
    }
    struct stat status = {};
    if (fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<size_t>(status.st_size) > cLargestFile) {
        return {FileState::Unusable, {}};
    }
    const auto bytes = ReadAll(file.Get());
    if (!bytes || bytes->size() > cLargestFile) {
        return {FileState::Unusable, {}};
    }
    auto entries = ReadPlist(*bytes);
    return entries ? PreferencesReading{FileState::Good, std::move(*entries)}
                   : PreferencesReading{FileState::Damaged, {}};
}

bool ReplacePreferencesFile(const std::string& path, const std::vector<PlistEntry>& entries,
                            bool keepOld) {
    const std::string xml = WritePlist(entries);
    const auto target = followLinks(path);
    if (xml.empty() || xml.size() > cLargestFile || !target) {
        return false;
    }
    Replacement replacement(*target);
    return replacement.Write(xml) && (!keepOld || keepUnderAnotherName(*target)) &&
           replacement.Place() && syncFolderOf(*target);
}

void GiveToFolderOwner(int file, const std::string& path) {
    struct stat folder = {};
    if (geteuid() == 0 && stat(folderOf(path).c_str(), &folder) == 0 && folder.st_uid != 0) {
        // Where the file system refuses, root's file has to do.
        [[maybe_unused]] const int ignored = fchown(file, folder.st_uid, folder.st_gid);
    }
}

}  // namespace tvplatform
