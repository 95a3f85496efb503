// Compares an operation of ours with what a user would otherwise pick, in one run: both take turns
// within each round, so that whatever disturbs the machine disturbs both.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace ratios {

inline constexpr int cRounds = 101;
inline constexpr double cBatchSeconds = 0.0005;

// Seconds that `count` calls take.
template <class Operation>
double TimeOf(const Operation& operation, std::size_t count) {
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < count; ++i) {
        operation();
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// How many calls make a batch long enough for the clock.
template <class Operation>
std::size_t BatchOf(const Operation& operation) {
    std::size_t count = 1;
    while (TimeOf(operation, count) < cBatchSeconds) {
        count *= 2;
    }
    return count;
}

inline double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Registers a comparison. Both operations do the whole work once and give a result of theirs to
// benchmark::DoNotOptimize. Printed are, besides the mean time of ours, the medians over the
// rounds: nanoseconds of each, and the ratio of ours to the peer's (below 1 ours is faster).
template <class Ours, class Peer>
void Compare(const std::string& name, Ours ours, Peer peer) {
    benchmark::RegisterBenchmark(
        name.c_str(),
        [ours, peer](benchmark::State& state) {
            const std::size_t ourBatch = BatchOf(ours);
            const std::size_t peerBatch = BatchOf(peer);
            std::vector<double> times, peerTimes, quotients;
            bool oursFirst = false;
            for ([[maybe_unused]] auto round : state) {
                oursFirst = !oursFirst;
                double our = oursFirst ? TimeOf(ours, ourBatch) : 0;
                const double other = TimeOf(peer, peerBatch) / static_cast<double>(peerBatch);
                our = (oursFirst ? our : TimeOf(ours, ourBatch)) / static_cast<double>(ourBatch);
                state.SetIterationTime(our);
                times.push_back(our);
                peerTimes.push_back(other);
                quotients.push_back(our / other);
            }
            state.counters["ours_ns"] = Median(times) * 1e9;
            state.counters["peer_ns"] = Median(peerTimes) * 1e9;
            state.counters["ratio"] = Median(quotients);
        })
        ->UseManualTime()
        ->Iterations(cRounds)
        ->Unit(benchmark::kNanosecond);
}

}  // namespace ratios
