// MailQueue: the on-disk mail queue as one process sees it. It owns the directory tree under the
// queue path, hands out mail ids, builds every file name of the tree, and keeps the map of the
// mails that this process holds in memory. Other processes share nothing but the files.
//
// The tree, numbers in upper-case hexadecimal (modes before the umask):
//     %02X/                 entry directory of the ids with this high byte        0777
//     %02X/S%04X            state file of a mail (queue/record_format.h)          0666
//     %02X/D%04X.%02X       data file of one data version (%04X, %08X for high
//                           versions), 0660 whatever the umask
//     %02X/D%04X.%04X.mvxtmp  temporary data file
//     %02X/%c%04X.assoc/    associated streams of a mail, one directory a family  0777
//     locals/%06X           empty marker of a mail handed over by another process 0666
//     .mql_auth             one line: the queue token                             0666
// The exclusive create of the state file claims an id. A mail belongs to its writer until the
// writer has finished both files; the marker, made last, is the only hand-over signal.
//
// With a MailShepherd (the server) the queue reports binds and unbinds to it. Without one (the
// submission command) it signals a finished mail by its marker.
//
// Ownership: the queue owns its MailItem objects; a caller's MailItem* is a hold on the mail, which
// ends by unbindMail, rawUnbindMail, endData or removeMail.
// Failure: -1 or null, with the last error set.
// Threads: any number, but for setDirectory, which runs before the queue is shared. `lock` guards
// the maps and the name buffer, and is taken before a mail's wait object, never the other way.

#ifndef MORVEX_QUEUE_MAIL_QUEUE_H
#define MORVEX_QUEUE_MAIL_QUEUE_H

#include "common/container/hvector.h"
#include "common/thread/critical_section.h"

#include <atomic>
#include <cstdint>

class File;
class IncomingStream;
class MailItem;
class MailShepherd;
class RBTree;
class TreeListing;

class MailQueue {
public:
    // Where a mail came from, as MailItem::getSourceType reads it back.
    enum SourceTypes : int {
        SourceNetwork = 0,
        SourceLocal = 1, // what the submission command passes
        SourceRaw = 2,   // stored byte for byte, state RAW_RECEIVED, no marker and no notification
    };

    static constexpr char mql_auth[] = ".mql_auth"; // the token file, under the queue path
    static constexpr char mql_sgn[] = "MQL:";       // what every token begins with

    // A queue without a tree: setDirectory comes first. The shepherd, which may be null, stays the
    // caller's and outlives the queue.
    explicit MailQueue(MailShepherd* partner = nullptr);
    MailQueue(const MailQueue&) = delete;
    MailQueue& operator=(const MailQueue&) = delete;

    // Deletes every mail in memory, bound or not; the files stay.
    // Requires: no other thread uses the queue any more.
    ~MailQueue();

    // Attaches the queue to the tree at `path`, of which what is missing is made: the last
    // directory of `path` itself, the entry directories, `locals` and the token file. The number
    // of entry directories is the largest power of two not above `entryCount`, at most 256. With
    // `entryCount` 0 nothing is made and the tree must be there; newMail is then refused. Entry
    // directories beyond the number are left alone. Several processes may make one tree at once.
    //
    // 0, or -1: HE_INVAL for a null path, HE_NOTDIR where a file stands in a directory's place,
    // HE_NOENT for a missing path with `entryCount` 0, HE_INVALOP for a token file that is empty
    // (after a short wait for its writer) or of another form, and otherwise the system's error.
    // The queue is unusable after a failure, and what was made so far stays.
    int setDirectory(const char* path, int entryCount);

    // A new mail with an id of its own, held by the caller: an empty state file on the disk.
    // Null: HE_INVALOP without entry directories, HE_NOPROCESSING with a shepherd at rest,
    // HE_EEXISTS or HE_NOENT where 16 tries found no free id.
    MailItem* newMail();

    // The mail with this id, held by the caller, loaded from the disk if it is not in memory.
    // While another thread owns it, waits up to `timeout` milliseconds (below 0: without end).
    // Null on failure; `badFile` then says that the state file is missing or damaged, as opposed
    // to a mail that is busy or a lack of resources. With `notify` the shepherd hears of either
    // outcome, except of a bad file and of a mail in state RAW_RECEIVED.
    MailItem* bindMail(int id, int timeout, bool notify, bool& badFile);

    // The same without the shepherd. With `onlyIfLoaded` a mail that is not in memory gives null.
    // A mail that was removed meanwhile gives null, and its files go with the last holder.
    MailItem* rawBindMail(int id, int timeout, bool onlyIfLoaded, bool& badFile);

    // Lets go of a mail, which stays in memory, and nulls `item`. 0, also for a null `item`. With
    // `notify` the shepherd hears of it first, except for a mail in state RAW_RECEIVED.
    int unbindMail(MailItem*& item, bool notify);

    // Lets go of a mail without the shepherd. With `dequeueAfter` it also leaves memory, unless it
    // is in state PROCESSING. 0 or what dequeue gave; -1 for a null item.
    int rawUnbindMail(MailItem* item, bool dequeueAfter);

