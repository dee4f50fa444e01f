#line 2 "address/postdock/grammar.y"
/*
 * The command-line address grammar: an address list of RFC 2822 (address/address_grammar.y) in
 * which a bare local part gets the default domain, where there is one, the null address may be
 * allowed, and the parse ends with success as soon as the limit of mailboxes is reached.
 */

%define api.pure full
%define api.prefix {addrPostdock}
%define api.token.prefix {TOK_}
%param {void* flexer}
%start address_list
%expect 0

%code requires {
#include <string>
}

%code {
#include "address/postdock/flexer.h"

using Flexer = AddrPostdockFlexer;
static constexpr int NoToken = TOK_ADDRPOSTDOCKEMPTY;
}

%%

address:
    mailbox {
        if (yychar == TOK_ERROR2 && FLEXER->isAtomCutOff()) {
            YYABORT;
        }
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

addr_spec:
    local_part {
        /* The first word of a name that cannot be read, as in `Joe [Admin] <a@b>`, is no address. */
        const bool name = yychar == '[' || (yychar == TOK_ERROR2 && FLEXER->isRawByte());
        if (FLEXER->getDefaultDomain() == nullptr || name) {
            YYABORT;
        }
        $$ = $1;
        AddressList::normalizeAddrSpec($$);
        $$->append("@").append(FLEXER->getDefaultDomain());
    }
  ;

mailbox:
    '<' '>' cfws_opt {
        if (!FLEXER->isNullPathAllowed()) {
            YYABORT;
        }
        $$ = BUILDER.newMailbox(nullptr, "<>");
        DROP(3);
    }
  ;

name_addr:
    display_name '<' '>' cfws_opt {
        if (!FLEXER->isNullPathAllowed()) {
            YYABORT;
        }
        $$ = BUILDER.newMailbox($1, "<>");
        DROP(4);
    }
  ;

