// Who may be inside libcurl. The TLS library below it is taken down by an exit handler of its own,
// so every use of the two is a visit through this gate, which the module shuts before that.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace tvplatform {

class CurlGate {
    struct State;

public:
    // The one gate. Never destroyed: threads may come at any time.
    static CurlGate& Only() {
        static CurlGate& gate = *new CurlGate;
        return gate;
    }

    // A stay inside, which waits while the gate is closed. True unless the gate is shut for good;
    // then libcurl must be left alone.
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
    // For a closed gate.
    void ShutForGood();
    // What a visitor does last, inside. Before the first visit.
    void SetLeave(void (*leave)()) { leave_ = leave; }
    // In a forked child, whose other threads, inside or waiting, do not exist: an open gate.
    void Renew();

private:
    CurlGate();

    void (*leave_)() = nullptr;
    // Replaced only while there is one thread.
    std::atomic<State*> state_;
};

}  // namespace tvplatform
