// What the targets over state files share: a queue with one mail whose state file they write, and a
// text of all that the mail's users can see.

#ifndef MORVEX_FUZZ_STATE_PLACE_H
#define MORVEX_FUZZ_STATE_PLACE_H

#include "fuzz/target.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"
#include "tests/support/temp_dir.h"

#include <fcntl.h>
#include <unistd.h>

namespace fuzz {

inline constexpr int Id = 0x42;
// A queue in a directory of its own, for the life of the process.
struct Place {
    Place() {
        FUZZ_CHECK(queue.setDirectory((dir / "queue").c_str(), 1) == 0);
        queue.getLock().enter();
        statePath = queue.getStateFileName(Id);
        queue.getLock().leave();
    }

    MailItem* bind() {
        bool badFile = false;
        MailItem* item = queue.bindMail(Id, 0, false, badFile);
        FUZZ_CHECK((item == nullptr) == badFile);
        return item;
    }

    // Takes the mail out of memory. One that is being processed would stay.
    void drop(MailItem* item) {
        item->setState(MailItem::RECEIVED);
        FUZZ_CHECK(queue.rawUnbindMail(item, true) >= 0);
    }

    support::TempDir dir;
    MailQueue queue;
    std::string statePath;
};

inline void writeState(const std::string& path, std::string_view bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    FUZZ_CHECK(fd != -1);
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    ::close(fd);
    FUZZ_CHECK(written == static_cast<ssize_t>(bytes.size()));
}

// All of a mail that its users can see, as one text.
inline std::string show(MailItem* item) {
    std::string text = std::to_string(item->getState());
    const auto add = [&text](const char* string) {
        text += '\n';
        text += string != nullptr ? string : "-";
    };
    FUZZ_CHECK(item->hasRecord() && item->getVersionSlots() % 16 == 0);
    for (const int field :
         {RecordFormat::stateWord, RecordFormat::lastVersion, RecordFormat::retryCount,
          RecordFormat::originalRCPTCount, RecordFormat::rcptCount, RecordFormat::paramHead,
          RecordFormat::filterInfoHead}) {
        text += ' ' + std::to_string(item->getField(field));
    }
    for (int r = 0; r < item->getRCPTCount(); ++r) {
        add(item->getRCPT(r));
        for (int field = 0; field < RecordFormat::rcptBytes; field += 4) {
            text += ' ' + std::to_string(item->getRCPTField(r, field));
        }
        add(item->getLinkedString(item->getRCPTField(r, RecordFormat::rcptFailInfo)));
    }
    for (std::uint32_t v = 0; v < item->getVersionSlots(); ++v) {
        for (int field = 0; field < RecordFormat::versionBytes; field += 4) {
            text += ' ' + std::to_string(item->getVersionField(v, field));
        }
    }
    for (int i = 0; item->getString(i) != nullptr; ++i) {
        add(item->getString(i));
    }
    SimpleVector<const char*> params;
    item->listParams(params);
    for (int i = 0; i < params.size; ++i) {
        add(params[i]);
    }
    return text;
}

} // namespace fuzz

#endif
