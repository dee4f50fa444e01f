// MailItem: one mail of the queue in memory: its id, its open state file, and its record, that is
// what the state file holds besides the header (queue/record_format.h): the fixed block, version
// and recipient records, and an append-only table of strings.
//
// A new mail always takes the same road: newMail, setRPath, addRCPT for each recipient, endRCPT,
// the message data, endData. On the disk that is an empty state file (the id is claimed), an empty
// data file, a complete data file, a complete state file; the queue's marker comes after all that.
// No file changes its name. A failure leaves what is there for removeMail.
//
// Ownership: the queue owns its mails. A caller has a hold on a mail; one holder at a time owns it,
// and only that thread reads or changes the record and the strings.
// Failure: -1 or null, with the last error set except where told.
// Threads: holders are counted in `lockWord`, and wait on `waitLock`, which is there while somebody
// holds the mail. The state may be read by any thread.

#ifndef MORVEX_QUEUE_MAIL_ITEM_H
#define MORVEX_QUEUE_MAIL_ITEM_H

#include "common/container/hvector.h"
#include "common/container/simple_vector.h"
#include "queue/mail_queue.h"
#include "queue/record_format.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

class CriticalSection;
class File;
class IncomingStream;

class MailItem {
public:
    // State codes that the code tests or sets; the texts of all codes stand in the tables below.
    // Codes from 64 up are states of the object in memory.
    enum States : std::uint32_t {
        RECEIVED = 1,
        PROCESSING = 2,
        SENT = 6,
        RAW_RECEIVED = 7,
        PROCESSING_ERROR = 10,
        NEW_MAIL = 64,
        ADD_RCPTS = 65,
        GET_DATA = 66,
        UNBOUND = 96,
        REMOVED = 97,
        UNAVAILABLE = 127,
    };

    // Texts of the state codes of a mail and of a recipient; null for a code without one.
    static const char* const globalStateCodes[128];
    static const char* const rcptStateCodes[128];

    static constexpr char signature[] = "HMIQF$"; // stored without its terminating zero
    static constexpr std::uint16_t versionMajor = 7;
    static constexpr std::uint16_t versionMinor = 0;

    MailItem(const MailItem&) = delete;
    MailItem& operator=(const MailItem&) = delete;
    ~MailItem();

    // A new mail in state NEW_MAIL with an empty state file, owned by the calling thread; null
    // with HE_EEXISTS or HE_NOENT after 16 tries.
    // Requires: the caller has entered the queue's lock; the queue has an entry directory.
    static MailItem* newMail(MailQueue* queue);

    // The mail with this id loaded from its state file, owned by the calling thread. Null on
    // failure; `badFile` is then set where the file is missing, no regular file or damaged, and
    // left alone where it could not be opened for another reason.
    // Requires: the caller has entered the queue's lock; the mail is not in memory.
    static MailItem* bindMail(MailQueue* queue, int id, bool& badFile);

    // The envelope sender: three strings, each null one stored as "<>". Only in NEW_MAIL, and so
    // before the first addRCPT; -1 without an error code otherwise.
    int setRPath(const char* rpath, const char* authPath, const char* senderName);

    // Adds a recipient, without a look at duplicates, and returns its index. -1 with HE_NOMEM at
    // 65536 recipients, with HE_INVALOP in NEW_MAIL. A null address stays an absent string. The
    // next save rewrites the whole file.
    int addRCPT(const char* address);

    // Closes the envelope: makes the record, with the present time as the date of reception, and
    // the data file of version 0. Only in ADD_RCPTS. The stream for the message data, of which the
    // caller owns one reference to be released after endData. Null in a wrong state (without an
    // error code) or where the data file could not be made: the mail is then as it was before.
    // With a null queue no file is made and the result is null, in state GET_DATA.
    IncomingStream* endRCPT(MailQueue* queue);

