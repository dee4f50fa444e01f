/*
 * The command-line address grammar: an address list of RFC 2822 with the obsolete forms (routes,
 * empty list elements, dots in phrases), a bare local part where there is a default domain, and the
 * null address where it is allowed.
 *
 * The value of a text symbol is a pooled string; a reduction joins its texts in the string of its
 * first symbol and gives back the others (address/parse_text.h), so each action ends with the
 * number of text symbols on its right side less the one that it keeps. A symbol that is empty
 * pushes an empty string. Objects are pending in the flexer until they get an owner.
 *
 * A mailbox is delivered by the reduction to `address`, which needs no token behind it to be good:
 * the states involved reduce by default, whatever comes next. All recursion is on the left, so the
 * stack's depth does not depend on the text.
 */

%define api.pure full
%define api.prefix {addrPostdock}
%define api.token.prefix {TOK_}
%param {void* flexer}
%expect 0

%code requires {
#include <string>
}

%code {
#include "address/address.h"
#include "address/address_list.h"
#include "address/parse_text.h"
#include "address/postdock/flexer.h"

namespace {

AddrPostdockFlexer* toFlexer(void* flexer) { return static_cast<AddrPostdockFlexer*>(flexer); }

int addrPostdocklex(ADDRPOSTDOCKSTYPE* value, void* flexer) {
    return toFlexer(flexer)->nextToken(value->text);
}

// A parse has no messages.
void addrPostdockerror(void* /*flexer*/, const char* /*message*/) {}

} // namespace

#define FLEXER toFlexer(flexer)
#define LOOKAHEAD (yychar == TOK_ADDRPOSTDOCKEMPTY ? nullptr : &yylval.text)
#define DROP(count) dropTexts(FLEXER->getPool(), count, LOOKAHEAD)
#define PUSH() pushText(FLEXER->getPool(), LOOKAHEAD)
}

%union {
    std::string* text;
    class Mailbox2* mailbox;
    class Address* address;
}

%token <text> ATEXT_PLUS 258
%token <text> DQUOTE 259
%token <text> CFWS 260
%token <text> FWS 261
%token <text> QCONTENT 262
%token <text> DCONTENT 263
%token <text> ERROR2 264
%token <text> '@' ',' ';' '<' '>' ':' '.' '[' ']'

%type <address> group mailbox_list obs_mbox_list
%type <mailbox> mbox_elem mailbox name_addr
%type <text> display_name obs_angle_addr obs_route_opt obs_domain_list comma_cfws_star addr_spec
%type <text> local_part domain obs_domain domain_literal fws_opt_dcontent_star phrase_base phrase
%type <text> word atom quoted_string fws_opt_qcontent_star fws_opt cfws_opt

%%

address_list:
    cfws_opt obs_addr_list address {}
  | cfws_opt obs_addr_list {}
  | cfws_opt address {}
  ;

obs_addr_list:
    obs_addr_list addr_elem
  | addr_elem
  ;

addr_elem:
    address ',' cfws_opt { DROP(2); }
  | ',' cfws_opt { DROP(2); }
  ;

address:
    mailbox {
        if (FLEXER->commitMailbox($1)) {
            YYACCEPT;
        }
    }
  | group {
        if (FLEXER->commitGroup($1)) {
            YYACCEPT;
        }
    }
  ;

group:
    display_name ':' cfws_opt mailbox_list ';' cfws_opt {
        $$ = $4;
        $$->setGroupName($1->c_str());
        DROP(5);
    }
  | display_name ':' cfws_opt ';' cfws_opt {
        $$ = FLEXER->newGroup($1->c_str());
        DROP(5);
    }
  ;

mailbox_list:
    obs_mbox_list mailbox {
        $$ = $1;
        FLEXER->moveIntoGroup($$, $2);
    }
  | obs_mbox_list
  | mailbox {
        $$ = FLEXER->newGroup(nullptr);
        FLEXER->moveIntoGroup($$, $1);
    }
  ;

obs_mbox_list:
    obs_mbox_list mbox_elem {
        $$ = $1;
        FLEXER->moveIntoGroup($$, $2);
    }
  | mbox_elem {
        $$ = FLEXER->newGroup(nullptr);
        FLEXER->moveIntoGroup($$, $1);
    }
  ;

mbox_elem:
    mailbox ',' cfws_opt {
        $$ = $1;
        DROP(2);
    }
  | ',' cfws_opt {
        $$ = nullptr;
        DROP(2);
    }
  ;

display_name:
    phrase {
        $$ = $1;
        AddressList::normalizeDisplayName($$);
    }
  ;

mailbox:
    name_addr
  | addr_spec {
        $$ = FLEXER->newMailbox(nullptr, $1->c_str());
        DROP(1);
    }
  | '<' '>' cfws_opt {
        if (!FLEXER->isNullPathAllowed()) {
            YYABORT;
        }
        $$ = FLEXER->newMailbox(nullptr, "<>");
        DROP(3);
    }
  ;

