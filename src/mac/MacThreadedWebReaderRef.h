// Owns one reference on a platform object, which it takes over. One thread at a time.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <type_traits>

struct MacThreadedWebReaderReleaser {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};

template <class T>
using MacThreadedWebReaderRef =
    std::unique_ptr<std::remove_pointer_t<T>, MacThreadedWebReaderReleaser>;
