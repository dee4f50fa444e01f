// AddressBuilder: objects on their way from the grammar's stack to the list.

#include "address/address_builder.h"

#include "address/address_list.h"
#include "common/container/hvector.h"

#include <functional>

namespace {

constexpr int PendingNodeOrder = 128;

// Enters an object, unless it is in already. New memory mostly lies above the old, so the end is
// tried before a search: a limit leaves each group that it empties pending, however many there are.
void enter(HVector<void*, void*>& pending, void* object) {
    const int size = pending.size();
    const bool last = size > 0 && std::less<>()(pending.get(size - 1), object);
    int index = 0;
    if (!pending.binSearchRange(object, last ? size : 0, size, &index)) {
        pending.insertAt(index, object);
    }
}

// Takes an object out, without destroying it; one that is not in is ignored.
void leave(HVector<void*, void*>& pending, void* object) {
    int index = 0;
    if (pending.binSearchRange(object, 0, pending.size(), &index)) {
        pending.removeAt(index);
    }
}

} // namespace

AddressBuilder::AddressBuilder(AddressList* list)
    : pool(new StringPool),
      pendingMailboxes(new HVector<void*, void*>(PendingNodeOrder, Mailbox2::destroyMailbox)),
      pendingGroups(new HVector<void*, void*>(PendingNodeOrder, Address::destroyAddress)),
      owner(list) {
}

AddressBuilder::~AddressBuilder() {
    delete pendingGroups;
    delete pendingMailboxes;
    delete pool;
}

Mailbox2* AddressBuilder::newMailbox(const std::string* fullName, const char* addrSpec) {
    Mailbox2* mailbox = new Mailbox2(fullName != nullptr ? fullName->c_str() : nullptr, addrSpec);
    enter(*pendingMailboxes, mailbox);
    return mailbox;
}

Address* AddressBuilder::newGroup(const char* name) {
    Address* group = new Group(name);
    enter(*pendingGroups, group);
    return group;
}

void AddressBuilder::moveIntoGroup(Address* group, Mailbox2* mailbox) {
    if (mailbox != nullptr) {
        leave(*pendingMailboxes, mailbox);
        group->addMailbox(mailbox);
    }
}

void AddressBuilder::deliverMailbox(Mailbox2* mailbox) {
    leave(*pendingMailboxes, mailbox);
    owner->addresses->append(new Single(mailbox));
}

void AddressBuilder::deliverGroup(Address* group) {
    leave(*pendingGroups, group);
    owner->addresses->append(group);
}

void AddressBuilder::deliverNew(const char* addrSpec) {
    owner->addresses->append(new Single(new Mailbox2(nullptr, addrSpec)));
}

void AddressBuilder::clean() {
    pool->reset();
    pendingMailboxes->clear();
    pendingGroups->clear();
}
