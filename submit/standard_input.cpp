#include "submit/standard_input.h"

#include <unistd.h>

#include <cerrno>

StandardInput::StandardInput() : FDStream(STDIN_FILENO) {
}

int StandardInput::read(void* buffer, int size) {
    int count = FDStream::read(buffer, size);
    while (count == -1 && errno == EINTR) {
        resetInputState();
        count = FDStream::read(buffer, size);
    }
    if (count == -1) {
        error = errno;
    }
    return count;
}
