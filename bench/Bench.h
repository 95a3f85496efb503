// What the benchmark programs share. A benchmark is named "work/size/contender": the work in words,
// its size as a plain number (bytes, or how many of what the work names), and who does it: "ours",
// a peer, or a physical reference. bench/report.py compares the contenders of one work and size.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <malloc.h>
#include <time.h>

namespace bench {

// Throws if a contender does not do what it should, so that no figure is of half the work.
inline void Require(bool good, std::string_view what) {
    if (!good) {
        throw std::runtime_error(std::string(what));
    }
}

// Returns the seconds that pass while a call runs.
template <class Call>
double SecondsOf(const Call& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Returns the seconds of processor time that a call takes. Use it for work that waits for nothing:
// other processes disturb it less.
template <class Call>
double ProcessorSecondsOf(const Call& call) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double start = now();
    call();
    return now() - start;
}

// A benchmark that runs without Google Benchmark, so that its instructions can be counted.
struct CountedCase {
    std::string name;
    std::function<void(std::size_t)> run;
};
inline std::vector<CountedCase>& CountedCases() {
    static std::vector<CountedCase> cases;
    return cases;
}

inline std::string NameOf(const std::string& work, std::size_t size, const std::string& contender) {
    return work + "/" + std::to_string(size) + "/" + contender;
}

// Adds a benchmark of processor time. `make` prepares, which is not timed, and returns the
// operation, which is.
template <class Make>
void Add(const std::string& work, std::size_t size, const std::string& contender, Make make) {
    const std::string name = NameOf(work, size, contender);
    benchmark::RegisterBenchmark(name.c_str(), [make](benchmark::State& state) {
        auto operation = make();
        for ([[maybe_unused]] auto round : state) {
            operation();
        }
    });
    CountedCases().push_back({name, [make](std::size_t times) {
                                  auto operation = make();
                                  while (times-- > 0) {
                                      operation();
                                  }
                              }});
}

// Adds a benchmark whose operation does more than is to be timed: it returns the seconds that
// count. `rounds` is how often it runs in one repetition, 0 as often as it takes.
template <class Make>
void AddTimed(const std::string& work, std::size_t size, const std::string& contender, Make make,
              int rounds = 0) {
    const std::string name = NameOf(work, size, contender);
    auto* added = benchmark::RegisterBenchmark(name.c_str(), [make](benchmark::State& state) {
        auto operation = make();
        for ([[maybe_unused]] auto round : state) {
            state.SetIterationTime(operation());
        }
    });
    added->UseManualTime();
    if (rounds > 0) {
        added->Iterations(rounds);
    }
    CountedCases().push_back({name, [make](std::size_t times) {
                                  auto operation = make();
                                  while (times-- > 0) {
                                      benchmark::DoNotOptimize(operation());
                                  }
                              }});
}

// The main function of a program whose benchmarks `add` adds. "--run NAME TIMES" runs one of them
// that many times and prints nothing.
template <class AddAll>
int Main(int argc, char** argv, AddAll add) {
    try {
        // The heap keeps its memory from one round to the next. Otherwise the system's handing out
        // of pages would be measured, for large works alone.
        mallopt(M_MMAP_MAX, 0);
        mallopt(M_TRIM_THRESHOLD, -1);
        add();
        if (argc == 4 && std::string(argv[1]) == "--run") {
            for (const CountedCase& counted : CountedCases()) {
                if (counted.name == argv[2]) {
                    counted.run(std::strtoul(argv[3], nullptr, 10));
                    return 0;
                }
            }
            std::cerr << argv[0] << ": there is no benchmark " << argv[2] << "\n";
            return 2;
        }
        benchmark::Initialize(&argc, argv);
        if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
            return 2;
        }
        benchmark::RunSpecifiedBenchmarks();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << argv[0] << ": " << error.what() << "\n";
        return 1;
    }
}

}  // namespace bench
