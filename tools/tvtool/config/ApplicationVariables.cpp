#include "tvtool/config/ApplicationVariables.h"

#include "interface/AppVariables.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"
#include "tvtool/config/ConfigFiles.h"
#include "vars/GlobalVars.h"

#include <cstdlib>
#include <memory>

namespace tvtool {

std::string FindOwnConfiguration() {
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };
    const std::unique_ptr<char, Free> self(realpath("/proc/self/exe", nullptr));
    if (!self) {
        return {};
    }
    const std::string program = self.get();
    const std::string folder = program.substr(0, program.rfind('/') + 1);
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
