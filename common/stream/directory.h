// A directory: lists its entries, also recursively, makes it and removes it.
//
// Ownership: a Dir copies its path; the match pattern stays the caller's and must live as long as
// the search. Not shared between threads.
// Failure: null or -1 with the system's error; the constructors throw hexcept. A failure to read
// one entry's attributes only leaves that entry out.

#ifndef MORVEX_COMMON_STREAM_DIRECTORY_H
#define MORVEX_COMMON_STREAM_DIRECTORY_H

#include "common/stream/file.h"

#include <dirent.h>

#include <memory>
#include <vector>

class Dir {
public:
    // The longest path that callers should compose.
    static const int MaxPath = 1024;

    // The filter flags of findFirst.
    enum Filter : unsigned {
        ExcludeReadOnly = 2,     // leave out entries that their owner can read and not write
        IncludeHidden = 8,       // take entries whose name begins with "."
        ExcludeDirectories = 16, // leave out directories
        ExcludeFiles = 32,       // leave out all that is no directory
        Recursive = 128          // go down into subdirectories
    };

    // The present working directory; its entries get relative names.
    Dir();

    // The given path. A null path throws hexcept(HE_INVAL).
    explicit Dir(const char* directoryPath);

    Dir(const Dir&) = delete;
    Dir& operator=(const Dir&) = delete;
    ~Dir();

    // Starts a search and gives its first entry, or null if there is none or the directory cannot
    // be read. A null pattern matches everything; otherwise it is an fnmatch pattern for the last
    // component. The result has its name, from the path on, and its attributes, as read by the
    // search. It is the same object each time, not to be kept beyond the next call.
    const File* findFirst(const char* matchPattern, int flags);

    // The next entry, or null at the end.
    const File* findNext();

    // 0 if the current entry passes the pattern and the filter, -1 if not.
    // Requires: findFirst or findNext has given an entry.
    int checkAttr();

    // Removes the empty directory, or with recursive not 0 the whole tree: stops on the first
    // failure. 0, or -1; ENOENT or ENOTDIR when the path is no directory to begin with, and
    // HE_NAMETOOLONG for a tree of more than 1024 levels. Symbolic links in the tree are removed,
    // not followed.
    int remove(int recursive);

    // Makes the path and all missing directories above it. 0, or -1; for a path that exists
    // already, -1 with HE_EEXISTS.
    int createRecursive();

private:
    static constexpr int InlinePathSize = 128;
    static constexpr int EntryPathSize = 2048;

    void endSearch();
    void closeEntry();
    void openNextLevel();
    void pushSubdirectories(const char* level);
    int composeEntry(const char* level, const char* entryName);

    char inlinePath[InlinePathSize];
    char entryPath[EntryPathSize];
    char* path; // inlinePath or an array-new block
    const char* pattern = nullptr;
    File entry; // its name is entryPath
    unsigned filter = 0;
    bool relativeNames;
    std::vector<std::unique_ptr<char[]>> pending; // subdirectories, each relative to path with "/"
    DIR* directory = nullptr;
    dirent* current = nullptr;
};

#endif
