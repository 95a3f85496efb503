// The C interface of arrays.
#include "corefoundation/collection/Array.h"

#include <memory>

using namespace tvplatform;

constinit const CFArrayCallBacks kCFTypeArrayCallBacks = {0, RetainMember, ReleaseMember,
                                                          CFCopyDescription, CFEqual};

CFTypeID CFArrayGetTypeID() {
    return static_cast<CFTypeID>(TypeId::Array);
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks) {
    if (count < 0 || (values == nullptr && count > 0)) {
        return nullptr;
    }
    auto array = std::make_unique<Array>(callBacks, false);
    for (CFIndex i = 0; i < count; ++i) {
        if (!array->Append(values[i])) {
            return nullptr;
        }
    }
    return array.release();
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks* callBacks) {
    return new Array(callBacks, true);
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    const Array* object = As<Array>(array);
    return object != nullptr ? static_cast<CFIndex>(object->Values().size()) : 0;
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    return index >= 0 && index < CFArrayGetCount(array)
               ? As<Array>(array)->Values()[static_cast<size_t>(index)]
               : nullptr;
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value) {
    if (Array* object = AsMutable<Array>(array)) {
        object->Append(value);
    }
}

void CFArrayRemoveAllValues(CFMutableArrayRef array) {
    if (Array* object = AsMutable<Array>(array)) {
        object->Clear();
    }
}
