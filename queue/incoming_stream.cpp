#include "queue/incoming_stream.h"

#include "common/container/crc32.h"
#include "common/error.h"
#include "common/thread/thread.h"
#include "common/time/date_time.h"
#include "message/line_tokenizer.h"
#include "message/text_checks.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>

namespace {

constexpr int writerBytes = 4096;
constexpr int hookBlockBytes = 4096;

// The disk starts on a large message while more of it comes in, each time that this much is there.
constexpr int writeBackBytes = 1048576;
constexpr unsigned crcXor = 0xFFFFFFFF;
constexpr std::int32_t noSizeLimit = 0x7FFFFFFF;

// Header lines end in CR LF or NUL, and come without their end.
constexpr int headerLineFlags = 132;

// The flags of searchEOL that find a CR or an LF, each on its own, and no NUL.
constexpr int anyLineEnd = 0x13;

constexpr char receivedName[] = "received:";
constexpr char dateName[] = "date:";

bool beginsWith(const char* line, const char* name) {
    return ::strncasecmp(line, name, std::strlen(name)) == 0;
}

} // namespace

CastableId* IncomingStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* IncomingStream::doCastInternal(CastableId* id) const {
    if (id == getCastableClassId()) {
        return const_cast<IncomingStream*>(this);
    }
    return Stream::doCastInternal(id);
}

CastableId* IncomingStream::getOwnCastableId() const {
    return getCastableClassId();
}

IncomingStream::IncomingStream(const char* fileName)
    : file(fileName), writer(new BufferedWriterImpl(&file, writerBytes)) {
}

IncomingStream::~IncomingStream() {
    if (IncomingStream::close(true, true) == -1) {
        writer->resetComposableStream(); // a failed write is not tried again
    }
    Stream::release(writer);
}

int IncomingStream::create() {
    if (file.open(O_RDWR | O_CREAT | O_EXCL) == -1) {
        return -1;
    }
    // The server reads and writes what its users hand in, whatever umask they run with.
    if (::fchmod(file.getDescriptor(), 0660) == -1) {
        const unsigned error = Thread::getLastError();
        ::unlink(file.getName());
        file.close();
        Thread::setLastError(error);
        return -1;
    }
    file.clearName();
    return 0;
}

int IncomingStream::read(void* buffer, int size) {
    return file.read(buffer, size);
}

int IncomingStream::write(const void* data, int size) {
    if (headerState == HeadersEnd || tailState >= TailClosed) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    if (sizeLeft < 0 || size <= 0) {
        overflowed = overflowed || size > 0;
        return size;
    }
    const unsigned char* const bytes = static_cast<const unsigned char*>(data);
    if (headerState < HeadersEnd) {
        size = scanHeaders(bytes, size);
    } else if (fixLineEnds) {
        int result = 0;
        if (settleFix(bytes[0], result)) {
            return result;
        }
        size = cutAtLineEnd(bytes, size);
    }
    if (store(bytes, size) == -1) {
        return -1;
    }
    if (headerState == NoScan && fixLineEnds && fixState != FixNone) {
        // The line end that ended this piece goes out as CRLF in its place.
        if (store("\r\n", 2) == -1) {
            return -1;
        }
        tailState = TailCRLF;
        return size + 1;
    }
    if (headerState == HeadersEnd) {
        if (writer->flush() == -1 || file.lseek(0, SeekStart) == -1) {
            return -1;
        }
        tailState = TailCRLF;
        return size;
    }
    trackTail(bytes, size);
    return size;
}

// Counts, checks and writes what is to stand in the file.
int IncomingStream::store(const void* data, int size) {
    const long long left = static_cast<long long>(sizeLeft) - size;
    sizeLeft = left < INT_MIN ? INT_MIN : static_cast<std::int32_t>(left);
    nonASCII =
        nonASCII || !Utils::isASCII(static_cast<const char*>(data), static_cast<unsigned>(size));
    if (!writeOut(static_cast<const char*>(data), size)) {
        return -1;
    }
    if (size >= writeBackBytes - waitingForDisk) {
        file.startWriteBack();
        waitingForDisk = 0;
    } else {
        waitingForDisk += size;
    }
    if (computeCRC) {
        crc = CRC32(static_cast<const unsigned char*>(data), size, crc, crcXor);
    }
    return 0;
}

