#include "common/stream/crc_stream.h"

#include "common/container/crc32.h"

namespace {

unsigned carryOn(unsigned crc, const void* data, int size) {
    return size > 0 ? CRC32(static_cast<const unsigned char*>(data), size, crc, 0xFFFFFFFF) : crc;
}

} // namespace

CastableId* CRCStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* CRCStream::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<CRCStream*>(this)
                                      : WrapStream::doCastInternal(id);
}

CastableId* CRCStream::getOwnCastableId() const {
    return getCastableClassId();
}

int CRCStream::read(void* buffer, int size) {
    const int moved = WrapStream::read(buffer, size);
    crc = carryOn(crc, buffer, moved);
    return moved;
}

int CRCStream::write(const void* buffer, int size) {
    const int moved = WrapStream::write(buffer, size);
    crc = carryOn(crc, buffer, moved);
    return moved;
}

// What WrapStream would hand to the base must pass through here.
// NOLINTBEGIN(bugprone-parent-virtual-call)
int CRCStream::copy(Stream& target, long long& count) {
    return Stream::copy(target, count);
}

int CRCStream::readAll(void* buffer, int size) {
    return Stream::readAll(buffer, size);
}

int CRCStream::writeAll(const void* buffer, int size) {
    return Stream::writeAll(buffer, size);
}
// NOLINTEND(bugprone-parent-virtual-call)
