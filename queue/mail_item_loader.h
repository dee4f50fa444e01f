// What the reader of an older state file format tells about a mail (MailItemLoader), and the list
// of those readers (MailItemVersioner). MailItem::loadFromVersion asks and makes a record of the
// present format; there is no other use, and no way to write an old format.
//
// Ownership: texts belong to the loader and live as long as it does. A tree or list passed in takes
// pointers to such texts as values, and keys of its own.
// Failure: a getter whose chain of strings is broken gives -1 and adds nothing, with no error of
// its own; a text that is not there is null.
// Threads: a loader lives inside one call and is not shared. The list is constant.
//
// `rcpt` is a recipient's index below getRCPTCount, `version` a data version.

#ifndef MORVEX_QUEUE_MAIL_ITEM_LOADER_H
#define MORVEX_QUEUE_MAIL_ITEM_LOADER_H

#include "common/container/hvector.h"
#include "common/container/simple_vector.h"
#include "common/net/inet_addr.h"
#include "queue/mail_queue.h"

#include <cstdint>

class File;
class Tree;

class MailItemLoader {
public:
    MailItemLoader() = default;
    MailItemLoader(const MailItemLoader&) = delete;
    MailItemLoader& operator=(const MailItemLoader&) = delete;
    virtual ~MailItemLoader();

    // The mail: state code of the present table, paths, counts, source, flags (bits 8 to 31).
    virtual std::uint32_t getState() const = 0;
    virtual const char* getRPath() const = 0;
    virtual const char* getAuthPath() const;   // here: null
    virtual const char* getSenderName() const; // here: null
    virtual std::uint32_t getRCPTCount() const = 0;
    virtual std::uint32_t getOriginalRCPTCount() const;   // here: getRCPTCount
    virtual MailQueue::SourceTypes getSourceType() const; // here: SourceNetwork
    virtual std::uint32_t getFlags() const;               // here: 0

    // Data versions.
    virtual std::uint32_t getLastVersion() const;                          // here: 0
    virtual std::int32_t getCachedHeaderSize(std::uint32_t version) const; // here: -1
    virtual std::uint32_t getParentVersion(std::uint32_t version) const;   // here: 0
    virtual std::uint64_t getMailStorageId(std::uint32_t version) const;   // here: 0

    // Dates in seconds since 1970; the retries so far; where the mail came from.
    virtual std::int64_t getRecvDate() const = 0;
    virtual InetAddr getSenderIp() const;                // here: InetAddr::NONE
    virtual std::uint32_t getLocalReceivingPort() const; // here: 0
    virtual std::int64_t getNextSchedule() const;        // here: 0
    virtual std::int64_t getDelayDelivery() const;       // here: getNextSchedule
    virtual std::uint32_t getRetryCount() const;         // here: 0

    // Slots: Int32Key to text, the newest of a slot. Those of a recipient are the same for all
    // recipients of one data version. 0, or -1 for a broken chain.
    virtual int getMessageInfo(std::uint32_t version, Tree* out) const; // here: 0
    // Here: getMessageInfo of the recipient's data version.
    virtual int getRCPTMessageSlots(std::uint32_t rcpt, Tree* out) const;
    virtual int getRCPTPropertySlots(std::uint32_t rcpt, Tree* out) const; // here: 0

    // Filter information: StringRefKey to text. 0, or -1 for a broken chain.
    virtual int getFilterInfo(Tree* out) const;                            // here: 0
    virtual int getDataFilterInfo(std::uint32_t version, Tree* out) const; // here: 0
    virtual int getRCPTFilterInfo(std::uint32_t rcpt, Tree* out) const;    // here: 0

    // Recipients.
    virtual std::uint32_t getRCPTState(std::uint32_t rcpt) const = 0;
    virtual const char* getRCPTPath(std::uint32_t rcpt) const = 0;
    virtual const char* getRCPTMbox(std::uint32_t rcpt) const = 0;
    // The names of the recipient's folders, up to `capacity` of them into `out`; their count.
    // Here: one, getRCPTMbox or else "INBOX".
    virtual int getRCPTMboxes(std::uint32_t rcpt, const char** out, int capacity) const;
    virtual std::uint32_t getRCPTDomainId(std::uint32_t rcpt) const;     // here: 0
    virtual std::uint32_t getRCPTAccountId(std::uint32_t rcpt) const;    // here: 0
    virtual const char* getRCPTRelayHost(std::uint32_t rcpt) const;      // here: null
    virtual std::uint32_t getRCPTDataVersion(std::uint32_t rcpt) const;  // here: 0
    virtual std::uint32_t getRCPTFlags(std::uint32_t rcpt) const;        // here: 0
    virtual std::uint32_t getRCPTMessageFlags(std::uint32_t rcpt) const; // here: 0
    virtual const char* getRCPTFailInfo(std::uint32_t rcpt) const;       // here: null
    virtual const char* getLocalDeliveryInfo(std::uint32_t rcpt) const;  // here: null

    // Appends the recipient's filter actions, "%02X:%s" with code and text, from the newest to the
    // oldest. 0, or -1 for a broken chain.
    virtual int getFilterActions(std::uint32_t rcpt, HVector<const char*>* out) const; // here: 0

    // Appends "name=value" of each parameter.
    virtual void listParams(SimpleVector<const char*>& out) const; // here: none
    virtual const char* getRPathRelayHost() const;                 // here: null
};

// One format version and how to read it. The instances are constants that form a list from the
// newest to the oldest.
class MailItemVersioner {
public:
    MailItemVersioner(const MailItemVersioner&) = delete;
    MailItemVersioner& operator=(const MailItemVersioner&) = delete;

    // The head of the list.
    static const MailItemVersioner* const first;

    // A loader over the state file, owned by the caller, or null with the last error set. The
    // minor number decides nothing. Requires: file is open.
    virtual MailItemLoader* load(unsigned id, File* file, unsigned char minor) const = 0;

    std::uint16_t getVersion() const { return version; }
    const MailItemVersioner* getNext() const { return next; }

protected:
    constexpr MailItemVersioner(std::uint16_t major, const MailItemVersioner* older)
        : version(major), next(older) {}
    ~MailItemVersioner() = default;

private:
    std::uint16_t version;
    const MailItemVersioner* next;
};

#endif