// A writer that has something waiting would send all that comes in pieces of its own size, and one
// that has nothing passes on what is large. So a large piece first completes what waits.
bool IncomingStream::writeOut(const char* data, int size) {
    const int room = writer->mustWrite() > 0 ? writer->canWrite() : 0;
    const int first = size - room >= writerBytes ? room : 0;
    return writer->writeAll(data, first) == first &&
           writer->writeAll(data + first, size - first) == size - first;
}

// Looks for the end of the headers. How many of the bytes are to be stored: all of them, or those
// up to the end, with headerState then HeadersEnd. LF LF, CRLF CRLF, LF CR LF and CRLF LF all count
// as the empty line; crlfSeen tells a line end that is still open from one that is complete.
int IncomingStream::scanHeaders(const unsigned char* data, int size) {
    for (int at = 0; at < size;) {
        if (headerState == ScanLine) {
            int length = 0;
            const int behind = Stream::searchEOL(anyLineEnd, data + at, size - at, length);
            if (behind == -1) {
                return size;
            }
            at += behind;
            headerState = data[at - 1] == '\r' ? ScanCR : ScanLF;
            continue;
        }
        if (headerState == ScanLF && crlfSeen && data[at] == '\r') {
            headerState = HeadersEnd;
            return at;
        }
        scanByte(data[at]);
        ++at;
        if (headerState == HeadersEnd) {
            return at;
        }
    }
    return size;
}

// One step of the scan behind a line end, for a byte that belongs to the headers.
void IncomingStream::scanByte(unsigned char byte) {
    switch (headerState) {
    case ScanLF:
        if (crlfSeen || byte == '\n') {
            headerState = HeadersEnd;
        } else if (byte == '\r') {
            crlfSeen = true;
            headerState = ScanCR;
        } else {
            headerState = ScanLine;
        }
        return;
    case ScanCR:
        if (byte == '\n') {
            headerState = crlfSeen ? HeadersEnd : ScanCRLF;
            crlfSeen = true;
            return;
        }
        crlfSeen = false;
        headerState = byte == '\r' ? ScanCR : ScanLine;
        return;
    default: // ScanCRLF
        if (byte == '\n') {
            headerState = ScanLF;
        } else if (byte == '\r') {
            headerState = ScanCR;
        } else {
            crlfSeen = false;
            headerState = ScanLine;
        }
        return;
    }
}

// Settles what the line-end rewriting carried over, by the byte that follows. True where that ends
// the write, with its result.
bool IncomingStream::settleFix(unsigned char byte, int& result) {
    result = 1;
    switch (fixState) {
    case FixCR:
        if (byte == '\n') { // the pair has gone out as one line end
            fixState = FixNone;
            tailState = TailCRLF;
            return true;
        }
        if (byte == '\r') {
            fixState = FixHeld;
            tailState = TailOpen;
            return true;
        }
        break;
    case FixLF:
        if (byte == '\r') { // LF CR counts as one line end too
            fixState = FixNone;
            tailState = TailCRLF;
            return true;
        }
        break;
    case FixHeld:
        if (byte == '\n') { // CR CR LF is a line end that went through a bad conversion
            fixState = FixNone;
            tailState = TailCRLF;
            return true;
        }
        if (store("\r\n", 2) == -1) {
            result = -1;
            return true;
        }
        if (byte == '\r') {
            tailState = TailOpen;
            return true;
        }
        break;
    default:
        break;
    }
    fixState = FixNone;
    return false;
}

// How many of the bytes stand before the first line end; fixState tells which one follows.
int IncomingStream::cutAtLineEnd(const unsigned char* data, int size) {
    int length = 0;
    const int behind = Stream::searchEOL(anyLineEnd, data, size, length);
    if (behind == -1) {
        return size;
    }
    fixState = data[behind - 1] == '\r' ? FixCR : FixLF;
    return behind - 1;
}

void IncomingStream::trackTail(const unsigned char* data, int size) {
    if (size < 1) {
        return;
    }
    const unsigned char last = data[size - 1];
    const bool behindCR = size == 1 ? tailState == TailCR : data[size - 2] == '\r';
    if (last == '\n' && behindCR) {
        tailState = TailCRLF;
    } else {
        tailState = last == '\r' ? TailCR : TailOpen;
    }
}

int IncomingStream::flush() {
    return writer->flush() == -1 ? -1 : file.flush();
}

long long IncomingStream::lseek(long long offset, Stream::Seek origin) {
    return file.lseek(offset, origin);
}

