// The bare program, and it loads the framework and applies the variables to a text once.
#include <TVframework/TVframework.h>

#include "bench/child/ResidentSize.h"

#include <string>

int main(int argc, char**) {
    std::string text("Welcome to <AppName>");
    text.append(" and to this computer");
    const CFMutableStringRef platformText = CFStringCreateMutable(nullptr, 0);
    CFStringAppend(platformText, CFSTR("Welcome to <AppName>"));
    const int replaced = tvApplyVariables(platformText, nullptr);
    CFRelease(platformText);
    if (argc > 1) {
        printResidentSize();
    }
    return text.size() > 20 && replaced == 0 ? 0 : 1;
}
