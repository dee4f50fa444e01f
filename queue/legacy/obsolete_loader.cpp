#include "queue/legacy/obsolete_loader.h"

#include "common/container/key.h"
#include "common/error.h"
#include "common/stream/file.h"
#include "common/thread/thread.h"
#include "queue/mail_item.h"
#include "queue/param_list.h"
#include "queue/record_rules.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

using namespace LegacyLayout;
using namespace RecordRules;
using ChainText::hexAt;

constexpr int listOrder = 16;

// A string of a chain is "%07X:" and more; one of the message information "%07X:%04X:%02X:%s".
constexpr std::size_t linkBytes = 8;
constexpr std::size_t infoVersionOffset = 8;
constexpr std::size_t infoSlotOffset = 13;
constexpr std::size_t infoTextOffset = 16;

// What chains may share without being taken for damaged.
constexpr std::uint64_t sharedBytes = 0x100000;

int fail(unsigned code) {
    Thread::setLastError(code);
    return -1;
}

int readExactly(File* file, void* buffer, std::uint64_t size, unsigned shortError) {
    const int bytes = static_cast<int>(size);
    if (file->readAll(buffer, bytes) == bytes) {
        return 0;
    }
    return file->getInputState() == Stream::StateError ? -1 : fail(shortError);
}

std::uint64_t loadField(const unsigned char* start, Field field) {
    std::uint64_t value = 0;
    switch (field.bytes) {
    case 1:
        value = start[field.offset];
        break;
    case 2:
        value = RecordFormat::load<std::uint16_t>(start + field.offset);
        break;
    case 4:
        value = RecordFormat::load<std::uint32_t>(start + field.offset);
        break;
    case 8:
        value = RecordFormat::load<std::uint64_t>(start + field.offset);
        break;
    default:
        break;
    }
    return value;
}

} // namespace

ObsoleteLoader::ObsoleteLoader(int majorVersion)
    : major(majorVersion), layout(versions[majorVersion]), storedState(layout.unboundState),
      params(listOrder) {
}

int ObsoleteLoader::loadFromFile(File* file) {
    std::uint64_t tableSize = 0;
    if (readHeader(file) == -1 || readRecord(file, tableSize) == -1 ||
        readStrings(file, tableSize) == -1) {
        return -1;
    }
    storedState = static_cast<std::uint32_t>(blockField(State)) & layout.stateMask;
    if (storedState >= layout.stateLimit) {
        storedState = MailItem::PROCESSING_ERROR;
    }
    if (layout.checksPaths && checkPaths() == -1) {
        return -1;
    }
    repairLinks();
    ParamList::readChain(params, static_cast<std::uint32_t>(blockField(ParamHead)), linkEnd(),
                         [this](std::uint32_t link) { return linkedString(link); });
    return 0;
}

int ObsoleteLoader::readHeader(File* file) const {
    unsigned char header[RecordFormat::headerBytes];
    if (file->lseek(0, Stream::SeekStart) != 0 ||
        readExactly(file, header, sizeof header, HE_SIGNATURE) == -1) {
        return -1;
    }
    if (std::memcmp(header, signature, RecordFormat::signatureBytes) != 0) {
        return fail(HE_SIGNATURE);
    }
    return RecordFormat::load<std::uint16_t>(header + RecordFormat::signatureBytes) == major
               ? 0
               : fail(HE_VERSION);
}

// Block, version and recipient records. The counts are held against the size of the file before
// memory is taken for them, and the last version against what a record of today can have.
int ObsoleteLoader::readRecord(File* file, std::uint64_t& tableSize) {
    record.reset(new unsigned char[layout.blockBytes]);
    if (readExactly(file, record.get(), layout.blockBytes, HE_BADFILE) == -1) {
        return -1;
    }
    const auto rcpts = static_cast<std::uint32_t>(blockField(RCPTCount));
    const auto last = static_cast<std::uint32_t>(blockField(VersionRecords));
    if (rcpts > layout.rcptLimit || last > versionRecordLimit ||
        getLastVersion() >= RecordFormat::versionLimit) {
        return fail(HE_BADFILE);
    }
    versionRecords = layout.versionBytes != 0 ? ((last - 1) | 15) + 1 : 0;
    const std::uint64_t records = std::uint64_t{layout.versionBytes} * versionRecords +
                                  std::uint64_t{layout.rcptBytes} * rcpts;
    const std::uint64_t ahead = RecordFormat::headerBytes + layout.blockBytes + records;
    const long long fileSize = file->getSize();
    if (fileSize == -1) {
        return -1;
    }
    const auto size = static_cast<std::uint64_t>(fileSize);
    if (size <= ahead || size - ahead > INT_MAX) {
        return fail(HE_BADFILE);
    }
    tableSize = size - ahead;
    rcptCount = rcpts;
    std::unique_ptr<unsigned char[]> whole(new unsigned char[layout.blockBytes + records]);
    std::memcpy(whole.get(), record.get(), layout.blockBytes);
    record = std::move(whole);
    return readExactly(file, record.get() + layout.blockBytes, records, HE_BADFILE);
}

