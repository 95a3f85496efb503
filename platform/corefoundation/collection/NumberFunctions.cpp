// The C interface of numbers and Booleans.
#include "corefoundation/collection/Number.h"

using namespace tvplatform;

namespace {

constinit const Immortal<Boolean_> sTrue(true);
constinit const Immortal<Boolean_> sFalse(false);

}  // namespace

constinit const CFBooleanRef kCFBooleanTrue = &sTrue.object;
constinit const CFBooleanRef kCFBooleanFalse = &sFalse.object;

CFTypeID CFBooleanGetTypeID() {
    return static_cast<CFTypeID>(TypeId::Boolean_);
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    const Boolean_* object = As<Boolean_>(boolean);
    return object != nullptr && object->Get();
}

CFTypeID CFNumberGetTypeID() {
    return static_cast<CFTypeID>(TypeId::Number);
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
    return value != nullptr ? MakeNumber(type, value) : nullptr;
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    const Number* object = As<Number>(number);
    return object != nullptr ? object->FixedType() : 0;
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    const Number* object = As<Number>(number);
    return object != nullptr && std::holds_alternative<double>(object->Get());
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    const Number* object = As<Number>(number);
    return object != nullptr && value != nullptr && object->Store(type, value);
}

CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void*) {
    const Number* a = As<Number>(number);
    const Number* b = As<Number>(other);
    const int order = a != nullptr && b != nullptr
                          ? a->Compare(*b)
                          : static_cast<int>(a != nullptr) - static_cast<int>(b != nullptr);
    return order < 0 ? kCFCompareLessThan : order > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}
