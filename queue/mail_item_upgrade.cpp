// A mail in memory from a state file of an older format: the loader of that format tells what it
// holds, and the mail is built from it by the same calls as a new one.

#include "common/container/key.h"
#include "common/container/rb_tree.h"
#include "common/error.h"
#include "common/stream/file.h"
#include "common/thread/thread.h"
#include "queue/mail_item.h"
#include "queue/mail_item_loader.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

namespace {

namespace Format = RecordFormat;

constexpr int maxFolders = 4096;
constexpr int listOrder = 16;
constexpr std::uint32_t retryMask = 0xFFFF;

// A filter action is "%02X:%s", code and text.
constexpr int actionTextOffset = 3;
constexpr int actionFolder = 0;

// The code of an action, or -1 for a text of another form.
int actionCode(const char* action) {
    const auto isHex = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
    return isHex(action[0]) && isHex(action[1]) && action[2] == ':'
               ? static_cast<int>(std::strtoul(action, nullptr, 16))
               : -1;
}

// Texts that several recipients have: each is stored once. The same pointer is the same text, which
// spares the comparison of long ones.
class SharedTexts {
public:
    explicit SharedTexts(MailItem& target) : item(target) {}

    // The index of the text in the mail's string table, or -1 for a full one.
    int indexOf(const char* text) {
        const auto known = byPlace.find(text);
        if (known != byPlace.end()) {
            return known->second;
        }
        const auto [place, fresh] = byText.try_emplace(text, 0);
        if (fresh) {
            place->second = item.addString(text);
        }
        byPlace[text] = place->second;
        return place->second;
    }

private:
    struct TextLess {
        bool operator()(const char* a, const char* b) const { return std::strcmp(a, b) < 0; }
    };

    MailItem& item;
    std::unordered_map<const char*, int> byPlace;
    std::map<const char*, int, TextLess> byText;
};

// Calls work(key, value) for each entry and empties the tree.
template <class Key, class Work> void drain(Tree& tree, const Work& work) {
    HKey* key = nullptr;
    void* value = nullptr;
    for (int found = tree.first(key, value); found == 0; found = tree.next(key, value)) {
        work(static_cast<Key*>(key)->getValue(), static_cast<const char*>(value));
    }
    tree.empty(Tree::DeleteKey);
}

} // namespace

int MailItem::loadFromVersion(std::uint16_t major, std::uint16_t minor) {
    const MailItemVersioner* versioner = MailItemVersioner::first;
    while (versioner != nullptr && versioner->getVersion() != major) {
        versioner = versioner->getNext();
    }
    if (versioner == nullptr) {
        Thread::setLastError(HE_VERSION);
        return -1;
    }
    const std::unique_ptr<const MailItemLoader> old(
        versioner->load(static_cast<unsigned>(id), stateFile, static_cast<unsigned char>(minor)));
    if (old == nullptr) {
        return -1;
    }
    if (upgradeEnvelope(*old) == -1) {
        forgetContent();
        Thread::setLastError(HE_BADFILE);
        return -1;
    }
    upgradeVersions(*old);
    upgradeParams(*old);
    upgradeRecipients(*old);
    setField(Format::rcptCount, rcptCount);
    savedStrings = 0;
    upgraded = true;
    return 0;
}

// Paths and recipients, and the fixed block. -1 where one of the texts is missing.
int MailItem::upgradeEnvelope(const MailItemLoader& old) {
    const char* const rpath = old.getRPath();
    const char* const authPath = old.getAuthPath();
    const char* const senderName = old.getSenderName();
    if (rpath == nullptr || authPath == nullptr || senderName == nullptr) {
        return -1;
    }
    setState(NEW_MAIL);
    setRPath(rpath, authPath, senderName);
    const std::uint32_t original = old.getOriginalRCPTCount();
    const auto addUpTo = [this, &old](std::uint32_t end) {
        while (rcptCount < end) {
            const char* const address = old.getRCPTPath(rcptCount);
            if (address == nullptr || addRCPT(address) == -1) {
                return -1;
            }
        }
        return 0;
    };
    if (addUpTo(original) == -1) {
        return -1;
    }
    endRCPT(nullptr);
    endData(nullptr, old.getSourceType(), nullptr);
    if (addUpTo(old.getRCPTCount()) == -1) {
        return -1;
    }
    setState(old.getState());
    // Where the old format has the source apart from its flags, endData has stored it.
    const std::uint32_t source = getField(Format::stateWord) & Format::sourceFlag;
    setField(Format::stateWord, (old.getFlags() & ~Format::stateMask) | source);
    storeState();
    setLastVersion(old.getLastVersion());
    setField(Format::recvDate, old.getRecvDate());
    setField(Format::nextSchedule, old.getNextSchedule());
    setField(Format::delayDelivery, old.getDelayDelivery());
    setField(Format::retryCount, old.getRetryCount() & retryMask);
    return 0;
}

