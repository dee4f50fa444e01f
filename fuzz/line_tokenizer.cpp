// LineTokenizer against a plain reader: any set of line ends, any small limit, any pieces.
// Input: flags, limit and terminator, largest piece, text.

#include "message/line_tokenizer.h"

#include "fuzz/token_model.h"

FUZZ_TARGET(line_tokenizer) {
    const int flags = static_cast<int>(input.byte()) & (31 | TokenizerStream::ExcludeLineEnd);
    const unsigned shape = input.byte();
    const int limit = 1 + static_cast<int>(shape & 0x7F) % fuzz::MaxLimit;
    const int piece = 1 + static_cast<int>(input.byte()) % 16;
    const std::string_view text = input.rest();
    fuzz::compareTokens<LineTokenizer>(
        text, flags, (shape & 0x80) != 0, limit, piece,
        fuzz::plainLines(text, flags, static_cast<std::size_t>(limit)));
}