    // Hands a finished mail over: closes the data file with fsync, writes the state file, lets go
    // of the mail and, without a shepherd and for a source other than SourceRaw, makes the marker.
    // 0 with `item` null: the mail is no longer the caller's. A marker that could not be made
    // does not change the result; getMarkerError tells. -1: the caller still holds the mail and is
    // expected to remove it. A null `item` gives 0. `stream` may be null; the caller's reference to
    // it stays the caller's.
    int endData(MailItem*& item, SourceTypes source, IncomingStream* stream);

    // Whether the mail of the latest endData is the server's: its marker stands. While the marker
    // is being made this looks for it on the disk. Safe in a signal handler of a process with one
    // thread.
    bool isHandedOver() const noexcept;

    // Whether the marker is being made: until that is over, one that is not on the disk may be
    // still to come, or may have been taken up already. Safe in a signal handler.
    bool isHandOverUnderway() const noexcept { return handOver.load() == Underway; }

    // What kept the latest endData that made a marker from making it: 0 where it stands. A mail
    // without its marker is complete but will never be looked at by the server; removeMailFiles
    // takes it back.
    unsigned getMarkerError();

    // Lets go of a mail and removes it with all its files; other holders delay that until the last
    // of them lets go. 0 with `item` null, also for a null `item`. A mail in state PROCESSING is
    // not removed: HE_INVALOP and -1, and `item` is null all the same, the hold having ended.
    int removeMail(MailItem*& item);

    // Deletes the state file and the first data file of a mail, knowing only its id; whether they
    // exist does not matter. Nothing in memory changes. 0, or -1 with HE_INVALOP with a shepherd.
    // Safe in a signal handler that interrupted anything but setDirectory and the destructor: it
    // takes no lock, allocates nothing, and reads only what setDirectory left.
    int removeMailFiles(int id);

    // Drops a mail from memory and deletes the object, unless somebody holds it. The bytes taken
    // off the memory count, or 0. Without `removed` the id is noted as one whose files stay.
    // Requires: the caller has entered the queue's lock.
    int dequeue(MailItem* item, bool removed);

    // Walk over the mails in memory, in the order of their ids; null at the end. One walk at a
    // time. The result is no hold: it is good while nobody dequeues the mail. A mail that leaves
    // memory meanwhile may make the walk miss one or start over.
    MailItem* getFirst();
    MailItem* getNext();

    // File names. Each is a pointer into one shared buffer, good until the next name is built.
    // Before setDirectory they are flat, with the whole id in one name.
    // Requires: the caller has entered the queue's lock, and holds it until it has copied the name.
    const char* getStateFileName(int id);
    const char* getDataFileName(int id, unsigned version);
    const char* getAssociatedFileName(int id, char family);

    // A name for a temporary data file that no file has at this moment; nothing is created. Null,
    // with a warning logged, after 16 taken names.
    // Requires: as for the other names.
    const char* generateTemporaryFileName(int id);

    // MailItem::rstadjust of the mail.
    void rstadjust(MailItem* item, long long time);

    // The queue's lock, for the operations above that want it entered.
    CriticalSection& getLock() { return lock; }

    // The sum of the mails' memory sizes in bytes, the number of the highest entry directory (-1
    // for none), and the queue token (null before setDirectory).
    int getQueueSize();
    int getLastEntry() const { return lastEntry; }
    const char* getAuthToken() const { return authToken; }

private:
    friend class MailItem;

    // setDirectory, step by step; each gives 0, or -1 with the last error set.
    int openTree(const char* path, int entryCount, TreeListing& listing);
    int makeDirectories(int entryCount, const TreeListing& listing);
    int readToken(const char* path, int entryCount);
    void dropDirectory();

    // What MailItem takes from its queue: a random id, and the pool of wait objects.
    // Requires: the lock is entered.
    int drawId() const;
    CriticalSection* takeWaitLock();
    void giveWaitLock(CriticalSection* waitLock);

    // While Underway, pathBuffer holds the name of the marker.
    enum HandOver : unsigned char { NotHandedOver, Underway, HandedOver };

    MailItem* search(int id);
    MailItem* bindLoaded(MailItem* item, int id, int timeout);
    void removeReleased(MailItem* item);
    void makeMarker(File& marker);

    RBTree* items;           // owned: Int32Key to MailItem*, which it deletes
    HVector<int> unboundIds; // sorted: left `items`, files still on disk
    CriticalSection lock;
    MailShepherd* shepherd;              // not owned, may be null
    HVector<CriticalSection*> freeLocks; // owned: spare wait objects of the mails
    std::int32_t queueSize;              // sum of memorySize of the mails in `items`
    char* pathBuffer;                    // owned: the path, a slash, and the name built last
    std::int32_t prefixLength;           // length of path and slash; 0 before setDirectory
    std::int32_t lastEntry;              // highest entry directory; -1 for none
    char* authToken;                     // owned: first line of the token file, or null
    unsigned markerError;                // see getMarkerError; guarded by `lock`
    std::atomic<HandOver> handOver;      // see isHandedOver
    static_assert(std::atomic<HandOver>::is_always_lock_free);
};

#endif
