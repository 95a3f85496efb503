#include "vars/Substitution.h"

#include <cstring>

namespace Tova {

void Assign(CString& text, std::string_view bytes) {
    if (bytes.size() >= INT_MAX) {
        throw std::bad_alloc();
    }
    text.Clear();  // so that nothing is copied if the buffer has to grow
    std::memcpy(text.Extend(static_cast<int>(bytes.size())), bytes.data(), bytes.size());
}

CFRef<CFStringRef> MakeCFString(const char* text) {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, text, CFStringGetSystemEncoding()));
}

}  // namespace Tova
