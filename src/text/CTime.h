// A calendar time, held as seconds since 1970-01-01 00:00:00 UTC. It is made from fields of the
// process's local time zone and shown in them. Any thread may use a time while no thread changes
// the environment.
#pragma once

#include "text/CString.h"

#include <ctime>

namespace Tova {

class CTime {
public:
    // Makes the local time with these fields: the full year, month 1 to 12, day 1 to 31. A field
    // outside its range carries over: month 13 is the next January, day 0 is the last of the month
    // before. A time that no value can express becomes -1.
    CTime(int year, int month, int day, int hour, int minute, int second);
    explicit CTime(std::time_t value) : value_(value) {}

    // Returns seconds since the epoch. -1 can also mean a time that could not be expressed.
    std::time_t Value() const { return value_; }

    // Formats the local time as strftime does into `size` bytes, the NUL included. Returns false if
    // the result is empty or does not fit (the buffer is then undefined), or if the value has no
    // local time (the buffer is then unchanged).
    [[gnu::format(strftime, 2, 0)]] bool Format(const char* format, char* buffer,
                                                unsigned int size) const;
    // Formats into `out`, with room for strlen(format) + 99 bytes. Reports no failure: after a
    // longer result, or for a value without a local time, `out` holds what is in its buffer up to
    // the first NUL. `format` must not lie in `out`. Throws std::bad_alloc.
    [[gnu::format(strftime, 2, 0)]] void Format(const char* format, CString& out) const;

    // Stores the broken-down local time. Returns false and leaves `out` unchanged if there is none.
    bool GetTimeComponents(std::tm& out) const;

private:
    std::time_t value_ = -1;
};

}  // namespace Tova
