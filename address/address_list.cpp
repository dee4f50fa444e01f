// AddressList: the entries, their printed forms, and the rules for quoting and normalising texts.
//
// parse2822 and parseWebmail stand beside their parser objects, which the destructor here reaches
// through their virtual tables only: a program that calls neither links neither.

#include "address/address_list.h"

#include "address/postdock/flexer.h"
#include "address/rfc2822/flexer.h"
#include "address/webmail/flexer.h"
#include "common/container/hvector.h"
#include "message/encoded_word.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

constexpr int ListNodeOrder = 16;

Address* entryAt(const HVector<void*, void*>& addresses, int index) {
    return static_cast<Address*>(addresses.get(index));
}

} // namespace

AddressList::AddressList()
    : addresses(new HVector<void*, void*>(ListNodeOrder, Address::destroyAddress)),
      webmailFlexer(nullptr), rfc2822Flexer(nullptr), postdockFlexer(nullptr) {
}

AddressList::~AddressList() {
    delete addresses;
    delete webmailFlexer;
    delete rfc2822Flexer;
    delete postdockFlexer;
}

int AddressList::parsePostdock(const char* text, int maxAddresses, const char* defaultDomain,
                               bool allowNullPath) {
    if (postdockFlexer == nullptr) {
        postdockFlexer = new AddrPostdockFlexer(this);
    }
    addresses->clear();
    if (text == nullptr) {
        return -1;
    }
    return postdockFlexer->parse(text, maxAddresses, defaultDomain, allowNullPath);
}

const char* AddressList::getAddressListValue(bool encode, int maxEntries) {
    return writeEntries(encode, maxEntries, &Address::writeToString);
}

const char* AddressList::getAddressListValueFlat(bool encode, int maxEntries) {
    return writeEntries(encode, maxEntries, &Address::writeToStringFlat);
}

const char* AddressList::writeEntries(bool encode, int maxEntries, Writer writer) {
    value.clear();
    const int count = std::min(maxEntries, addresses->size());
    for (int i = 0; i < count; ++i) {
        if (i > 0) {
            value += ", ";
        }
        (entryAt(*addresses, i)->*writer)(value, encode);
    }
    return value.c_str();
}

void AddressList::mergeAddressList(AddressList* other) {
    const int count = other->addresses->size();
    for (int i = 0; i < count; ++i) {
        Address* entry = entryAt(*other->addresses, i);
        Address* copy;
        if (entry->isGroup()) {
            copy = new Group(static_cast<Group*>(entry));
        } else {
            copy = new Single(new Mailbox2(*entry->getMailbox(0)));
        }
        addresses->append(copy);
    }
}

int AddressList::removeMailboxByName(const char* name, int limit) {
    return removeMailboxes(&Mailbox2::fullName, name, limit);
}

int AddressList::removeMailboxByAddrSpec(const char* addrSpec, int limit) {
    return removeMailboxes(&Mailbox2::addrSpec, addrSpec, limit);
}

// One walk over all mailboxes. To ask a group again and again for its next match would read its
// first mailboxes anew for each one removed, the square of a long group's length.
int AddressList::removeMailboxes(Field field, const char* text, int limit) {
    if (text == nullptr) {
        return 0;
    }
    const std::string wanted = text; // the argument may be a text of a mailbox that goes
    int removed = 0;
    for (int i = 0; i < addresses->size();) {
        Address* entry = entryAt(*addresses, i);
        bool entryStays = true;
        for (int j = 0; entryStays && j < entry->size();) {
            const char* present = entry->getMailbox(j)->*field;
            if (present == nullptr || strcasecmp(present, wanted.c_str()) != 0) {
                ++j;
                continue;
            }
            if (limit > 0 && removed == limit) {
                return 0;
            }
            ++removed;
            if (entry->isGroup()) {
                entry->removeMailbox(j);
            } else {
                delete entry;
                addresses->removeAt(i);
                entryStays = false;
            }
        }
        if (entryStays) {
            ++i;
        }
    }
    return 0;
}

bool AddressList::isatext(unsigned char byte) {
    return byte >= 0x20 && byte != 0x7F && std::strchr("\"(),.:;<>@[\\]", byte) == nullptr;
}

void AddressList::quotePhrase(std::string* text) {
    if (std::all_of(text->begin(), text->end(),
                    [](char byte) { return isatext(static_cast<unsigned char>(byte)); })) {
        return;
    }
    std::string quoted;
    quoted.reserve(text->size() + 8);
    quoted += '"';
    for (const char byte : *text) {
        if (byte == '"' || byte == '\\') {
            quoted += '\\';
        }
        quoted += byte;
    }
    quoted += '"';
    text->swap(quoted);
}

void AddressList::normalizeDisplayName(std::string* text) {
    const std::size_t last = text->find_last_not_of(' ');
    if (last == std::string::npos) {
        return;
    }
    text->resize(last + 1);
    if (text->size() >= 2 && text->front() == '"' && text->back() == '"') {
        text->pop_back();
        text->erase(0, 1);
    }
}

void AddressList::normalizeAddrSpec(std::string* text) {
    bool quoted = false;
    const auto dropped = [&quoted](char byte) {
        quoted ^= byte == '"';
        return byte == ' ' && !quoted;
    };
    // A plain loop: std::remove_if does not promise to look at each byte once and in order.
    std::size_t kept = 0;
    for (const char byte : *text) {
        if (!dropped(byte)) {
            (*text)[kept++] = byte;
        }
    }
    text->resize(kept);
}

void AddressList::appendHeaderText(std::string& out, const std::string& text, bool encode) {
    if (encode) {
        const std::unique_ptr<char[]> encoded(encodeHeader(text.c_str()));
        if (encoded != nullptr) {
            out += encoded.get();
            return;
        }
    }
    out += text;
}
