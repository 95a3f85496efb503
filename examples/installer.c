/* Plays the part of an installer: prefills its form with what is known of the user, shows a text
 * with the application variables in it, and saves the details that the user typed.
 *
 *   installer CONFIG FIRST LAST ORGANISATION EMAIL [--send]
 *
 * With --send the user has agreed that the details go to the product registration. The request runs
 * on a thread of the framework's own; this program then stays open, as an installer that still has
 * files to copy does, until its standard input ends. */
#include <TVframework/TVframework.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct Field {
    const char* label;
    const char* key;
} Field;

static const Field kFields[] = {
    {"First name", "FNKey"},
    {"Last name", "LNKey"},
    {"Organisation", "OrKey"},
    {"E-mail", "EAKey"},
};
enum { kFieldCount = sizeof kFields / sizeof kFields[0], kTextSize = 512 };

static CFStringRef MakeString(const char* text) {
    CFStringRef string =
        CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8);
    if (string == NULL) {
        fprintf(stderr, "installer: this is not UTF-8: %s\n", text);
        exit(2);
    }
    return string;
}

static void setText(CFMutableDictionaryRef form, const char* key, const char* text) {
    CFStringRef name = MakeString(key);
    CFStringRef value = MakeString(text);
    CFDictionarySetValue(form, name, value);
    CFRelease(value);
    CFRelease(name);
}

static CFMutableDictionaryRef makeForm(void) {
    return CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                     &kCFTypeDictionaryValueCallBacks);
}

static void printForm(CFDictionaryRef form) {
    for (int i = 0; i < kFieldCount; ++i) {
        char text[kTextSize] = "";
        CFStringRef name = MakeString(kFields[i].key);
        CFStringRef value = (CFStringRef)CFDictionaryGetValue(form, name);
        if (value != NULL) {
            CFStringGetCString(value, text, sizeof text, kCFStringEncodingUTF8);
        }
        printf("    %-13s %s\n", kFields[i].label, text[0] != '\0' ? text : "-");
        CFRelease(name);
    }
}

static void showForm(const char* title, CFStringRef config) {
    CFMutableDictionaryRef form = makeForm();
    int found = tvReadRegInfoFromNWC(config, form);
    printf("%s (%s)\n", title, found == 1 ? "read" : "there is none yet");
    printForm(form);
    CFRelease(form);
}

static void showPreferences(void) {
    CFMutableDictionaryRef form = makeForm();
    if (tvReadRegInfoFromPrefs(form) == 1) {
        printf("The user's preferences\n");
        printForm(form);
    } else {
        printf("The user's preferences hold no complete details\n");
    }
    CFRelease(form);
}

static void showWelcome(void) {
    static const char kText[] = "Welcome to <AppName> <MajVersion>.<MinVersion> (<ShortAppKey>)!";
    char shown[kTextSize] = "";
    CFStringRef text = MakeString(kText);
    CFMutableStringRef welcome = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, text);
    int replaced = tvApplyVariables(welcome, NULL);
    CFStringGetCString(welcome, shown, sizeof shown, kCFStringEncodingUTF8);
    printf("A text, before:  %s\n", kText);
    printf("A text, after:   %s  (%d replaced)\n", shown, replaced);
    CFRelease(welcome);
    CFRelease(text);
}

static int Save(CFStringRef config, char** typed, int send) {
    signed char consent = 1;
    CFMutableDictionaryRef form = makeForm();
    for (int i = 0; i < kFieldCount; ++i) {
        setText(form, kFields[i].key, typed[i]);
    }
    if (send) {
        CFStringRef key = MakeString("SDKey");
        CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt8Type, &consent);
        CFDictionarySetValue(form, key, number);
        CFRelease(number);
        CFRelease(key);
    }
    printf("The user types\n");
    printForm(form);
    int result = tvWriteRegInfo(config, form, send ? 1U : 0U);
    CFRelease(form);
    return result;
}

int main(int argc, char** argv) {
    int send = argc == 7 && strcmp(argv[6], "--send") == 0;
    if (argc != 6 && !send) {
        fprintf(stderr, "usage: installer CONFIG FIRST LAST ORGANISATION EMAIL [--send]\n");
        return 2;
    }
    CFStringRef config = MakeString(argv[1]);

    showForm("The configuration file, before", config);
    showPreferences();
    showWelcome();

    int result = Save(config, argv + 2, send);
    if (result != 0) {
        fprintf(stderr, "installer: the details could not be saved (%d)\n", result);
        CFRelease(config);
        return 1;
    }
    showForm("The configuration file, after", config);
    CFRelease(config);
    fflush(stdout);

    while (send && getchar() != EOF) {
    }
    return 0;
}
