/* Plays the part of an installer. It fills its form with what is known of the user, shows a text
 * with the application variables in it, and saves the details that the user typed.
 *
 *   installer CONFIG FIRST LAST ORGANISATION EMAIL [--send]
 *
 * --send means that the user has agreed to send the details to the product registration. The
 * request runs on a thread of the framework. This program then stays open until its standard input
 * ends, as an installer does that still has files to copy. */
#include <TVframework/TVframework.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kFieldCount = 4, kTextSize = 512 };
static const char* const kLabels[kFieldCount] = {"First name", "Last name", "Organisation",
                                                 "E-mail"};

/* The key of a field in the dictionary. A CFSTR is never released. */
static CFStringRef keyOf(int field) {
    const CFStringRef keys[kFieldCount] = {CFSTR("FNKey"), CFSTR("LNKey"), CFSTR("OrKey"),
                                           CFSTR("EAKey")};
    return keys[field];
}

/* The caller releases the string. */
static CFStringRef makeString(const char* text) {
    CFStringRef string =
        CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8);
    if (string == NULL) {
        fprintf(stderr, "installer: this is not UTF-8: %s\n", text);
        exit(2);
    }
    return string;
}

/* An empty dictionary, which the caller releases. */
static CFMutableDictionaryRef makeForm(void) {
    return CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                     &kCFTypeDictionaryValueCallBacks);
}

static void printForm(CFDictionaryRef form) {
    for (int i = 0; i < kFieldCount; ++i) {
        char text[kTextSize] = "";
        CFStringRef value = (CFStringRef)CFDictionaryGetValue(form, keyOf(i));
        if (value != NULL) {
            CFStringGetCString(value, text, sizeof text, kCFStringEncodingUTF8);
        }
        printf("    %-13s %s\n", kLabels[i], text[0] != '\0' ? text : "-");
    }
}

static void showConfiguration(const char* title, CFStringRef config) {
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
    CFStringRef text = makeString(kText);
    CFMutableStringRef welcome = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, text);
    int replaced = tvApplyVariables(welcome, NULL);
    CFStringGetCString(welcome, shown, sizeof shown, kCFStringEncodingUTF8);
    printf("A text, before:  %s\n", kText);
    printf("A text, after:   %s  (%d replaced)\n", shown, replaced);
    CFRelease(welcome);
    CFRelease(text);
}

/* Saves what the user typed. Returns 0 if the file is written. */
static int save(CFStringRef config, char** typed, int send) {
    CFMutableDictionaryRef form = makeForm();
    for (int i = 0; i < kFieldCount; ++i) {
        CFStringRef value = makeString(typed[i]);
        CFDictionarySetValue(form, keyOf(i), value);
        CFRelease(value);
    }
    if (send) {
        /* Both are needed: the user's consent in the form, and the flag below. */
        signed char consent = 1;
        CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt8Type, &consent);
        CFDictionarySetValue(form, CFSTR("SDKey"), number);
        CFRelease(number);
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
    CFStringRef config = makeString(argv[1]);

    showConfiguration("The configuration file, before", config);
    showPreferences();
    showWelcome();

    int result = save(config, argv + 2, send);
    if (result == 0) {
        showConfiguration("The configuration file, after", config);
    } else {
        fprintf(stderr, "installer: the details could not be saved (%d)\n", result);
    }
    CFRelease(config);
    fflush(stdout);

    while (result == 0 && send && getchar() != EOF) {
    }
    return result == 0 ? 0 : 1;
}
