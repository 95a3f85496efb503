/* An application of the framework, in C, on the public header alone: shows the variables before and
 * after its user-details calls and what those return. Arguments: a folder to go to, if there are
 * two, and a configuration file. */
#include <TVframework/TVframework.h>

#include <stdio.h>
#include <unistd.h>

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
    int moved = argc > 2 ? chdir(argv[1]) : 0;
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
    return moved;
}
