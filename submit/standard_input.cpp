#include "submit/standard_input.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

StandardInput::StandardInput(bool dotEndsInput) : FDStream(STDIN_FILENO), endsAtDot(dotEndsInput) {
}

int StandardInput::read(void* buffer, int size) {
    if (dotRead) {
        return 0;
    }
    int count = FDStream::read(buffer, size);
    if (count > 0) {
        position += count;
        notePiece({static_cast<const char*>(buffer), static_cast<std::size_t>(count)});
    } else if (error == 0 && count == 0 && size > 0 && isHungUp()) {
        error = EIO;
        count = -1;
    } else if (error == 0 && count == -1) {
        error = errno;
    }
    return count;
}

// Asks the system only about an input that comes line by line: nearly all others show with their
// first read that they are no terminal.
void StandardInput::notePiece(std::string_view bytes) {
    mayBeTerminal = mayBeTerminal && bytes.find('\n') >= bytes.size() - 1;
    dotRead =
        endsAtDot && mayBeTerminal && atLineStart && bytes == ".\n" && ::isatty(STDIN_FILENO) == 1;
    atLineStart = bytes.back() == '\n';
}

// Asks once, at the end.
bool StandardInput::isHungUp() {
    return std::exchange(mayBeTerminal, false) && ::isatty(STDIN_FILENO) == 0 && errno == EIO;
}

Stream::State StandardInput::getInputState() const {
    return dotRead ? StateEnd : FDStream::getInputState();
}

long long StandardInput::lseek(long long offset, Seek origin) {
    return offset == 0 && origin == SeekCurrent ? position : notAllowed();
}
