// AddrPostdockFlexer: one parse from text to delivered entries.

#include "address/postdock/flexer.h"

#include "address/address.h"
#include "address/text_copy.h"

namespace {

// Each byte that an atom may have (RFC 2822, 3.2.4).
struct AtomText {
    bool has[256] = {};

    constexpr AtomText() {
        constexpr char bytes[] = "!#$%&'*+-/0123456789=?ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                 "^_`abcdefghijklmnopqrstuvwxyz{|}~";
        for (const char* at = bytes; *at != '\0'; ++at) {
            has[static_cast<unsigned char>(*at)] = true;
        }
    }
};

bool isAtomText(char c) {
    static constexpr AtomText atomText;
    return atomText.has[static_cast<unsigned char>(c)];
}

// Behind the longest dot-atom at `at`; `at` itself where there is none.
const char* dotAtomEnd(const char* at) {
    const char* end = at;
    while (isAtomText(*at)) {
        do {
            ++at;
        } while (isAtomText(*at));
        end = at;
        at += *at == '.' ? 1 : 0;
    }
    return end;
}

const char* skipBlanks(const char* at) {
    while (*at == ' ' || *at == '\t') {
        ++at;
    }
    return at;
}

} // namespace

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
    bool good = deliverPlain();
    if (!good) {
        start(text.length());
        good = addrPostdockparse(this) == 0;
    }
    clean();
    return good ? count : -1;
}

bool AddrPostdockFlexer::deliverPlain() {
    std::string addrSpec;
    for (const char* element = skipBlanks(text.rest()); !isLimitReached();) {
        const char* const localEnd = dotAtomEnd(element);
        const bool bare = *localEnd != '@';
        const char* const end = bare ? localEnd : dotAtomEnd(localEnd + 1);
        if (localEnd == element || (bare ? defaultDomain == nullptr : end == localEnd + 1)) {
            return false;
        }
        const char* const behind = skipBlanks(end);
        const char* const next = *behind == ',' ? skipBlanks(behind + 1) : behind;
        // What is left must be a list by itself, if it is not the end.
        if (next == behind ? *behind != '\0' : !isAtomText(*next)) {
            return false;
        }
        addrSpec.assign(element, end);
        if (bare) {
            addrSpec.append("@").append(defaultDomain);
        }
        builder.deliverNew(addrSpec.c_str());
        ++count;
        if (*next == '\0') {
            return true;
        }
        text.skipTo(next);
        element = next;
    }
    return true;
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
    commentDepth = 0;
}

int AddrPostdockFlexer::nextToken(std::string*& value) {
    tokenBefore = lastToken;
    lastToken = scan(commentDepth);
    const std::string_view bytes = tokenText();
    lastIsRawByte = lastToken == AddressError2 && commentDepth == 0 && !bytes.empty() &&
                    static_cast<unsigned char>(bytes[0]) >= 0x80;
    value = builder.getPool().addString(bytes);
    return lastToken;
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
