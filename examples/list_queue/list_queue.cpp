// Lists a mail queue, one mail a line, in the order of the ids:
//     id <TAB> state <TAB> bytes <TAB> age in seconds <TAB> sender <TAB> recipient,recipient...
//
// It makes nothing, changes nothing and locks nothing, so it may run beside the server and beside
// any number of submissions. What it tells about a mail is what the files held at one moment: a
// mail may be gone or in another state a moment later. A mail that goes away meanwhile is left out.
//
// The library opens a state file for reading and writing, as its owner would, though nothing is
// written here: run this as root or as the server's user. Who may only read a mail is told so.
//
// Exit code: 0, 1 if there are mails that cannot be read, 2 if there is no queue to list.

#include "common/error.h"
#include "common/stream/directory.h"
#include "common/thread/thread.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"
#include "queue/record_format.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

namespace {

// Texts of a mail come from outside: what could move a terminal's cursor is shown as "?".
void printText(const char* text) {
    for (; text != nullptr && *text != '\0'; ++text) {
        std::putchar(std::isprint(static_cast<unsigned char>(*text)) != 0 ? *text : '?');
    }
}

// The ids of the mails in the queue: directory "%02X" and state file "S%04X" make six digits.
std::vector<int> findMails(const char* path) {
    std::vector<int> ids;
    for (int number = 0; number <= 0xFF; ++number) {
        char name[Dir::MaxPath];
        std::snprintf(name, sizeof name, "%s/%02X", path, static_cast<unsigned>(number));
        Dir directory(name);
        const File* file =
            directory.findFirst("S[0-9A-F][0-9A-F][0-9A-F][0-9A-F]", Dir::ExcludeDirectories);
        for (; file != nullptr; file = directory.findNext()) {
            const char* digits = std::strrchr(file->getName(), '/') + 2;
            ids.push_back(number << 16 | static_cast<int>(std::strtol(digits, nullptr, 16)));
        }
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

// The size of a file, or -1 if it cannot be looked at.
long long fileSize(const char* name) {
    const File file(name);
    const File::Attributes* attributes = file.getAttributes();
    return attributes != nullptr ? attributes->size : -1;
}

void printMail(MailQueue& queue, MailItem* item) {
    const unsigned state = item->getField(RecordFormat::stateWord) & RecordFormat::stateMask;
    const char* stateText = state < 128 ? MailItem::globalStateCodes[state] : nullptr;

    char dataFile[Dir::MaxPath];
    int length = sizeof dataFile;
    const bool named = item->getDataFileName(&queue, 0, dataFile, length) == 0;

    const long long age = static_cast<long long>(std::time(nullptr)) -
                          item->getField<std::int64_t>(RecordFormat::recvDate);
    std::printf("%06X\t%s\t%lld\t%lld\t", static_cast<unsigned>(item->getId()),
                stateText != nullptr ? stateText : "unknown state",
                named ? fileSize(dataFile) : -1LL, age);
    printText(item->getString(0));
    for (int rcpt = 0; rcpt < item->getRCPTCount(); ++rcpt) {
        std::putchar(rcpt == 0 ? '\t' : ',');
        printText(item->getRCPT(rcpt));
    }
    std::putchar('\n');
}

// A mail that cannot be loaded: still being made (its state file is empty), gone, or trouble.
// True for trouble.
bool explainMissing(MailQueue& queue, int id, unsigned error) {
    char name[Dir::MaxPath];
    {
        CriticalSection::Locker locked(queue.getLock());
        std::snprintf(name, sizeof name, "%s", queue.getStateFileName(id));
    }
    const long long size = fileSize(name);
    if (size < 0 && Thread::getLastError() == HE_NOENT) {
        return false;
    }
    if (size == 0) {
        std::printf("%06X\tbeing made\n", static_cast<unsigned>(id));
        return false;
    }
    std::fprintf(stderr, "%s: %s\n", name, Thread::getErrorMessage(error));
    return true;
}

int listQueue(const char* path) {
    MailQueue queue;
    // With 0 entry directories the queue must be there, and nothing in it is made.
    if (queue.setDirectory(path, 0) == -1) {
        std::fprintf(stderr, "%s: %s\n", path, Thread::getErrorMessage());
        return 2;
    }
    int result = 0;
    for (const int id : findMails(path)) {
        bool badFile = false;
        MailItem* item = queue.rawBindMail(id, 0, false, badFile);
        if (item == nullptr) {
            if (explainMissing(queue, id, Thread::getLastError())) {
                result = 1;
            }
            continue;
        }
        printMail(queue, item);
        queue.rawUnbindMail(item, true);
    }
    return result;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: list_queue QUEUE-DIRECTORY\n", stderr);
        return 2;
    }
    Thread::init();
    const int result = listQueue(argv[1]);
    Thread::cleanup();
    return result;
}
