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
class MailItemLoader;
class Stream;
class Tree;

class MailItem {
public:
    // State codes that the code tests or sets; the texts of all codes stand in the tables below.
    // Codes from 64 up are states of the object in memory.
    enum States : std::uint32_t {
        RECEIVED = 1,
        PROCESSING = 2,
        SENT = 6,
        RAW_RECEIVED = 7,
        RELAY_ERROR = 8,
        LOCAL_ERROR = 9,
        PROCESSING_ERROR = 10,
        FILTER_REJECT = 11,
        FILTER_DISCARD = 12,
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
    // the file may be partial then and the next save is a whole one. HE_FBIG for 65536 recipients
    // or more strings than fit: a file of these could not be loaded again, and the present one
    // stays. Where `sizeChange` is given, the memory size is worked out anew and its change stored.
    // Does not sync.
    int saveToFile(int* sizeChange);

    // Reads the state file. 0, with faults in single fields repaired, or -1 with no record:
    // HE_SIGNATURE for a file that is no state file, HE_VERSION for a format version that nobody
    // reads, HE_BADFILE for a damaged one. The file stays as it is.
    int loadFromFile();

    // Makes the record from a state file of an older format version. Called by loadFromFile, and
    // fails as it does. The file stays in its old form until the next save, which rewrites it.
    // A mail with a path or an address that the present format refuses can be worked on, but a
    // save fails with HE_BADFILE and leaves the old file: written, it could not be read again.
    // Requires: stateFile is open.
    int loadFromVersion(std::uint16_t major, std::uint16_t minor);

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

    // Fails every recipient that is still open, for `reason` (null: "Delivery aborted"): state
    // FILTER_REJECT, with the reason as failure text. The mail as a whole becomes SENT. Without a
    // record only a warning is logged.
    void forceNDR(const char* reason);

    // Target folders. A folder is a fixed id or the index of a string that holds its name. The
    // first one of a recipient stands in its record, the others in a chain that grows at its head.

    // The name of a fixed folder id, or null for any other id; and the fixed id of a name, in
    // whatever case, or -1.
    static const char* getRCPTMboxName(int id);
    static int getRCPTMboxId(const char* name);

    // Adds a further folder and returns its id. -1 for an id below 0 or a recipient that is not
    // there, without a record, and with HE_FBIG for a full string table.
    int addRCPTMbox(int rcpt, int mbox);

    // The distinct names of the recipient's folders, the first one first and then from the newest
    // to the oldest; up to `capacity` of them go to `out`, owned by the mail. The result counts
    // them all. An empty first name means none: 0. -1 with HE_INVALOP without a record, HE_INVAL
    // for a recipient that is not there.
    int getRCPTMboxes(int rcpt, const char** out, int capacity);

    // The index of the last recipient with this address, in whatever case, or -1.
    int getRCPTIndex(const char* address) const;

    // Chains of slots and of filter information. `field` is the head of the chain: for filter
    // information its offset in the record (filterInfoField and the like give it), for slots its
    // offset in the recipient's record (rcptMessageSlotsHead or rcptPropertySlotsHead of
    // RecordFormat). A value is the index of a string, 0 for an empty value of filter information
    // and for a removed slot. Each adds to the chain, and the newest value counts. Texts that are
    // found belong to the mail; a value whose string is not there reads as an empty text. A walk
    // follows 0x10000 links at most: a damaged chain may run in a circle.
    // Requires: `field` is such a head; 0 <= rcpt < getRCPTCount() except where told.

    // Returns valueIndex, or -1: HE_INVAL for a value below 0, a slot outside 0 to 255 or a
    // recipient that is not there, HE_INVALOP without a record, HE_FBIG for a full string table.
    int doAddRCPTSlot(int field, int rcpt, int slot, int valueIndex);

    // Adds an Int32Key with the value for each slot that `out` does not have, and takes a slot out
    // again where the walk comes to its removal. 0; -1 with HE_INVALOP without a record, with
    // HE_BADFILE for a broken chain: what was found before stays in `out`.
    int doGetRCPTSlots(int field, int rcpt, Tree* out);

    // Returns valueIndex, or -1: HE_INVAL for a value below 0 or a key that is null or empty,
    // HE_INVALOP without a record, HE_FBIG for a full string table.
    int doSetFilterInfo(int field, const char* key, int valueIndex);

    // The newest value of a key, in whatever case, with `found` set; an empty text and `found`
    // clear where the chain does not have it; null without record or key, or for a broken chain.
    const char* doGetFilterInfo(int field, const char* key, bool& found);

    // Adds a StringRefKey with the value for each key that `out` does not have; results as of
    // doGetRCPTSlots.
    int doGetFilterInfo(int field, Tree* out);

    // A data version's value of a key; with `followParents` that of the nearest version among it
    // and those it was derived from, where a broken chain is passed over. An empty text where there
    // is none; null with HE_INVALOP without a record, HE_INVAL for a version above the last or a
    // null key, and without `followParents` HE_BADFILE for a broken chain.
    const char* getDataFilterInfo(unsigned version, const char* key, bool followParents);

