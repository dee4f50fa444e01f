// The benchmarks of the hot parts, each measured in memory and without the command around it. The
// runtime is started once around all of them.

#include "common/thread/thread.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    Thread::init();
    benchmark::RunSpecifiedBenchmarks();
    Thread::cleanup();
    benchmark::Shutdown();
    return 0;
}
