#include "tvtool/config/ApplicationVariables.h"

#include "interface/AppVariables.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"
#include "tvtool/config/ConfigFiles.h"
#include "vars/GlobalVars.h"

#include <filesystem>

namespace tvtool {

std::string FindOwnConfiguration() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::canonical("/proc/self/exe", error);
    if (error) {
        return {};
    }
    const std::string folder = self.parent_path().string() + "/";
    for (const char* libraries : {TVTOOL_LIBDIR, "../lib"}) {
        std::string path = folder + libraries + "/TVframework.framework/Versions/" + TVTOOL_ABI +
                           "/Resources/CXMnwc";
        if (Exists(path)) {
            return path;
        }
    }
    return {};
}

void SetApplicationVariables() {
    Tova::SetBuiltInVariables(Tova::GlobalVars);
    const std::string path = FindOwnConfiguration();
    if (path.empty()) {
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
