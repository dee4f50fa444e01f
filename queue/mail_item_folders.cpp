// The target folders of a mail's recipients: fixed ids, names in the string table, and the chain of
// further folders behind a recipient's first one.

#include "common/error.h"
#include "common/thread/thread.h"
#include "queue/chain_text.h"
#include "queue/mail_item.h"

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <set>

namespace {

namespace Format = RecordFormat;

// A chain string is "%07X:%07X": the link to the one before, the folder.
constexpr std::size_t folderStringBytes = 15;
constexpr std::size_t folderOffset = 8;
constexpr std::size_t maxFolders = 4096;

struct FixedFolder {
    std::int32_t id;
    const char* name;
};

constexpr FixedFolder fixedFolders[] = {
    {0, "INBOX"},
    {Format::firstFolderId, "Requests"},
    {Format::firstFolderId + 1, "Pending"},
    {Format::firstFolderId + 2, "Trash"},
    {Format::firstFolderId + 3, "Filtered Email"},
};
static_assert(std::size(fixedFolders) == 1 + Format::folderIds);

struct NameLess {
    bool operator()(const char* a, const char* b) const { return ::strcasecmp(a, b) < 0; }
};

} // namespace

const char* MailItem::getRCPTMboxName(int id) {
    for (const FixedFolder& folder : fixedFolders) {
        if (folder.id == id) {
            return folder.name;
        }
    }
    return nullptr;
}

int MailItem::getRCPTMboxId(const char* name) {
    for (const FixedFolder& folder : fixedFolders) {
        if (name != nullptr && ::strcasecmp(folder.name, name) == 0) {
            return folder.id;
        }
    }
    return -1;
}

const char* MailItem::mboxNameOf(std::int32_t mbox) const {
    const char* name = getRCPTMboxName(mbox);
    if (name == nullptr) {
        name = getLinkedString(static_cast<std::uint32_t>(mbox));
    }
    return name != nullptr ? name : fixedFolders[0].name;
}

// Appends a chain string and gives its index for the head, or -1.
int MailItem::addChainString(std::uint32_t& newHead, const char* text, int length) {
    if (strings.size() >= Format::stringLimit ||
        !appendString(text, static_cast<std::size_t>(length))) {
        Thread::setLastError(HE_FBIG);
        return -1;
    }
    newHead = static_cast<std::uint32_t>(strings.size()) - 1 - rcptCount;
    return 0;
}

int MailItem::addRCPTMbox(int rcpt, int mbox) {
    if (record == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    if (mbox < 0 || !hasRCPT(rcpt)) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    char text[2 * folderStringBytes];
    const int length =
        std::snprintf(text, sizeof text, "%07X:%07X", getRCPTField(rcpt, Format::rcptMboxHead),
                      static_cast<unsigned>(mbox));
    std::uint32_t head = 0;
    if (addChainString(head, text, length) == -1) {
        return -1;
    }
    setRCPTField(rcpt, Format::rcptMboxHead, head);
    return mbox;
}

// Each folder is looked up by its number first: the names of a damaged chain may be long and come
// up often.
int MailItem::getRCPTMboxes(int rcpt, const char** out, int capacity) {
    if (record == nullptr || !hasRCPT(rcpt)) {
        Thread::setLastError(record == nullptr ? HE_INVALOP : HE_INVAL);
        return -1;
    }
    std::set<std::int32_t> seen;
    std::set<const char*, NameLess> names;
    int count = 0;
    const auto take = [&](std::int32_t mbox) {
        if (!seen.insert(mbox).second) {
            return true;
        }
        const char* const name = mboxNameOf(mbox);
        if (names.insert(name).second && *name != '\0') {
            if (count < capacity) {
                out[count] = name;
            }
            ++count;
        }
        return *name != '\0';
    };
    if (!take(getRCPTField<std::int32_t>(rcpt, Format::rcptMbox))) {
        return 0;
    }
    auto link = getRCPTField(rcpt, Format::rcptMboxHead);
    for (std::size_t links = 0; link != 0 && links < maxFolders; ++links) {
        const char* const text = getLinkedString(link);
        if (text == nullptr || ::strnlen(text, folderStringBytes) < folderStringBytes ||
            text[folderOffset - 1] != ':') {
            break;
        }
        take(static_cast<std::int32_t>(ChainText::hexAt(text + folderOffset)));
        link = ChainText::hexAt(text);
    }
    return count;
}

int MailItem::getRCPTIndex(const char* address) const {
    for (int r = getRCPTCount() - 1; address != nullptr && r >= 0; --r) {
        const char* const rcpt = getRCPT(r);
        if (rcpt != nullptr && ::strcasecmp(rcpt, address) == 0) {
            return r;
        }
    }
    return -1;
}
