// A library that sends, like the framework, and can be unloaded at once. With TVTEST_URL set it
// already sends while it is being loaded.
#include "tests/mac/child/ReaderLibrary.h"

#include "mac/MacThreadedWebReader.h"

#include <cstdlib>

void tvtest_start_read(const char* url) {
    MacThreadedWebReader* reader = MacThreadedWebReader::Create();
    CFStringRef text = CFStringCreateWithCString(nullptr, url, kCFStringEncodingUTF8);
    reader->StartRead(text, nullptr, nullptr, nullptr);
    CFRelease(text);
    reader->Release();
}

namespace {

__attribute__((constructor)) void sendAtLoad() {
    if (const char* url = std::getenv("TVTEST_URL")) {
        tvtest_start_read(url);
    }
}

}  // namespace