long long IncomingStream::getSize() const {
    return file.getSize();
}

Stream::State IncomingStream::getInputState() const {
    return file.getInputState();
}

Stream::State IncomingStream::getOutputState() const {
    return writer->getOutputState();
}

int IncomingStream::close(bool leaveTail, bool sync) {
    if (tailState == TailClosed) {
        if (sync && file.isOpen()) {
            file.close();
        }
        return 0;
    }
    if (tailState == TailFailed) {
        return -1;
    }
    if (!leaveTail && addTail() == -1) {
        tailState = TailFailed;
        return -1;
    }
    tailState = TailFailed; // until all that follows has worked
    if (headerState == HeadersEnd) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    if (writer->flush() == -1 || (sync ? syncAndClose() : file.flush()) == -1) {
        return -1;
    }
    tailState = TailClosed;
    return 0;
}

// Writes what is missing of the line end at the end of the data.
int IncomingStream::addTail() {
    if (tailState == TailCRLF) {
        return 0;
    }
    const bool halfDone = tailState == TailCR;
    return store(halfDone ? "\n" : "\r\n", halfDone ? 1 : 2);
}

// Either failure is final: after it nobody knows what of the data has reached the disk.
int IncomingStream::syncAndClose() {
    const int synced = file.forcedFlush();
    const unsigned error = Thread::getLastError();
    const int closed = file.isOpen() ? file.close() : -1;
    if (synced == -1) {
        Thread::setLastError(error);
    }
    return synced == 0 && closed == 0 ? 0 : -1;
}

int IncomingStream::resetStream() {
    close(true, false);
    writer->resetComposableStream(); // what a failed close left behind
    if (file.truncate(0) == -1) {
        return -1;
    }
    nonASCII = false;
    headerState = NoScan;
    crlfSeen = true;
    fixState = FixNone;
    tailState = TailOpen;
    receivedCount = -1;
    headerSize = 0;
    sizeLeft = noSizeLimit;
    overflowed = false;
    crc = 0;
    return 0;
}

void IncomingStream::parseHeaders() {
    if (receivedCount >= 0 || flush() == -1) {
        return;
    }
    const long long position = file.lseek(0, SeekCurrent);
    if (position == -1 || file.lseek(0, SeekStart) == -1) {
        return;
    }
    receivedCount = 0;
    {
        LineTokenizer tokenizer(&file, headerLineFlags, true);
        bool lineStart = true; // a line too long for the tokenizer comes in pieces
        while (tokenizer.getInputState() == StateGood) {
            int length = 0;
            const char* const line = static_cast<const char*>(tokenizer.readToken(length));
            if (line == nullptr || (length == 0 && lineStart)) {
                break;
            }
            if (lineStart) {
                noteHeader(line);
            }
            lineStart = tokenizer.lastTokenCompleted();
        }
        const long long end = tokenizer.lseek(0, SeekCurrent);
        headerSize = end <= INT_MAX ? static_cast<std::int32_t>(end) : -1;
    }
    file.lseek(position, SeekStart);
}

void IncomingStream::noteHeader(const char* line) {
    if (beginsWith(line, receivedName)) {
        ++receivedCount;
    } else if (beginsWith(line, dateName)) {
        DateTime date;
        date.setToNow();
        if (DateTime::strToDateTime(line + sizeof dateName - 1, date) == 0) {
            headerDate = static_cast<long long>(date.getUTC());
        }
    }
}

Stream* IncomingStream::getHeaderHookStream(bool start) {
    if (headerState == HeadersEnd) {
        return &file;
    }
    if (!start || headerState == NoScan || writer->flush() == -1 ||
        file.lseek(0, SeekStart) == -1) {
        return nullptr;
    }
    headerState = HeadersEnd;
    return &file;
}

int IncomingStream::finalizeHeaderHookCall() {
    if (headerState != HeadersEnd) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    headerState = NoScan;
    if (!computeCRC) {
        return file.lseek(0, SeekEnd) == -1 ? -1 : 0;
    }
    // The hook may have changed anything.
    crc = 0;
    if (file.lseek(0, SeekStart) == -1) {
        return -1;
    }
    unsigned char block[hookBlockBytes];
    int length = 0;
    while ((length = file.read(block, sizeof block)) > 0) {
        crc = CRC32(block, length, crc, crcXor);
    }
    return length;
}
