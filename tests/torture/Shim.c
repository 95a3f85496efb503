/* A library to preload: it makes the Nth allocation, or the Nth call of the system, fail.
 *
 * The environment variable TVSHIM says what to do, as "FAMILY N MODE START":
 *
 *   FAMILY  "memory" or "calls"
 *   N       the number of the call that fails, counted from 1; 0 makes none fail
 *   MODE    "once", "on" for this call and all that follow it, or "kill": the process is killed
 *           just before this call
 *   START   "main" counts from the start of main to the end of the process; "call" counts between
 *           tvshim_arm and tvshim_disarm
 *
 * The descriptor that TVSHIM_REPORT names is a shared page. The shim counts in it, so that the
 * process that started this one sees how far it came. */
#define _GNU_SOURCE
#include "tests/torture/Shim.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <malloc.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <pwd.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

static struct TVShimReport ownReport;
static struct TVShimReport* report = &ownReport;
static unsigned failing;
static int family, goesOn, kills, fromMain, armed;
static long live;
/* The C library itself crashes if it has no memory while it learns where users and hosts are
 * listed. Nothing fails in there. */
static __thread int sheltered;

/* Counts a call of the family. Returns 1 if it must fail. */
static int isDue(int which) {
    if (which != family || sheltered != 0 || !__atomic_load_n(&armed, __ATOMIC_RELAXED)) {
        return 0;
    }
    const unsigned count = __atomic_add_fetch(&report->calls, 1, __ATOMIC_RELAXED);
    if (failing == 0 || (goesOn ? count < failing : count != failing)) {
        return 0;
    }
    __atomic_store_n(&report->fired, 1, __ATOMIC_RELAXED);
    if (kills) {
        kill(getpid(), SIGKILL);
    }
    return 1;
}

void tvshim_arm(void) {
    report->calls = 0;
    __atomic_store_n(&armed, 1, __ATOMIC_RELAXED);
}
void tvshim_disarm(void) {
    __atomic_store_n(&armed, 0, __ATOMIC_RELAXED);
}
long tvshim_live(void) {
    return __atomic_load_n(&live, __ATOMIC_RELAXED);
}

__attribute__((constructor)) static void readOrders(void) {
    const char* orders = getenv("TVSHIM");
    char familyName[8], mode[8], start[8];
    if (orders == NULL ||
        sscanf(orders, "%7s %u %7s %7s", familyName, &failing, mode, start) != 4) {
        return;
    }
    const char* page = getenv("TVSHIM_REPORT");
    void* shared = page == NULL ? MAP_FAILED
                                : mmap(NULL, sizeof *report, PROT_READ | PROT_WRITE, MAP_SHARED,
                                       atoi(page), 0);
    report = shared == MAP_FAILED ? &ownReport : shared;
    goesOn = strcmp(mode, "on") == 0;
    kills = strcmp(mode, "kill") == 0;
    fromMain = strcmp(start, "main") == 0;
    family = strcmp(familyName, "memory") == 0 ? 1 : 2;
}

/* The start of main is where the C library calls it. */
int __libc_start_main(int (*mainFunction)(int, char**, char**), int argc, char** argv,
                      void (*init)(void), void (*fini)(void), void (*ldFini)(void), void* stack);
static int (*programMain)(int, char**, char**);
static int countedMain(int argc, char** argv, char** envp) {
    if (fromMain) {
        tvshim_arm();
    }
    return programMain(argc, argv, envp);
}
int __libc_start_main(int (*mainFunction)(int, char**, char**), int argc, char** argv,
                      void (*init)(void), void (*fini)(void), void (*ldFini)(void), void* stack) {
    int (*next)(int (*)(int, char**, char**), int, char**, void (*)(void), void (*)(void),
                void (*)(void), void*);
    *(void**)&next = dlsym(RTLD_NEXT, "__libc_start_main");
    programMain = mainFunction;
    return next(countedMain, argc, argv, init, fini, ldFini, stack);
}

/* The C library's allocator under its other names. */
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* memory);

