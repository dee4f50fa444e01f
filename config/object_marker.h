// ObjectMarker: one mark per attribute of an object. It tells a loader which attributes a file
// has set, and a listener which attributes an update has changed.

#ifndef MORVEX_CONFIG_OBJECT_MARKER_H
#define MORVEX_CONFIG_OBJECT_MARKER_H

#include <cstdint>

namespace HConfig {

class ObjectMarker {
public:
    // No marks, for the attributes below `attributeCount`.
    explicit ObjectMarker(unsigned attributeCount);
    ~ObjectMarker() { delete[] marks; }
    ObjectMarker(const ObjectMarker&) = delete;
    ObjectMarker& operator=(const ObjectMarker&) = delete;

    // Requires for these: index < getCount().
    void mark(unsigned index) {
        marks[index] = 1;
        anyMarked = true;
    }
    bool isMarked(unsigned index) const { return marks[index] != 0; }

    void markAll();

    // Takes over the other's marks. Requires: the same count.
    void copyMarks(const ObjectMarker& other);

    bool isAnyMarked() const { return anyMarked; }
    unsigned getCount() const { return count; }

private:
    std::uint8_t* marks; // 1 for marked
    std::uint16_t count;
    bool anyMarked = false;
};

} // namespace HConfig

#endif
