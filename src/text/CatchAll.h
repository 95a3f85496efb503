// For the places that drop every exception.
#pragma once

#include <utility>

#if __has_include(<cxxabi.h>)
#include <cxxabi.h>
#endif

namespace Tova {

// Runs `body` and drops whatever it throws; false when it threw. Thread cancellation, where the C++
// library unwinds for it with an exception of its own, passes through: swallowing it would end the
// process. (That exception is no object, and binding it is what the attribute permits, as long as
// the function is not made part of its caller.)
template <class Body>
__attribute__((no_sanitize("null"), noinline)) bool CatchAll(Body&& body) {
    try {
        std::forward<Body>(body)();
        return true;
#ifdef __GLIBCXX__
    } catch (const abi::__forced_unwind&) {
        throw;
#endif
    } catch (...) {
        return false;
    }
}

}  // namespace Tova
