// The abstract byte stream. Everything that moves bytes does so through this one interface:
// standard input, queue files, configuration files, memory blocks, sockets.
//
// Ownership: a stream is made with one reference. Who keeps a pointer adds a reference with
// addReference() and ends it with Stream::release(); a stream on the stack, or held as a plain
// member of an object there, is never deleted by release. The count is plain arithmetic.
// Threads: a stream belongs to one thread at a time.
// Failure: by return value (-1, or a short count), with the state and the last error set. Nothing
// throws. What a class does not support sets HE_INVALOP.

#ifndef MORVEX_COMMON_STREAM_STREAM_H
#define MORVEX_COMMON_STREAM_STREAM_H

#include "common/castable.h"

#include <cstdarg>

class Stream : public virtual ACastable {
public:
    // How the last transfer in one direction ended.
    enum State : int {
        StateGood = 0,     // it moved data
        StateEnd = 1,      // the peer or the file has no more: a transfer of 0 bytes
        StateTimedOut = 2, // nothing came in time; the call may be repeated
        StateError = 4     // the last error says why
    };

    // What an offset counts from; the numbers are those of SEEK_SET, SEEK_CUR and SEEK_END.
    enum Seek : int { SeekStart = 0, SeekCurrent = 1, SeekEnd = 2 };

    // The most that one step of copy() moves.
    static constexpr int CopyBlockSize = 262144;

    Stream() = default;
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    ~Stream() override = default;

    // Moves up to size bytes into buffer. Gives the bytes read, 0 at the end, -1 on an error.
    virtual int read(void* buffer, int size) = 0;

    // Takes up to size bytes from buffer. Gives the bytes written, or -1.
    virtual int write(const void* buffer, int size) = 0;

    // Hands on what the stream holds back. 0, or -1. Here: 0.
    virtual int flush();

    // How many bytes can be read, or written, without waiting. Here: 0.
    virtual int canRead() const;
    virtual int canWrite() const;

    // Bytes received and sent so far, modulo 2^32; with reset the count starts over. Here: 0.
    virtual unsigned getReceivedCount(bool reset) const;
    virtual unsigned getSentCount(bool reset) const;

    // Moves the position and gives the new one. Here, and for the two below: HE_INVALOP, -1.
    virtual long long lseek(long long offset, Seek origin);

    // The size of all the data in bytes, or -1.
    virtual long long getSize() const;

    // Cuts or extends the data to size bytes and moves to its end. 0, or -1.
    virtual int truncate(long long size);

    // Copies to target from the present position on: up to the end with count 0 on entry, that many
    // bytes otherwise. On return count holds the bytes that target took. Gives 0 when all is
    // copied or the data has ended, the result of the failing read, or -1 when target takes less
    // than it was given. Requires: count is not negative.
    virtual int copy(Stream& target, long long& count);

    // Read and write until size bytes have moved or a transfer gives 0 or less. Give the number
    // of bytes moved; a short one tells of the failure and the state says why.
    virtual int readAll(void* buffer, int size);
    virtual int writeAll(const void* buffer, int size);

    virtual State getInputState() const = 0;
    virtual State getOutputState() const = 0;

    // Timeouts in milliseconds; the setters give 0 or -1. Here: HE_INVALOP, -1.
    virtual int getInputTimeout() const;
    virtual int getOutputTimeout() const;
    virtual int setInputTimeout(int milliseconds);
    virtual int setOutputTimeout(int milliseconds);

    // A name for messages, in buffer or in the stream's own store. Here: an empty text.
    virtual const char* getStreamName(char* buffer, unsigned size) const;

    // Asked when the last reference ends: true lets release() delete the object. Here: true.
    virtual bool onRelease() const;

    // Each of the following formats a text and sends it, with its line end, in one writeAll. They
    // give the bytes written, line end included, or -1 if less went through (HE_FBIG for a text too
    // long to count). A text of up to 4096 bytes costs no allocation.

    // With CR LF behind the text.
    int writeLine(const char* format, ...) __attribute__((format(printf, 2, 3)));
    int writeLineArgs(const char* format, va_list& arguments) __attribute__((format(printf, 2, 0)));

    // With the line end that the first of these bits of eolType asks for: 4 CR LF, 8 LF CR, 2 LF,
    // 1 CR; none of them gives two zero bytes. The bits are those of searchEOL().
    int writeLine(int eolType, const char* format, ...) __attribute__((format(printf, 3, 4)));
    int writeLineArgs(int eolType, const char* format, va_list& arguments)
        __attribute__((format(printf, 3, 0)));

    // As writeLine, and shows the text without its line end to the protocol log.
    int writeLineAndLog(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // With no line end.
    int writeFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));
    int writeArgs(const char* format, va_list& arguments) __attribute__((format(printf, 2, 0)));

    // Adds one reference.
    void addReference() const { ++references; }

    // The references held at this moment.
    int getReferenceCount() const { return references; }

    // Ends one reference: with the last one the object is deleted, if onRelease() allows it. A
    // null pointer, and an object on the calling thread's stack, is left alone.
    static void release(const Stream* stream);

    // Finds the first line end in data. Gives the offset just behind it and its length in eolSize,
    // or -1 with eolSize 0. Bits of flags: 1 a lone CR, 2 a lone LF, 4 CR LF, 8 LF CR; with bit 16
    // clear a NUL byte is a line end too. CR LF and LF CR go before their single characters. With
    // none of the four lowest bits, two NUL bytes are the line end, and with bit 16 clear one alone
    // as well. With exactly 4 and 8, NUL is none either way. Higher bits do not count. The data is
    // only read, and nothing outside of it is.
    static int searchEOL(int flags, const unsigned char* data, int size, int& eolSize);

protected:
    // Sets HE_INVALOP and gives -1.
    static int notAllowed();

    // The sum of a position and an offset, held within the range of its type.
    static long long seekTarget(long long from, long long offset);

private:
    mutable int references = 1;
};

#endif
