#include "config/object_marker.h"

#include <cstring>

namespace HConfig {

ObjectMarker::ObjectMarker(unsigned attributeCount)
    : marks(new std::uint8_t[attributeCount]()), count(static_cast<std::uint16_t>(attributeCount)) {
}

void ObjectMarker::markAll() {
    std::memset(marks, 1, count);
    anyMarked = count != 0;
}

void ObjectMarker::copyMarks(const ObjectMarker& other) {
    std::memcpy(marks, other.marks, count);
    anyMarked = other.anyMarked;
}

} // namespace HConfig
