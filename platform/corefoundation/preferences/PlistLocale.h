// Numbers in property lists have a decimal point, whatever the application's locale.
#pragma once

#include <locale.h>

namespace tvplatform {

// While it lives, this thread is in the "C" locale.
class PlistLocale {
public:
    PlistLocale() : old_(uselocale(C())) {}
    ~PlistLocale() { uselocale(old_); }
    PlistLocale(const PlistLocale&) = delete;
    PlistLocale& operator=(const PlistLocale&) = delete;

private:
    // Made once and kept; without it (no memory) the thread's own locale stays.
    static locale_t C() {
        static const locale_t sLocale = newlocale(LC_ALL_MASK, "C", nullptr);
        return sLocale;
    }

    const locale_t old_;
};

}  // namespace tvplatform
