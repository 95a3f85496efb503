#include "cfnetwork/module/CurlGate.h"

namespace tvplatform {

struct CurlGate::State {
    std::mutex lock;
    std::condition_variable changed;
    int inside = 0;
    bool isClosed = false;
    bool isShut = false;
};

CurlGate::CurlGate() : state_(new State) {}

CurlGate::Visit::Visit() : state_(*Only().state_) {
    std::unique_lock guard(state_.lock);
    state_.changed.wait(guard, [this] { return !state_.isClosed; });
    ++state_.inside;
    isShut_ = state_.isShut;
}

CurlGate::Visit::~Visit() {
    if (!isShut_ && Only().leave_ != nullptr) {
        Only().leave_();
    }
    const std::lock_guard guard(state_.lock);
    --state_.inside;
    state_.changed.notify_all();
}

void CurlGate::Close() {
    State& state = *state_;
    std::unique_lock guard(state.lock);
    state.changed.wait(guard, [&] { return !state.isClosed; });
    state.isClosed = true;
    state.changed.wait(guard, [&] { return state.inside == 0; });
}

void CurlGate::Open() {
    State& state = *state_;
    const std::lock_guard guard(state.lock);
    state.isClosed = false;
    state.changed.notify_all();
}

void CurlGate::ShutForGood() {
    State& state = *state_;
    const std::lock_guard guard(state.lock);
    state.isShut = true;
}

// The old state is left behind: its condition may have the parent's threads waiting in it.
void CurlGate::Renew() {
    state_ = new State;
}

}  // namespace tvplatform
