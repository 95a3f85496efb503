#include "coreservices/FileReference.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace tvplatform {

const char* PathOf(const FSRef* ref) {
    // A reference that was never filled may hold any bytes.
    return ref != nullptr && ref->hidden[0] == '/' &&
                   std::memchr(ref->hidden, '\0', sizeof ref->hidden) != nullptr
               ? reinterpret_cast<const char*>(ref->hidden)
               : nullptr;
}

int MakeReference(const char* path, FSRef& ref) {
    const std::unique_ptr<char, decltype(&std::free)> canonical(realpath(path, nullptr),
                                                                &std::free);
    if (canonical == nullptr) {
        return errno;
    }
    const size_t length = std::strlen(canonical.get());
    if (length >= sizeof ref.hidden) {
        return ENAMETOOLONG;
    }
    ref = {};
    std::memcpy(ref.hidden, canonical.get(), length);
    return 0;
}

}  // namespace tvplatform
