/* An application of the framework, in C, on the public header alone: shows the variables before and
 * after its user-details calls and what those return. One argument: a configuration file. */
#include <TVframework/TVframework.h>

#include <stdio.h>

static void showVariables(void) {
    char shown[512] = "";
    CFMutableStringRef text =
        CFStringCreateMutableCopy(NULL, 0, CFSTR("<AppName> <MajVersion>.<MinVersion> <AppKey>"));
    int count = tvApplyVariables(text, NULL);
    CFStringGetCString(text, shown, sizeof shown, kCFStringEncodingUTF8);
    printf("%s %d\n", shown, count);
    CFRelease(text);
}

int main(int argc, char** argv) {
    CFStringRef path = CFStringCreateWithCString(NULL, argv[argc - 1], kCFStringEncodingUTF8);
    CFMutableDictionaryRef form = CFDictionaryCreateMutable(NULL, 0, &kCFTypeDictionaryKeyCallBacks,
                                                            &kCFTypeDictionaryValueCallBacks);
    tvDeletePrefsItem(CFSTR("absent"));
    showVariables();
    printf("%d ", tvReadRegInfoFromNWC(path, form));
    printf("%d ", tvReadRegInfoFromPrefs(form));
    printf("%d\n", tvWriteRegInfo(path, form, 0));
    showVariables();
    CFRelease(form);
    CFRelease(path);
    return 0;
}
