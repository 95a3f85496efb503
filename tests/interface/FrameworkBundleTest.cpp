// The shared library in a bundle of its own, seen by a C program in a fresh process.
#include "tests/interface/InterfaceTestSupport.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string outputOf(const std::string& command) {
    std::string output;
    std::FILE* pipe = popen(command.c_str(), "r");
    for (int c = 0; pipe != nullptr && (c = std::getc(pipe)) != EOF;) {
        output += static_cast<char>(c);
    }
    EXPECT_EQ(pclose(pipe), 0);
    return output;
}

TEST(FrameworkBundle, VariablesComeFromTheResourcesBesideTheLibrary) {
    const tvtest::TempHome home;
    const std::string bundle = home.Path("App/Frameworks/TVframework.framework/Versions/3");
    const std::string resource = bundle + "/Resources/CXMnwc";
    fs::create_directories(bundle + "/Resources");
    fs::copy_file(TV_FRAMEWORK_FILE, bundle + "/TVframework");
    // Loaded through a link, as from an installed tree: the resources lie beside its target.
    fs::create_symlink(bundle + "/TVframework", home.Path("libTVframework.so.3"));
    const std::string details = home.Path("details");
    tvtest::WriteConfig(details, {{"RegFirstName", "Ada"}});
    const auto variables = [&] {
        const std::string output = outputOf("LD_LIBRARY_PATH='" + home.Path() + "' '" +
                                            TV_PROBE_FILE + "' '" + details + "' 2>&1");
        const std::string before = "<AppName> <MajVersion>.<MinVersion> <AppKey> 0\n1 -1 0\n";
        EXPECT_EQ(output.substr(0, before.size()), before);
        return output.substr(std::min(before.size(), output.size()));
    };
    EXPECT_EQ(variables(), "Calyx 7.4 <AppKey> 3\n");
    tvtest::WriteConfig(resource, {{"%AppName", "Pro"}, {"MajVersion", "9"}, {"AppKey", "k"}});
    EXPECT_EQ(variables(), "Pro 7.4 k 4\n");
    fs::resize_file(resource, fs::file_size(resource) - 2);  // nothing of a damaged file is taken
    EXPECT_EQ(variables(), "Calyx 7.4 <AppKey> 3\n");
}

}  // namespace
