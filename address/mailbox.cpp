// Mailbox2: a display name and an addr-spec, both owned arrays. Every new text is complete before
// the old one is freed, so an argument may point into the field that it replaces.

#include "address/address.h"
#include "address/address_list.h"
#include "address/text_copy.h"
#include "message/encoded_word.h"

#include <cstring>

namespace {

const char* const NullPath = "<>";

} // namespace

Mailbox2::Mailbox2(const char* name, const char* spec)
    : fullName(decodeHeader(name, false)), addrSpec(copyText(spec)) {
}

Mailbox2::Mailbox2(const Mailbox2& other)
    : fullName(copyText(other.fullName)), addrSpec(copyText(other.addrSpec)) {
}

Mailbox2::~Mailbox2() {
    delete[] fullName;
    delete[] addrSpec;
}

void Mailbox2::setFullName(const char* text) {
    char* newName = decodeHeader(text, false);
    delete[] fullName;
    fullName = newName;
}

const char* Mailbox2::findAt() const {
    bool quoted = false;
    for (const char* at = addrSpec; *at != '\0'; ++at) {
        if (*at == '"' && !(quoted && at[-1] == '\\')) {
            quoted = !quoted;
        } else if (*at == '@' && !quoted) {
            return at;
        }
    }
    return nullptr;
}

void Mailbox2::splitAddress(char*& localPart, char*& domain) const {
    localPart = genLocalPart();
    domain = genDomain();
}

char* Mailbox2::genLocalPart() const {
    if (addrSpec == nullptr) {
        return nullptr;
    }
    const char* at = findAt();
    return at != nullptr ? copyText(addrSpec, static_cast<std::size_t>(at - addrSpec))
                         : copyText(addrSpec);
}

char* Mailbox2::genDomain() const {
    const char* at = addrSpec != nullptr ? findAt() : nullptr;
    return at != nullptr ? copyText(at + 1) : nullptr;
}

void Mailbox2::setDomain(const char* domain) {
    if (addrSpec == nullptr) {
        return;
    }
    const char* at = findAt();
    const std::size_t localLength =
        at != nullptr ? static_cast<std::size_t>(at - addrSpec) : std::strlen(addrSpec);
    const std::size_t domainLength = std::strlen(domain);
    char* newSpec = new char[localLength + 1 + domainLength + 1];
    std::memcpy(newSpec, addrSpec, localLength);
    newSpec[localLength] = '@';
    std::memcpy(newSpec + localLength + 1, domain, domainLength + 1);
    delete[] addrSpec;
    addrSpec = newSpec;
}

char* Mailbox2::genAddrSpecQouted() const {
    if (addrSpec == nullptr) {
        return nullptr;
    }
    const std::size_t localLength = std::strcspn(addrSpec, "@");
    std::string text(addrSpec, localLength);
    AddressList::quotePhrase(&text);
    text += addrSpec + localLength;
    return copyText(text.c_str(), text.size());
}

char* Mailbox2::genMailboxValue() const {
    if (fullName == nullptr || *fullName == '\0') {
        return copyText(addrSpec != nullptr ? addrSpec : "");
    }
    std::string text = fullName;
    if (addrSpec != nullptr) {
        text.append(" <").append(addrSpec).append(">");
    }
    return copyText(text.c_str(), text.size());
}

const char* Mailbox2::writeToString(std::string& out, bool encode, bool quote) const {
    const std::size_t start = out.size();
    if (fullName != nullptr && *fullName != '\0') {
        std::string name = fullName;
        if (quote) {
            AddressList::quotePhrase(&name);
        }
        AddressList::appendHeaderText(out, name, encode);
        if (addrSpec != nullptr) {
            out += " <";
            if (std::strcmp(addrSpec, NullPath) != 0) {
                out += addrSpec;
            }
            out += '>';
        }
    } else if (addrSpec != nullptr) {
        out += addrSpec;
    }
    return out.c_str() + start;
}

void Mailbox2::destroyMailbox(void* mailbox, void* /*unused*/) {
    delete static_cast<Mailbox2*>(mailbox);
}
