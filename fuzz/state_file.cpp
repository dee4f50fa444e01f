// State files of the queue: any bytes load or are refused, and what loads is saved and loads again
// as the same mail. Input: the bytes of the file.

#include "fuzz/target.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"
#include "tests/support/temp_dir.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int Id = 0x42;
constexpr long long NextSchedule = 77;

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

    void drop(MailItem* item) { FUZZ_CHECK(queue.rawUnbindMail(item, true) >= 0); }

    support::TempDir dir;
    MailQueue queue;
    std::string statePath;
};

void writeState(const std::string& path, std::string_view bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    FUZZ_CHECK(fd != -1);
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    ::close(fd);
    FUZZ_CHECK(written == static_cast<ssize_t>(bytes.size()));
}

// All of a mail that its users can see, as one text.
std::string show(MailItem* item) {
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
    for (int i = 0; i < RecordFormat::frontStrings; ++i) {
        add(item->getString(i));
    }
    SimpleVector<const char*> params;
    item->listParams(params);
    for (int i = 0; i < params.size; ++i) {
        add(params[i]);
    }
    return text;
}

} // namespace

FUZZ_TARGET(state_file) {
    static Place place;
    writeState(place.statePath, input.rest());
    MailItem* item = place.bind();
    if (item == nullptr) {
        return;
    }
    item->rstadjust(NextSchedule);
    const std::string first = show(item);
    FUZZ_CHECK(item->saveToFile(nullptr) == 0);
    place.drop(item);

    item = place.bind();
    FUZZ_CHECK(item != nullptr);
    FUZZ_CHECK(show(item) == first);
    FUZZ_CHECK(item->getField<long long>(RecordFormat::nextSchedule) == NextSchedule);
    // A mail without recipients may lack the string in front of them, and links are counted from
    // where they would stand.
    const bool frontWhole = item->getString(RecordFormat::frontStrings - 1) != nullptr;
    const bool stored = item->setParam("fuzz", "value") == 0 && frontWhole;
    const int added = item->addRCPT("added@x");
    const int rcpts = item->getRCPTCount();
    FUZZ_CHECK(item->saveToFile(nullptr) == 0);
    place.drop(item);

    item = place.bind();
    FUZZ_CHECK(item != nullptr && item->getRCPTCount() == rcpts);
    if (stored) {
        FUZZ_CHECK(item->hasParam("fuzz") && std::strcmp(item->getParam("fuzz"), "value") == 0);
    }
    if (added >= 0) {
        FUZZ_CHECK(std::strcmp(item->getRCPT(added), "added@x") == 0);
    }
    place.drop(item);
}
