#include "config/flex_lexer.h"

bool hcFlexLexer::refill() {
    if (atEnd) {
        return false;
    }
    const int count = LexerInput(window, WINDOW_SIZE);
    atEnd = count <= 0;
    next = window;
    limit = window + (atEnd ? 0 : count);
    return !atEnd;
}
