#include "queue/tree_listing.h"

#include <dirent.h>
#include <sys/types.h>

#include <cstddef>
#include <cstring>

namespace {

// All entries of a complete tree fit one block of 8 KiB. A directory that holds so many others
// that the needed ones do not turn up in the first blocks is not read to its end.
constexpr std::size_t blockBytes = 8192;
constexpr int maxBlocks = 8;

int hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

// The number of an entry directory's name, or -1 for any other name.
int entryNumber(const char* name) {
    const int high = hexDigit(name[0]);
    const int low = high < 0 ? -1 : hexDigit(name[1]);
    return low < 0 || name[2] != '\0' ? -1 : high * 16 + low;
}

TreeListing::Kind kindOf(unsigned char type) {
    // A symbolic link may lead to a directory, and some file systems tell no types.
    if (type == DT_UNKNOWN || type == DT_LNK) {
        return TreeListing::Unknown;
    }
    return type == DT_DIR ? TreeListing::Directory : TreeListing::NoDirectory;
}

} // namespace

// Whether the name is one of those looked for.
bool TreeListing::note(const char* name, unsigned char type, int lastEntry) {
    const int number = entryNumber(name);
    if (number >= 0 && number <= lastEntry) {
        entries[number] = kindOf(type);
        return true;
    }
    if (std::strcmp(name, "locals") == 0) {
        localsKind = kindOf(type);
        return true;
    }
    return false;
}

void TreeListing::read(int fd, int lastEntry) {
    alignas(dirent64) char block[blockBytes];
    int missing = lastEntry + 2;
    for (int blocks = 0; blocks < maxBlocks && missing > 0; ++blocks) {
        const ssize_t length = ::getdents64(fd, block, sizeof block);
        if (length <= 0) {
            return;
        }
        for (ssize_t at = 0; at < length && missing > 0;) {
            const dirent64* found = reinterpret_cast<const dirent64*>(block + at);
            missing -= note(found->d_name, found->d_type, lastEntry) ? 1 : 0;
            at += found->d_reclen;
        }
    }
}
