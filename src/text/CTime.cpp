#include "text/CTime.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

namespace Tova {

CTime::CTime(int year, int month, int day, int hour, int minute, int second) {
    // Months are carried into years here, because neither difference always fits an int.
    constexpr long long cMonths = 12;
    const long long monthsFromJanuary = month - 1LL;
    const long long yearsSince1900 = year - 1900LL + monthsFromJanuary / cMonths;
    if (yearsSince1900 < INT_MIN || yearsSince1900 > INT_MAX) {
        return;
    }
    std::tm fields = {};
    fields.tm_sec = second;
    fields.tm_min = minute;
    fields.tm_hour = hour;
    fields.tm_mday = day;
    fields.tm_mon = static_cast<int>(monthsFromJanuary % cMonths);
    fields.tm_year = static_cast<int>(yearsSince1900);
    fields.tm_isdst = -1;  // the C library decides about daylight saving time
    value_ = std::mktime(&fields);
}

bool CTime::GetTimeComponents(std::tm& out) const {
    // localtime reads the zone each time; localtime_r does not have to.
    tzset();
    std::tm fields = {};
    if (localtime_r(&value_, &fields) == nullptr) {
        return false;
    }
    out = fields;
    return true;
}

// The format is the caller's; the compiler checked it there if it is a literal.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

bool CTime::Format(const char* format, char* buffer, unsigned int size) const {
    std::tm fields = {};
    return GetTimeComponents(fields) && std::strftime(buffer, size, format, &fields) != 0;
}

void CTime::Format(const char* format, CString& out) const {
    constexpr std::size_t cReserve = 100;
    const std::size_t size = std::strlen(format) + cReserve;
    if (size > INT_MAX) {
        throw std::bad_alloc();
    }
    char* buffer = out.Lock(static_cast<int>(size));
    // The bytes behind the old text were never set, and not every C library ends a result that does
    // not fit.
    const std::size_t used = std::min(static_cast<std::size_t>(out.Length()), size);
    std::memset(buffer + used, 0, size - used);
    Format(format, buffer, static_cast<unsigned int>(size));
    buffer[size - 1] = '\0';
    out.Unlock();
}

#pragma GCC diagnostic pop

}  // namespace Tova
