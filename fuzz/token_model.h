// Holds the tokens of a tokenizer against those of its plain model.

#ifndef MORVEX_FUZZ_TOKEN_MODEL_H
#define MORVEX_FUZZ_TOKEN_MODEL_H

#include "fuzz/target.h"
#include "tests/stream/streams.h"
#include "tests/support/token_model.h"

#include <string>
#include <string_view>

namespace fuzz {

using support::plainFolded;
using support::plainLines;
using support::Token;
using support::Tokens;

// The largest limit of a token that a target draws.
constexpr int MaxLimit = 64;

// Reads the text by a tokenizer, in pieces of 1 to `mostPiece` bytes, and holds each token against
// the model's.
template <class Tokenizer>
void compareTokens(std::string_view text, int flags, bool terminated, int limit, int mostPiece,
                   const Tokens& expected) {
    int turn = 0;
    support::Source source(std::string(text), [&] { return 1 + turn++ % mostPiece; });
    Tokenizer tokenizer(&source, flags, terminated);
    for (const Token& want : expected) {
        int size = limit;
        const char* token = static_cast<const char*>(tokenizer.readToken(size));
        FUZZ_CHECK(token != nullptr);
        FUZZ_CHECK(!terminated || token[size] == '\0');
        FUZZ_CHECK(std::string_view(token, static_cast<std::size_t>(size)) == want.text);
        FUZZ_CHECK(tokenizer.lastTokenCompleted() == want.complete);
    }
    FUZZ_CHECK(source.position == static_cast<long long>(text.size()));
    FUZZ_CHECK(tokenizer.canRead() <= 0);
}

} // namespace fuzz

#endif
