// Makes a URL of the input, and a file URL of it as a path.
#include "fuzz/FuzzTarget.h"
#include "tests/support/PlatformValues.h"

#include <CoreServices/CoreServices.h>

#include <string>
#include <vector>

namespace {

using tvfuzz::Require;
using tvtest::Own;
using tvtest::Owned;

Owned<CFStringRef> textOf(const std::string& bytes) {
    return Own(CFStringCreateWithCString(nullptr, bytes.c_str(), kCFStringEncodingUTF8));
}

Owned<CFURLRef> copyOf(CFURLRef url) {
    return Own(CFURLCreateWithString(nullptr, CFURLGetString(url), nullptr));
}

std::string pathOf(CFURLRef url) {
    std::vector<UInt8> path(10000);
    return CFURLGetFileSystemRepresentation(url, true, path.data(), 10000)
               ? reinterpret_cast<const char*>(path.data())
               : "";
}

void checkUrl(CFURLRef url) {
    const auto again = copyOf(url);
    Require(again && CFEqual(again, url), "the text of a URL is a URL");

    auto folder = Own(CFURLCreateCopyDeletingLastPathComponent(nullptr, url));
    for (int steps = 0; folder; ++steps) {
        auto above = Own(CFURLCreateCopyDeletingLastPathComponent(nullptr, folder));
        if (!above || CFEqual(above, folder)) {
            break;
        }
        Require(CFStringGetLength(CFURLGetString(above)) <
                    CFStringGetLength(CFURLGetString(folder)) + 3,
                "the way up shortens a URL");
        Require(steps < 5000, "and has an end");
        folder = std::move(above);
    }
    const auto below = Own(CFURLCreateCopyAppendingPathComponent(nullptr, url, CFSTR("x y"), 0));
    Require(!below || copyOf(below), "a component can be added");
}

void checkFile(const std::string& path) {
    const auto url = Own(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
        0));
    Require(url && CFEqual(copyOf(url), url), "every path makes a URL");
    std::string expected = path;
    while (expected.size() > 1 && expected.back() == '/') {
        expected.pop_back();
    }
    Require(pathOf(url) == expected, "and comes back");
    if (expected != "/") {
        const auto folder = Own(CFURLCreateCopyDeletingLastPathComponent(nullptr, url));
        Require(expected.find(pathOf(folder)) == 0, "a folder is the begin of the path");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tvfuzz::Input input(data, std::min<std::size_t>(size, 4000));
    const std::string text = tvfuzz::UpToNul(input.Rest());
    if (const auto url = Own(CFURLCreateWithString(nullptr, textOf(text), nullptr))) {
        Require(CFEqual(CFURLGetString(url), textOf(text)), "a URL keeps its text");
        checkUrl(url);
    }
    checkFile("/" + text);
    return 0;
}
