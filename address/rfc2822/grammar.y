#line 2 "address/rfc2822/grammar.y"
/*
 * The address grammar of message headers: an address list of RFC 2822 (address/address_grammar.y)
 * in which a bare local part is an addr-spec as it stands. There is no null address and no limit.
 */

%define api.pure full
%define api.prefix {addr2822}
%define api.token.prefix {TOK_}
%param {void* flexer}
%start address_list
%expect 0

%code requires {
#include <string>
}

%code {
#include "address/rfc2822/flexer.h"

using Flexer = Addr2822Flexer;
static constexpr int NoToken = TOK_ADDR2822EMPTY;
}

%%

address:
    mailbox { BUILDER.deliverMailbox($1); }
  | group { BUILDER.deliverGroup($1); }
  ;

addr_spec:
    local_part {
        $$ = $1;
        AddressList::normalizeAddrSpec($$);
    }
  ;

