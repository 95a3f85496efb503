// The one function of the library that exit_child loads and unloads.
#pragma once

extern "C" {
// Starts a read that nobody ends, and lets go of it.
__attribute__((visibility("default"))) void tvtest_start_read(const char* url);
}
