// The state file of a mail: its one writer and its one reader.

#include "common/error.h"
#include "common/stream/file.h"
#include "common/thread/thread.h"
#include "queue/mail_item.h"
#include "queue/record_rules.h"

#include <climits>
#include <cstring>
#include <memory>

namespace {

namespace Format = RecordFormat;
using namespace RecordRules;

int fail(unsigned code) {
    Thread::setLastError(code);
    return -1;
}

// Collects small pieces of a file into few writes: a whole record of a few recipients goes out in
// one. What the caller gives last is written by flush.
class Gather {
public:
    explicit Gather(File& target) : file(target) {}
    Gather(const Gather&) = delete;
    Gather& operator=(const Gather&) = delete;

    // False once the file has refused something; what is put after that is dropped.
    bool put(const void* data, int size) {
        if (size > capacity - used && !flush()) {
            return false;
        }
        if (size > capacity) {
            good = good && file.writeAll(data, size) == size;
            return good;
        }
        std::memcpy(buffer + used, data, static_cast<std::size_t>(size));
        used += size;
        return good;
    }

    bool flush() {
        if (good && used > 0) {
            good = file.writeAll(buffer, used) == used;
        }
        used = 0;
        return good;
    }

private:
    static constexpr int capacity = 4096;

    File& file;
    int used = 0;
    bool good = true;
    char buffer[capacity];
};

} // namespace

int MailItem::saveToFile(int* sizeChange) {
    if (record == nullptr || stateFile == nullptr) {
        return -1;
    }
    if (rcptCount >= Format::rcptLimit || strings.size() > Format::stringLimit) {
        return fail(HE_FBIG); // it could not be read again
    }
    const bool whole = savedStrings == 0;
    if (upgraded && checkAddresses() == -1) {
        return -1; // the old file can still be read, the new one could not
    }
    long long bytes = 0;
    const int result = writeRecord(whole, bytes);
    stateFileEmpty = false;
    if (result == -1) {
        savedStrings = 0;
        return -1;
    }
    upgraded = false;
    const int count = strings.size();
    // A count beyond the field's width would say a wrong place: then every save is a whole one.
    savedStrings = count <= UINT16_MAX ? static_cast<std::uint16_t>(count) : std::uint16_t{0};
    if (sizeChange != nullptr) {
        const long long size = bytes + 8LL * ((count - 1) | 15) + 136;
        const int newSize = size < INT_MAX ? static_cast<int>(size) : INT_MAX;
        *sizeChange = newSize - memorySize;
        memorySize = newSize;
    }
    return 0;
}

// Writes everything, or the record in place and the new strings at the end. `bytes` becomes the
// size of what stands behind the header, strings that are absent left out as far as they are known.
int MailItem::writeRecord(bool whole, long long& bytes) {
    Gather out(*stateFile);
    if (whole) {
        // A file just made is empty, and its position is the start.
        if (!stateFileEmpty && stateFile->truncate(0) == -1) {
            return -1;
        }
        out.put(signature, Format::signatureBytes);
        out.put(&versionMajor, sizeof versionMajor);
        out.put(&versionMinor, sizeof versionMinor);
    } else if (stateFile->lseek(Format::headerBytes, Stream::SeekStart) != Format::headerBytes) {
        return -1;
    }
    setField(Format::rcptCount, rcptCount);
    const int recordSize = static_cast<int>(Format::recordBytes(versionSlots, rcptCount));
    if (!out.put(record, recordSize)) {
        return -1;
    }
    bytes = recordSize;
    if (!whole) {
        const long long end = out.flush() ? stateFile->lseek(0, Stream::SeekEnd) : -1;
        if (end < Format::headerBytes) {
            return -1;
        }
        bytes = end - Format::headerBytes;
    }
    const int count = strings.size();
    for (int i = whole ? 0 : savedStrings; i < count; ++i) {
        const char* const text = strings.get(i);
        const int size = text != nullptr ? static_cast<int>(std::strlen(text)) + 1 : 1;
        if (!out.put(text != nullptr ? text : "", size)) {
            return -1;
        }
        bytes += text != nullptr ? size : 0;
    }
    return out.flush() ? 0 : -1;
}

void MailItem::dropRecord() {
    delete[] record;
    record = nullptr;
}

// Back to a mail that holds nothing, for a load and after a failed one.
void MailItem::forgetContent() {
    dropRecord();
    params.clear();
    strings.clear();
    savedStrings = 0;
    rcptCount = 0;
    versionSlots = 0;
    upgraded = false;
    state.store(UNBOUND, std::memory_order_relaxed);
}

int MailItem::loadFromFile() {
    if (stateFile == nullptr) {
        return -1;
    }
    forgetContent();
    if (loadContent() == -1) {
        const unsigned error = Thread::getLastError();
        forgetContent();
        return fail(error);
    }
    return 0;
}

int MailItem::loadContent() {
    if (stateFile->lseek(0, Stream::SeekStart) != 0) {
        return -1;
    }
    unsigned char header[Format::headerBytes];
    if (readExactly(header, sizeof header, HE_SIGNATURE) == -1) {
        return -1;
    }
    if (std::memcmp(header, signature, Format::signatureBytes) != 0) {
        return fail(HE_SIGNATURE);
    }
    const auto major = Format::load<std::uint16_t>(header + Format::signatureBytes);
    if (major != versionMajor) {
        return loadFromVersion(
            major, Format::load<std::uint16_t>(header + Format::signatureBytes + sizeof major));
    }
    long long tableSize = 0;
    bool corrupted = false;
    if (readRecord(tableSize) == -1 || readStrings(static_cast<int>(tableSize), corrupted) == -1) {
        return -1;
    }
    std::uint32_t stored = record[Format::stateWord];
    if (stored >= UNAVAILABLE) {
        stored = PROCESSING_ERROR;
        record[Format::stateWord] = PROCESSING_ERROR;
    }
    if (checkPaths() == -1 || completeFront() == -1 || checkRecipients(corrupted) == -1) {
        return -1;
    }
    readParams();
    state.store(stored, std::memory_order_relaxed);
    return 0;
}

