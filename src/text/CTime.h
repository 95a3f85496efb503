// A calendar time: seconds since 1970-01-01 00:00:00 UTC, made from and shown in the process's
// local time zone. A value; any thread, as long as nobody changes the environment meanwhile.
#pragma once

#include "text/CString.h"

#include <ctime>

namespace Tova {

class CTime {
public:
    // The local time with these fields: the full year, month 1 to 12, day 1 to 31. Fields outside
    // their range carry over (month 13 is the next January, day 0 the last of the month before).
    // What no time value can express becomes -1.
    CTime(int year, int month, int day, int hour, int minute, int second);
    explicit CTime(std::time_t value) : value_(value) {}

    // Seconds since the epoch; -1 also stands for a time that could not be expressed.
    std::time_t Value() const { return value_; }

    // Formats the local time as strftime does into `size` bytes, the NUL included. False when that
    // leaves the buffer empty or does not fit (its contents are then undefined), and when the value
    // has no local time (the buffer is then untouched).
    [[gnu::format(strftime, 2, 0)]] bool Format(const char* format, char* buffer,
                                                unsigned int size) const;
    // The same into `out`, with room for strlen(format) + 99 bytes. Nothing reports a longer result
    // or a value without a local time; `out` then holds what was left in its buffer, up to the
    // first NUL. `format` must not lie in `out`. Throws std::bad_alloc.
    [[gnu::format(strftime, 2, 0)]] void Format(const char* format, CString& out) const;

    // The broken-down local time; false, with `out` untouched, when the value has none.
    bool GetTimeComponents(std::tm& out) const;

private:
    std::time_t value_ = -1;
};

}  // namespace Tova
