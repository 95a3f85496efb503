#include "corefoundation/collection/Collection.h"

namespace tvplatform {

const void* RetainMember(CFAllocatorRef, const void* member) {
    return CFRetain(member);
}
void ReleaseMember(CFAllocatorRef, const void* member) {
    CFRelease(member);
}

}  // namespace tvplatform
