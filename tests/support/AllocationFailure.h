// Makes one allocation of the C++ heap fail, or all. The header replaces operator new, so exactly
// one source of a test program includes it.
#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

namespace tvtest {

// While such an object lives, allocation number n (from 0) on this thread throws std::bad_alloc,
// and the others succeed. Only one may live at a time.
class FailAllocation {
public:
    explicit FailAllocation(int n) { sLeft = n + 1; }
    ~FailAllocation() { sLeft = 0; }
    FailAllocation(const FailAllocation&) = delete;
    FailAllocation& operator=(const FailAllocation&) = delete;

    // Returns true once the allocation has failed.
    bool HasFailed() const { return sLeft == 0; }

    // From now on no thread gets any memory.
    static void FailAll() { sFailsAll = true; }

    static bool IsDue() { return sFailsAll || (sLeft > 0 && --sLeft == 0); }

private:
    static inline std::atomic<bool> sFailsAll{false};
    static inline thread_local int sLeft = 0;
};

}  // namespace tvtest

// NOLINTBEGIN(misc-definitions-in-headers): these functions may not be inline.
// They are not inlined, because a compiler that sees only one of a pair takes it for mismatched.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return tvtest::FailAllocation::IsDue() ? nullptr : std::malloc(size != 0 ? size : 1);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* memory = operator new(size, std::nothrow);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
// The array forms come down to these, unless a sanitizer has some of its own.
[[gnu::noinline]] void* operator new[](std::size_t size) {
    return operator new(size);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
// NOLINTEND(misc-definitions-in-headers)
