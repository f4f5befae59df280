// SPDX-License-Identifier: Apache-2.0

// The road of a frame over the null transport: what it costs beside a bare loop, what it asks of the system, how long
// it takes. Arguments are those of Google Benchmark.

#include <benchmark/benchmark.h>

#include <vector>

int main(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    char tabular[] = "--benchmark_counters_tabular=true";
    arguments.insert(arguments.begin() + 1, tabular); // the caller's arguments come after it, and win
    argc = static_cast<int>(arguments.size());
    benchmark::Initialize(&argc, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(argc, arguments.data())) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
