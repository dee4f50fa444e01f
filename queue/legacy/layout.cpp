#include "queue/legacy/layout.h"

#include "queue/mail_item.h"

namespace LegacyLayout {

namespace {

constexpr std::uint8_t statesOfV0[] = {0,  1,  2,  3,  4,  5,  6,  7,  8, 9,
                                       10, 11, 12, 64, 65, 66, 96, 97, 98};
constexpr std::uint8_t statesOfV2[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,
                                       10, 11, 12, 13, 64, 65, 66, 96, 97, 98};

constexpr const char* mboxesOfV0[] = {"INBOX", "Requests", "Pending", ""};
constexpr const char* mboxesOfV4[] = {"INBOX", "Requests", "Pending", "Trash"};
constexpr const char* mboxesOfV6[] = {"INBOX", "Requests", "Pending", "Trash", "Filtered Email"};

constexpr std::uint32_t noLimit = 0x7FFFFFFF;
constexpr std::uint32_t someStrings = 0x100000;

} // namespace

// clang-format off
constinit const Version versions[versionCount] = {
    //            block vers rcpt relative rcpts  strings      masks       limit    unbound source shift disc. paths states             folders
    /* V0 */ {30,  0, 19, false,  1024, noLimit,     0x7F, 0xFF, noLimit, 16, 0x80,  24, -3, false, {statesOfV0, 19}, {mboxesOfV0, 4}},
    /* V1 */ {30,  0, 27, false,  1024, noLimit,     0x7F, 0xFF, noLimit, 16, 0x80,  24, -3, false, {statesOfV0, 19}, {mboxesOfV0, 4}},
    /* V2 */ {64,  0, 36, true,   1024, someStrings, 0x7F, 0x7F, noLimit, 17, 0x80,  24,  0, false, {statesOfV2, 20}, {mboxesOfV0, 3}},
    /* V3 */ {64, 20, 28, true,   1024, someStrings, 0xFF, 0xFF, noLimit, 17, 0x100,  0,  0, false, {statesOfV2, 20}, {mboxesOfV0, 3}},
    /* V4 */ {64, 20, 32, true,   1024, someStrings, 0xFF, 0xFF, noLimit, 17, 0x100,  0,  0, false, {statesOfV2, 20}, {mboxesOfV4, 4}},
    /* V5 */ {64, 20, 36, true,  65535, someStrings, 0xFF, 0xFF, 20,      17, 0x100,  0,  0, true,  {statesOfV2, 20}, {mboxesOfV4, 4}},
    /* V6 */ {64, 20, 36, true,  65535, someStrings, 0xFF, 0xFF, 127,     96, 0x100,  0,  0, true,  {nullptr, 0},     {mboxesOfV6, 5}},
};
// clang-format on

std::uint32_t upgradeState(const StateMap& map, std::uint32_t stored) {
    if (map.codes == nullptr) {
        return stored;
    }
    return stored < map.count ? map.codes[stored] : std::uint32_t{MailItem::UNAVAILABLE};
}

} // namespace LegacyLayout
