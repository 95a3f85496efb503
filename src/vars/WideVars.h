// The variables of a list in UTF-16, and their substitution into a text. One thread at a time may
// use an object.
#pragma once

#include "vars/CVarList.h"
#include "vars/NameIndex.h"
#include "vars/Substitution.h"

#include <CoreFoundation/CoreFoundation.h>

#include <bitset>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

namespace Tova {

// The UTF-16 units of a platform string, and the string of such units. The latter throws
// std::bad_alloc if memory runs out.
std::u16string UnitsOf(CFStringRef string);
CFRef<CFStringRef> StringOfUnits(std::u16string_view units);

struct WideVar {
    std::u16string_view NameView() const { return name; }
    std::u16string_view ValueView() const { return value; }
    bool ValueHolds(char16_t c) const { return value.find(c) != value.npos; }

    std::u16string_view name;
    std::u16string_view value;
    const CVar* var;
};

class WideVars {
public:
    // Copies names and values; the list must outlive the object and stay as it is. Leaves out each
    // variable whose name or value is not valid in the system encoding.
    explicit WideVars(const CVarList& list);
    WideVars(const WideVars&) = delete;
    WideVars& operator=(const WideVars&) = delete;

    // Returns true if the object holds what the constructor would make of the unchanged list now.
    bool IsCurrent() const { return encoding_ == CFStringGetSystemEncoding(); }
    // The variables in the order of the list.
    const std::vector<WideVar>& All() const { return vars_; }
    // Returns the first variable of this name, or null.
    const WideVar* Find(std::u16string_view name) const {
        return index_.Find(name, HashName(name));
    }
    // Returns true if one scan gives the result of the passes: the delimiters differ, no name holds
    // one of them, and no two names read the same.
    bool ScanServes(char16_t open, char16_t close) const;

private:
    // Returns a copy of the string's units, which lives as long as the object.
    std::u16string_view Keep(CFStringRef string);

    CFStringEncoding encoding_;
    std::pmr::monotonic_buffer_resource texts_;
    std::vector<WideVar> vars_;
    NameIndex<const WideVar, char16_t> index_;
    bool areNamesUnique_ = true;
    // The lower byte of every unit that occurs in some name.
    std::bitset<256> lowBytes_;
};

// Goes over all variables in their order, again and again, until a pass replaces nothing. This
// defines what a substitution is. Returns the number of replacements. A circle never ends.
template <class Observer>
unsigned SubstituteInPasses(std::u16string& text, char16_t open, char16_t close,
                            const WideVars& vars, Observer& observer) {
    unsigned total = 0;
    for (unsigned before = ~0U; before != total;) {
        if (text.find(open) == text.npos || text.find(close) == text.npos) {
            break;
        }
        before = total;
        for (const WideVar& var : vars.All()) {
            const std::u16string placeholder = open + std::u16string(var.name) + close;
            total += ReplaceAll<char16_t>(text, placeholder, var, observer);
            observer.EndPass(text.size());
        }
    }
    return total;
}

// Appends `text` with the variables substituted to `out`, which is empty, and returns the number of
// replacements. Uses one scan if that serves, and passes otherwise.
template <class Observer>
unsigned Substitute(std::u16string_view text, char16_t open, char16_t close, const WideVars& vars,
                    ScanOutput<char16_t>& out, Observer& observer) {
    if (vars.ScanServes(open, close)) {
        // Without a circle no value is open inside itself.
        const std::size_t maxDepth =
            Observer::cEndsCircles ? static_cast<std::size_t>(-1) : vars.All().size() + 1;
        const auto find = [&vars](std::u16string_view name) { return vars.Find(name); };
        out.ReserveFor(text.size());
        if (const auto count =
                SubstituteInOneScan(text, open, close, maxDepth, find, out, observer)) {
            return *count;
        }
        out.CutTo(0);
    }
    std::u16string changed(text);
    observer.Append(text.data(), text.size(), {});
    const unsigned count = SubstituteInPasses(changed, open, close, vars, observer);
    out.Append(changed);
    return count;
}

}  // namespace Tova
