// How long a program runs that loads the framework and applies the variables once.
#include "bench/Bench.h"
#include "bench/Programs.h"

namespace {

void addProgram(const std::string& contender, const std::string& program,
                const std::string& variable) {
    bench::AddTimed("program, start to exit", 1, contender, [program, variable] {
        return [path = bench::ProgramPath(program), variable] {
            return bench::SecondsOf([&] { bench::RunProgram(path, variable); });
        };
    });
}

}  // namespace

int main(int argc, char** argv) {
    return bench::Main(argc, argv, [] {
        // The loader is told where the libraries are, as the system's cache tells it of installed
        // ones. Otherwise it would look for every library in the folders of the build first.
        addProgram("ours", "bench_applied", "LD_PRELOAD=" TV_BENCH_LIBRARIES);
        addProgram("bare program", "bench_bare", "TV_BENCH=1");
    });
}
