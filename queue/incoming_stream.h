// IncomingStream: the stream that a new message is written into. It stands on the data file of
// version 0 and makes sure that the message closes with a line end. By fields that its user sets
// before the first write it can also rewrite bare CR and LF to CRLF, stop at the end of the headers
// so that a hook may change them, keep a CRC-32 and obey a size limit.
//
// Ownership: made by MailItem::endRCPT, which hands its one reference to the caller; released by
// Stream::release after endData. The destructor closes and syncs what is still open.
// Failure: -1 with the last error set. A close that failed is final: it keeps giving -1.
// Threads: one thread writes a given stream; nothing is locked.

#ifndef MORVEX_QUEUE_INCOMING_STREAM_H
#define MORVEX_QUEUE_INCOMING_STREAM_H

#include "common/stream/buffered_writer.h"
#include "common/stream/file.h"
#include "common/stream/stream.h"

#include <cstdint>

class IncomingStream : public Stream {
public:
    // How the data so far ends.
    enum TailState : std::uint32_t {
        TailOpen = 0, // not with a line end; also: nothing written
        TailCR = 1,
        TailCRLF = 2,
        TailClosed = 3,
        TailFailed = 4, // close in progress, or failed
    };

    // The header scan. To start one, set headerState to ScanLine and crlfSeen to false before the
    // first write: with crlfSeen set the first line end already ends the headers.
    enum HeaderState : std::uint32_t {
        ScanLine = 0,   // inside a line
        ScanLF = 1,     // just behind LF
        ScanCR = 2,     // just behind CR
        ScanCRLF = 3,   // just behind CRLF
        HeadersEnd = 4, // writing is suspended while a hook works on the file
        NoScan = 5,     // the headers are done, or were never scanned
    };

    // What the line-end rewriting carries from one write to the next.
    enum FixState : std::uint32_t {
        FixNone = 0,
        FixCR = 1,   // the last byte was a CR, gone out as CRLF
        FixLF = 2,   // the last byte was an LF, gone out as CRLF
        FixHeld = 3, // behind such a CR came another CR, which is held back
    };

    // A stream on the file of this name, which `create` has yet to make. The name is copied.
    explicit IncomingStream(const char* fileName);
    IncomingStream(const IncomingStream&) = delete;
    IncomingStream& operator=(const IncomingStream&) = delete;
    ~IncomingStream() override;

    // Makes the file: exclusively, mode 0660 whatever the umask. 0, or -1 with nothing made.
    int create();

    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;
    static CastableId* getCastableClassId();

    // Straight on the file, past what is still in the write buffer: for a hook that flushed first.
    int read(void* buffer, int size) override;

    // Bytes taken, which may be fewer than `size` (Stream::writeAll goes on), or -1. Past the size
    // limit bytes are dropped and reported as taken. HE_INVALOP while a header hook is at work, and
    // after close until resetStream.
    int write(const void* data, int size) override;

    // Whether bytes were dropped at the size limit: the stored message is cut then. Without a limit
    // of its own a stream takes 2 GiB.
    bool isOverflowed() const { return overflowed; }

    // Empties the write buffer into the file; reaches the disk only where File::syncEnabled says
    // so.
    int flush() override;
    long long lseek(long long offset, Stream::Seek origin) override;

    // Bytes in the file, without those still in the write buffer; -1 on failure.
    long long getSize() const override;
    Stream::State getInputState() const override;
    Stream::State getOutputState() const override;

    // Ends the message: adds the line end that is missing at its end, unless `leaveTail`, flushes,
    // and with `sync` brings the file to the disk and closes it. 0, also when already closed (then
    // `sync` still closes a file that is open), or -1 from a failure on for good.
    int close(bool leaveTail, bool sync);

    // Empties the file and starts over; fixLineEnds, computeCRC and headerDate keep their values.
    int resetStream();

    // Fills receivedCount, headerDate and headerSize from what the file holds; a second call does
    // nothing. Never reports: on a closed file or any failure at the start receivedCount stays -1.
    void parseHeaders();

    // The file, positioned at its start, for a hook that reads or changes the headers; null where
    // there is nothing for a hook to do. `start` suspends a scan that has not found the end of the
    // headers. While the hook works, write and close are refused.
    Stream* getHeaderHookStream(bool start);

    // Ends the hook's work: writing goes on at the end of the file. 0 or -1.
    int finalizeHeaderHookCall();

private:
    File file;                  // nameless once it is open
    BufferedWriterImpl* writer; // owned reference; all writes go through it

public:
    bool nonASCII = false; // a byte with its top bit set was written
    std::uint32_t headerState = NoScan;
    bool crlfSeen = true;
    std::uint32_t fixState = FixNone;
    std::uint32_t tailState = TailOpen;
    std::int32_t receivedCount = -1;    // "received:" headers; -1 until parseHeaders has run
    long long headerDate = 0;           // "date:" header in UTC seconds since 1970, 0 if none
    std::int32_t headerSize = 0;        // offset of the first body byte
    std::int32_t sizeLeft = 0x7FFFFFFF; // bytes that may still be stored; can end below 0
    bool fixLineEnds = false;           // rewrite bare CR and LF to CRLF
    std::uint32_t crc = 0;              // CRC-32 of what was stored
    bool computeCRC = false;            // keep `crc`

private:
    bool overflowed = false;         // see isOverflowed
    std::int32_t waitingForDisk = 0; // bytes stored since the disk was last set to work

    int store(const void* data, int size);
    bool writeOut(const char* data, int size);
    int scanHeaders(const unsigned char* data, int size);
    void scanByte(unsigned char byte);
    bool settleFix(unsigned char byte, int& result);
    int cutAtLineEnd(const unsigned char* data, int size);
    void trackTail(const unsigned char* data, int size);
    int addTail();
    int syncAndClose();
    void noteHeader(const char* line);
};

#endif