name_addr:
    display_name obs_angle_addr {
        $$ = FLEXER->newMailbox($1, $2->c_str());
        DROP(2);
    }
  | obs_angle_addr {
        $$ = FLEXER->newMailbox(nullptr, $1->c_str());
        DROP(1);
    }
  | display_name '<' '>' cfws_opt {
        if (!FLEXER->isNullPathAllowed()) {
            YYABORT;
        }
        $$ = FLEXER->newMailbox($1, "<>");
        DROP(4);
    }
  ;

obs_angle_addr:
    '<' cfws_opt obs_route_opt addr_spec '>' cfws_opt {
        $$ = $1;
        $$->swap(*$4);
        DROP(5);
    }
  ;

obs_route_opt:
    obs_domain_list ':' cfws_opt {
        $$ = $1;
        $$->append(":").append(*$3);
        DROP(2);
    }
  | %empty { $$ = PUSH(); }
  ;

obs_domain_list:
    obs_domain_list comma_cfws_star '@' cfws_opt domain {
        $$ = $1;
        $$->append(*$2).append("@").append(*$4).append(*$5);
        DROP(4);
    }
  | obs_domain_list '@' cfws_opt domain {
        $$ = $1;
        $$->append("@").append(*$3).append(*$4);
        DROP(3);
    }
  | '@' cfws_opt domain {
        $$ = $1;
        $$->append(*$2).append(*$3);
        DROP(2);
    }
  ;

comma_cfws_star:
    comma_cfws_star CFWS {
        $$ = $1;
        $$->append(*$2);
        DROP(1);
    }
  | comma_cfws_star ',' {
        $$ = $1;
        $$->append(",");
        DROP(1);
    }
  | ','
  ;

addr_spec:
    local_part '@' cfws_opt domain {
        $$ = $1;
        $$->append("@").append(*$3).append(*$4);
        AddressList::normalizeAddrSpec($$);
        DROP(3);
    }
  | local_part {
        if (FLEXER->getDefaultDomain() == nullptr) {
            YYABORT;
        }
        $$ = $1;
        AddressList::normalizeAddrSpec($$);
        $$->append("@").append(FLEXER->getDefaultDomain());
    }
  ;

local_part:
    local_part '.' cfws_opt word {
        $$ = $1;
        $$->append(".").append(*$3).append(*$4);
        DROP(3);
    }
  | word
  ;

domain:
    obs_domain
  | domain_literal
  ;

obs_domain:
    obs_domain '.' cfws_opt atom {
        $$ = $1;
        $$->append(".").append(*$3).append(*$4);
        DROP(3);
    }
  | atom
  ;

domain_literal:
    '[' fws_opt_dcontent_star fws_opt ']' cfws_opt {
        $$ = $1;
        $$->append(*$2).append(*$3).append("]").append(*$5);
        DROP(4);
    }
  ;

fws_opt_dcontent_star:
    fws_opt_dcontent_star fws_opt DCONTENT {
        $$ = $1;
        $$->append(*$2).append(*$3);
        DROP(2);
    }
  | %empty { $$ = PUSH(); }
  ;

phrase_base:
    phrase_base '.' cfws_opt {
        $$ = $1;
        $$->append(".").append(*$3);
        DROP(2);
    }
  | phrase_base word {
        $$ = $1;
        $$->append(*$2);
        DROP(1);
    }
  | local_part word {
        $$ = $1;
        $$->append(*$2);
        DROP(1);
    }
  | local_part '.' cfws_opt '.' cfws_opt {
        $$ = $1;
        $$->append(".").append(*$3).append(".").append(*$5);
        DROP(4);
    }
  ;

phrase:
    phrase_base
  | local_part
  | local_part '.' cfws_opt {
        $$ = $1;
        $$->append(".").append(*$3);
        DROP(2);
    }
  ;

word:
    atom
  | quoted_string
  ;

atom:
    ATEXT_PLUS cfws_opt {
        $$ = $1;
        $$->append(*$2);
        DROP(1);
    }
  ;

quoted_string:
    DQUOTE fws_opt_qcontent_star fws_opt DQUOTE cfws_opt {
        $$ = $1;
        $$->append(*$2).append(*$3).append("\"").append(*$5);
        DROP(4);
    }
  ;

fws_opt_qcontent_star:
    fws_opt_qcontent_star fws_opt QCONTENT {
        $$ = $1;
        $$->append(*$2).append(*$3);
        DROP(2);
    }
  | %empty { $$ = PUSH(); }
  ;

fws_opt:
    %empty { $$ = PUSH(); }
  | FWS {
        $$ = $1;
        $$->assign(" ");
    }
  ;

cfws_opt:
    CFWS {
        $$ = $1;
        $$->assign(" ");
    }
  | %empty { $$ = PUSH(); }
  ;

%%

// The scanner serves several grammars: the numbers of its tokens are the same in all.
static_assert(static_cast<int>(TOK_ATEXT_PLUS) == AddressAtextPlus);
static_assert(static_cast<int>(TOK_DQUOTE) == AddressDquote);
static_assert(static_cast<int>(TOK_CFWS) == AddressCfws);
static_assert(static_cast<int>(TOK_FWS) == AddressFws);
static_assert(static_cast<int>(TOK_QCONTENT) == AddressQcontent);
static_assert(static_cast<int>(TOK_DCONTENT) == AddressDcontent);
static_assert(static_cast<int>(TOK_ERROR2) == AddressError2);
