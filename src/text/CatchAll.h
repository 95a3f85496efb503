// A guard for code that drops every exception. Any thread may use it.
#pragma once

#include <utility>

#if __has_include(<cxxabi.h>)
#include <cxxabi.h>
#endif

namespace Tova {

// Runs `body` and drops every exception. Returns false if it threw. The cancellation of a thread
// passes through, because catching it would end the process. (The C++ library unwinds for it with
// an exception that is no object. The attribute permits binding it, if the function is not
// inlined.)
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
