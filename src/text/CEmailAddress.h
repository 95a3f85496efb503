// An e-mail address and the test of its syntax. One thread at a time may use an address.
// Deliberate: the syntax is stricter than the mail standards in some places and looser in others.
#pragma once

#include "text/CString.h"

namespace Tova {

class CEmailAddress {
public:
    explicit CEmailAddress(const CString& text) : text_(text) {}

    // Returns true if the text is a local part, "@" and a domain with at least one ".". It refuses
    // white space, control characters and bytes of 0x80 to 0xFF, but for an escaped space in
    // quotes. A dot may not end the local part; in the domain it may not be first, last or doubled.
    // There is no limit of length. Address literals ("[...]") are refused.
    bool IsValid() const;

private:
    CString text_;
};

}  // namespace Tova
