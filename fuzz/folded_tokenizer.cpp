// FoldedLineTokenizer against a plain reader: any set of line ends, every treatment of the folds,
// any small limit, any pieces. Input: flags, limit and terminator, pieces and folding, text.

#include "fuzz/token_model.h"
#include "message/folded_line_tokenizer.h"

FUZZ_TARGET(folded_tokenizer) {
    constexpr int foldings[] = {FoldedLineTokenizer::KeepFolds, FoldedLineTokenizer::RemoveLineEnds,
                                FoldedLineTokenizer::RemoveLineEndsAndBlank};
    int flags = static_cast<int>(input.byte()) & (31 | TokenizerStream::ExcludeLineEnd);
    const unsigned shape = input.byte();
    const int limit = 1 + static_cast<int>(shape & 0x7F) % fuzz::MaxLimit;
    const unsigned pieces = input.byte();
    flags |= foldings[(pieces >> 4) % 3];
    const std::string_view text = input.rest();
    fuzz::compareTokens<FoldedLineTokenizer>(
        text, flags, (shape & 0x80) != 0, limit, 1 + static_cast<int>(pieces & 15),
        fuzz::plainFolded(text, flags, static_cast<std::size_t>(limit)));
}
