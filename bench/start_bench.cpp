// How long a program runs that loads the framework and applies the variables once.
#include "bench/Bench.h"
#include "bench/Programs.h"

namespace {

void addProgram(const std::string& contender, const std::string& program) {
    bench::AddTimed("program, start to exit", 1, contender, [program] {
        return [path = bench::ProgramPath(program)] {
            return bench::SecondsOf([&] { bench::RunProgram(path); });
        };
    });
}

}  // namespace

int main(int argc, char** argv) {
    return bench::Main(argc, argv, [] {
        addProgram("ours", "bench_applied");
        addProgram("bare program", "bench_bare");
    });
}
