// The configuration library: its start and end, which every submission pays, and the loader.

#include "common/stream/memory_stream.h"
#include "config/classes.h"
#include "config/config.h"
#include "config/text_loader.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

void initAndDestroy(benchmark::State& state) {
    for (auto _ : state) {
        HConfig::Config::init();
        benchmark::DoNotOptimize(HConfig::Config::theConfig);
        HConfig::Config::destroy();
    }
}

// A server with some settings and `rules` log rules.
std::string configuration(long rules) {
    std::string text = "Server {\n    primaryDomain = \"example.org\"\n"
                       "    processing = { queuePath = \"queue\" queueEntryCount = 16 }\n"
                       "    log = { rules = (\n";
    for (long i = 0; i < rules; ++i) {
        text += "        { priority = " + std::to_string(i + 1) + " logLevel = 15 } # a rule\n";
    }
    return text + "    ) }\n}\n";
}

void loadConfiguration(benchmark::State& state) {
    std::string text = configuration(state.range(0));
    HConfig::Config::init();
    for (auto _ : state) {
        MemoryStream input(text.data(), static_cast<long long>(text.size()));
        HConfig::TextLoader loader(
            &input, HConfig::Config::theConfig->getClass(HConfig::Server::ROW), false);
        HConfig::Server server;
        server.doInit(false, true);
        HConfig::Object* root = &server;
        if (loader.load(root) != 0) {
            state.SkipWithError(loader.getErrorText());
            break;
        }
    }
    HConfig::Config::destroy();
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
    state.SetComplexityN(state.range(0));
}

BENCHMARK(initAndDestroy);
BENCHMARK(loadConfiguration)->Arg(0);
BENCHMARK(loadConfiguration)->RangeMultiplier(4)->Range(16, 4096)->Complexity(benchmark::oN);

} // namespace