int ObsoleteLoader::readStrings(File* file, std::uint64_t tableSize) {
    table.reset(new char[tableSize]);
    if (readExactly(file, table.get(), tableSize, HE_BADFILE) == -1) {
        return -1;
    }
    const char* const end = table.get() + tableSize;
    corrupted = end[-1] != '\0';
    table[tableSize - 1] = '\0';
    for (const char* text = table.get(); text != end && strings.size() < layout.stringLimit;
         text += std::strlen(text) + 1) {
        strings.push_back(text);
    }
    if (corrupted) {
        strings.back() = corruptedText;
    }
    bytesLeft = tableSize + sharedBytes;
    return 0;
}

int ObsoleteLoader::checkPaths() const {
    bool good = isPath(getRPath()) && isPath(getAuthPath());
    for (std::uint32_t r = 0; good && r < rcptCount; ++r) {
        good = isRecipient(getRCPTPath(r));
    }
    return good ? 0 : fail(HE_BADFILE);
}

// A text that is not there becomes "Corrupted string"; a folder or a chain that is not there, none.
// In versions 0 to 2 a chain is treated as a text, and is a broken one then.
void ObsoleteLoader::repairLinks() {
    const bool textsOnly = layout.versionBytes == 0;
    const std::uint32_t end = linkEnd();
    for (std::uint32_t r = 0; r < rcptCount; ++r) {
        unsigned char* const rcpt = rcptRecord(r);
        if (textsOnly) {
            repairText(rcpt, FilterActionsHead, end);
            repairText(rcpt, FailInfo, end);
            repairText(rcpt, LocalDelivery, end);
            continue;
        }
        const auto mbox = static_cast<std::int64_t>(static_cast<std::int32_t>(rcptField(r, Mbox)));
        if (mbox >= static_cast<std::int64_t>(end) || -mbox >= layout.mboxes.count) {
            RecordFormat::store<std::uint32_t>(rcpt + layoutOf(Mbox).offset, 0);
        }
        if (rcptField(r, Offset24) >= end) {
            RecordFormat::store<std::uint32_t>(rcpt + layoutOf(Offset24).offset, 0);
        }
        repairText(rcpt, FailInfo, end);
    }
}

void ObsoleteLoader::repairText(unsigned char* rcpt, RCPTField which, std::uint32_t end) {
    const Field field = layoutOf(which);
    const auto link = static_cast<std::uint32_t>(loadField(rcpt, field));
    if (link == 0 || link < end) {
        return;
    }
    if (!corrupted) {
        strings.push_back(corruptedText);
        corrupted = true;
    }
    RecordFormat::store(rcpt + field.offset, linkEnd() - 1);
}

std::uint64_t ObsoleteLoader::blockField(BlockField which) const {
    return loadField(record.get(), layoutOf(which));
}

std::uint32_t ObsoleteLoader::rcptField(std::uint32_t rcpt, RCPTField which) const {
    return rcpt < rcptCount
               ? static_cast<std::uint32_t>(loadField(rcptRecord(rcpt), layoutOf(which)))
               : 0;
}

unsigned char* ObsoleteLoader::rcptRecord(std::uint32_t rcpt) const {
    return record.get() + layout.blockBytes + std::size_t{layout.versionBytes} * versionRecords +
           std::size_t{layout.rcptBytes} * rcpt;
}

const char* ObsoleteLoader::stringAt(std::uint64_t position) const {
    return position < strings.size() ? strings[position] : nullptr;
}

