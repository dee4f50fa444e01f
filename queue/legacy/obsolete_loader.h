// ObsoleteLoader: the one reader of the seven old state file formats. It keeps the bytes of the
// file and decodes a field when asked, by the tables of queue/legacy/layout.h; a field that the
// version does not have reads as MailItemLoader tells. Each version has a class of its own over it
// (queue/legacy/versions.h).
//
// Time and memory are bounded by the size of the file: each chain belongs to one owner, and what
// is followed beyond that is taken for damage.

#ifndef MORVEX_QUEUE_LEGACY_OBSOLETE_LOADER_H
#define MORVEX_QUEUE_LEGACY_OBSOLETE_LOADER_H

#include "queue/chain_text.h"
#include "queue/legacy/layout.h"
#include "queue/mail_item_loader.h"

#include <memory>
#include <vector>

class ObsoleteLoader : public MailItemLoader {
public:
    static constexpr char signature[] = "HMIQF$"; // stored without its terminating zero

    // Reads the file, repairs links that lead nowhere and loads the parameters. 0, or -1 with the
    // last error set: HE_SIGNATURE for a file that is no state file, HE_VERSION for one of another
    // major version, HE_BADFILE for a damaged one. The file is not changed.
    // Requires: file is open; called once.
    int loadFromFile(File* file);

    std::uint32_t getState() const override;
    const char* getRPath() const override { return stringAt(0); }
    const char* getAuthPath() const override { return stringAt(1); }
    const char* getSenderName() const override { return stringAt(2); }
    std::uint32_t getRCPTCount() const override { return rcptCount; }
    std::uint32_t getOriginalRCPTCount() const override;
    MailQueue::SourceTypes getSourceType() const override;
    std::uint32_t getFlags() const override;
    std::uint32_t getLastVersion() const override;
    std::uint64_t getMailStorageId(std::uint32_t version) const override;
    std::int64_t getRecvDate() const override;
    InetAddr getSenderIp() const override;
    std::uint32_t getLocalReceivingPort() const override;
    std::int64_t getNextSchedule() const override;
    std::uint32_t getRetryCount() const override;
    int getMessageInfo(std::uint32_t version, Tree* out) const override;
    std::uint32_t getRCPTState(std::uint32_t rcpt) const override;
    const char* getRCPTPath(std::uint32_t rcpt) const override;
    const char* getRCPTMbox(std::uint32_t rcpt) const override;
    std::uint32_t getRCPTDomainId(std::uint32_t rcpt) const override;
    std::uint32_t getRCPTAccountId(std::uint32_t rcpt) const override;
    const char* getRCPTRelayHost(std::uint32_t rcpt) const override;
    std::uint32_t getRCPTDataVersion(std::uint32_t rcpt) const override;
    std::uint32_t getRCPTFlags(std::uint32_t rcpt) const override;
    std::uint32_t getRCPTMessageFlags(std::uint32_t rcpt) const override;
    const char* getRCPTFailInfo(std::uint32_t rcpt) const override;
    const char* getLocalDeliveryInfo(std::uint32_t rcpt) const override;
    int getFilterActions(std::uint32_t rcpt, HVector<const char*>* out) const override;
    void listParams(SimpleVector<const char*>& out) const override;
    const char* getRPathRelayHost() const override;

protected:
    explicit ObsoleteLoader(int majorVersion);

private:
    // An entry of the message information chain, which holds the slots of all data versions.
    struct Info {
        std::uint32_t version;
        std::int32_t slot;
        const char* text;
    };

    // A walk along a chain.
    struct Walk {
        std::uint32_t link;
        ChainText::CircleWatch circle = {};
    };

    int readHeader(File* file) const;
    int readRecord(File* file, std::uint64_t& tableSize);
    int readStrings(File* file, std::uint64_t tableSize);
    int checkPaths() const;
    void repairLinks();
    void repairText(unsigned char* rcpt, LegacyLayout::RCPTField which, std::uint32_t end);
    void readMessageInfo() const;

    LegacyLayout::Field layoutOf(LegacyLayout::BlockField which) const {
        return LegacyLayout::blockFields[which][major];
    }
    LegacyLayout::Field layoutOf(LegacyLayout::RCPTField which) const {
        return LegacyLayout::rcptFields[which][major];
    }
    std::uint64_t blockField(LegacyLayout::BlockField which) const;
    std::uint32_t rcptField(std::uint32_t rcpt, LegacyLayout::RCPTField which) const;
    unsigned char* rcptRecord(std::uint32_t rcpt) const;
    const char* textOf(std::uint32_t rcpt, LegacyLayout::RCPTField which) const;

    const char* stringAt(std::uint64_t position) const;
    const char* linkedString(std::uint32_t link) const;
    std::uint32_t linkEnd() const;
    const char* next(Walk& walk, std::size_t shortest) const;

    const int major;
    const LegacyLayout::Version& layout;
    std::uint32_t storedState;
    std::uint32_t rcptCount = 0;
    std::uint32_t versionRecords = 0;
    bool corrupted = false;                  // the last string is "Corrupted string"
    std::unique_ptr<unsigned char[]> record; // block, version records, recipient records
    std::unique_ptr<char[]> table;
    std::vector<const char*> strings;    // into `table`
    HVector<const char*> params;         // into `table`, as of queue/param_list.h
    mutable std::uint64_t bytesLeft = 0; // that chains may still lead through
    mutable std::vector<Info> infos;     // by version, the newest of a slot first
    mutable enum { NotRead, Read, Broken } infoState = NotRead;
};

#endif
