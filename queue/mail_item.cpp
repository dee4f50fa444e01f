// The life of a mail: made or loaded, filled, handed over, removed. The order of the file
// operations is a contract with the other processes on the queue's tree (queue/mail_item.h).

#include "queue/mail_item.h"

#include "common/error.h"
#include "common/log/log.h"
#include "common/stream/directory.h"
#include "common/stream/file.h"
#include "common/thread/critical_section.h"
#include "common/thread/thread.h"
#include "queue/incoming_stream.h"
#include "queue/mail_queue.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <memory>

namespace {

namespace Format = RecordFormat;
using Locker = CriticalSection::Locker;

constexpr int stringsOrder = 16;
constexpr char nullPath[] = "<>";
constexpr std::uint32_t firstVersionSlots = 16;

// The families of associated streams that go with their mail.
constexpr char removedFamilies[] = {'M', 'P'};

void destroyString(const char* text, void*) {
    delete[] text;
}

char* copyText(const char* text) {
    const std::size_t bytes = std::strlen(text) + 1;
    char* const copy = new char[bytes];
    std::memcpy(copy, text, bytes);
    return copy;
}

void initRecipient(unsigned char* rcpt) {
    Format::store<std::uint32_t>(rcpt + Format::rcptStateWord, MailItem::RECEIVED);
    Format::store(rcpt + Format::rcptDomainId, Format::idUnknown);
    Format::store(rcpt + Format::rcptAccountId, Format::idUnknown);
}

bool isRegular(const File& file) {
    const File::Attributes* attributes = file.getAttributes();
    return attributes != nullptr && S_ISREG(attributes->mode);
}

} // namespace

MailItem::MailItem() : strings(stringsOrder, destroyString), params(stringsOrder) {
}

MailItem::~MailItem() {
    if (stateFile != nullptr) {
        Stream::release(stateFile);
    }
    delete waitLock; // not in the queue's pool while the mail has it
    delete[] record;
}

MailItem* MailItem::newMail(MailQueue* queue) {
    std::unique_ptr<MailItem> item(new MailItem);
    if (item->claimId(queue) == -1) {
        return nullptr;
    }
    item->setState(NEW_MAIL);
    item->becomeOwned(queue);
    return item.release();
}

// Draws ids until the exclusive create of a state file succeeds: that makes the id unique across
// processes.
int MailItem::claimId(MailQueue* queue) {
    constexpr int maxTries = 16;
    bool existed = false;
    for (int left = maxTries - 1; left >= 0; --left) {
        const int drawn = queue->drawId();
        const char* const name = queue->getStateFileName(drawn);
        stateFile = new File(name);
        if (stateFile->open(O_RDWR | O_CREAT | O_EXCL) == 0) {
            stateFile->clearName();
            stateFileEmpty = true;
            id = drawn;
            return 0;
        }
        const unsigned error = Thread::getLastError();
        existed = existed || error == HE_EEXISTS;
        Stream::release(stateFile);
        stateFile = nullptr;
        logWarning("Unable to add file '%s' to incoming queue (%s), %d more retries", name,
                   Thread::getErrorMessage(error), left);
    }
    Thread::setLastError(existed ? HE_EEXISTS : HE_NOENT);
    return -1;
}

MailItem* MailItem::bindMail(MailQueue* queue, int id, bool& badFile) {
    std::unique_ptr<MailItem> item(new MailItem);
    item->id = id;
    const char* const name = queue->getStateFileName(id);
    if (item->openStateFile(name) == -1) {
        const unsigned error = Thread::getLastError();
        const File file(name);
        const File::Attributes* attributes = file.getAttributes();
        badFile =
            attributes == nullptr ? Thread::getLastError() == HE_NOENT : !S_ISREG(attributes->mode);
        Thread::setLastError(error);
        return nullptr;
    }
    if (item->loadFromFile() == -1) {
        badFile = true;
        return nullptr;
    }
    item->becomeOwned(queue);
    return item.release();
}

int MailItem::openStateFile(const char* name) {
    stateFile = new File(name);
    if (stateFile->open(O_RDWR) == 0) {
        stateFile->clearName();
        return 0;
    }
    const unsigned error = Thread::getLastError();
    Stream::release(stateFile);
    stateFile = nullptr;
    Thread::setLastError(error);
    return -1;
}

int MailItem::setRPath(const char* rpath, const char* authPath, const char* senderName) {
    if (getState() != NEW_MAIL) {
        return -1;
    }
    for (const char* text : {rpath, authPath, senderName}) {
        addString(text != nullptr ? text : nullPath);
    }
    setState(ADD_RCPTS);
    return 0;
}

int MailItem::addRCPT(const char* address) {
    if (rcptCount >= Format::rcptLimit) {
        Thread::setLastError(HE_NOMEM);
        return -1;
    }
    if (getState() == NEW_MAIL) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    const int index = static_cast<int>(rcptCount);
    std::unique_ptr<char[]> copy(address != nullptr ? copyText(address) : nullptr);
    if (!strings.insertAt(Format::frontStrings + index, copy.get())) {
        Thread::setLastError(HE_INVALOP); // a mail that holds no paths
        return -1;
    }
    static_cast<void>(copy.release()); // owned by `strings` now
    savedStrings = 0;
    if (record != nullptr) {
        growRecordForRCPT();
        initRecipient(rcptRecord(index));
    }
    ++rcptCount;
    return index;
}

// Room for one more recipient record. The record has exactly as much as its recipients took when
// the envelope was closed, and from then on a multiple of 16, which grows with the count so that
// many recipients take linear time.
void MailItem::growRecordForRCPT() {
    if (rcptCount < rcptRoom) {
        return;
    }
    rcptRoom = ((rcptCount + rcptCount / 4) | 15) + 1;
    auto* const grown = new unsigned char[Format::recordBytes(versionSlots, rcptRoom)]();
    std::memcpy(grown, record, Format::recordBytes(versionSlots, rcptCount));
    delete[] record;
    record = grown;
}

