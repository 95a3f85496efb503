// Decides which threads may be inside libcurl. Exit handlers and destructors take it and the
// libraries below it down. So every use of them is a visit through this gate, which the module
// shuts before that.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace tvplatform {

class CurlGate {
    struct State;

public:
    // Returns the one gate. It is never destroyed, because threads may come at any time.
    static CurlGate& Only() {
        static CurlGate& gate = *new CurlGate;
        return gate;
    }

    // A stay inside. The constructor waits while the gate is closed. The visit is false if the gate
    // is shut for good: libcurl must be left alone then.
    class Visit {
    public:
        Visit();
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;
        explicit operator bool() const { return !isShut_; }

    private:
        State& state_;
        bool isShut_;
    };

    // Keeps new visits waiting, and waits for those inside to end.
    void Close();
    void Open();
    // The gate must be closed.
    void ShutForGood();
    // Sets what a visitor does last, inside. It is called before the first visit.
    void SetLeave(void (*leave)()) { leave_ = leave; }
    // Makes an open gate in a forked child, in which the other visitors do not exist.
    void Renew();

private:
    CurlGate();

    void (*leave_)() = nullptr;
    // Replaced only while there is one thread.
    std::atomic<State*> state_;
};

}  // namespace tvplatform
