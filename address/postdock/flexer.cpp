// AddrPostdockFlexer: one parse from text to delivered entries.

#include "address/postdock/flexer.h"

#include "address/address.h"
#include "address/text_copy.h"

AddrPostdockFlexer::AddrPostdockFlexer(AddressList* list)
    : commentDepth(0), defaultDomain(nullptr), maxAddresses(0), count(0), allowNullPath(false),
      builder(list) {
}

AddrPostdockFlexer::~AddrPostdockFlexer() {
    delete[] defaultDomain;
}

int AddrPostdockFlexer::parse(const char* list, int limit, const char* domain, bool nullPath) {
    if (limit < 0 || !text.assign(list)) {
        return -1;
    }
    defaultDomain = copyText(domain);
    maxAddresses = limit;
    allowNullPath = nullPath;
    count = 0;
    start(text.length());
    const int result = addrPostdockparse(this);
    clean();
    return result == 0 ? count : -1;
}

int AddrPostdockFlexer::LexerInput(char* buffer, int maxSize) {
    return text.read(buffer, maxSize);
}

void AddrPostdockFlexer::clean() {
    text.clear();
    delete[] defaultDomain;
    defaultDomain = nullptr;
    builder.clean();
    reset();
}

int AddrPostdockFlexer::nextToken(std::string*& value) {
    const int token = scan(commentDepth);
    value = builder.getPool().addString(tokenText());
    return token;
}

bool AddrPostdockFlexer::commitMailbox(Mailbox2* mailbox) {
    builder.deliverMailbox(mailbox);
    ++count;
    return isLimitReached();
}

bool AddrPostdockFlexer::commitGroup(Address* group) {
    if (maxAddresses != 0) {
        const int places = maxAddresses - count;
        while (group->size() > places) {
            group->removeMailbox(places);
        }
        if (group->size() == 0) {
            return false;
        }
    }
    builder.deliverGroup(group);
    count += group->size();
    return isLimitReached();
}
