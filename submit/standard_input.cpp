#include "submit/standard_input.h"

#include <unistd.h>

#include <cerrno>

StandardInput::StandardInput() : FDStream(STDIN_FILENO) {
}

int StandardInput::read(void* buffer, int size) {
    const int count = FDStream::read(buffer, size);
    if (count == -1 && error == 0) {
        error = errno;
    }
    position += count > 0 ? count : 0;
    return count;
}

long long StandardInput::lseek(long long offset, Seek origin) {
    return offset == 0 && origin == SeekCurrent ? position : notAllowed();
}
