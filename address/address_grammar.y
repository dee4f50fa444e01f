#line 2 "address/address_grammar.y"
/*
 * What the grammars of the RFC 2822 family share: an address list with the obsolete forms (routes,
 * empty list elements, dots in phrases). The build appends this file to each grammar's own, which
 * has opened the rules with what the shared ones leave open:
 *
 *   address             how a complete mailbox or group is delivered
 *   addr_spec           what becomes of a local part without a domain
 *   mailbox, name_addr  the null address, where the language has it
 *
 * and which names its parser object `Flexer` in an earlier %code block. address/grammar_glue.h
 * tells the rule that all actions on texts follow. Objects are pending in the flexer's
 * AddressBuilder until they get an owner.
 *
 * A mailbox is delivered by the reduction to `address`, which needs no token behind it to be good:
 * the states involved reduce by default, whatever comes next. All recursion is on the left, so the
 * stack's depth does not depend on the text.
 */

%union {
    std::string* text;
    class Mailbox2* mailbox;
    class Address* address;
};

%code {
#include "address/address.h"
#include "address/address_builder.h"
#include "address/address_list.h"
#include "address/grammar_glue.h"

#define BUILDER (FLEXER->getBuilder())
};

%token <text> ATEXT_PLUS 258;
%token <text> DQUOTE 259;
%token <text> CFWS 260;
%token <text> FWS 261;
%token <text> QCONTENT 262;
%token <text> DCONTENT 263;
%token <text> ERROR2 264;
%token <text> '@' ',' ';' '<' '>' ':' '.' '[' ']';

%type <address> group mailbox_list obs_mbox_list;
%type <mailbox> mbox_elem mailbox name_addr;
%type <text> display_name obs_angle_addr obs_route_opt obs_domain_list comma_cfws_star addr_spec;
%type <text> local_part domain obs_domain domain_literal fws_opt_dcontent_star phrase_base phrase;
%type <text> word atom quoted_string fws_opt_qcontent_star fws_opt cfws_opt;

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

group:
    display_name ':' cfws_opt mailbox_list ';' cfws_opt {
        $$ = $4;
        $$->setGroupName($1->c_str());
        DROP(5);
    }
  | display_name ':' cfws_opt ';' cfws_opt {
        $$ = BUILDER.newGroup($1->c_str());
        DROP(5);
    }
  ;

mailbox_list:
    obs_mbox_list mailbox {
        $$ = $1;
        BUILDER.moveIntoGroup($$, $2);
    }
  | obs_mbox_list
  | mailbox {
        $$ = BUILDER.newGroup(nullptr);
        BUILDER.moveIntoGroup($$, $1);
    }
  ;

obs_mbox_list:
    obs_mbox_list mbox_elem {
        $$ = $1;
        BUILDER.moveIntoGroup($$, $2);
    }
  | mbox_elem {
        $$ = BUILDER.newGroup(nullptr);
        BUILDER.moveIntoGroup($$, $1);
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
        $$ = BUILDER.newMailbox(nullptr, $1->c_str());
        DROP(1);
    }
  ;

name_addr:
    display_name obs_angle_addr {
        $$ = BUILDER.newMailbox($1, $2->c_str());
        DROP(2);
    }
  | obs_angle_addr {
        $$ = BUILDER.newMailbox(nullptr, $1->c_str());
        DROP(1);
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
