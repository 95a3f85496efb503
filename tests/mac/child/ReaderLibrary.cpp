// A library that sends to TVTEST_URL while it is being loaded, and can be unloaded at once.
#include "mac/MacThreadedWebReader.h"

#include <cstdlib>

namespace {

__attribute__((constructor)) void sendAtLoad() {
    MacThreadedWebReader* reader = MacThreadedWebReader::Create();
    CFStringRef url =
        CFStringCreateWithCString(nullptr, std::getenv("TVTEST_URL"), kCFStringEncodingUTF8);
    reader->StartRead(url, nullptr, nullptr, nullptr);
    CFRelease(url);
    reader->Release();
}

}  // namespace