    // Finishes the data file, writes the state file and checks that both are still there. Only in
    // GET_DATA. The change of the memory size, or -1: then the mail stays in GET_DATA, to be
    // removed by the caller. Without a stream the header size stays unknown; with a null queue
    // only the record and the state change. MailQueue::endData hands the mail over.
    int endData(MailQueue* queue, MailQueue::SourceTypes source, IncomingStream* stream);

    // Removes all files of the mail, whatever becomes of each. 0; -1 in UNBOUND.
    // Requires: the caller has entered the queue's lock.
    int removeMail(MailQueue* queue);

    // Begins to take hold of a mail in memory. 0: nobody held it, the state file is open again and
    // the caller owns the mail. 1: the caller is counted and must call acquire at once: the mail's
    // wait object is entered. -1: the mail is removed, or its file cannot be opened.
    // Requires: the caller has entered the queue's lock.
    int needAcquire(MailQueue* queue);

    // Waits until nobody owns the mail, up to `timeout` milliseconds (below 0: without end), and
    // takes it: the lock word, or -1 on a timeout, with the caller no longer counted. After -1 the
    // mail may be gone from memory.
    // Requires: needAcquire gave 1 in this thread, and the queue's lock was left since.
    int acquire(MailQueue* queue, int timeout);

    // Lets go of the mail, and wakes one waiter. The number of holders that are left; at 0 the
    // state file is closed.
    // Requires: the caller owns the mail and has entered the queue's lock.
    int release(MailQueue* queue);

    // Stores when to look at the mail next, in seconds since 1970, and saves the record.
    void rstadjust(long long time);

    // The path of the data file of one version into `buffer` of `size` bytes; `size` becomes its
    // length. -1: HE_INVALOP before endRCPT, HE_INVAL for a version above the last, HE_FBIG where
    // the buffer is too small. Takes the queue's lock.
    int getDataFileName(MailQueue* queue, unsigned version, char* buffer, int& size);

    // The path of the state file, newly allocated: the caller frees it with delete[]. Takes the
    // queue's lock.
    char* getStateFileName(MailQueue* queue);

    // Writes the record and the strings that are not in the file yet; a whole rewrite after an
    // addRCPT, after a failed save, and where there are too many strings to count them. 0, or -1:
    // the file may be partial then and the next save is a whole one. Where `sizeChange` is given,
    // the memory size is worked out anew and its change stored. Does not sync.
    int saveToFile(int* sizeChange);

    // Reads the state file. 0, with faults in single fields repaired, or -1 with no record:
    // HE_SIGNATURE for a file that is no state file, HE_VERSION for another format version,
    // HE_BADFILE for a damaged one.
    int loadFromFile();

    // Appends a copy of a text to the string table and returns its index for a link in the record;
    // -1 with HE_INVAL for null, HE_NOMEM for a full table.
    int addString(const char* text);

    // Parameters: named texts of the mail. A set appends to the table, so an older value stays
    // there unseen. -1 with HE_INVALOP before endRCPT, HE_INVAL for a null, a name that is empty or
    // one with a "=", HE_FBIG where name and value do not fit a buffer of 1024 bytes or the table
    // has grown past what the chain's links can name.
    int setParam(const char* name, const char* value);
    // The value, owned by the mail and valid until it is destroyed or loaded again; null with
    // HE_NOENT where there is none.
    const char* getParam(const char* name);
    bool hasParam(const char* name);
    // Appends the text "name=value" of each parameter, last name first.
    void listParams(SimpleVector<const char*>& out);

    // The mail's state, and its change, which is logged. A code of 128 or more is logged as
    // invalid and stored all the same. Setting it leaves the record's state byte alone.
    std::uint32_t getState() const { return state.load(std::memory_order_relaxed); }
    void setState(std::uint32_t code);

    // Changes in a recipient's record, logged. Without a record only a warning is logged.
    // Requires: 0 <= rcpt < getRCPTCount().
    void setRCPTState(int rcpt, std::uint32_t code);
    void setRCPTDataVersion(int rcpt, std::uint32_t version);

