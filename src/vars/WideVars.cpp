#include "vars/WideVars.h"

#include <algorithm>

namespace Tova {

namespace {

// UniChar and char16_t look the same, and the platform does no more than copy them.
static_assert(sizeof(UniChar) == sizeof(char16_t));

bool holds(std::u16string_view name, char16_t unit) {
    return name.find(unit) != name.npos;
}

}  // namespace

std::u16string UnitsOf(CFStringRef string) {
    std::u16string units(static_cast<std::size_t>(CFStringGetLength(string)), u'\0');
    CFStringGetCharacters(string, CFRangeMake(0, static_cast<CFIndex>(units.size())),
                          reinterpret_cast<UniChar*>(units.data()));
    return units;
}

CFRef<CFStringRef> StringOfUnits(std::u16string_view units) {
    CFRef<CFStringRef> made(CFStringCreateWithCharacters(
        kCFAllocatorDefault, reinterpret_cast<const UniChar*>(units.data()),
        static_cast<CFIndex>(units.size())));
    if (!made) {
        throw std::bad_alloc();
    }
    return made;
}

WideVars::WideVars(const CVarList& list) : encoding_(CFStringGetSystemEncoding()) {
    for (const CVar* var = list.First(); var != nullptr; var = var->Next()) {
        const CFRef<CFStringRef> name = MakeCFString(var->Name());
        const CFRef<CFStringRef> value = MakeCFString(var->Value());
        if (name && value) {
            vars_.push_back({Keep(name.Get()), Keep(value.Get()), var});
        }
    }
    // The index refers to the variables, so it is made when they no longer move.
    index_.Reserve(std::max<std::size_t>(vars_.size(), 1), [](auto) {});
    for (const WideVar& var : vars_) {
        const std::uint64_t hash = HashName(var.name);
        if (index_.Find(var.name, hash) != nullptr) {
            areNamesUnique_ = false;
            continue;
        }
        index_.Insert(var, hash);
        for (const char16_t unit : var.name) {
            lowBytes_.set(unit & 0xFF);
        }
    }
}

std::u16string_view WideVars::Keep(CFStringRef string) {
    const auto count = static_cast<std::size_t>(CFStringGetLength(string));
    auto* units =
        static_cast<char16_t*>(texts_.allocate(count * sizeof(char16_t), alignof(char16_t)));
    CFStringGetCharacters(string, CFRangeMake(0, static_cast<CFIndex>(count)),
                          reinterpret_cast<UniChar*>(units));
    return {units, count};
}

bool WideVars::ScanServes(char16_t open, char16_t close) const {
    if (open == close || !areNamesUnique_) {
        return false;
    }
    if (!lowBytes_.test(open & 0xFF) && !lowBytes_.test(close & 0xFF)) {
        return true;
    }
    return std::none_of(vars_.begin(), vars_.end(), [&](const WideVar& var) {
        return holds(var.name, open) || holds(var.name, close);
    });
}

}  // namespace Tova
