// Holds what a run loop waits for in one pass: descriptors, and the latest moment to go on. One
// thread at a time may use a set.
#pragma once

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace tvplatform {

using Clock = std::chrono::steady_clock;

class PollSet {
public:
    explicit PollSet(Clock::time_point until) : until_(until) {}

    // `events` has the bits of poll.
    void Add(int descriptor, short events) { descriptors_.push_back({descriptor, events, 0}); }
    // Ends the wait at `moment` at the latest.
    void WaitUntil(Clock::time_point moment) { until_ = std::min(until_, moment); }
    void DoNotWait() { until_ = Clock::time_point::min(); }

    // Waits. Afterwards the `revents` of the descriptors tell what happened. After an interruption
    // by a signal they are all 0.
    void Wait();

    Clock::time_point Until() const { return until_; }
    const std::vector<pollfd>& Descriptors() const { return descriptors_; }

private:
    Clock::time_point until_;
    std::vector<pollfd> descriptors_;
};

}  // namespace tvplatform
