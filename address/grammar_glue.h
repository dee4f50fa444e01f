// What the actions of every address grammar use. Only a grammar's own %code block includes it,
// after it has named its parser object `Flexer` and the generated mark for "no lookahead token"
// `NoToken`; `yylex`, `yyerror` and `YYSTYPE` stand for the grammar's own names here.
//
// The value of a text symbol is a pooled string; a reduction joins its texts in the string of its
// first symbol and gives back the others (address/parse_text.h). So each action ends with the
// number of text symbols on its right side less the one that it keeps, and an empty text symbol
// pushes an empty string.

#ifndef MORVEX_ADDRESS_GRAMMAR_GLUE_H
#define MORVEX_ADDRESS_GRAMMAR_GLUE_H

#include "address/parse_text.h"

#define FLEXER (static_cast<Flexer*>(flexer))
#define LOOKAHEAD (yychar == NoToken ? nullptr : &yylval.text)
#define DROP(count) dropTexts(FLEXER->getPool(), count, LOOKAHEAD)
#define PUSH() pushText(FLEXER->getPool(), LOOKAHEAD)

static int yylex(YYSTYPE* value, void* flexer) {
    return FLEXER->nextToken(value->text);
}

// A parse has no messages.
static void yyerror(void* /*flexer*/, const char* /*message*/) {
}

#endif
