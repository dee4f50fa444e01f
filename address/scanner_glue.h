// What every generated scanner of addresses has in its first section: where its text and its memory
// come from. Only a scanner's own .l file includes it; `yyextra`, `yyalloc` and the like stand for
// the scanner's own names here.

#ifndef MORVEX_ADDRESS_SCANNER_GLUE_H
#define MORVEX_ADDRESS_SCANNER_GLUE_H

#include "address/flex_memory.h"
#include "common/thread/thread.h"

#include <cstdlib>
#include <string_view>

#define YY_INPUT(buffer, result, maxSize)                                                          \
    result = yyextra->LexerInput(buffer, static_cast<int>(maxSize))

// The whole text in one read: no token is scanned again because a buffer ran out in its middle.
#define YY_READ_BUF_SIZE 0x7FFFFFFF

// The size of the buffer for a text: one byte more lets the scanner find the end of the text behind
// a token as long as the text without growing the buffer, and one is flex's own.
#define YY_BUFFER_SIZE_FOR(length) ((length) + 2)

// The text of the last token. At the end of the text flex counts its own zero byte as the match.
#define TOKEN_TEXT()                                                                               \
    std::string_view(yytext, *yytext != '\0' ? static_cast<std::size_t>(yyleng) : 0)

// The generated code calls this for damaged state only: nothing in a text leads here.
#define YY_FATAL_ERROR(message)                                                                    \
    do {                                                                                           \
        Thread::log(1, "Address scanner: %s", static_cast<const char*>(message));                  \
        std::abort();                                                                              \
    } while (false)

void* yyalloc(yy_size_t size, yyscan_t /*scanner*/) {
    return flexAllocate(size);
}

void* yyrealloc(void* block, yy_size_t size, yyscan_t /*scanner*/) {
    return flexReallocate(block, size);
}

void yyfree(void* block, yyscan_t /*scanner*/) {
    flexFree(block);
}

#endif
