// aptr<T>: a scope holder for an owned pointer. Two kinds exist: aptr<char> holds text from array
// new, aptr<Stream> holds one reference to a stream. Whoever takes the pointer over says so by
// giveAway(), and the holder then frees nothing. A holder belongs to one thread.

#ifndef MORVEX_COMMON_APTR_H
#define MORVEX_COMMON_APTR_H

class Stream;

// How a pointee of each kind is freed; null is ignored.
// NOLINTNEXTLINE(readability-non-const-parameter): what is freed is not constant
inline void aptrFree(char* text) {
    delete[] text;
}
void aptrFree(Stream* stream); // Stream::release

template <class T> class aptr {
public:
    explicit aptr(T* pointee = nullptr) : pointer(pointee) {}
    aptr(const aptr&) = delete;
    aptr& operator=(const aptr&) = delete;
    ~aptr() {
        if (!givenAway) {
            aptrFree(pointer);
        }
    }

    // Frees the present pointee, unless it was given away, and holds `pointee` from now on.
    aptr& operator=(T* pointee) {
        if (pointee != pointer) {
            cleanUp();
        }
        pointer = pointee;
        givenAway = false;
        return *this;
    }

    // Frees the pointee, unless it was given away, and sets the pointer to null.
    void cleanUp() {
        if (!givenAway) {
            aptrFree(pointer);
        }
        pointer = nullptr;
        givenAway = false;
    }

    // Passes the ownership to the caller. The holder still names the pointee, but frees it no more.
    [[nodiscard]] T* giveAway() {
        givenAway = true;
        return pointer;
    }

    T* get() const { return pointer; }
    operator T*() const { return pointer; }
    T* operator->() const { return pointer; }

private:
    T* pointer;
    bool givenAway = false;
};

#endif
