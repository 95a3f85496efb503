#include "corefoundation/collection/Number.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <string_view>

namespace tvplatform {

namespace {

constinit const Immortal<Boolean_> sTrue(true);
constinit const Immortal<Boolean_> sFalse(false);

// 2 to the power of 63: the first double that is too large for an int64.
constexpr double cBeyondInt64 = 9223372036854775808.0;

// The whole part as an integer when it is in range; not-a-number never is.
std::optional<std::int64_t> wholePart(double value) {
    return value >= -cBeyondInt64 && value < cBeyondInt64
               ? std::optional(static_cast<std::int64_t>(value))
               : std::nullopt;
}

int sign(double value) {
    return (value > 0) - (value < 0);
}

int compareValues(std::int64_t a, std::int64_t b) {
    return (a > b) - (a < b);
}

// Not-a-number comes first.
int compareValues(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) {
        return static_cast<int>(std::isnan(b)) - static_cast<int>(std::isnan(a));
    }
    return (a > b) - (a < b);
}

int compareValues(std::int64_t a, double b) {
    if (const auto whole = wholePart(b)) {
        const int order = compareValues(a, *whole);
        return order != 0 ? order : -sign(b - std::trunc(b));
    }
    return b > 0 ? -1 : 1;
}

int compareValues(double a, std::int64_t b) {
    return -compareValues(b, a);
}

template <class T>
bool storeAs(T value, void* out, bool exact) {
    std::memcpy(out, &value, sizeof value);
    return exact;
}

template <class T>
requires std::is_integral_v<T>
bool store(std::int64_t value, void* out) {
    using Limits = std::numeric_limits<T>;
    const std::int64_t nearest = value < Limits::min()   ? Limits::min()
                                 : value > Limits::max() ? Limits::max()
                                                         : value;
    return storeAs(static_cast<T>(nearest), out, nearest == value);
}

template <class T>
requires std::is_integral_v<T>
bool store(double value, void* out) {
    if (std::isnan(value)) {
        return storeAs(T{0}, out, false);
    }
    const auto whole = wholePart(value);
    const std::int64_t nearest = whole       ? *whole
                                 : value > 0 ? std::numeric_limits<std::int64_t>::max()
                                             : std::numeric_limits<std::int64_t>::min();
    const bool exact = whole && std::trunc(value) == value;
    return store<T>(nearest, out) && exact;
}

template <class T>
requires std::is_floating_point_v<T>
bool store(std::int64_t value, void* out) {
    const auto nearest = static_cast<T>(value);
    return storeAs(nearest, out, compareValues(value, static_cast<double>(nearest)) == 0);
}

template <class T>
requires std::is_floating_point_v<T>
bool store(double value, void* out) {
    constexpr double cLargest = std::numeric_limits<T>::max();
    if (std::isfinite(value) && std::abs(value) > cLargest) {
        return storeAs(static_cast<T>(std::copysign(cLargest, value)), out, false);
    }
    const auto nearest = static_cast<T>(value);
    return storeAs(nearest, out, compareValues(value, static_cast<double>(nearest)) == 0);
}

CFNumberType integerType(size_t bytes) {
    switch (bytes) {
    case 1:
        return kCFNumberSInt8Type;
    case 2:
        return kCFNumberSInt16Type;
    case 4:
        return kCFNumberSInt32Type;
    default:
        return kCFNumberSInt64Type;
    }
}

// The type of fixed width that is meant by `type` here; 0 for an unknown one.
CFNumberType fixedTypeOf(CFNumberType type) {
    switch (type) {
    case kCFNumberCharType:
        return integerType(sizeof(char));
    case kCFNumberShortType:
        return integerType(sizeof(short));
    case kCFNumberIntType:
        return integerType(sizeof(int));
    case kCFNumberLongType:
    case kCFNumberCFIndexType:
    case kCFNumberNSIntegerType:
        return integerType(sizeof(long));
    case kCFNumberLongLongType:
        return integerType(sizeof(long long));
    case kCFNumberFloatType:
        return kCFNumberFloat32Type;
    case kCFNumberDoubleType:
        return kCFNumberFloat64Type;
    case kCFNumberCGFloatType:
        return sizeof(void*) == 4 ? kCFNumberFloat32Type : kCFNumberFloat64Type;
    default:
        return type >= kCFNumberSInt8Type && type <= kCFNumberFloat64Type ? type : 0;
    }
}

template <class T>
T Load(const void* value) {
    T loaded;
    std::memcpy(&loaded, value, sizeof loaded);
    return loaded;
}

std::optional<Number::Value> loadValue(CFNumberType fixedType, const void* value) {
    switch (fixedType) {
    case kCFNumberSInt8Type:
        return Load<std::int8_t>(value);
    case kCFNumberSInt16Type:
        return Load<std::int16_t>(value);
    case kCFNumberSInt32Type:
        return Load<std::int32_t>(value);
    case kCFNumberSInt64Type:
        return Load<std::int64_t>(value);
    case kCFNumberFloat32Type:
        return static_cast<double>(Load<float>(value));
    case kCFNumberFloat64Type:
        return Load<double>(value);
    default:
        return std::nullopt;
    }
}

template <class Stored>
bool storeFixed(Stored stored, CFNumberType fixedType, void* value) {
    switch (fixedType) {
    case kCFNumberSInt8Type:
        return store<std::int8_t>(stored, value);
    case kCFNumberSInt16Type:
        return store<std::int16_t>(stored, value);
    case kCFNumberSInt32Type:
        return store<std::int32_t>(stored, value);
    case kCFNumberSInt64Type:
        return store<std::int64_t>(stored, value);
    case kCFNumberFloat32Type:
        return store<float>(stored, value);
    case kCFNumberFloat64Type:
        return store<double>(stored, value);
    default:
        return false;
    }
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

int __CFNumber::Compare(const __CFNumber& other) const {
    return std::visit([](auto a, auto b) { return compareValues(a, b); }, value_, other.value_);
}

bool __CFNumber::Equal(const Object& other) const {
    return Compare(static_cast<const __CFNumber&>(other)) == 0;
}

// A whole floating-point number has the hash of the integer that equals it.
CFHashCode __CFNumber::Hash() const {
    if (const auto* integer = std::get_if<std::int64_t>(&value_)) {
        return std::hash<std::int64_t>()(*integer);
    }
    const double value = std::get<double>(value_);
    if (std::isnan(value)) {
        return 0;
    }
    const auto whole = wholePart(value);
    return whole && std::trunc(value) == value ? std::hash<std::int64_t>()(*whole)
                                               : std::hash<double>()(value);
}

std::u16string __CFNumber::Description() const {
    char text[32];
    const auto end = std::visit(
        [&](auto value) { return std::to_chars(text, text + sizeof text, value).ptr; }, value_);
    return std::u16string(text, end);
}

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
    const CFNumberType fixedType = fixedTypeOf(type);
    const auto loaded = value != nullptr ? loadValue(fixedType, value) : std::nullopt;
    return loaded ? new Number(fixedType, *loaded) : nullptr;
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    const Number* object = As<Number>(number);
    return object != nullptr ? object->FixedType() : 0;
}

CFIndex CFNumberGetByteSize(CFNumberRef number) {
    constexpr CFIndex cSizes[] = {0, 1, 2, 4, 8, 4, 8};
    return cSizes[CFNumberGetType(number)];
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    const Number* object = As<Number>(number);
    return object != nullptr && std::holds_alternative<double>(object->Get());
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    const Number* object = As<Number>(number);
    if (object == nullptr || value == nullptr) {
        return false;
    }
    return std::visit([&](auto stored) { return storeFixed(stored, fixedTypeOf(type), value); },
                      object->Get());
}

CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void*) {
    const Number* a = As<Number>(number);
    const Number* b = As<Number>(other);
    const int order = a != nullptr && b != nullptr
                          ? a->Compare(*b)
                          : static_cast<int>(a != nullptr) - static_cast<int>(b != nullptr);
    return order < 0 ? kCFCompareLessThan : order > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}
