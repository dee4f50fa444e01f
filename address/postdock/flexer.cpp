// AddrPostdockFlexer: one parse from text to delivered entries.

#include "address/postdock/flexer.h"

#include "address/address_list.h"
#include "address/pending.h"
#include "address/text_copy.h"

#include <algorithm>
#include <cstring>

AddrPostdockFlexer::AddrPostdockFlexer(AddressList* list)
    : commentDepth(0), inputLength(0), inputPosition(0), input(nullptr), defaultDomain(nullptr),
      maxAddresses(0), count(0), allowNullPath(false), pool(new StringPool),
      pendingMailboxes(new HVector<void*, void*>(PendingNodeOrder, Mailbox2::destroyMailbox)),
      pendingGroups(new HVector<void*, void*>(PendingNodeOrder, Address::destroyAddress)),
      owner(list) {
}

AddrPostdockFlexer::~AddrPostdockFlexer() {
    delete pendingGroups;
    delete pendingMailboxes;
    delete pool;
    delete[] defaultDomain;
    delete[] input;
}

int AddrPostdockFlexer::parse(const char* text, int limit, const char* domain, bool nullPath) {
    const std::size_t length = std::strlen(text);
    if (length > static_cast<std::size_t>(MaxInputLength) || limit < 0) {
        return -1;
    }
    input = copyText(text, length);
    defaultDomain = copyText(domain);
    maxAddresses = limit;
    allowNullPath = nullPath;
    count = 0;
    inputLength = static_cast<int>(length);
    inputPosition = 0;
    start(inputLength);
    const int result = addrPostdockparse(this);
    clean();
    return result == 0 ? count : -1;
}

int AddrPostdockFlexer::LexerInput(char* buffer, int maxSize) {
    const int size = std::min(maxSize, inputLength - inputPosition);
    std::memcpy(buffer, input + inputPosition, static_cast<std::size_t>(size));
    inputPosition += size;
    return size;
}

void AddrPostdockFlexer::clean() {
    delete[] input;
    input = nullptr;
    delete[] defaultDomain;
    defaultDomain = nullptr;
    pool->reset();
    pendingMailboxes->clear();
    pendingGroups->clear();
    reset();
}

int AddrPostdockFlexer::nextToken(std::string*& text) {
    const int token = scan(commentDepth);
    text = pool->addString(tokenText());
    return token;
}

Mailbox2* AddrPostdockFlexer::newMailbox(const std::string* fullName, const char* addrSpec) {
    Mailbox2* mailbox = new Mailbox2(fullName != nullptr ? fullName->c_str() : nullptr, addrSpec);
    enterPending(*pendingMailboxes, mailbox);
    return mailbox;
}

Address* AddrPostdockFlexer::newGroup(const char* name) {
    Address* group = new Group(name);
    enterPending(*pendingGroups, group);
    return group;
}

void AddrPostdockFlexer::moveIntoGroup(Address* group, Mailbox2* mailbox) {
    if (mailbox != nullptr) {
        leavePending(*pendingMailboxes, mailbox);
        group->addMailbox(mailbox);
    }
}

bool AddrPostdockFlexer::commitMailbox(Mailbox2* mailbox) {
    leavePending(*pendingMailboxes, mailbox);
    owner->addresses->append(new Single(mailbox));
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
    leavePending(*pendingGroups, group);
    owner->addresses->append(group);
    count += group->size();
    return isLimitReached();
}