    // The heads of the three levels of filter information.
    // Requires: hasRecord(); version < getVersionSlots(); 0 <= rcpt < getRCPTCount().
    static constexpr int filterInfoField() { return RecordFormat::filterInfoHead; }
    int dataFilterInfoField(unsigned version) const {
        return static_cast<int>(versionRecord(version) - record) + RecordFormat::dataFilterInfoHead;
    }
    int rcptFilterInfoField(int rcpt) const {
        return static_cast<int>(rcptRecord(rcpt) - record) + RecordFormat::rcptFilterInfoHead;
    }

    // Data versions. Version 0 is the message as it came in; each other one was derived from a
    // lower one. HE_INVALOP without a record and HE_INVAL for a version above the last are common
    // to all that name a version.

    // The version that comes next, or 0 with HE_FBIG where there can be no more. Where queue and
    // buffer are given, the path of its data file goes to `buffer` of `size` bytes, and `size`
    // becomes its length; 0 with HE_FBIG where it does not fit. Nothing changes in the mail.
    // Takes the queue's lock.
    unsigned getNextDataVersion(MailQueue* queue, char* buffer, int& size);

    // Makes `version` the last one, derived from `parent`. 0, or -1: HE_INVAL for a parent above
    // the last version or a version other than the next, HE_FBIG where there can be no more.
    int registerNextDataVersion(unsigned version, unsigned parent);

    // Raises the last version, with nothing known about the new ones; a lower one changes nothing.
    // Requires: version < RecordFormat::versionLimit.
    void setLastVersion(unsigned version);

    // Whether `version` is `ancestor` or was derived from it; all are derived from version 0.
    bool isMailVersionDerivedFrom(unsigned version, unsigned ancestor) const;

    // A stream on the data file of a version, on its headers with the empty line, and on its body;
    // null on failure. The caller owns the reference. The header size is found by reading the
    // headers if it is not known yet, and kept in the record. Takes the queue's lock.
    Stream* openDataStream(MailQueue* queue, unsigned version);
    Stream* openHeaderStream(MailQueue* queue, unsigned version);
    Stream* openBodyStream(MailQueue* queue, unsigned version);

    // The bytes of the headers with the empty line: as the record has them, or read from the data
    // file where they are not known or with `rescan`, and kept, also a -1. -1 on failure.
    int getHeaderSize(MailQueue* queue, unsigned version, bool rescan);

    // What the record has: -1 where it is not known; no error is set.
    int getCachedHeaderSize(unsigned version) const;

    // Associated streams: files of the mail in a directory of its own for each family, a character.
    // A file is named by a 24-bit key and a type of two hexadecimal digits; the key sharedKey
    // stands for the copy that all keys share.
    static constexpr unsigned sharedKey = 0xFFFFFF;

    // A stream on the file of key and type, at its start; the caller owns the reference. Without
    // `readOnly` a file that is not there is made, as a copy of the shared one if that exists; with
    // it, `useShared` gives the shared one in its place. Null: HE_NOENT for a file that is not
    // there, HE_INVAL for a family, key or type that makes no name, HE_FBIG for too long a name,
    // or the system's error. Takes the queue's lock.
    Stream* getAssociatedStream(MailQueue* queue, char family, unsigned key, int type,
                                bool readOnly, bool useShared);

    // Appends the types below 0x80 that the key has a file of, and with `withShared` those of the
    // shared files; none twice. Takes the queue's lock.
    void getAssociatedStreamList(MailQueue* queue, char family, int key, SimpleVector<int>& types,
                                 bool withShared);

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
    template <class T> void setVersionField(std::uint32_t version, int field, T value) {
        RecordFormat::store<T>(versionRecord(version) + field, value);
    }
    template <class T> void setRCPTField(int rcpt, int field, T value) {
        RecordFormat::store<T>(rcptRecord(rcpt) + field, value);
    }
    bool hasRCPT(int rcpt) const { return rcpt >= 0 && rcpt < getRCPTCount(); }
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
    int checkAddresses() const;
    int completeFront();
    int checkRecipients(bool corrupted);
    void readParams();

    // loadFromVersion, step by step; each gives 0, or -1 with the last error set.
    int upgradeEnvelope(const MailItemLoader& old);
    void upgradeVersions(const MailItemLoader& old);
    void upgradeParams(const MailItemLoader& old);
    void upgradeRecipients(const MailItemLoader& old);
    void upgradeFilterActions(const MailItemLoader& old, int rcpt);
    void upgradeFilterInfo(int field, Tree& found);
    void upgradeSlots(int field, int rcpt, Tree& found);
    int addFolder(const char* name);

    // Chains.
    const char* mboxNameOf(std::int32_t mbox) const;
    const char* chainValue(std::uint32_t index) const;
    int addChainString(std::uint32_t& newHead, const char* text, int length);
    const char* findFilterInfo(int field, const char* key, bool& found, int& links) const;

    // Data versions and associated streams.
    bool checkVersion(unsigned version) const;
    int copyDataFileName(MailQueue* queue, unsigned version, char* buffer, int& size);
    void growVersions(std::uint32_t slots);
    File* openDataFile(MailQueue* queue, unsigned version);
    File* openSplitFile(MailQueue* queue, unsigned version, int& headerSize);

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
    bool upgraded = false;               // loaded from an older format and not saved since
    std::uint32_t rcptRoom = 0;          // recipient records that `record` has room for
};

#endif
