// What differs between the seven old state file formats: sizes, limits, and where each field stands
// how wide. One row a field, one column a version; queue/legacy/obsolete_loader.cpp reads by it.
//
// All start as the present format does (queue/record_format.h): signature, major and minor version.
// Then come the block, in versions 3 to 6 version records, the recipient records, and the string
// table up to the end of the file. Its first strings are return path, authenticated path and sender
// name, then the recipients' addresses. Integers are in the machine's byte order, unaligned.

#ifndef MORVEX_QUEUE_LEGACY_LAYOUT_H
#define MORVEX_QUEUE_LEGACY_LAYOUT_H

#include <cstdint>
#include <iterator>

namespace LegacyLayout {

inline constexpr int versionCount = 7;
inline constexpr std::uint32_t versionRecordLimit = 1024;
inline constexpr int storageIdOffset = 12; // 64 bits, in a version record of versions 3 to 5

// Where a field stands and how many bytes it has; 0 bytes: the version does not have it.
struct Field {
    std::uint8_t offset;
    std::uint8_t bytes;
};

inline constexpr Field none = {0, 0};
constexpr Field byte(std::uint8_t offset) {
    return {offset, 1};
}
constexpr Field half(std::uint8_t offset) {
    return {offset, 2};
}
constexpr Field word(std::uint8_t offset) {
    return {offset, 4};
}
constexpr Field wide(std::uint8_t offset) {
    return {offset, 8};
}

enum BlockField {
    State,
    SourceWord,
    Flags,
    LastVersion,
    OtherLastVersion, // the larger of the two counts
    VersionRecords,
    RetryCount,
    RecvDate,
    NextSchedule,
    OriginalRCPTCount,
    RCPTCount,
    MessageInfoHead,
    ParamHead,
    SenderIp, // network byte order
    LocalPort,
    BlockFields
};

enum RCPTField {
    RCPTState,
    RCPTFlags,
    DataVersion,
    DomainId,
    AccountId,
    Mbox, // signed: 0 or -n for a fixed folder, above 0 a string
    FilterActionsHead,
    Offset24, // beyond the table's end it becomes 0, whatever it means
    FailInfo,
    LocalDelivery,
    RelayHost,
    MessageFlags,
    RCPTFields
};

// clang-format off
inline constexpr Field blockFields[][versionCount] = {
    //                       V0        V1        V2        V3        V4        V5        V6
    /* State */             {byte(0),  byte(0),  word(0),  byte(0),  byte(0),  byte(0),  byte(0)},
    /* SourceWord */        {byte(0),  byte(0),  word(0),  word(0),  word(0),  word(0),  word(0)},
    /* Flags */             {byte(1),  byte(1),  word(4),  word(0),  word(0),  word(0),  word(0)},
    /* LastVersion */       {half(2),  half(2),  word(8),  word(4),  word(4),  word(4),  none},
    /* OtherLastVersion */  {none,     none,     word(12), none,     none,     none,     none},
    /* VersionRecords */    {none,     none,     none,     word(16), word(16), word(16), word(16)},
    /* RetryCount */        {half(20), half(20), word(16), word(20), word(20), word(20), word(20)},
    /* RecvDate */          {wide(4),  wide(4),  wide(20), wide(24), wide(24), wide(24), wide(24)},
    /* NextSchedule */      {wide(12), wide(12), wide(28), wide(32), wide(32), wide(32), wide(32)},
    /* OriginalRCPTCount */ {none,     none,     word(36), word(40), word(40), word(40), word(40)},
    /* RCPTCount */         {word(22), word(22), word(40), word(44), word(44), word(44), word(44)},
    /* MessageInfoHead */   {word(26), word(26), word(44), word(48), word(48), word(48), word(48)},
    /* ParamHead */         {none,     none,     none,     word(52), word(52), word(52), word(52)},
    /* SenderIp */          {none,     none,     none,     none,     none,     none,     word(56)},
    /* LocalPort */         {none,     none,     none,     none,     none,     none,     word(60)},
};
static_assert(std::size(blockFields) == BlockFields);

inline constexpr Field rcptFields[][versionCount] = {
    //                       V0        V1        V2        V3        V4        V5        V6
    /* RCPTState */         {byte(0),  byte(0),  word(0),  byte(0),  byte(0),  byte(0),  byte(0)},
    /* RCPTFlags */         {none,     none,     none,     none,     none,     word(0),  word(0)},
    /* DataVersion */       {half(1),  half(1),  word(4),  word(4),  word(4),  word(4),  none},
    /* DomainId */          {none,     word(3),  word(12), word(8),  word(8),  word(8),  word(8)},
    /* AccountId */         {none,     word(7),  word(16), word(12), word(12), word(12), word(12)},
    /* Mbox */              {word(3),  word(11), word(20), word(16), word(16), word(16), word(16)},
    /* FilterActionsHead */ {word(7),  word(15), word(24), word(24), word(24), word(24), none},
    /* Offset24 */          {none,     none,     none,     word(24), word(24), word(24), word(24)},
    /* FailInfo */          {word(11), word(19), word(28), word(20), word(20), word(20), word(20)},
    /* LocalDelivery */     {word(15), word(23), word(32), none,     none,     none,     none},
    /* RelayHost */         {none,     none,     none,     none,     word(28), word(28), word(28)},
    /* MessageFlags */      {none,     none,     none,     none,     none,     word(32), word(32)},
};
static_assert(std::size(rcptFields) == RCPTFields);
// clang-format on

// State codes of the present table by stored code; what is beyond the table is UNAVAILABLE.
struct StateMap {
    const std::uint8_t* codes;
    std::uint32_t count;
};

// Names of the fixed folders, by the negated folder field.
struct MboxNames {
    const char* const* names;
    int count;
};

struct Version {
    std::uint8_t blockBytes;
    std::uint8_t versionBytes; // 0: no version records
    std::uint8_t rcptBytes;
    bool relativeLinks;        // position = recipient count + link; otherwise position = link
    std::uint32_t rcptLimit;   // recipients at most
    std::uint32_t stringLimit; // strings at most
    std::uint32_t stateMask;   // of the mail's stored state
    std::uint32_t rcptStateMask;
    std::uint32_t stateLimit;   // a mail's stored state from here on is PROCESSING ERROR
    std::uint32_t unboundState; // the stored code of UNBOUND
    std::uint32_t sourceFlag;   // in SourceWord: the mail's source is local
    std::uint8_t flagsShift;
    std::int32_t discardMbox; // a recipient with this folder was discarded by a filter; 0: none
    bool checksPaths;         // refuses paths and addresses without an at sign
    StateMap states;          // null: stored codes are present codes
    MboxNames mboxes;
};

extern const Version versions[versionCount];

// The present code of a stored one.
std::uint32_t upgradeState(const StateMap& map, std::uint32_t stored);

} // namespace LegacyLayout

#endif
