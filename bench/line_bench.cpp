// The search for line ends and the cutting of lines, in bytes a second, with memchr beside them.
// The argument is the length of a line with its line end.

#include "common/stream/memory_stream.h"
#include "common/stream/stream.h"
#include "message/folded_line_tokenizer.h"
#include "message/line_tokenizer.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace {

// Stays within the first levels of the cache: the search is measured, not the memory.
constexpr std::size_t TEXT_SIZE = 256 * 1024;

// LF, CR LF and NUL; as the command passes it for header lines.
constexpr int LINE_ENDS = 0x06;
constexpr int HEADER_FLAGS = 1686;

std::string textOf(std::size_t lineSize, const char* lineEnd) {
    std::string line(lineSize - std::strlen(lineEnd), 'x');
    line += lineEnd;
    std::string text;
    while (text.size() + line.size() <= TEXT_SIZE) {
        text += line;
    }
    return text;
}

void countBytes(benchmark::State& state, const std::string& text) {
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
}

void searchByMemchr(benchmark::State& state) {
    const std::string text = textOf(static_cast<std::size_t>(state.range(0)), "\n");
    for (auto _ : state) {
        const char* place = text.data();
        const char* const end = place + text.size();
        while (place < end) {
            const void* found = std::memchr(place, '\n', static_cast<std::size_t>(end - place));
            if (found == nullptr) {
                break;
            }
            place = static_cast<const char*>(found) + 1;
            benchmark::DoNotOptimize(place);
        }
    }
    countBytes(state, text);
}

void searchEOL(benchmark::State& state) {
    const std::string text = textOf(static_cast<std::size_t>(state.range(0)), "\n");
    for (auto _ : state) {
        const auto* place = reinterpret_cast<const unsigned char*>(text.data());
        int left = static_cast<int>(text.size());
        int eolSize = 0;
        while (left > 0) {
            const int behind = Stream::searchEOL(LINE_ENDS, place, left, eolSize);
            if (behind < 0) {
                break;
            }
            place += behind;
            left -= behind;
            benchmark::DoNotOptimize(place);
        }
    }
    countBytes(state, text);
}

template <class T> void cutLines(benchmark::State& state, int flags) {
    std::string text = textOf(static_cast<std::size_t>(state.range(0)), "\r\n");
    for (auto _ : state) {
        MemoryStream input(text.data(), static_cast<long long>(text.size()));
        T tokenizer(&input, flags, false);
        for (;;) {
            int size = 0;
            const void* token = tokenizer.readToken(size);
            if (token == nullptr || (size == 0 && !tokenizer.lastTokenCompleted())) {
                break;
            }
            benchmark::DoNotOptimize(token);
        }
    }
    countBytes(state, text);
}

void lineTokenizer(benchmark::State& state) {
    cutLines<LineTokenizer>(state, LINE_ENDS);
}

void foldedLineTokenizer(benchmark::State& state) {
    cutLines<FoldedLineTokenizer>(state, HEADER_FLAGS);
}

BENCHMARK(searchByMemchr)->Arg(40)->Arg(80)->Arg(1000)->Arg(65536);
BENCHMARK(searchEOL)->Arg(40)->Arg(80)->Arg(1000)->Arg(65536);
BENCHMARK(lineTokenizer)->Arg(40)->Arg(80)->Arg(1000);
BENCHMARK(foldedLineTokenizer)->Arg(40)->Arg(80)->Arg(1000);

} // namespace
