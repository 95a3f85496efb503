#include "corefoundation/collection/Number.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <type_traits>

namespace tvplatform {

namespace {

// 2 to the power of 63: the first double that is too large for an int64.
constexpr double cBeyondInt64 = 9223372036854775808.0;

// The whole part as an integer, or nothing if it is out of range, as not-a-number always is.
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

// The kind of value that holds a number of type T.
template <class T>
using Kept = std::conditional_t<std::is_floating_point_v<T>, double, std::int64_t>;

// Stores the number of type T that is nearest to `value`. Returns true if it is equal.
template <class T, class Value>
bool store(Value value, void* out) {
    constexpr T cLeast = std::numeric_limits<T>::lowest();
    constexpr T cMost = std::numeric_limits<T>::max();
    T nearest{};
    if (std::is_floating_point_v<T> && (std::is_integral_v<Value> || !std::isfinite(value))) {
        nearest = static_cast<T>(value);
    } else if (!std::isnan(value)) {
        nearest = compareValues(value, Kept<T>{cLeast}) <= 0  ? cLeast
                  : compareValues(value, Kept<T>{cMost}) >= 0 ? cMost
                                                              : static_cast<T>(value);
    }
    std::memcpy(out, &nearest, sizeof nearest);
    return compareValues(value, Kept<T>{nearest}) == 0;
}

// The integer types are numbered by the logarithm of their size.
constexpr CFNumberType integerType(size_t bytes) {
    return kCFNumberSInt8Type + std::countr_zero(bytes);
}

// The type of fixed width behind each type, by number.
constexpr CFNumberType cFixedTypes[] = {0,
                                        1,
                                        2,
                                        3,
                                        4,
                                        5,
                                        6,
                                        integerType(sizeof(char)),
                                        integerType(sizeof(short)),
                                        integerType(sizeof(int)),
                                        integerType(sizeof(long)),
                                        integerType(sizeof(long long)),
                                        kCFNumberFloat32Type,
                                        kCFNumberFloat64Type,
                                        integerType(sizeof(CFIndex)),
                                        integerType(sizeof(long)),
                                        sizeof(void*) == 4 ? kCFNumberFloat32Type
                                                           : kCFNumberFloat64Type};
static_assert(std::size(cFixedTypes) == kCFNumberMaxType + 1);

// Returns the type of fixed width that `type` means on this machine, or 0 if it is unknown.
CFNumberType fixedTypeOf(CFNumberType type) {
    return type > 0 && type <= kCFNumberMaxType ? cFixedTypes[type] : 0;
}

// Calls `use` with a value of the C++ type behind a type of fixed width, and returns its result.
// Returns false for 0.
template <class Use>
bool withFixedType(CFNumberType fixedType, Use use) {
    switch (fixedType) {
    case kCFNumberSInt8Type:
        return use(std::int8_t{});
    case kCFNumberSInt16Type:
        return use(std::int16_t{});
    case kCFNumberSInt32Type:
        return use(std::int32_t{});
    case kCFNumberSInt64Type:
        return use(std::int64_t{});
    case kCFNumberFloat32Type:
        return use(float{});
    case kCFNumberFloat64Type:
        return use(double{});
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

bool __CFNumber::Store(CFNumberType type, void* value) const {
    return std::visit(
        [&](auto stored) {
            return withFixedType(fixedTypeOf(type),
                                 [&](auto typed) { return store<decltype(typed)>(stored, value); });
        },
        value_);
}

namespace tvplatform {

Number* MakeNumber(CFNumberType type, const void* value) {
    Number* made = nullptr;
    const CFNumberType fixedType = fixedTypeOf(type);
    withFixedType(fixedType, [&](auto loaded) {
        std::memcpy(&loaded, value, sizeof loaded);
        made = new Number(fixedType, Kept<decltype(loaded)>{loaded});
        return true;
    });
    return made;
}

}  // namespace tvplatform
