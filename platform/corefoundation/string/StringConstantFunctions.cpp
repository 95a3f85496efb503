// CFSTR: one string for each text, for ever.
#include "corefoundation/string/String.h"

#include "corefoundation/object/ForkLocks.h"
#include "corefoundation/string/Utf8.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <unordered_map>

namespace tvplatform {

namespace {

struct Constant {
    std::string text;
    String string;
};

// Made on first use, under its lock, and never destroyed.
constinit std::unordered_map<std::string_view, const Constant*>* sByText = nullptr;

// The constants last asked for, by the address of their literals. Nearly every request is for the
// literal of an earlier one, and so needs no lock. The text is compared too, since the memory at an
// address can later hold another text.
constexpr size_t cRecent = 256;
constinit std::array<std::atomic<const Constant*>, cRecent> sRecent{};

std::atomic<const Constant*>& recentAt(const char* text) {
    const auto address = reinterpret_cast<std::uintptr_t>(text);
    return sRecent[(address ^ (address >> 8)) % cRecent];
}

const Constant* intern(const char* text) {
    const std::lock_guard guard(LockOf(ForkLock::Constants));
    if (sByText == nullptr) {
        sByText = new std::unordered_map<std::string_view, const Constant*>;
    }
    if (const auto found = sByText->find(text); found != sByText->end()) {
        return found->second;
    }
    auto units = DecodeUtf8(text);
    if (!units) {
        return nullptr;
    }
    std::unique_ptr<const Constant> made(
        new Constant{text, String(std::move(*units), String::Kind::Constant)});
    sByText->emplace(made->text, made.get());
    return made.release();
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFStringRef __CFStringMakeConstantString(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    auto& recent = recentAt(text);
    const Constant* constant = recent.load(std::memory_order_acquire);
    if (constant == nullptr || constant->text != text) {
        constant = intern(text);
        if (constant == nullptr) {
            return nullptr;
        }
        recent.store(constant, std::memory_order_release);
    }
    return &constant->string;
}
