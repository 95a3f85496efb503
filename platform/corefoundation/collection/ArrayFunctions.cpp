// The C interface of arrays.
#include "corefoundation/collection/Array.h"
#include "corefoundation/string/String.h"

#include <algorithm>
#include <memory>

namespace tvplatform {

namespace {

// A copy of what is in `source`; null when a value is not to be stored.
std::unique_ptr<Array> makeArray(const void* const* values, size_t count,
                                 const CFArrayCallBacks* callBacks, bool isMutable) {
    auto array = std::make_unique<Array>(callBacks, isMutable);
    for (size_t i = 0; i < count; ++i) {
        if (!array->Insert(i, values[i])) {
            return nullptr;
        }
    }
    return array;
}

Array* copyOf(const Array& source, bool isMutable) {
    return makeArray(source.Values().data(), source.Values().size(), &source.CallBacks(), isMutable)
        .release();
}

Array* editable(CFMutableArrayRef array) {
    Array* object = As<Array>(array);
    return object != nullptr && object->IsMutable() ? object : nullptr;
}

}  // namespace
}  // namespace tvplatform

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
    return makeArray(values, static_cast<size_t>(count), callBacks, false).release();
}

CFArrayRef CFArrayCreateCopy(CFAllocatorRef, CFArrayRef array) {
    const Array* source = As<Array>(array);
    if (source == nullptr) {
        return nullptr;
    }
    if (source->IsMutable()) {
        return copyOf(*source, false);
    }
    source->Retain();
    return source;
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks* callBacks) {
    return new Array(callBacks, true);
}

CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef, CFIndex, CFArrayRef array) {
    const Array* source = As<Array>(array);
    return source != nullptr ? copyOf(*source, true) : nullptr;
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    const Array* object = As<Array>(array);
    return object != nullptr ? static_cast<CFIndex>(object->Values().size()) : 0;
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    const Array* object = As<Array>(array);
    return object != nullptr && LiesIn({index, 1}, object->Values().size())
               ? object->Values()[static_cast<size_t>(index)]
               : nullptr;
}

void CFArrayGetValues(CFArrayRef array, CFRange range, const void** values) {
    const Array* object = As<Array>(array);
    if (object != nullptr && values != nullptr && LiesIn(range, object->Values().size())) {
        std::copy_n(object->Values().begin() + range.location, range.length, values);
    }
}

Boolean CFArrayContainsValue(CFArrayRef array, CFRange range, const void* value) {
    return CFArrayGetFirstIndexOfValue(array, range, value) != kCFNotFound;
}

CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef array, CFRange range, const void* value) {
    const Array* object = As<Array>(array);
    if (object == nullptr || !LiesIn(range, object->Values().size())) {
        return kCFNotFound;
    }
    const auto begin = static_cast<size_t>(range.location);
    const size_t end = begin + static_cast<size_t>(range.length);
    const size_t found = object->Find(begin, end, value);
    return found != end ? static_cast<CFIndex>(found) : kCFNotFound;
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value) {
    CFArrayInsertValueAtIndex(array, CFArrayGetCount(array), value);
}

void CFArrayInsertValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value) {
    Array* object = editable(array);
    if (object != nullptr && LiesIn({index, 0}, object->Values().size())) {
        object->Insert(static_cast<size_t>(index), value);
    }
}

void CFArraySetValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value) {
    Array* object = editable(array);
    if (object != nullptr && LiesIn({index, 1}, object->Values().size())) {
        object->Set(static_cast<size_t>(index), value);
    } else {
        // Only at the end: other places are out of range for this too, or in range above.
        CFArrayInsertValueAtIndex(array, index, value);
    }
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index) {
    Array* object = editable(array);
    if (object != nullptr && LiesIn({index, 1}, object->Values().size())) {
        object->Remove(static_cast<size_t>(index));
    }
}

void CFArrayRemoveAllValues(CFMutableArrayRef array) {
    if (Array* object = editable(array)) {
        object->Clear();
    }
}