const char* ObsoleteLoader::linkedString(std::uint32_t link) const {
    return stringAt((layout.relativeLinks ? std::uint64_t{rcptCount} : 0) + link);
}

// The lowest link that leads nowhere.
std::uint32_t ObsoleteLoader::linkEnd() const {
    const auto count = static_cast<std::uint32_t>(strings.size());
    const std::uint32_t start = layout.relativeLinks ? rcptCount : 0;
    return count > start ? count - start : 0;
}

// The string at the walk's link, which moves on. Null for a broken chain. Once there is too little
// left for a string there is nothing left for any: looking at it again would cost its length.
const char* ObsoleteLoader::next(Walk& walk, std::size_t shortest) const {
    const char* const text = linkedString(walk.link);
    if (text == nullptr || ::strnlen(text, shortest) < shortest || text[linkBytes - 1] != ':' ||
        walk.circle.closes(walk.link)) {
        return nullptr;
    }
    const std::uint64_t length = ::strnlen(text, bytesLeft);
    if (length == bytesLeft) {
        bytesLeft = 0;
        return nullptr;
    }
    bytesLeft -= length + 1;
    walk.link = hexAt(text);
    return text;
}

std::uint32_t ObsoleteLoader::getState() const {
    return upgradeState(layout.states, storedState);
}

std::uint32_t ObsoleteLoader::getOriginalRCPTCount() const {
    return layoutOf(OriginalRCPTCount).bytes != 0
               ? static_cast<std::uint32_t>(blockField(OriginalRCPTCount))
               : MailItemLoader::getOriginalRCPTCount();
}

MailQueue::SourceTypes ObsoleteLoader::getSourceType() const {
    if ((blockField(SourceWord) & layout.sourceFlag) != 0) {
        return MailQueue::SourceLocal;
    }
    return storedState == MailItem::RAW_RECEIVED ? MailQueue::SourceRaw : MailQueue::SourceNetwork;
}

std::uint32_t ObsoleteLoader::getFlags() const {
    return (static_cast<std::uint32_t>(blockField(Flags)) << layout.flagsShift) &
           ~RecordFormat::stateMask;
}

std::uint32_t ObsoleteLoader::getLastVersion() const {
    return static_cast<std::uint32_t>(
        std::max(blockField(LastVersion), blockField(OtherLastVersion)));
}

std::uint64_t ObsoleteLoader::getMailStorageId(std::uint32_t version) const {
    // Version 6 has no data versions any more: what its version records hold is not known.
    if (layoutOf(LastVersion).bytes == 0 || version >= versionRecords) {
        return MailItemLoader::getMailStorageId(version);
    }
    return RecordFormat::load<std::uint64_t>(record.get() + layout.blockBytes +
                                             std::size_t{layout.versionBytes} * version +
                                             storageIdOffset);
}

std::int64_t ObsoleteLoader::getRecvDate() const {
    return static_cast<std::int64_t>(blockField(RecvDate));
}

InetAddr ObsoleteLoader::getSenderIp() const {
    return layoutOf(SenderIp).bytes != 0
               ? InetAddr(in_addr{static_cast<in_addr_t>(blockField(SenderIp))})
               : MailItemLoader::getSenderIp();
}

std::uint32_t ObsoleteLoader::getLocalReceivingPort() const {
    return static_cast<std::uint32_t>(blockField(LocalPort));
}

std::int64_t ObsoleteLoader::getNextSchedule() const {
    return static_cast<std::int64_t>(blockField(NextSchedule));
}

std::uint32_t ObsoleteLoader::getRetryCount() const {
    return static_cast<std::uint32_t>(blockField(RetryCount));
}

// The chain holds the slots of all versions: it is walked once.
void ObsoleteLoader::readMessageInfo() const {
    Walk walk{static_cast<std::uint32_t>(blockField(MessageInfoHead))};
    infoState = Read;
    while (walk.link != 0) {
        const char* const text = next(walk, infoTextOffset);
        if (text == nullptr) {
            infoState = Broken;
            infos.clear();
            return;
        }
        infos.push_back({hexAt(text + infoVersionOffset),
                         static_cast<std::int32_t>(hexAt(text + infoSlotOffset)),
                         text + infoTextOffset});
    }
    std::stable_sort(infos.begin(), infos.end(),
                     [](const Info& a, const Info& b) { return a.version < b.version; });
}

