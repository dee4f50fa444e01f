// The data versions of a mail: their numbers and descent in the record, and streams on their files.

#include "common/aptr.h"
#include "common/error.h"
#include "common/stream/chunker_stream.h"
#include "common/stream/file.h"
#include "common/thread/critical_section.h"
#include "common/thread/thread.h"
#include "message/line_tokenizer.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"

#include <fcntl.h>

#include <climits>
#include <cstring>

namespace {

namespace Format = RecordFormat;
using Locker = CriticalSection::Locker;

constexpr std::int32_t sizeUnknown = -1;

// Lines that end in CR LF, without their ends.
constexpr int headerLineFlags = 132;

// Reads the headers of a data file from its start: their size with the empty line, or -1, also
// where reading fails: kept as a size, what was read so far would cut the mail in two. A line too
// long for the tokenizer comes in pieces, of which an empty last one is no empty line.
std::int32_t readHeaderSize(File& file) {
    LineTokenizer tokenizer(&file, headerLineFlags, true);
    bool lineStart = true;
    while (tokenizer.getInputState() == Stream::StateGood) {
        int length = 0;
        const void* const line = tokenizer.readToken(length);
        if (line == nullptr) {
            return sizeUnknown;
        }
        if (length == 0 && lineStart) {
            break;
        }
        lineStart = tokenizer.lastTokenCompleted();
    }
    if (tokenizer.getInputState() == Stream::StateError) {
        return sizeUnknown;
    }
    const long long end = tokenizer.lseek(0, Stream::SeekCurrent);
    return end <= INT_MAX ? static_cast<std::int32_t>(end) : sizeUnknown;
}

} // namespace

unsigned MailItem::getNextDataVersion(MailQueue* queue, char* buffer, int& size) {
    if (record == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return 0;
    }
    const unsigned next = getField(Format::lastVersion) + 1;
    if (next >= Format::versionLimit) {
        Thread::setLastError(HE_FBIG);
        return 0;
    }
    if (queue != nullptr && buffer != nullptr &&
        copyDataFileName(queue, next, buffer, size) == -1) {
        return 0;
    }
    return next;
}

int MailItem::registerNextDataVersion(unsigned version, unsigned parent) {
    if (record == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    const auto last = getField(Format::lastVersion);
    if (parent > last || version != last + 1) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (version >= Format::versionLimit) {
        Thread::setLastError(HE_FBIG);
        return -1;
    }
    setLastVersion(version);
    setVersionField(version, Format::parentVersion, parent);
    return 0;
}

void MailItem::setLastVersion(unsigned version) {
    if (record == nullptr || version <= getField(Format::lastVersion)) {
        return;
    }
    if (version >= versionSlots) {
        growVersions(Format::versionSlotsFor(version));
    }
    for (unsigned v = getField(Format::lastVersion) + 1; v <= version; ++v) {
        std::memset(versionRecord(v), 0, Format::versionBytes);
        setVersionField(v, Format::headerSize, sizeUnknown);
    }
    setField(Format::lastVersion, version);
}

// More version records, which moves the recipients': the file is rewritten as a whole.
void MailItem::growVersions(std::uint32_t slots) {
    auto* const grown = new unsigned char[Format::recordBytes(slots, rcptRoom)]();
    std::memcpy(grown, record, Format::recordBytes(versionSlots, 0));
    std::memcpy(grown + Format::recordBytes(slots, 0), versionRecord(versionSlots),
                static_cast<std::size_t>(rcptCount) * Format::rcptBytes);
    delete[] record;
    record = grown;
    versionSlots = slots;
    savedStrings = 0;
}

bool MailItem::isMailVersionDerivedFrom(unsigned version, unsigned ancestor) const {
    if (!checkVersion(version)) {
        return false;
    }
    if (ancestor == 0) {
        return true;
    }
    for (int steps = 0; steps < Format::maxChainLinks && version != 0 && version < versionSlots;
         ++steps) {
        if (version == ancestor) {
            return true;
        }
        version = getVersionField(version, Format::parentVersion);
    }
    return false;
}

File* MailItem::openDataFile(MailQueue* queue, unsigned version) {
    if (!checkVersion(version)) {
        return nullptr;
    }
    aptr<Stream> guard;
    File* file = nullptr;
    {
        Locker locked(queue->getLock());
        file = new File(queue->getDataFileName(id, version));
        guard = file;
    }
    if (file->open(O_RDWR) == -1) {
        return nullptr;
    }
    file->clearName();
    static_cast<void>(guard.giveAway());
    return file;
}

Stream* MailItem::openDataStream(MailQueue* queue, unsigned version) {
    return openDataFile(queue, version);
}

// The data file at its start, with the size of its headers found.
File* MailItem::openSplitFile(MailQueue* queue, unsigned version, int& headerSize) {
    File* const file = openDataFile(queue, version);
    if (file == nullptr) {
        return nullptr;
    }
    aptr<Stream> guard(file);
    headerSize = getCachedHeaderSize(version);
    if (headerSize < 0) {
        headerSize = readHeaderSize(*file);
        setVersionField(version, Format::headerSize, headerSize);
        if (headerSize < 0 || file->lseek(0, Stream::SeekStart) == -1) {
            return nullptr;
        }
    }
    static_cast<void>(guard.giveAway());
    return file;
}

Stream* MailItem::openHeaderStream(MailQueue* queue, unsigned version) {
    int headerSize = 0;
    const aptr<Stream> file(openSplitFile(queue, version, headerSize));
    return file.get() != nullptr ? new ChunkerStream(file, 0, headerSize) : nullptr;
}

Stream* MailItem::openBodyStream(MailQueue* queue, unsigned version) {
    int headerSize = 0;
    const aptr<Stream> file(openSplitFile(queue, version, headerSize));
    return file.get() != nullptr ? new ChunkerStream(file, headerSize, -1) : nullptr;
}

int MailItem::getHeaderSize(MailQueue* queue, unsigned version, bool rescan) {
    if (!checkVersion(version)) {
        return -1;
    }
    const int known = getCachedHeaderSize(version);
    if (known >= 0 && !rescan) {
        return known;
    }
    File* const file = openDataFile(queue, version);
    if (file == nullptr) {
        return -1;
    }
    const aptr<Stream> guard(file);
    const std::int32_t size = readHeaderSize(*file);
    setVersionField(version, Format::headerSize, size);
    return size;
}

int MailItem::getCachedHeaderSize(unsigned version) const {
    return record != nullptr && version <= getField(Format::lastVersion)
               ? getVersionField<std::int32_t>(version, Format::headerSize)
               : sizeUnknown;
}
