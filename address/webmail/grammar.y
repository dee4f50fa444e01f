/*
 * The address grammar of web forms: what a person types into an address field. Separators are
 * forgiving, display names need no quotes and may hold separators, a display name may itself stand
 * in angle brackets; there are no groups, comments and routes.
 *
 * address/grammar_glue.h tells the rule that all actions on texts follow. A mailbox is appended to
 * the list by its reduction. All recursion is on the left, so the stack's depth does not depend on
 * the text.
 */

%define api.pure full
%define api.prefix {addrWebmail}
%define api.token.prefix {TOK_}
%param {void* flexer}
%start list
%expect 0

%code requires {
#include <string>
}

%union {
    std::string* text;
}

%code {
#include "address/webmail/flexer.h"

using Flexer = AddrWebmailFlexer;
static constexpr int NoToken = TOK_ADDRWEBMAILEMPTY;

#include "address/grammar_glue.h"
}

%token <text> ADDR 258
%token <text> WORD 259
%token <text> SEP 260
%token <text> WS 261
%token <text> ERROR 262
%token <text> '<' '>'

%type <text> phrase

%%

list:
    list SEP mailbox { DROP(1); }
  | list SEP { DROP(1); }
  | mailbox
  ;

phrase:
    phrase WORD {
        $$ = $1;
        $$->append(*$2);
        DROP(1);
    }
  | phrase WS WORD {
        $$ = $1;
        $$->append(" ").append(*$3);
        DROP(2);
    }
  | phrase SEP WORD {
        $$ = $1;
        $$->append(*$2).append(*$3);
        DROP(2);
    }
  | WORD
  ;

mailbox:
    ADDR {
        FLEXER->deliver(nullptr, *$1);
        DROP(1);
    }
  | '<' ADDR '>' {
        FLEXER->deliver(nullptr, *$2);
        DROP(3);
    }
  | '<' ADDR '>' '<' ADDR '>' {
        FLEXER->deliver($2, *$5);
        DROP(6);
    }
  | '<' ADDR '>' WS '<' ADDR '>' {
        FLEXER->deliver($2, *$6);
        DROP(7);
    }
  | phrase '<' ADDR '>' {
        FLEXER->deliver($1, *$3);
        DROP(4);
    }
  | phrase WS '<' ADDR '>' {
        FLEXER->deliver($1, *$4);
        DROP(5);
    }
  ;

%%

static_assert(static_cast<int>(TOK_ADDR) == WebmailAddr);
static_assert(static_cast<int>(TOK_WORD) == WebmailWord);
static_assert(static_cast<int>(TOK_SEP) == WebmailSep);
static_assert(static_cast<int>(TOK_WS) == WebmailWs);
static_assert(static_cast<int>(TOK_ERROR) == WebmailError);
