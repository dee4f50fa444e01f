// The texts of a running parse: std::string objects that are handed out in order and taken back
// together, so that their buffers serve the next parse. A parser owns one pool. One thread at a
// time.

#ifndef MORVEX_ADDRESS_STRING_POOL_H
#define MORVEX_ADDRESS_STRING_POOL_H

#include <string>

template <class T, class A> class HVector;

class StringPool {
public:
    // Makes the first 64 strings, all empty.
    StringPool();
    StringPool(const StringPool&) = delete;
    StringPool& operator=(const StringPool&) = delete;
    ~StringPool();

    // Hands out the next string, set to the text; the pool grows by one where all are in use. The
    // string belongs to the pool and is the caller's until the pool takes it back.
    std::string* addString(const char* text);
    std::string* addString(const std::string& text);
    std::string* addEmpty();

    // The string at an index below `used`.
    std::string* getString(int index) const;

    // Takes back the strings handed out last, `count` of them. Requires: 0 <= count <= used.
    void dropStrings(int count) { used -= count; }

    // Takes back all strings.
    void reset() { used = 0; }

    // How many strings are handed out, and how many there are.
    int getUsed() const { return used; }
    int getCapacity() const { return capacity; }

private:
    std::string* nextString();
    static void destroyString(void* string, void* firstBlock);

    HVector<void*, void*>* strings; // owned, of std::string*; the first 64 lie in one array
    int capacity;
    int used;
};

#endif
