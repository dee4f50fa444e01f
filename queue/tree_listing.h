// What one reading of the queue's directory tells about the directories that must stand in it: a
// few system calls in place of one for each of up to 257 names. It is a snapshot and may be
// incomplete; for a name that it does not know the caller asks the system itself.
//
// A value of one thread. Nothing fails: what cannot be read stays unknown.

#ifndef MORVEX_QUEUE_TREE_LISTING_H
#define MORVEX_QUEUE_TREE_LISTING_H

#include <cstdint>

class TreeListing {
public:
    enum Kind : std::uint8_t {
        Unknown, // not seen, or of a kind that only a look at the file itself can tell
        Directory,
        NoDirectory,
    };

    // Reads the directory open at `fd` until the entry directories 0 to `lastEntry` and `locals`
    // are known or the directory ends, within a limit on the number of entries looked at.
    // Requires: lastEntry <= 255.
    void read(int fd, int lastEntry);

    // Requires: 0 <= number <= 255.
    Kind entry(int number) const { return entries[number]; }
    Kind locals() const { return localsKind; }

private:
    bool note(const char* name, unsigned char type, int lastEntry);

    Kind entries[256] = {};
    Kind localsKind = Unknown;
};

#endif
