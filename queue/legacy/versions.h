// The old state file formats by their major versions, each in a namespace of its own: the mail read
// from such a file, and its versioner in the list that MailItemVersioner::first begins. All of them
// share one reader; what differs stands in queue/legacy/layout.h.
//
// The instances are constants: nothing of this runs before main.

#ifndef MORVEX_QUEUE_LEGACY_VERSIONS_H
#define MORVEX_QUEUE_LEGACY_VERSIONS_H

#include "queue/legacy/obsolete_loader.h"

#include <cstdint>

template <int number, int minor> class ObsoleteMailItem : public ObsoleteLoader {
public:
    static constexpr std::uint16_t versionMajor = number;
    static constexpr std::uint16_t versionMinor = minor;

    // The names of the fixed folders, by the negated folder field.
    static constexpr const LegacyLayout::MboxNames& rcptMboxes =
        LegacyLayout::versions[number].mboxes;

    ObsoleteMailItem() : ObsoleteLoader(number) {}
};

// Reads the state file as an Item; null with the last error set.
template <class Item> MailItemLoader* loadObsolete(File* file) {
    std::unique_ptr<Item> item(new Item);
    return item->loadFromFile(file) == 0 ? item.release() : nullptr;
}

// `upgradeStateCode` gives the present state code for a stored one; version 6 has the present codes
// already.

namespace MailQueue_V0 {
class MailItemObsolete final : public ObsoleteMailItem<0, 1> {};
class MailItemObsoleteVersioner final : public MailItemVersioner {
public:
    constexpr MailItemObsoleteVersioner() : MailItemVersioner(0, nullptr) {}
    MailItemLoader* load(unsigned id, File* file, unsigned char minor) const override;
};
extern const MailItemObsoleteVersioner mailItemVersioner;
std::uint32_t upgradeStateCode(std::uint32_t stored);
} // namespace MailQueue_V0

namespace MailQueue_V1 {
class MailItemObsolete final : public ObsoleteMailItem<1, 1> {};
class MailItemObsoleteVersioner final : public MailItemVersioner {
public:
    constexpr MailItemObsoleteVersioner()
        : MailItemVersioner(1, &MailQueue_V0::mailItemVersioner) {}
    MailItemLoader* load(unsigned id, File* file, unsigned char minor) const override;
};
extern const MailItemObsoleteVersioner mailItemVersioner;
std::uint32_t upgradeStateCode(std::uint32_t stored);
} // namespace MailQueue_V1

namespace MailQueue_V2 {
class MailItemObsolete final : public ObsoleteMailItem<2, 1> {};
class MailItemObsoleteVersioner final : public MailItemVersioner {
public:
    constexpr MailItemObsoleteVersioner()
        : MailItemVersioner(2, &MailQueue_V1::mailItemVersioner) {}
    MailItemLoader* load(unsigned id, File* file, unsigned char minor) const override;
};
extern const MailItemObsoleteVersioner mailItemVersioner;
std::uint32_t upgradeStateCode(std::uint32_t stored);
} // namespace MailQueue_V2

namespace MailQueue_V3 {
class MailItemObsolete final : public ObsoleteMailItem<3, 0> {};
class MailItemObsoleteVersioner final : public MailItemVersioner {
public:
    constexpr MailItemObsoleteVersioner()
        : MailItemVersioner(3, &MailQueue_V2::mailItemVersioner) {}
    MailItemLoader* load(unsigned id, File* file, unsigned char minor) const override;
};
extern const MailItemObsoleteVersioner mailItemVersioner;
std::uint32_t upgradeStateCode(std::uint32_t stored);
} // namespace MailQueue_V3

namespace MailQueue_V4 {
class MailItemObsolete final : public ObsoleteMailItem<4, 1> {};
class MailItemObsoleteVersioner final : public MailItemVersioner {
public:
    constexpr MailItemObsoleteVersioner()
        : MailItemVersioner(4, &MailQueue_V3::mailItemVersioner) {}
    MailItemLoader* load(unsigned id, File* file, unsigned char minor) const override;
};
extern const MailItemObsoleteVersioner mailItemVersioner;
std::uint32_t upgradeStateCode(std::uint32_t stored);
} // namespace MailQueue_V4

namespace MailQueue_V5 {
class MailItemObsolete final : public ObsoleteMailItem<5, 0> {};
class MailItemObsoleteVersioner final : public MailItemVersioner {
public:
    constexpr MailItemObsoleteVersioner()
        : MailItemVersioner(5, &MailQueue_V4::mailItemVersioner) {}
    MailItemLoader* load(unsigned id, File* file, unsigned char minor) const override;
};
extern const MailItemObsoleteVersioner mailItemVersioner;
std::uint32_t upgradeStateCode(std::uint32_t stored);
} // namespace MailQueue_V5

namespace MailQueue_V6 {
class MailItemObsolete final : public ObsoleteMailItem<6, 0> {};
class MailItemObsoleteVersioner final : public MailItemVersioner {
public:
    constexpr MailItemObsoleteVersioner()
        : MailItemVersioner(6, &MailQueue_V5::mailItemVersioner) {}
    MailItemLoader* load(unsigned id, File* file, unsigned char minor) const override;
};
extern const MailItemObsoleteVersioner mailItemVersioner;
} // namespace MailQueue_V6

#endif
