#include "tests/platform/corefoundation/preferences/PreferencesTestSupport.h"

#include <atomic>

using namespace tvtest;

namespace {

// Each does a little, most of it with a lock of the library held.
void makeConstant() {
    static std::atomic<int> number{0};
    __CFStringMakeConstantString(std::to_string(++number).c_str());
}

void convert() {
    const UInt8 letters[] = {0xC1, 0xC2};
    for (const CFStringEncoding encoding : {0x0A02U, 0x0205U, 0x0502U, 0x0007U, 0x0410U}) {
        EXPECT_NE(Own(CFStringCreateWithBytes(nullptr, letters, 2, encoding, false)), nullptr);
    }
}

void askForPrivateEncoding() {
    EXPECT_EQ(CFStringCreateWithBytes(nullptr, nullptr, 0, 0x7F001000, false), nullptr);
    CFStringGetSystemEncoding();
}

TEST(Fork, LeavesTheChildInOrderWhenOtherThreadsAreAtWork) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "a child of this sanitizer's may hang if another thread was busy at the fork";
#endif
    const ScopedEnv encoding("TV_SYSTEM_ENCODING", "KOI8-R");
    CFRunLoopRef loop = CFRunLoopGetCurrent();
    CFRunLoopSourceContext context{};
    const auto source = Own(CFRunLoopSourceCreate(nullptr, 0, &context));
    const std::vector<std::function<void()>> works = {
        makeConstant, convert, askForPrivateEncoding,
        [&] { CFRunLoopAddSource(loop, source, CFSTR("a mode")); }};
    EXPECT_TRUE(ChildrenCanGoOn(30, works, [&] {
        for (const auto& work : works) {
            work();
        }
        return true;
    }));
}

}  // namespace