void MailItem::upgradeVersions(const MailItemLoader& old) {
    RBTree found;
    if (old.getFilterInfo(&found) == 0) {
        upgradeFilterInfo(Format::filterInfoHead, found);
    }
    const std::uint32_t last = getField(Format::lastVersion);
    for (std::uint32_t version = 0; version <= last; ++version) {
        setVersionField(version, Format::parentVersion, old.getParentVersion(version));
        setVersionField(version, Format::headerSize, old.getCachedHeaderSize(version));
        if (old.getDataFilterInfo(version, &found) == 0) {
            upgradeFilterInfo(dataFilterInfoField(version), found);
        }
    }
}

void MailItem::upgradeFilterInfo(int field, Tree& found) {
    drain<StringRefKey>(found, [&](const char* key, const char* value) {
        doSetFilterInfo(field, key, addString(value));
    });
}

void MailItem::upgradeParams(const MailItemLoader& old) {
    SimpleVector<const char*> texts;
    old.listParams(texts);
    for (int i = 0; i < texts.size; ++i) {
        if (const char* const end = std::strchr(texts[i], '=')) {
            setParam(std::string(texts[i], end).c_str(), end + 1);
        }
    }
}

// The recipients of one data version have the same slots, and so they share one chain: what is
// added to a recipient's later goes ahead of it. The name of a folder is shared where the old mail
// shares it. Filter actions may add recipients at the end, about whom the old mail knows nothing.
void MailItem::upgradeRecipients(const MailItemLoader& old) {
    SharedTexts failures(*this);
    std::unordered_map<std::uint32_t, std::uint32_t> slotHeads; // by data version
    std::unordered_map<const char*, int> mboxes;                // by the name's place
    RBTree found;
    const std::unique_ptr<const char*[]> folders(new const char*[maxFolders]);
    const int count = static_cast<int>(old.getRCPTCount());
    for (int r = 0; r < count; ++r) {
        const auto rcpt = static_cast<std::uint32_t>(r);
        const std::uint32_t version = old.getRCPTDataVersion(rcpt);
        setRCPTState(r, old.getRCPTState(rcpt));
        setRCPTDataVersion(r, version);
        const auto stored = getRCPTField(r, Format::rcptStateWord) & Format::stateMask;
        setRCPTField(r, Format::rcptStateWord,
                     (old.getRCPTFlags(rcpt) & ~Format::stateMask) | stored);
        setRCPTField(r, Format::rcptMessageFlags, old.getRCPTMessageFlags(rcpt));
        setRCPTField(r, Format::rcptDomainId, old.getRCPTDomainId(rcpt));
        setRCPTField(r, Format::rcptAccountId, old.getRCPTAccountId(rcpt));

        const int named = old.getRCPTMboxes(rcpt, folders.get(), maxFolders);
        for (int i = 0; i < named && i < maxFolders; ++i) {
            const char* const name = folders[static_cast<std::size_t>(i)];
            const auto [place, fresh] = mboxes.try_emplace(name, 0);
            const int mbox = fresh ? place->second = addFolder(name) : place->second;
            if (i == 0 && mbox != -1) {
                setRCPTField(r, Format::rcptMbox, mbox);
            } else if (i > 0 && addRCPTMbox(r, mbox) == -1) {
                break;
            }
        }
        upgradeFilterActions(old, r);

        const char* const failure = old.getRCPTFailInfo(rcpt);
        if (failure != nullptr && *failure != '\0') {
            const int index = failures.indexOf(failure);
            if (index == -1) {
                return;
            }
            setRCPTField(r, Format::rcptFailInfo, static_cast<std::uint32_t>(index));
        }
        if (old.getRCPTFilterInfo(rcpt, &found) == 0) {
            upgradeFilterInfo(rcptFilterInfoField(r), found);
        }
        const auto shared = slotHeads.find(version);
        if (shared != slotHeads.end()) {
            setRCPTField(r, Format::rcptMessageSlotsHead, shared->second);
        } else if (old.getRCPTMessageSlots(rcpt, &found) == 0) {
            upgradeSlots(Format::rcptMessageSlotsHead, r, found);
            slotHeads[version] = getRCPTField(r, Format::rcptMessageSlotsHead);
        }
        if (old.getRCPTPropertySlots(rcpt, &found) == 0) {
            upgradeSlots(Format::rcptPropertySlotsHead, r, found);
        }
    }
}

void MailItem::upgradeSlots(int field, int rcpt, Tree& found) {
    drain<Int32Key>(found, [&](std::int32_t slot, const char* value) {
        doAddRCPTSlot(field, rcpt, slot, addString(value));
    });
}

// The folder id of a name: a fixed one, or the index of a new string; -1 for a full table.
int MailItem::addFolder(const char* name) {
    const int fixed = getRCPTMboxId(name);
    return fixed != -1 ? fixed : addString(name);
}

void MailItem::upgradeFilterActions(const MailItemLoader& old, int rcpt) {
    HVector<const char*> actions(listOrder);
    old.getFilterActions(static_cast<std::uint32_t>(rcpt), &actions);
    for (int i = 0; i < actions.size(); ++i) {
        const char* const action = actions.get(i);
        const int code = actionCode(action);
        if (code == -1) {
            continue;
        }
        const char* const text = action + actionTextOffset;
        if (code == actionFolder) {
            addRCPTMbox(rcpt, addFolder(text));
        } else if (std::strchr(text, '@') != nullptr) {
            addRCPT(text);
        }
    }
}
