// The texts of a running parse: std::string objects that are handed out in order and taken back
// together, so that their buffers serve the next parse. A parser owns one pool. One thread at a
// time.

#ifndef MORVEX_ADDRESS_STRING_POOL_H
#define MORVEX_ADDRESS_STRING_POOL_H

#include <string>
#include <string_view>

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
    std::string* addString(const char* text) { return &nextString()->assign(text); }
    std::string* addString(const std::string& text) { return &nextString()->assign(text); }
    std::string* addString(std::string_view text) { return &nextString()->assign(text); }
    std::string* addEmpty() {
        std::string* string = nextString();
        string->clear();
        return string;
    }

    // The string at an index. Requires: 0 <= index < getCapacity().
    std::string* getString(int index) {
        return index < InitialStrings ? firstStrings + index : getLaterString(index);
    }

    // Takes back the strings handed out last, `count` of them. Requires: 0 <= count <= used.
    void dropStrings(int count) { used -= count; }

    // Takes back all strings.
    void reset() { used = 0; }

    // How many strings are handed out, and how many there are.
    int getUsed() const { return used; }
    int getCapacity() const { return capacity; }

private:
    static constexpr int InitialStrings = 64;

    std::string* nextString() {
        if (used == capacity) {
            grow();
        }
        return getString(used++);
    }
    void grow();
    std::string* getLaterString(int index) const;
    static void destroyString(void* string, void* unused);

    HVector<void*, void*>* strings; // owned, of owned std::string*: those behind the first 64
    int capacity;
    int used;
    std::string firstStrings[InitialStrings]; // all that an ordinary parse needs
};

#endif
