// The largest resident size of a process, as the process itself sees it: a parent is told of what
// the child shared with it before it became another program.
#pragma once

#include <cstdio>
#include <cstring>

inline void printResidentSize() {
    std::FILE* status = std::fopen("/proc/self/status", "r");
    char line[256];
    while (status != nullptr && std::fgets(line, sizeof line, status) != nullptr) {
        if (std::strncmp(line, "VmHWM:", 6) == 0) {
            std::fputs(line + 6, stdout);
        }
    }
}
