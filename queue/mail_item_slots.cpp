// Chains of the string table that stand for small maps: the numbered slots of a recipient, and
// filter information of the mail, of a data version and of a recipient. A change is a new string
// at the chain's head; a look-up walks from there and takes what it meets first.

#include "common/container/key.h"
#include "common/error.h"
#include "common/thread/thread.h"
#include "queue/chain_text.h"
#include "queue/mail_item.h"

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

namespace Format = RecordFormat;
using ChainText::addOnce;
using ChainText::CircleWatch;
using ChainText::hexAt;

// "%07X:%02X:%07X": link, slot, value. "%07X:%07X:%s": link, value, key.
constexpr std::size_t slotStringBytes = 18;
constexpr std::size_t slotOffset = 8;
constexpr std::size_t slotValueOffset = 11;
constexpr std::size_t infoValueOffset = 8;
constexpr std::size_t infoKeyOffset = 16;

int fail(unsigned code) {
    Thread::setLastError(code);
    return -1;
}

// Whether a string is long enough and has the colons of its form.
bool hasForm(const char* text, std::size_t bytes, std::size_t secondColon) {
    return text != nullptr && ::strnlen(text, bytes) == bytes && text[7] == ':' &&
           text[secondColon] == ':';
}

bool isInfo(const char* text) {
    return hasForm(text, infoKeyOffset, infoKeyOffset - 1) && text[infoKeyOffset] != '\0';
}

} // namespace

const char* MailItem::chainValue(std::uint32_t index) const {
    const char* const value = index != 0 ? getLinkedString(index) : nullptr;
    return value != nullptr ? value : "";
}

int MailItem::doAddRCPTSlot(int field, int rcpt, int slot, int valueIndex) {
    if (valueIndex < 0) {
        return fail(HE_INVAL);
    }
    if (record == nullptr) {
        return fail(HE_INVALOP);
    }
    if (slot < 0 || slot > 255 || !hasRCPT(rcpt)) {
        return fail(HE_INVAL);
    }
    char text[2 * slotStringBytes];
    const int length =
        std::snprintf(text, sizeof text, "%07X:%02X:%07X", getRCPTField(rcpt, field),
                      static_cast<unsigned>(slot), static_cast<unsigned>(valueIndex));
    std::uint32_t head = 0;
    if (addChainString(head, text, length) == -1) {
        return -1;
    }
    setRCPTField(rcpt, field, head);
    return valueIndex;
}

int MailItem::doGetRCPTSlots(int field, int rcpt, Tree* out) {
    if (record == nullptr || !hasRCPT(rcpt)) {
        return fail(record == nullptr ? HE_INVALOP : HE_INVAL);
    }
    std::uint32_t link = getRCPTField(rcpt, field);
    CircleWatch circle;
    for (int links = 0; link != 0 && links < Format::maxChainLinks && !circle.closes(link);
         ++links) {
        const char* const text = getLinkedString(link);
        if (!hasForm(text, slotStringBytes, slotValueOffset - 1)) {
            return fail(HE_BADFILE);
        }
        const auto slot = static_cast<std::int32_t>(hexAt(text + slotOffset));
        const std::uint32_t value = hexAt(text + slotValueOffset);
        if (value != 0) {
            addOnce<Int32Key>(*out, slot, chainValue(value));
        } else {
            Int32Key removed(slot);
            out->remove(&removed, Tree::DeleteKey);
        }
        link = hexAt(text);
    }
    return 0;
}

int MailItem::doSetFilterInfo(int field, const char* key, int valueIndex) {
    // A string without a key would be too short for a reader, who would lose the chain behind it.
    if (valueIndex < 0 || key == nullptr || *key == '\0') {
        return fail(HE_INVAL);
    }
    if (record == nullptr) {
        return fail(HE_INVALOP);
    }
    const std::size_t bytes = 2 * infoKeyOffset + std::strlen(key);
    const std::unique_ptr<char[]> text(new char[bytes]);
    const int length = std::snprintf(text.get(), bytes, "%07X:%07X:%s", getField(field),
                                     static_cast<unsigned>(valueIndex), key);
    std::uint32_t head = 0;
    if (addChainString(head, text.get(), length) == -1) {
        return -1;
    }
    setField(field, head);
    return valueIndex;
}

// Walks as long as there are `links` left, which it counts down. Null for a broken chain.
const char* MailItem::findFilterInfo(int field, const char* key, bool& found, int& links) const {
    CircleWatch circle;
    for (std::uint32_t link = getField(field); link != 0 && links > 0 && !circle.closes(link);
         --links) {
        const char* const text = getLinkedString(link);
        if (!isInfo(text)) {
            Thread::setLastError(HE_BADFILE);
            return nullptr;
        }
        if (::strcasecmp(key, text + infoKeyOffset) == 0) {
            found = true;
            return chainValue(hexAt(text + infoValueOffset));
        }
        link = hexAt(text);
    }
    return "";
}

const char* MailItem::doGetFilterInfo(int field, const char* key, bool& found) {
    found = false;
    if (record == nullptr || key == nullptr) {
        Thread::setLastError(record == nullptr ? HE_INVALOP : HE_INVAL);
        return nullptr;
    }
    int links = Format::maxChainLinks;
    return findFilterInfo(field, key, found, links);
}

int MailItem::doGetFilterInfo(int field, Tree* out) {
    if (record == nullptr) {
        return fail(HE_INVALOP);
    }
    std::uint32_t link = getField(field);
    CircleWatch circle;
    for (int links = 0; link != 0 && links < Format::maxChainLinks && !circle.closes(link);
         ++links) {
        const char* const text = getLinkedString(link);
        if (!isInfo(text)) {
            return fail(HE_BADFILE);
        }
        addOnce<StringRefKey>(*out, text + infoKeyOffset,
                              chainValue(hexAt(text + infoValueOffset)));
        link = hexAt(text);
    }
    return 0;
}

// The chains of the versions are disjoint, so all of them together have no more links than there
// are strings: a damaged record, where they run into each other, is not walked for hours.
const char* MailItem::getDataFilterInfo(unsigned version, const char* key, bool followParents) {
    if (!checkVersion(version)) {
        return nullptr;
    }
    bool found = false;
    if (!followParents || key == nullptr) {
        return doGetFilterInfo(dataFilterInfoField(version), key, found);
    }
    int linksLeft = strings.size() + Format::maxChainLinks;
    for (int steps = 0; steps < Format::maxChainLinks; ++steps) {
        int links = linksLeft < Format::maxChainLinks ? linksLeft : Format::maxChainLinks;
        const int before = links;
        const char* const value = findFilterInfo(dataFilterInfoField(version), key, found, links);
        linksLeft -= before - links;
        if (found) {
            return value;
        }
        const auto parent = getVersionField(version, Format::parentVersion);
        if (version == 0 || parent >= versionSlots) {
            break;
        }
        version = parent;
    }
    return "";
}
