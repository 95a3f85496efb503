// The C interface of data.
#include "corefoundation/collection/Data.h"

using namespace tvplatform;

CFTypeID CFDataGetTypeID() {
    return static_cast<CFTypeID>(TypeId::Data);
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    if (length < 0 || (bytes == nullptr && length > 0)) {
        return nullptr;
    }
    return new Data(length > 0 ? Data::Bytes(bytes, bytes + length) : Data::Bytes());
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
