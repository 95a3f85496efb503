// The C interface of data.
#include "corefoundation/collection/Data.h"
#include "corefoundation/string/String.h"

#include <cstring>
#include <new>

namespace tvplatform {

namespace {

Data::Bytes* editable(CFMutableDataRef data) {
    Data* object = As<Data>(data);
    return object != nullptr ? object->Mutable() : nullptr;
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFTypeID CFDataGetTypeID() {
    return static_cast<CFTypeID>(TypeId::Data);
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    if (length < 0 || (bytes == nullptr && length > 0)) {
        return nullptr;
    }
    return new Data(length > 0 ? Data::Bytes(bytes, bytes + length) : Data::Bytes(), false);
}

CFDataRef CFDataCreateCopy(CFAllocatorRef, CFDataRef data) {
    const Data* source = As<Data>(data);
    if (source == nullptr) {
        return nullptr;
    }
    if (source->IsMutable()) {
        return new Data(source->Get(), false);
    }
    source->Retain();
    return source;
}

CFMutableDataRef CFDataCreateMutable(CFAllocatorRef, CFIndex) {
    return new Data({}, true);
}

CFMutableDataRef CFDataCreateMutableCopy(CFAllocatorRef, CFIndex, CFDataRef data) {
    const Data* source = As<Data>(data);
    return source != nullptr ? new Data(source->Get(), true) : nullptr;
}

CFIndex CFDataGetLength(CFDataRef data) {
    const Data* object = As<Data>(data);
    return object != nullptr ? static_cast<CFIndex>(object->Get().size()) : 0;
}

const UInt8* CFDataGetBytePtr(CFDataRef data) {
    static constexpr UInt8 cNone[1] = {};
    const Data* object = As<Data>(data);
    if (object == nullptr) {
        return nullptr;
    }
    return object->Get().empty() ? cNone : object->Get().data();
}

UInt8* CFDataGetMutableBytePtr(CFMutableDataRef data) {
    Data::Bytes* bytes = editable(data);
    return bytes != nullptr ? bytes->data() : nullptr;
}

void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer) {
    const Data* object = As<Data>(data);
    if (object != nullptr && buffer != nullptr && range.length > 0 &&
        LiesIn(range, object->Get().size())) {
        std::memcpy(buffer, object->Get().data() + range.location,
                    static_cast<size_t>(range.length));
    }
}

void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length) {
    Data::Bytes* target = editable(data);
    if (target != nullptr && bytes != nullptr && length > 0) {
        target->insert(target->end(), bytes, bytes + length);
    }
}

void CFDataSetLength(CFMutableDataRef data, CFIndex length) {
    Data::Bytes* target = editable(data);
    if (target == nullptr || length < 0) {
        return;
    }
    if (static_cast<size_t>(length) > target->max_size()) {
        throw std::bad_alloc();
    }
    target->resize(static_cast<size_t>(length));
}
