// The header block and the body of a message, from memory to nowhere.

#include "common/stream/memory_stream.h"
#include "common/stream/null_stream.h"
#include "message/mail_msg.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

constexpr int HEADER_FLAGS = 1686; // as the command reads headers
constexpr std::size_t BODY_SIZE = 10 << 20;

// A block of `count` fields, every fourth of them folded over three lines.
std::string headerBlock(long count) {
    std::string block;
    for (long i = 0; i < count; ++i) {
        block +=
            "X-Field-" + std::to_string(i) + ": a value of the length that is usual in a header";
        if (i % 4 == 0) {
            block += ",\n\twith a second line that continues what the first one has begun"
                     "\n\tand a third";
        }
        block += '\n';
    }
    return block + '\n';
}

void readHeaders(benchmark::State& state) {
    std::string block = headerBlock(state.range(0));
    for (auto _ : state) {
        MemoryStream input(block.data(), static_cast<long long>(block.size()));
        MailMsg message(&input, true, HEADER_FLAGS);
        benchmark::DoNotOptimize(message.readHeaders(false));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(block.size()));
    state.SetComplexityN(state.range(0));
}

void writeAndFoldHeaders(benchmark::State& state) {
    std::string block = headerBlock(state.range(0));
    MemoryStream input(block.data(), static_cast<long long>(block.size()));
    MailMsg message(&input, true, HEADER_FLAGS);
    message.readHeaders(false);
    for (auto _ : state) {
        NullStream output;
        benchmark::DoNotOptimize(message.writeHeaders(output));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(block.size()));
    state.SetComplexityN(state.range(0));
}

// Behind one header line, so that the pass begins in the middle of the reader's buffer.
void passText(benchmark::State& state, const std::string& line, std::size_t size, bool normalize) {
    std::string text = "Subject: x\n\n";
    while (text.size() < size) {
        text += line;
    }
    for (auto _ : state) {
        MemoryStream input(text.data(), static_cast<long long>(text.size()));
        MailMsg message(&input, normalize, HEADER_FLAGS);
        message.readHeaders(false);
        NullStream output;
        benchmark::DoNotOptimize(message.writeBody(output, normalize));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
}

// The argument is the length of a line.
void passBody(benchmark::State& state, const char* lineEnd, bool normalize) {
    const std::string line(static_cast<std::size_t>(state.range(0)) - 1, 'x');
    passText(state, line + lineEnd, BODY_SIZE, normalize);
}

// The argument is the size of the body.
void passGrowingBody(benchmark::State& state) {
    passText(state, std::string(71, 'x') + '\n', static_cast<std::size_t>(state.range(0)), true);
    state.SetComplexityN(state.range(0));
}

BENCHMARK(readHeaders)->RangeMultiplier(8)->Range(8, 4096)->Complexity(benchmark::oN);
BENCHMARK(writeAndFoldHeaders)->RangeMultiplier(8)->Range(8, 4096)->Complexity(benchmark::oN);
BENCHMARK_CAPTURE(passBody, LF_to_CRLF, "\n", true)->Arg(40)->Arg(80)->Arg(1000);
BENCHMARK_CAPTURE(passBody, CRLF, "\r\n", true)->Arg(80);
BENCHMARK_CAPTURE(passBody, as_it_stands, "\n", false)->Arg(80);
BENCHMARK(passGrowingBody)
    ->RangeMultiplier(8)
    ->Range(64 << 10, 32 << 20)
    ->Complexity(benchmark::oN);

} // namespace
