// An e-mail address and the test of its syntax, stricter than the mail standards in some places and
// looser in others. One thread at a time may use an address.
#pragma once

#include "text/CString.h"

namespace Tova {

class CEmailAddress {
public:
    explicit CEmailAddress(const CString& text) : text_(text) {}

    // True for a local part, "@" and a domain with at least one ".". White space, control
    // characters and bytes of 0x80 to 0xFF are nowhere accepted, save an escaped space in quotes.
    // Dots: free in the local part except at its end; in the domain never first, last or doubled.
    // No length limits, no address literals ("[...]").
    bool IsValid() const;

private:
    CString text_;
};

}  // namespace Tova
