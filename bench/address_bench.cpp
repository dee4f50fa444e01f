// The address grammars of the command line, of headers and of web forms. The argument counts the
// mailboxes.

#include "address/address_list.h"
#include "common/container/hvector.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace {

constexpr int NO_LIMIT = 1 << 20;

using Parse = int (*)(AddressList& list, const char* text);

int parseCommandLine(AddressList& list, const char* text) {
    return list.parsePostdock(text, NO_LIMIT, "example.org", false);
}

int parseHeader(AddressList& list, const char* text) {
    return list.parse2822(text, true);
}

int parseForm(AddressList& list, const char* text) {
    return list.parseWebmail(text);
}

void parseAddresses(benchmark::State& state, Parse parse, const char* format) {
    std::string text;
    for (long i = 0; i < state.range(0); ++i) {
        char mailbox[128];
        std::snprintf(mailbox, sizeof mailbox, format, static_cast<int>(i));
        text += (i > 0 ? ", " : "") + std::string(mailbox);
    }
    AddressList list;
    for (auto _ : state) {
        benchmark::DoNotOptimize(parse(list, text.c_str()));
    }
    if (list.addresses->size() != static_cast<int>(state.range(0))) {
        state.SkipWithError("the text was not read as it was meant");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
    state.SetComplexityN(state.range(0));
}

constexpr char Plain[] = "user%d@example.org";

BENCHMARK_CAPTURE(parseAddresses, plain, parseCommandLine, Plain)
    ->RangeMultiplier(16)
    ->Range(1, 4096)
    ->Complexity(benchmark::oN);
BENCHMARK_CAPTURE(parseAddresses, named, parseCommandLine,
                  "\"User No. %d\" (of us) <user@example.org>")
    ->Arg(1)
    ->Arg(256);
BENCHMARK_CAPTURE(parseAddresses, without_domain, parseCommandLine, "user%d")->Arg(1);
BENCHMARK_CAPTURE(parseAddresses, header, parseHeader, Plain)
    ->RangeMultiplier(16)
    ->Range(1, 4096)
    ->Complexity(benchmark::oN);
BENCHMARK_CAPTURE(parseAddresses, form, parseForm, Plain)
    ->RangeMultiplier(16)
    ->Range(1, 4096)
    ->Complexity(benchmark::oN);
BENCHMARK_CAPTURE(parseAddresses, form_named, parseForm, "\"User No. %d\" <user@example.org>")
    ->Arg(1)
    ->Arg(256);

} // namespace
