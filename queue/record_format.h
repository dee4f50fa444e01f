// The layout of a mail's state file: offsets and widths of every field, in one place for the one
// writer and the one reader (queue/mail_item_record.cpp) and for whoever edits a record in memory.
//
// From offset 0 of the file: the six signature bytes, versionMajor and versionMinor (16 bits each),
// the fixed block, `versionSlots` version records, `rcptCount` recipient records, and the string
// table up to the end of the file. Integers are in the machine's byte order and stand unaligned;
// they are read and written by load and store below. MailItem::record holds all of it between the
// header and the string table, byte for byte.
//
// A record's links into the string table are relative: position = rcptCount + index. Index 0 means
// none.

#ifndef MORVEX_QUEUE_RECORD_FORMAT_H
#define MORVEX_QUEUE_RECORD_FORMAT_H

#include <cstdint>
#include <cstring>

namespace RecordFormat {

inline constexpr int signatureBytes = 6;
inline constexpr int headerBytes = 10;
inline constexpr int blockBytes = 96;
inline constexpr int versionBytes = 32;
inline constexpr int rcptBytes = 64;

// Fixed block, from the start of the block. Fields are unsigned and have 32 bits where nothing else
// is said; a head is a link to the newest string of a chain (queue/mail_item.h tells which).
inline constexpr int stateWord = 0;          // low byte: state code; bits 8 to 31: flags
inline constexpr int lastVersion = 4;        // the highest data version
inline constexpr int retryCount = 8;         // of deliveries; the server's
inline constexpr int recvDate = 12;          // 64 bits signed, seconds since 1970
inline constexpr int nextSchedule = 20;      // 64 bits signed, seconds since 1970, 0 for none
inline constexpr int originalRCPTCount = 28; // when the envelope was closed
inline constexpr int rcptCount = 32;         // now
inline constexpr int paramHead = 36;         // see MailItem::setParam
inline constexpr int filterInfoHead = 64;
inline constexpr int delayDelivery = 68; // not before: as nextSchedule

// Version record, from its start.
inline constexpr int parentVersion = 0; // that it was derived from
inline constexpr int headerSize = 4;    // bytes, signed, -1 while it is not known
inline constexpr int dataFilterInfoHead = 8;

// Recipient record, from its start.
inline constexpr int rcptStateWord = 0;     // low byte: state code; bits 8 to 31: flags
inline constexpr int rcptDataVersion = 4;   // that goes to this recipient
inline constexpr int rcptDomainId = 8;      // all ones until known
inline constexpr int rcptAccountId = 12;    // all ones until known
inline constexpr int rcptMbox = 16;         // signed: a folder id or a string index
inline constexpr int rcptMboxHead = 20;     // further folders
inline constexpr int rcptFailInfo = 24;     // a string: why delivery failed
inline constexpr int rcptMessageFlags = 32; // the server's
inline constexpr int rcptFilterInfoHead = 36;
inline constexpr int rcptMessageSlotsHead = 40;
inline constexpr int rcptPropertySlotsHead = 44;

inline constexpr std::uint32_t stateMask = 0xFF;
inline constexpr std::uint32_t sourceFlag = 0x100; // the mail's source type is 1
inline constexpr std::uint32_t idUnknown = 0xFFFFFFFF;

// The strings before the first recipient address: return path, authenticated path, sender name.
inline constexpr int frontStrings = 3;

inline constexpr std::uint32_t rcptLimit = 65536;       // a record with so many does not load
inline constexpr std::uint32_t versionLimit = 0x100000; // data versions at most
inline constexpr int stringLimit = 0x1000000;           // strings at most

// The fixed folder ids: 0 for "INBOX", and these; any other id is a string index.
inline constexpr std::int32_t firstFolderId = 0xFFFFF00;
inline constexpr int folderIds = 4;

constexpr bool isFolderId(std::int32_t id) {
    return id == 0 || (id >= firstFolderId && id < firstFolderId + folderIds);
}

inline constexpr int maxChainLinks = 0x10000; // what a walk along a chain follows at most

// The version records that a record with this `lastVersion` holds: a multiple of 16.
constexpr std::uint32_t versionSlotsFor(std::uint32_t last) {
    return (last | 15) + 1;
}

// Bytes of a record: everything between the header and the string table.
constexpr std::uint32_t recordBytes(std::uint32_t versionSlots, std::uint32_t rcpts) {
    return blockBytes + versionBytes * versionSlots + rcptBytes * rcpts;
}

template <class T> T load(const unsigned char* at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

template <class T> void store(unsigned char* at, T value) {
    std::memcpy(at, &value, sizeof value);
}

} // namespace RecordFormat

#endif
