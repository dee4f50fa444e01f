// Single and Group, the entries of an address list.

#include "address/address.h"

#include "address/address_list.h"
#include "address/text_copy.h"
#include "common/container/hvector.h"

#include <strings.h>

namespace {

constexpr int GroupNodeOrder = 4;

bool equalsIgnoringCase(const char* field, const char* text) {
    return field != nullptr && text != nullptr && strcasecmp(field, text) == 0;
}

} // namespace

Address::~Address() = default;

void Address::destroyAddress(void* address, void* /*unused*/) {
    delete static_cast<Address*>(address);
}

Single::Single(Mailbox2* newMailbox) : mailbox(newMailbox) {
}

Single::~Single() {
    delete mailbox;
}

bool Single::isGroup() const {
    return false;
}

const char* Single::getGroupName() const {
    return nullptr;
}

int Single::setGroupName(const char* /*name*/) {
    return -1;
}

int Single::size() const {
    return 1;
}

Mailbox2* Single::getMailbox(int index) const {
    return index == 0 ? mailbox : nullptr;
}

int Single::addMailbox(Mailbox2* /*mailbox*/) {
    return -1;
}

int Single::removeMailbox(int /*index*/) {
    return -1;
}

int Single::findMailboxByAddrSpec(const char* addrSpec) const {
    return equalsIgnoringCase(mailbox->addrSpec, addrSpec) ? 0 : -1;
}

int Single::findMailboxByName(const char* name) const {
    return equalsIgnoringCase(mailbox->fullName, name) ? 0 : -1;
}

const char* Single::writeToString(std::string& out, bool encode) const {
    return mailbox->writeToString(out, encode, true);
}

const char* Single::writeToStringFlat(std::string& out, bool encode) const {
    return writeToString(out, encode);
}

Group::Group(const char* name)
    : groupName(copyText(name)),
      mailboxes(new HVector<void*, void*>(GroupNodeOrder, Mailbox2::destroyMailbox)) {
}

Group::Group(Group* other) : Group(other->groupName) {
    const int count = other->size();
    for (int i = 0; i < count; ++i) {
        addMailbox(new Mailbox2(*other->getMailbox(i)));
    }
}

Group::~Group() {
    delete mailboxes;
    delete[] groupName;
}

bool Group::isGroup() const {
    return true;
}

const char* Group::getGroupName() const {
    return groupName;
}

int Group::setGroupName(const char* name) {
    char* newName = copyText(name);
    delete[] groupName;
    groupName = newName;
    return 0;
}

int Group::size() const {
    return mailboxes->size();
}

Mailbox2* Group::getMailbox(int index) const {
    return static_cast<Mailbox2*>(mailboxes->get(index));
}

int Group::addMailbox(Mailbox2* mailbox) {
    mailboxes->append(mailbox);
    return 0;
}

int Group::removeMailbox(int index) {
    if (index < 0 || index >= mailboxes->size()) {
        return -1;
    }
    delete getMailbox(index);
    mailboxes->removeAt(index);
    return 0;
}

int Group::findMailboxByAddrSpec(const char* addrSpec) const {
    const int count = size();
    for (int i = 0; i < count; ++i) {
        if (equalsIgnoringCase(getMailbox(i)->addrSpec, addrSpec)) {
            return i;
        }
    }
    return -1;
}

int Group::findMailboxByName(const char* name) const {
    const int count = size();
    for (int i = 0; i < count; ++i) {
        if (equalsIgnoringCase(getMailbox(i)->fullName, name)) {
            return i;
        }
    }
    return -1;
}

const char* Group::writeToString(std::string& out, bool encode) const {
    const std::size_t start = out.size();
    std::string name = groupName != nullptr ? groupName : "";
    AddressList::quotePhrase(&name);
    AddressList::appendHeaderText(out, name, encode);
    out += ": ";
    writeToStringFlat(out, encode);
    out += ';';
    return out.c_str() + start;
}

const char* Group::writeToStringFlat(std::string& out, bool encode) const {
    const std::size_t start = out.size();
    const int count = size();
    for (int i = 0; i < count; ++i) {
        if (i > 0) {
            out += ", ";
        }
        getMailbox(i)->writeToString(out, encode, true);
    }
    return out.c_str() + start;
}
