#include "queue/legacy/versions.h"

constinit const MailItemVersioner* const MailItemVersioner::first =
    &MailQueue_V6::mailItemVersioner;

namespace MailQueue_V0 {

constinit const MailItemObsoleteVersioner mailItemVersioner;

MailItemLoader* MailItemObsoleteVersioner::load(unsigned, File* file, unsigned char) const {
    return loadObsolete<MailItemObsolete>(file);
}

std::uint32_t upgradeStateCode(std::uint32_t stored) {
    return LegacyLayout::upgradeState(LegacyLayout::versions[0].states, stored);
}

} // namespace MailQueue_V0

namespace MailQueue_V1 {

constinit const MailItemObsoleteVersioner mailItemVersioner;

MailItemLoader* MailItemObsoleteVersioner::load(unsigned, File* file, unsigned char) const {
    return loadObsolete<MailItemObsolete>(file);
}

std::uint32_t upgradeStateCode(std::uint32_t stored) {
    return LegacyLayout::upgradeState(LegacyLayout::versions[1].states, stored);
}

} // namespace MailQueue_V1

namespace MailQueue_V2 {

constinit const MailItemObsoleteVersioner mailItemVersioner;

MailItemLoader* MailItemObsoleteVersioner::load(unsigned, File* file, unsigned char) const {
    return loadObsolete<MailItemObsolete>(file);
}

std::uint32_t upgradeStateCode(std::uint32_t stored) {
    return LegacyLayout::upgradeState(LegacyLayout::versions[2].states, stored);
}

} // namespace MailQueue_V2

namespace MailQueue_V3 {

constinit const MailItemObsoleteVersioner mailItemVersioner;

MailItemLoader* MailItemObsoleteVersioner::load(unsigned, File* file, unsigned char) const {
    return loadObsolete<MailItemObsolete>(file);
}

std::uint32_t upgradeStateCode(std::uint32_t stored) {
    return LegacyLayout::upgradeState(LegacyLayout::versions[3].states, stored);
}

} // namespace MailQueue_V3

namespace MailQueue_V4 {

constinit const MailItemObsoleteVersioner mailItemVersioner;

MailItemLoader* MailItemObsoleteVersioner::load(unsigned, File* file, unsigned char) const {
    return loadObsolete<MailItemObsolete>(file);
}

std::uint32_t upgradeStateCode(std::uint32_t stored) {
    return LegacyLayout::upgradeState(LegacyLayout::versions[4].states, stored);
}

} // namespace MailQueue_V4

namespace MailQueue_V5 {

constinit const MailItemObsoleteVersioner mailItemVersioner;

MailItemLoader* MailItemObsoleteVersioner::load(unsigned, File* file, unsigned char) const {
    return loadObsolete<MailItemObsolete>(file);
}

std::uint32_t upgradeStateCode(std::uint32_t stored) {
    return LegacyLayout::upgradeState(LegacyLayout::versions[5].states, stored);
}

} // namespace MailQueue_V5

namespace MailQueue_V6 {

constinit const MailItemObsoleteVersioner mailItemVersioner;

MailItemLoader* MailItemObsoleteVersioner::load(unsigned, File* file, unsigned char) const {
    return loadObsolete<MailItemObsolete>(file);
}

} // namespace MailQueue_V6
