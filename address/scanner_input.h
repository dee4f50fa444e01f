// The text of a running parse, as a generated scanner takes it: an owned copy and how much of it
// has been handed over. Empty between two parses. One thread at a time.

#ifndef MORVEX_ADDRESS_SCANNER_INPUT_H
#define MORVEX_ADDRESS_SCANNER_INPUT_H

#include "address/text_copy.h"

#include <algorithm>

class ScannerInput {
public:
    ScannerInput() : inputLength(0), inputPosition(0), input(nullptr) {}
    ScannerInput(const ScannerInput&) = delete;
    ScannerInput& operator=(const ScannerInput&) = delete;
    ~ScannerInput() { delete[] input; }

    // Takes a copy of the text, to be handed over from its start. False, with nothing taken, where
    // it is longer than the 32-bit positions of a scanner reach. Requires: the input is empty.
    bool assign(const char* text) {
        const std::size_t length = std::strlen(text);
        if (length > MaxLength) {
            return false;
        }
        input = copyText(text, length);
        inputLength = static_cast<int>(length);
        inputPosition = 0;
        return true;
    }

    // Of what has not been handed over. Requires: a text is taken.
    int length() const { return inputLength - inputPosition; }

    // What has not been handed over, with its terminator. Requires: a text is taken.
    const char* rest() const { return input + inputPosition; }

    // Passes by what stands before `place`. Requires: a place of the rest.
    void skipTo(const char* place) { inputPosition = static_cast<int>(place - input); }

    // Copies up to maxSize of the next bytes to the buffer and returns how many; 0 at the end.
    int read(char* buffer, int maxSize) {
        const int size = std::min(maxSize, inputLength - inputPosition);
        std::memcpy(buffer, input + inputPosition, static_cast<std::size_t>(size));
        inputPosition += size;
        return size;
    }

    void clear() {
        delete[] input;
        input = nullptr;
    }

private:
    static constexpr std::size_t MaxLength = 0x7FFFFF00;

    int inputLength;   // of the text, in bytes
    int inputPosition; // how much of it read has handed over
    char* input;       // owned, or null
};

#endif
