// A file with a name, open or not. It owns its name and, once open, its descriptor, which the
// destructor closes.
//
// A file opens with open(), or takes over a descriptor that came through safeOpenFd and is set
// close-on-exec. A crash-protected file takes no more data once the process was told to abort:
// each data operation then flushes it and sleeps for good.
// Failure: -1 or null with the system's error, and StateEnd or StateError in the state.

#ifndef MORVEX_COMMON_STREAM_FILE_H
#define MORVEX_COMMON_STREAM_FILE_H

#include "common/stream/stream.h"

#include <cstdint>

class Dir;

class File : public Stream {
public:
    // Added to Attributes::mode where the last component of the name begins with ".".
    static constexpr std::uint32_t HiddenMark = 0x1000000;

    // A name with its terminator lies in the object up to this size, and on the heap from there.
    static constexpr int InlineNameSize = 128;

    struct Attributes {
        std::uint32_t mode = 0;   // st_mode, and HiddenMark
        long long size = 0;       // bytes
        long long accessTime = 0; // these three in seconds since 1970
        long long modifyTime = 0; // of the data
        long long changeTime = 0; // of the status
    };

    // Whether flush() reaches the disk. False at start; set before threads run.
    static bool syncEnabled;

    // A file without a name (null) or with a copy of it; not open.
    explicit File(const char* fileName = nullptr, bool protectFromCrash = false);

    // The same, over a descriptor that this object owns from now on.
    File(const char* fileName, int fd, bool protectFromCrash = false);

    ~File() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // Opens the file by its name with the flags of open(2), the mode 0666 cut by the umask, and
    // close-on-exec. Both states start over. 0, or -1: HE_INVALOP if it is open or has no name.
    int open(int flags);

    // Closes the descriptor. 0, or -1 with EBADF when it is closed already.
    int close();

    bool isOpen() const { return descriptor >= 0; }
    int getDescriptor() const { return descriptor; }
    const char* getName() const { return name; }

    // A size of 0 or less gives 0. A positive result leaves the state as it is. A disk without
    // space is logged through Thread::log, at the first and then at every hundredth time.
    int read(void* buffer, int size) override;
    int write(const void* buffer, int size) override;

    // 0 without a call while syncEnabled is false, otherwise as forcedFlush.
    int flush() override;

    // fsync. EINVAL and -1 when not open.
    int forcedFlush();

    // Has the system begin to bring to the disk what was written so far, and does not wait for it:
    // a forcedFlush that follows finds less left to do. Promises nothing and reports nothing; what
    // went wrong on the way is for forcedFlush to tell.
    void startWriteBack() const;

    // Clears both states.
    long long lseek(long long offset, Seek origin) override;

    // By getAttributes, so it serves a file that is not open as well.
    long long getSize() const override;

    // Clears both states; the position is then size.
    int truncate(long long size) override;

    State getInputState() const override { return inputState; }
    State getOutputState() const override { return outputState; }

    // The name, or an empty text.
    const char* getStreamName(char* buffer, unsigned size) const override;

    // What the system knows about the open descriptor, or else about the name. Null on failure,
    // and without both. The record lies in this object and is overwritten by the next call.
    const Attributes* getAttributes() const;

    // Renames the file on disk, if it has a name, and stores a copy of newName; an open descriptor
    // stays open. 0, or -1 with nothing changed. A null newName only lets go: the descriptor is
    // closed and the name forgotten.
    int rename(const char* newName);

    // Forgets the name.
    void clearName();

    // True if path does not begin with "/", or if some component of it ends in "..". Null gives
    // false.
    static bool containsRelativePath(const char* path);

    // Does not return when the process was told to abort and this file is crash-protected.
    void checkSafeCrash() const;

private:
    friend class Dir; // aims the name of its entry at a buffer of its own

    void storeName(const char* fileName);
    int sync() const;

    char inlineName[InlineNameSize];
    char* name = nullptr; // inlineName, an array-new block, or null
    mutable Attributes attributes;
    State inputState = StateGood;
    State outputState = StateGood;
    int descriptor = -1;
    bool crashProtected;
};

#endif