static void* counted(void* memory) {
    if (memory != NULL) {
        __atomic_add_fetch(&live, 1, __ATOMIC_RELAXED);
    }
    return memory;
}
static void* outOfMemory(void) {
    errno = ENOMEM;
    return NULL;
}
void* malloc(size_t size) {
    return isDue(1) ? outOfMemory() : counted(__libc_malloc(size));
}
void* calloc(size_t count, size_t size) {
    return isDue(1) ? outOfMemory() : counted(__libc_calloc(count, size));
}
void* realloc(void* memory, size_t size) {
    if (isDue(1)) {
        return outOfMemory();
    }
    return memory == NULL ? counted(__libc_malloc(size)) : __libc_realloc(memory, size);
}
void* memalign(size_t alignment, size_t size) {
    return isDue(1) ? outOfMemory() : counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(size_t alignment, size_t size) {
    return memalign(alignment, size);
}
int posix_memalign(void** memory, size_t alignment, size_t size) {
    *memory = memalign(alignment, size);
    return *memory == NULL ? ENOMEM : 0;
}
void free(void* memory) {
    if (memory != NULL) {
        __atomic_sub_fetch(&live, 1, __ATOMIC_RELAXED);
    }
    __libc_free(memory);
}

#define SHELTERED(name, parameters, arguments)                                                     \
    int name parameters {                                                                          \
        static int(*next) parameters;                                                              \
        if (next == NULL) {                                                                        \
            *(void**)&next = dlsym(RTLD_NEXT, #name);                                              \
        }                                                                                          \
        ++sheltered;                                                                               \
        const int result = next arguments;                                                         \
        --sheltered;                                                                               \
        return result;                                                                             \
    }
SHELTERED(getpwuid_r,
          (uid_t user, struct passwd* entry, char* texts, size_t size, struct passwd** found),
          (user, entry, texts, size, found))
SHELTERED(getaddrinfo,
          (const char* host, const char* service, const struct addrinfo* hints,
           struct addrinfo** found),
          (host, service, hints, found))

/* FAILS(TYPE, NAME, PARAMETERS, ARGUMENTS, RESULT, ERROR) defines a call that fails when it is due,
 * with its result and errno, and else does what it does without the shim. */
#define FAILS(type, name, parameters, arguments, result, error)                                    \
    type name parameters {                                                                         \
        static type(*next) parameters;                                                             \
        if (next == NULL) {                                                                        \
            *(void**)&next = dlsym(RTLD_NEXT, #name);                                              \
        }                                                                                          \
        if (isDue(2)) {                                                                            \
            errno = error;                                                                         \
            return result;                                                                         \
        }                                                                                          \
        return next arguments;                                                                     \
    }
/* FAILS_MODE does the same for calls whose last argument is a mode that may be missing. */
#define FAILS_MODE(name, parameters, arguments)                                                    \
    int name parameters {                                                                          \
        static int(*next) parameters;                                                              \
        if (next == NULL) {                                                                        \
            *(void**)&next = dlsym(RTLD_NEXT, #name);                                              \
        }                                                                                          \
        va_list list;                                                                              \
        va_start(list, flags);                                                                     \
        const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0;       \
        va_end(list);                                                                              \
        if (isDue(2)) {                                                                            \
            errno = EMFILE;                                                                        \
            return -1;                                                                             \
        }                                                                                          \
        return next arguments;                                                                     \
    }

FAILS_MODE(open, (const char* path, int flags, ...), (path, flags, mode))
FAILS_MODE(open64, (const char* path, int flags, ...), (path, flags, mode))
FAILS_MODE(openat, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
FAILS_MODE(openat64, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
FAILS(FILE*, fopen, (const char* path, const char* how), (path, how), NULL, EMFILE)
FAILS(FILE*, fopen64, (const char* path, const char* how), (path, how), NULL, EMFILE)
FAILS(FILE*, fdopen, (int file, const char* how), (file, how), NULL, ENOMEM)
FAILS(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, size), -1, EIO)
FAILS(int, ftruncate, (int file, off_t size), (file, size), -1, EIO)
FAILS(int, fsync, (int file), (file), -1, EIO)
FAILS(int, rename, (const char* from, const char* to), (from, to), -1, EIO)
FAILS(int, renameat, (int a, const char* from, int b, const char* to), (a, from, b, to), -1, EIO)
FAILS(int, linkat, (int a, const char* from, int b, const char* to, int flags),
      (a, from, b, to, flags), -1, EIO)
FAILS(int, mkdir, (const char* path, mode_t mode), (path, mode), -1, ENOSPC)
FAILS(int, mkdirat, (int folder, const char* path, mode_t mode), (folder, path, mode), -1, ENOSPC)
FAILS(int, flock, (int file, int how), (file, how), -1, ENOLCK)
FAILS(int, fchmod, (int file, mode_t mode), (file, mode), -1, EPERM)
FAILS(int, fchown, (int file, uid_t user, gid_t group), (file, user, group), -1, EPERM)
FAILS(int, stat, (const char* path, struct stat* status), (path, status), -1, EIO)
FAILS(int, lstat, (const char* path, struct stat* status), (path, status), -1, EIO)
FAILS(int, fstat, (int file, struct stat* status), (file, status), -1, EIO)
FAILS(int, fstatat, (int folder, const char* path, struct stat* status, int flags),
      (folder, path, status, flags), -1, EIO)
FAILS(int, poll, (struct pollfd * files, nfds_t count, int limit), (files, count, limit), -1,
      ENOMEM)
FAILS(int, socket, (int domain, int type, int protocol), (domain, type, protocol), -1, EMFILE)
FAILS(int, connect, (int file, __CONST_SOCKADDR_ARG address, socklen_t size), (file, address, size),
      -1, ENETUNREACH)
FAILS(int, pthread_create,
      (pthread_t * thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument),
      (thread, attributes, start, argument), EAGAIN, EAGAIN)

/* Messages on standard error arrive, so that the reason of a failure can be seen. */
ssize_t write(int file, const void* bytes, size_t size) {
    static ssize_t (*next)(int, const void*, size_t);
    if (next == NULL) {
        *(void**)&next = dlsym(RTLD_NEXT, "write");
    }
    if (file != STDERR_FILENO && isDue(2)) {
        errno = ENOSPC;
        return -1;
    }
    return next(file, bytes, size);
}

/* A descriptor is gone, also if its last write turns out to have failed. */
int close(int file) {
    static int (*next)(int);
    if (next == NULL) {
        *(void**)&next = dlsym(RTLD_NEXT, "close");
    }
    const int result = next(file);
    if (isDue(2)) {
        errno = EIO;
        return -1;
    }
    return result;
}
