// The shared library in a bundle of its own, seen by a C program in a fresh process.
#include "tests/interface/InterfaceTestSupport.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

class FrameworkBundle : public ::testing::Test {
protected:
    FrameworkBundle() { tvtest::WriteConfig(details_, {{"RegFirstName", "Ada"}}); }

    // Copies the library to `path`, and makes a link to it, as in an installed tree, where the
    // program finds it.
    void Install(const std::string& path) {
        const std::string link = home_.Path("libTVframework.so.3");
        fs::create_directories(fs::path(path).parent_path() / "Resources");
        fs::copy_file(TV_FRAMEWORK_FILE, path);
        fs::remove(link);
        fs::create_symlink(path, link);
    }
    // Returns what the program shows of the variables after its calls.
    std::string Variables() {
        std::string output;
        std::FILE* pipe = popen(
            ("LD_LIBRARY_PATH='" + home_.Path() + "' '" TV_PROBE_FILE "' '" + details_ + "' 2>&1")
                .c_str(),
            "r");
        for (int c = 0; pipe != nullptr && (c = std::getc(pipe)) != EOF;) {
            output += static_cast<char>(c);
        }
        EXPECT_EQ(pclose(pipe), 0);
        const std::string before = "<AppName> <MajVersion>.<MinVersion> <AppKey> 0\n1 -1 0\n";
        EXPECT_EQ(output.substr(0, before.size()), before);
        return output.substr(std::min(before.size(), output.size()));
    }

    const tvtest::TempHome home_;
    const std::string details_ = home_.Path("details");
};

TEST_F(FrameworkBundle, VariablesComeFromTheResourcesBesideTheLibrary) {
    const std::string folder = home_.Path("App/Frameworks/TVframework.framework/Versions/3");
    const std::string resource = folder + "/Resources/CXMnwc";
    Install(folder + "/TVframework");
    EXPECT_EQ(Variables(), "Calyx 7.4 <AppKey> 3\n");
    tvtest::WriteConfig(resource, {{"%AppName", "Pro"}, {"MajVersion", "9"}, {"AppKey", "k"}});
    EXPECT_EQ(Variables(), "Pro 7.4 k 4\n");
    fs::resize_file(resource, fs::file_size(resource) - 2);  // nothing of a damaged file is taken
    EXPECT_EQ(Variables(), "Calyx 7.4 <AppKey> 3\n");
}

TEST_F(FrameworkBundle, ALibraryWhosePathIsTooLongHasNoResources) {
    std::string folder = fs::canonical(home_.Path());
    for (int level = 0; level < 4; ++level) {
        folder += "/" + std::string(200, 'd');
    }
    for (const auto& [length, expected] :
         {std::pair(1023U, "Calyx 7.4 k 4\n"), {1024U, "Calyx 7.4 <AppKey> 3\n"}}) {
        Install(folder + "/" + std::string(length - folder.size() - 1, 'n'));
        tvtest::WriteConfig(folder + "/Resources/CXMnwc", {{"AppKey", "k"}});
        EXPECT_EQ(Variables(), expected) << length;
    }
}

}  // namespace
