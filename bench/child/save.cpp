// Saves details into a configuration file again and again, and prints how many nanoseconds the
// first call took, and the median of the others. They begin when the first request has had the time
// to load the HTTP library. The program ends when its standard input does.
//
//   bench_save FILE SEND CALLS     SEND is 1 to send the details too
#include <TVframework/TVframework.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 4) {
        return 2;
    }
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    const CFStringRef path = CFStringCreateWithCString(nullptr, argv[1], kCFStringEncodingUTF8);
    const unsigned send = argv[2][0] == '1' ? 1 : 0;
    const CFMutableDictionaryRef details = CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    const int agreed = 1;
    CFDictionarySetValue(details, CFSTR("FNKey"), CFSTR("Ada"));
    CFDictionarySetValue(details, CFSTR("LNKey"), CFSTR("Lovelace"));
    CFDictionarySetValue(details, CFSTR("EAKey"), CFSTR("ada@example.org"));
    const CFNumberRef consent = CFNumberCreate(nullptr, kCFNumberIntType, &agreed);
    CFDictionarySetValue(details, CFSTR("SDKey"), consent);
    std::vector<long long> times;
    for (int calls = std::atoi(argv[3]); calls > 0; --calls) {
        const auto start = std::chrono::steady_clock::now();
        if (tvWriteRegInfo(path, details, send) != 0) {
            return 1;
        }
        times.push_back((std::chrono::steady_clock::now() - start).count());
        if (times.size() == 1) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
    const long long first = times.front();
    std::sort(times.begin() + 1, times.end());
    std::printf("%lld %lld\n", first, times[(times.size() + 1) / 2]);
    std::fflush(stdout);
    char ignored = 0;
    while (read(STDIN_FILENO, &ignored, 1) > 0) {
    }
    // The requests that nobody answers end with the process.
    _exit(0);
}
