// Runs the real tvtool in a home of the test's own, with a limit of 60 seconds and of 256 MiB for
// each file, so that no test waits or writes without bound. Permissions bind it, also when root
// runs the tests.
#pragma once

#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <string>

namespace tvtest {

// What a script prints for a command that fails with a message.
std::string Fails(int status, const std::string& message);

class ToolTest : public testing::Test, protected TempHome {
protected:
    // Runs a shell script in the home's folder. The tool's commands stand in it by themselves
    // ("config show a.nwc"), and $TVTOOL is for other shells. Returns output and messages as they
    // come. A status other than 0 follows as "[4]\n", wherever the command's streams go.
    std::string Script(const std::string& script, const std::string& input = "");

    std::string Read(const std::string& name) { return ReadFile(Path(name)); }
};

}  // namespace tvtest