int ObsoleteLoader::getMessageInfo(std::uint32_t version, Tree* out) const {
    if (infoState == NotRead) {
        readMessageInfo();
    }
    if (infoState == Broken) {
        return -1;
    }
    auto info = std::lower_bound(infos.begin(), infos.end(), version,
                                 [](const Info& a, std::uint32_t b) { return a.version < b; });
    for (; info != infos.end() && info->version == version; ++info) {
        ChainText::addOnce<Int32Key>(*out, info->slot, info->text);
    }
    return 0;
}

std::uint32_t ObsoleteLoader::getRCPTState(std::uint32_t rcpt) const {
    if (layout.discardMbox != 0 &&
        static_cast<std::int32_t>(rcptField(rcpt, Mbox)) == layout.discardMbox) {
        return MailItem::FILTER_DISCARD;
    }
    return upgradeState(layout.states, rcptField(rcpt, RCPTState) & layout.rcptStateMask);
}

const char* ObsoleteLoader::getRCPTPath(std::uint32_t rcpt) const {
    return rcpt < rcptCount ? stringAt(std::uint64_t{RecordFormat::frontStrings} + rcpt) : nullptr;
}

const char* ObsoleteLoader::getRCPTMbox(std::uint32_t rcpt) const {
    const auto mbox = static_cast<std::int32_t>(rcptField(rcpt, Mbox));
    if (mbox > 0) {
        return linkedString(static_cast<std::uint32_t>(mbox));
    }
    const std::int64_t fixed = -static_cast<std::int64_t>(mbox);
    return fixed < layout.mboxes.count ? layout.mboxes.names[fixed] : nullptr;
}

std::uint32_t ObsoleteLoader::getRCPTDomainId(std::uint32_t rcpt) const {
    return rcptField(rcpt, DomainId);
}

std::uint32_t ObsoleteLoader::getRCPTAccountId(std::uint32_t rcpt) const {
    return rcptField(rcpt, AccountId);
}

const char* ObsoleteLoader::getRCPTRelayHost(std::uint32_t rcpt) const {
    return textOf(rcpt, RelayHost);
}

std::uint32_t ObsoleteLoader::getRCPTDataVersion(std::uint32_t rcpt) const {
    return rcptField(rcpt, DataVersion);
}

std::uint32_t ObsoleteLoader::getRCPTFlags(std::uint32_t rcpt) const {
    return rcptField(rcpt, RCPTFlags) & ~RecordFormat::stateMask;
}

std::uint32_t ObsoleteLoader::getRCPTMessageFlags(std::uint32_t rcpt) const {
    return rcptField(rcpt, MessageFlags);
}

const char* ObsoleteLoader::getRCPTFailInfo(std::uint32_t rcpt) const {
    return textOf(rcpt, FailInfo);
}

const char* ObsoleteLoader::getLocalDeliveryInfo(std::uint32_t rcpt) const {
    return textOf(rcpt, LocalDelivery);
}

const char* ObsoleteLoader::textOf(std::uint32_t rcpt, RCPTField which) const {
    const std::uint32_t link = rcptField(rcpt, which);
    return link != 0 ? linkedString(link) : nullptr;
}

int ObsoleteLoader::getFilterActions(std::uint32_t rcpt, HVector<const char*>* out) const {
    std::vector<const char*> found;
    Walk walk{rcptField(rcpt, FilterActionsHead)};
    while (walk.link != 0) {
        const char* const text = next(walk, linkBytes);
        if (text == nullptr) {
            return -1;
        }
        found.push_back(text + linkBytes);
    }
    for (const char* action : found) {
        out->append(action);
    }
    return 0;
}

void ObsoleteLoader::listParams(SimpleVector<const char*>& out) const {
    ParamList::list(params, out);
}

const char* ObsoleteLoader::getRPathRelayHost() const {
    constexpr char name[] = "RPathRelayHost";
    int place = 0;
    return major == 6 && ParamList::find(params, name, sizeof name - 1, place)
               ? params.get(place) + sizeof name
               : MailItemLoader::getRPathRelayHost();
}
