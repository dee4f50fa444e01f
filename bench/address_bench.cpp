// The address grammar of the command line and of headers. The argument counts the mailboxes.

#include "address/address_list.h"
#include "common/container/hvector.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace {

constexpr int NO_LIMIT = 1 << 20;

void parseAddresses(benchmark::State& state, const char* format) {
    std::string text;
    for (long i = 0; i < state.range(0); ++i) {
        char mailbox[128];
        std::snprintf(mailbox, sizeof mailbox, format, static_cast<int>(i));
        text += (i > 0 ? ", " : "") + std::string(mailbox);
    }
    AddressList list;
    for (auto _ : state) {
        benchmark::DoNotOptimize(list.parsePostdock(text.c_str(), NO_LIMIT, "example.org", false));
    }
    if (list.addresses->size() != static_cast<int>(state.range(0))) {
        state.SkipWithError("the text was not read as it was meant");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
    state.SetComplexityN(state.range(0));
}

BENCHMARK_CAPTURE(parseAddresses, plain, "user%d@example.org")
    ->RangeMultiplier(16)
    ->Range(1, 4096)
    ->Complexity(benchmark::oN);
BENCHMARK_CAPTURE(parseAddresses, named, "\"User No. %d\" (of us) <user@example.org>")
    ->Arg(1)
    ->Arg(256);
BENCHMARK_CAPTURE(parseAddresses, without_domain, "user%d")->Arg(1);

} // namespace
