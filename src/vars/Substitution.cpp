#include "vars/Substitution.h"

#include <cstring>

namespace Tova {

void Assign(CString& text, std::string_view bytes) {
    if (bytes.size() >= INT_MAX) {
        throw std::bad_alloc();
    }
    char* buffer = text.Lock(static_cast<int>(bytes.size()) + 1);
    std::memcpy(buffer, bytes.data(), bytes.size());
    buffer[bytes.size()] = '\0';
    text.Unlock();
}

CFRef<CFStringRef> MakeCFString(const char* text) {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, text, CFStringGetSystemEncoding()));
}

}  // namespace Tova