int MailItem::readExactly(void* buffer, int size, unsigned shortError) {
    if (stateFile->readAll(buffer, size) == size) {
        return 0;
    }
    return stateFile->getInputState() == Stream::StateError ? -1 : fail(shortError);
}

// The fixed block, the version and the recipient records. The counts are held against the size of
// the file before memory is taken for them.
int MailItem::readRecord(long long& tableSize) {
    unsigned char block[Format::blockBytes];
    if (readExactly(block, sizeof block, HE_BADFILE) == -1) {
        return -1;
    }
    const auto rcpts = Format::load<std::uint32_t>(block + Format::rcptCount);
    const auto original = Format::load<std::uint32_t>(block + Format::originalRCPTCount);
    const auto last = Format::load<std::uint32_t>(block + Format::lastVersion);
    if (rcpts >= Format::rcptLimit || last >= Format::versionLimit) {
        return fail(HE_BADFILE);
    }
    const std::uint32_t slots = Format::versionSlotsFor(last);
    const std::uint32_t size = Format::recordBytes(slots, rcpts);
    const long long fileSize = stateFile->getSize();
    if (fileSize == -1) {
        return -1;
    }
    tableSize = fileSize - Format::headerBytes - static_cast<long long>(size);
    if (tableSize < 1 || tableSize > INT_MAX) {
        return fail(HE_BADFILE);
    }
    rcptCount = rcpts;
    versionSlots = slots;
    // Where recipients were added before, more may follow.
    rcptRoom = rcpts != original ? (rcpts | 15) + 1 : rcpts;
    record = new unsigned char[Format::recordBytes(slots, rcptRoom)]();
    std::memcpy(record, block, sizeof block);
    return readExactly(record + sizeof block, static_cast<int>(size - sizeof block), HE_BADFILE);
}

// The string table, up to the end of the file. A last string without its end is damaged.
int MailItem::readStrings(int tableSize, bool& corrupted) {
    const std::unique_ptr<char[]> table(new char[static_cast<std::size_t>(tableSize)]);
    if (readExactly(table.get(), tableSize, HE_BADFILE) == -1) {
        return -1;
    }
    const char* const end = table.get() + tableSize;
    corrupted = end[-1] != '\0';
    table[static_cast<std::size_t>(tableSize) - 1] = '\0';
    for (const char* text = table.get(); text != end;) {
        const std::size_t length = std::strlen(text);
        if (!appendString(text, length)) {
            return -1;
        }
        text += length + 1;
    }
    const int count = strings.size();
    savedStrings = count <= UINT16_MAX ? static_cast<std::uint16_t>(count) : std::uint16_t{0};
    if (corrupted) {
        delete[] strings.get(count - 1);
        strings.removeAt(count - 1);
        appendString(corruptedText, sizeof corruptedText - 1);
        // A string appended to the file would run into the one without an end.
        savedStrings = 0;
    }
    return 0;
}

int MailItem::checkPaths() const {
    return isPath(getString(0)) && isPath(getString(1)) ? 0 : fail(HE_BADFILE);
}

// A mail without recipients may lack the sender name. A link counts from behind three strings, so
// what is added later must not take the name's place: an added recipient would part it from its
// link. The name is not counted as saved, and the next save appends it before what follows.
int MailItem::completeFront() {
    constexpr char none[] = "<>";
    return strings.size() >= Format::frontStrings || appendString(none, sizeof none - 1) ? 0 : -1;
}

// Whether the format's reader takes the mail's paths and addresses.
int MailItem::checkAddresses() const {
    for (int r = 0; r < getRCPTCount(); ++r) {
        if (!isRecipient(getRCPT(r))) {
            return fail(HE_BADFILE);
        }
    }
    return checkPaths();
}

// Each recipient has an address; a code or a link that is out of range is repaired. A fixed folder
// id is above any link and stays.
int MailItem::checkRecipients(bool corrupted) {
    const std::uint32_t others = static_cast<std::uint32_t>(strings.size()) - rcptCount;
    for (int r = 0; r < static_cast<int>(rcptCount); ++r) {
        if (!isRecipient(getRCPT(r))) {
            return fail(HE_BADFILE);
        }
        unsigned char* const rcpt = rcptRecord(r);
        if (rcpt[Format::rcptStateWord] >= UNAVAILABLE) {
            rcpt[Format::rcptStateWord] = PROCESSING_ERROR;
        }
        const auto mbox = Format::load<std::int32_t>(rcpt + Format::rcptMbox);
        if (mbox >= static_cast<std::int32_t>(others) && !Format::isFolderId(mbox)) {
            Format::store(rcpt + Format::rcptMbox, std::int32_t{0});
        }
        if (Format::load<std::uint32_t>(rcpt + Format::rcptFailInfo) >= others) {
            if (!corrupted && !appendString(corruptedText, sizeof corruptedText - 1)) {
                return -1;
            }
            corrupted = true;
            Format::store(rcpt + Format::rcptFailInfo,
                          static_cast<std::uint32_t>(strings.size()) - 1 - rcptCount);
        }
        if (Format::load<std::uint32_t>(rcpt + Format::rcptMboxHead) >= others) {
            Format::store(rcpt + Format::rcptMboxHead, std::uint32_t{0});
        }
    }
    return 0;
}