IncomingStream* MailItem::endRCPT(MailQueue* queue) {
    if (getState() != ADD_RCPTS) {
        return nullptr;
    }
    dropRecord(); // a loaded mail in this state has one
    versionSlots = firstVersionSlots;
    rcptRoom = rcptCount;
    record = new unsigned char[Format::recordBytes(versionSlots, rcptCount)]();
    setField(Format::rcptCount, rcptCount);
    setField(Format::originalRCPTCount, rcptCount);
    setField<std::int64_t>(Format::recvDate, std::time(nullptr));
    for (int r = 0; r < static_cast<int>(rcptCount); ++r) {
        initRecipient(rcptRecord(r));
    }
    if (queue == nullptr) {
        setState(GET_DATA);
        return nullptr;
    }
    IncomingStream* stream = nullptr;
    {
        Locker locked(queue->getLock());
        stream = new IncomingStream(queue->getDataFileName(id, 0));
    }
    if (stream->create() == 0) {
        setState(GET_DATA);
        return stream;
    }
    const unsigned error = Thread::getLastError();
    Stream::release(stream);
    dropRecord();
    versionSlots = 0;
    Thread::setLastError(error);
    return nullptr;
}

int MailItem::endData(MailQueue* queue, MailQueue::SourceTypes source, IncomingStream* stream) {
    if (getState() != GET_DATA) {
        return -1;
    }
    const std::uint32_t received = source == MailQueue::SourceRaw ? RAW_RECEIVED : RECEIVED;
    const std::uint32_t flags =
        getField(Format::stateWord) & ~(Format::stateMask | Format::sourceFlag);
    setField(Format::stateWord,
             flags | received | (source == MailQueue::SourceLocal ? Format::sourceFlag : 0));
    setField(Format::rcptCount, rcptCount);
    setField(Format::originalRCPTCount, rcptCount);
    if (finishData(source, stream) == -1) {
        return -1;
    }
    if (queue == nullptr) {
        setState(received);
        return 0;
    }
    int sizeChange = 0;
    if (saveToFile(&sizeChange) == -1) {
        return -1;
    }
    if (stateFile->flush() == -1 || !filesAreThere(queue)) {
        memorySize -= sizeChange; // the queue does not count it
        return -1;
    }
    setState(received);
    return sizeChange;
}

// Completes the data file, and stores the header size as far as it can be had from an open file.
int MailItem::finishData(MailQueue::SourceTypes source, IncomingStream* stream) {
    std::int32_t headerSize = -1;
    if (stream != nullptr) {
        if (stream->close(source == MailQueue::SourceRaw, true) == -1) {
            return -1;
        }
        stream->parseHeaders();
        if (stream->receivedCount >= 0 && stream->headerSize >= 0) {
            headerSize = stream->headerSize;
        }
    }
    Format::store(versionRecord(0) + Format::headerSize, headerSize);
    return 0;
}

// A mail may be removed by another process while it is being received; it is not handed over then.
bool MailItem::filesAreThere(MailQueue* queue) {
    File inQueue;
    File data;
    {
        Locker locked(queue->getLock());
        inQueue.rename(queue->getStateFileName(id));
        data.rename(queue->getDataFileName(id, 0));
    }
    if (isRegular(inQueue) && isRegular(data)) {
        return true;
    }
    Thread::setLastError(HE_NOENT);
    return false;
}

int MailItem::removeMail(MailQueue* queue) {
    if (getState() == UNBOUND) {
        return -1;
    }
    ::unlink(queue->getStateFileName(id));
    for (std::uint32_t version = 0;; ++version) {
        const bool removed = ::unlink(queue->getDataFileName(id, version)) == 0;
        if (!removed && version >= versionSlots) {
            break;
        }
    }
    for (const char family : removedFamilies) {
        Dir(queue->getAssociatedFileName(id, family)).remove(1);
    }
    setState(UNBOUND);
    return 0;
}

void MailItem::rstadjust(long long time) {
    if (record != nullptr) {
        setField<std::int64_t>(Format::nextSchedule, time);
        saveToFile(nullptr);
    }
}

int MailItem::getDataFileName(MailQueue* queue, unsigned version, char* buffer, int& size) {
    return checkVersion(version) ? copyDataFileName(queue, version, buffer, size) : -1;
}

// Whether there is a record with this version; sets the error otherwise.
bool MailItem::checkVersion(unsigned version) const {
    if (record == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return false;
    }
    if (version > getField(Format::lastVersion)) {
        Thread::setLastError(HE_INVAL);
        return false;
    }
    return true;
}

int MailItem::copyDataFileName(MailQueue* queue, unsigned version, char* buffer, int& size) {
    Locker locked(queue->getLock());
    const char* const name = queue->getDataFileName(id, version);
    const std::size_t length = std::strlen(name);
    if (size < 0 || length >= static_cast<std::size_t>(size)) {
        Thread::setLastError(HE_FBIG);
        return -1;
    }
    std::memcpy(buffer, name, length + 1);
    size = static_cast<int>(length);
    return 0;
}

char* MailItem::getStateFileName(MailQueue* queue) {
    Locker locked(queue->getLock());
    return copyText(queue->getStateFileName(id));
}

MailQueue::SourceTypes MailItem::getSourceType() const {
    if (record == nullptr || getField(Format::stateWord) == RAW_RECEIVED) {
        return MailQueue::SourceRaw;
    }
    return (getField(Format::stateWord) & Format::sourceFlag) != 0 ? MailQueue::SourceLocal
                                                                   : MailQueue::SourceNetwork;
}
