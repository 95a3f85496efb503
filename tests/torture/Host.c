// A program with requests, signal handlers and a signal mask of its own, which sends registrations:
//   tvtest_host COUNT URL
// Its own requests go to the address. Ends with status 0 if everything is as it would be without
// the framework.
#define _POSIX_C_SOURCE 200809L  // sigprocmask
#include <TVframework/TVframework.h>

#include <curl/curl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

static volatile sig_atomic_t signals = 0;
static void countSignal(int number) {
    (void)number;
    ++signals;
}

static void require(int holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "broken promise: %s\n", what);
        exit(1);
    }
}

int main(int argc, char** argv) {
    const int numbers[] = {SIGPIPE, SIGALRM, SIGCHLD, SIGUSR1, SIGTERM, SIGSEGV};
    const size_t count = sizeof numbers / sizeof numbers[0];
    sigset_t before, after;
    const int yes = 1;
    CURLcode result = CURLE_OK;
    CFMutableDictionaryRef details = CFDictionaryCreateMutable(
        NULL, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    CFNumberRef agreed = CFNumberCreate(NULL, kCFNumberIntType, &yes);
    require(argc == 3, "there are two arguments");
    CFDictionarySetValue(details, CFSTR("SDKey"), agreed);
    CFRelease(agreed);
    for (size_t i = 0; i < count; ++i) {
        signal(numbers[i], countSignal);
    }
    sigemptyset(&before);
    sigaddset(&before, SIGUSR2);
    sigprocmask(SIG_SETMASK, &before, NULL);

    curl_global_init(CURL_GLOBAL_ALL);
    for (int i = atoi(argv[1]); i > 0; --i) {
        CURL* own = curl_easy_init();
        curl_easy_setopt(own, CURLOPT_URL, argv[2]);
        curl_easy_setopt(own, CURLOPT_NOBODY, 1L);
        require(tvWriteRegInfo(CFSTR("a.nwc"), details, 1) == 0, "it sends");
        result = curl_easy_perform(own);
        if (result != CURLE_OK) {
            fprintf(stderr, "libcurl: %s\n", curl_easy_strerror(result));
        }
        require(result == CURLE_OK, "the program's own request is answered");
        curl_easy_cleanup(own);
    }
    curl_global_cleanup();
    require(tvWriteRegInfo(CFSTR("a.nwc"), details, 1) == 0, "it sends after the library's end");
    CFRelease(details);

    sigprocmask(SIG_SETMASK, NULL, &after);
    for (int number = 1; number <= SIGRTMAX; ++number) {
        require(sigismember(&before, number) == sigismember(&after, number),
                "the signal mask is left alone");
    }
    for (size_t i = 0; i < count; ++i) {
        require(signal(numbers[i], SIG_DFL) == countSignal, "handlers are left alone");
    }
    require(signals == 0, "no signal is raised");
    return 0;
}
