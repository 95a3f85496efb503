#include "tvtool/config/ApplicationVariables.h"

#include "interface/AppVariables.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"
#include "tvtool/config/ConfigFiles.h"
#include "vars/GlobalVars.h"

#include <filesystem>

namespace tvtool {

std::string FindBundle() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::canonical("/proc/self/exe", error);
    if (error) {
        return {};
    }
    const std::string folder = self.parent_path().string() + "/";
    for (const char* libraries : {TVTOOL_LIBDIR, "../lib"}) {
        std::string path = folder + libraries + "/TVframework.framework";
        if (Exists(path)) {
            // Without the ".." of the way there.
            return std::filesystem::path(path).lexically_normal();
        }
    }
    return {};
}

std::string LibraryIn(const std::string& bundle) {
    return bundle + "/Versions/" TVTOOL_ABI "/TVframework";
}

std::string ConfigurationIn(const std::string& bundle) {
    return bundle + "/Versions/" TVTOOL_ABI "/Resources/CXMnwc";
}

void SetApplicationVariables(const std::string& bundle) {
    if (Tova::GlobalVars.First() != nullptr) {
        return;
    }
    Tova::SetBuiltInVariables(Tova::GlobalVars);
    const std::string path = ConfigurationIn(bundle);
    if (bundle.empty() || !Exists(path)) {
        return;
    }
    try {
        Tova::CVarList list;
        ReadConfig(path, list);
        Tova::GlobalVars += list;
    } catch (const ToolError& error) {
        Complain(std::string(error.what()) + " (left out)");
    }
}

}  // namespace tvtool