    int getId() const { return id; }
    int getRCPTCount() const { return static_cast<int>(rcptCount); }

    // The string at a position of the table: 0 return path, 1 authenticated path, 2 sender name,
    // 3 + n the address of recipient n. Null for a position that does not exist.
    const char* getString(int position) const { return strings.get(position); }

    // The address of a recipient, or null.
    const char* getRCPT(int rcpt) const { return strings.get(RecordFormat::frontStrings + rcpt); }

    // The string that a link in the record names, or null.
    const char* getLinkedString(std::uint32_t index) const;

    // The source type as the record tells it; SourceRaw without a record.
    MailQueue::SourceTypes getSourceType() const;

    int getMemorySize() const { return memorySize; }
    std::uint32_t getVersionSlots() const { return versionSlots; }

    // Fields of the record by their offsets of queue/record_format.h.
    // Requires: hasRecord(); version < getVersionSlots(); 0 <= rcpt < getRCPTCount().
    bool hasRecord() const { return record != nullptr; }
    template <class T = std::uint32_t> T getField(int field) const {
        return RecordFormat::load<T>(record + field);
    }
    template <class T = std::uint32_t> T getVersionField(std::uint32_t version, int field) const {
        return RecordFormat::load<T>(versionRecord(version) + field);
    }
    template <class T = std::uint32_t> T getRCPTField(int rcpt, int field) const {
        return RecordFormat::load<T>(rcptRecord(rcpt) + field);
    }

private:
    friend class MailQueue;

    MailItem();

    unsigned char* versionRecord(std::uint32_t version) const {
        return record + RecordFormat::blockBytes +
               static_cast<std::size_t>(version) * RecordFormat::versionBytes;
    }
    unsigned char* rcptRecord(int rcpt) const {
        return versionRecord(versionSlots) +
               static_cast<std::size_t>(rcpt) * RecordFormat::rcptBytes;
    }
    template <class T> void setField(int field, T value) {
        RecordFormat::store<T>(record + field, value);
    }
    void dropRecord();
    void storeState();

    // newMail, bindMail and endData, step by step.
    int claimId(MailQueue* queue);
    int openStateFile(const char* name);
    void becomeOwned(MailQueue* queue);
    void dropHold(MailQueue* queue);
    int finishData(MailQueue::SourceTypes source, IncomingStream* stream);
    bool filesAreThere(MailQueue* queue);

    // Saving and loading, step by step; each gives 0, or -1 with the last error set.
    int writeRecord(bool whole, long long& bytes);
    void forgetContent();
    int loadContent();
    int readExactly(void* buffer, int size, unsigned shortError);
    int readRecord(long long& tableSize);
    int readStrings(int tableSize, bool& corrupted);
    int checkPaths() const;
    int completeFront();
    int checkRecipients(bool corrupted);
    void readParams();

    bool appendString(const char* text, std::size_t length);
    bool findParam(const char* name, std::size_t length, int& place) const;
    void growRecordForRCPT();

    std::int32_t id = -1;
    unsigned char* record = nullptr; // owned
    std::uint16_t savedStrings = 0;  // strings already in the file; 0 forces a whole rewrite
    std::uint16_t lockWord = 0;      // bit 15: owned by a thread; below: holders and waiters
    HVector<const char*> strings;    // owned
    HVector<const char*> params;     // not owned: into `strings`, at the name; sorted by name
    std::uint32_t rcptCount = 0;
    std::uint32_t versionSlots = 0;
    std::int32_t memorySize = 0;
    std::atomic<std::uint32_t> state = UNBOUND;
    CriticalSection* waitLock = nullptr; // from the queue's pool, while lockWord is not 0
    File* stateFile = nullptr;           // owned, nameless; open while lockWord is not 0
    bool stateFileEmpty = false;         // made by this object and never written to
};

#endif
