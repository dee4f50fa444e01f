// State files of the seven old formats: any bytes load or are refused, which leaves the file alone;
// what loads is saved in the present format and loads again as the same mail, except where an
// address is of a form that the present format refuses. Input: the major version, the minor
// version, and the file behind its header.

#include "common/container/rb_tree.h"
#include "common/error.h"
#include "common/thread/thread.h"
#include "fuzz/state_place.h"

namespace {

constexpr unsigned VersionCount = 7;

// Keeps the last version low: a high one claims megabytes of version records, which are filled and
// written again and again without anything new being run.
void lowerLastVersion(std::string& file, unsigned version) {
    const auto keep = [&file](std::size_t offset, std::size_t bytes) {
        for (std::size_t i = 1; i < bytes && 10 + offset + i < file.size(); ++i) {
            char& byte = file[10 + offset + i];
            byte = static_cast<char>(i == 1 ? byte & 0x0F : 0);
        }
    };
    if (version < 2) {
        keep(2, 2);
    } else if (version == 2) {
        keep(8, 4);
        keep(12, 4);
    } else if (version < 6) {
        keep(4, 4);
    }
}

bool hasAt(const char* text) {
    return text != nullptr && std::strchr(text, '@') != nullptr;
}

// Whether the present format takes the paths and addresses.
bool canBeSaved(MailItem* item) {
    bool good = true;
    for (const int path : {0, 1}) {
        const char* const text = item->getString(path);
        good = good && (hasAt(text) || (text != nullptr && std::strcmp(text, "<>") == 0));
    }
    for (int r = 0; r < item->getRCPTCount(); ++r) {
        good = good && hasAt(item->getRCPT(r));
    }
    return good;
}

// What the chains of the recipients hold.
std::string showChains(MailItem* item) {
    std::string text;
    for (int r = 0; r < item->getRCPTCount() && r < 32; ++r) {
        const char* names[16];
        const int count = item->getRCPTMboxes(r, names, 16);
        FUZZ_CHECK(count >= 0);
        text += '\n' + std::to_string(count);
        for (int i = 0; i < count && i < 16; ++i) {
            text += std::string(" ") + names[i];
        }
        RBTree slots;
        FUZZ_CHECK(item->doGetRCPTSlots(RecordFormat::rcptMessageSlotsHead, r, &slots) == 0);
        HKey* key = nullptr;
        void* value = nullptr;
        while (slots.next(key, value) == 0) {
            text += '\n' + std::to_string(static_cast<Int32Key*>(key)->getValue()) + '=' +
                    static_cast<const char*>(value);
        }
    }
    return text;
}

// Codes that the present format repairs on a load are repaired here, so that both sides compare.
// The state byte of the mail itself cannot be: it is compared apart.
void repairStates(MailItem* item) {
    for (int r = 0; r < item->getRCPTCount(); ++r) {
        if ((item->getRCPTField(r, RecordFormat::rcptStateWord) & RecordFormat::stateMask) >=
            MailItem::UNAVAILABLE) {
            item->setRCPTState(r, MailItem::PROCESSING_ERROR);
        }
    }
}

} // namespace

FUZZ_TARGET(legacy_state) {
    static fuzz::Place place;
    std::string file = "HMIQF$";
    const unsigned version = input.byte() % VersionCount;
    file += static_cast<char>(version);
    file += '\0';
    file += static_cast<char>(input.byte());
    file += '\0';
    file += input.rest();
    lowerLastVersion(file, version);
    fuzz::writeState(place.statePath, file);
    MailItem* item = place.bind();
    FUZZ_CHECK(support::readFile(place.statePath) == file);
    if (item == nullptr) {
        const unsigned error = Thread::getLastError();
        FUZZ_CHECK(error == HE_SIGNATURE || error == HE_VERSION || error == HE_BADFILE);
        return;
    }
    repairStates(item);
    const std::uint32_t state = item->getState();
    const std::string first = fuzz::show(item);
    const std::string chains = showChains(item);
    const bool savable = canBeSaved(item);
    const bool saved = item->saveToFile(nullptr) == 0;
    FUZZ_CHECK(saved == savable);
    FUZZ_CHECK(saved || support::readFile(place.statePath) == file);
    place.drop(item);
    if (!saved) {
        return;
    }
    item = place.bind();
    FUZZ_CHECK(item != nullptr);
    if (state < MailItem::UNAVAILABLE) {
        FUZZ_CHECK(fuzz::show(item) == first);
    } else {
        FUZZ_CHECK(item->getState() == MailItem::PROCESSING_ERROR);
    }
    FUZZ_CHECK(showChains(item) == chains);
    place.drop(item);
}
