// The texts of the last error. The code itself is errno, which the platform keeps per thread.

#include "common/thread/thread_internal.h"

#include <cstring>

namespace {

// For code outside any Thread.
char lastError[Thread::errorTextSize + 1];
Thread::ErrorFunc lastErrorFunc = nullptr;

} // namespace

char* Thread::errorBuffer() {
    Thread* thread = getCurrentThread();
    return thread != nullptr ? thread->errorText : lastError;
}

// Keeps a text, cut to the buffer, and returns it there. The text may be the buffer's own.
const char* Thread::keepErrorText(const char* text) {
    char* buffer = errorBuffer();
    const std::size_t length = text != nullptr ? strnlen(text, errorTextSize) : 0;
    if (length > 0) {
        std::memmove(buffer, text, length);
    }
    buffer[length] = '\0';
    return buffer;
}

void Thread::setLastError(const char* text) {
    keepErrorText(text);
    setLastError(HE_TEXT_SET);
}

void Thread::setLastError(ErrorFunc fn) {
    if (fn == nullptr) {
        setLastError(0u);
        return;
    }
    Thread* thread = getCurrentThread();
    (thread != nullptr ? thread->errorFunc : lastErrorFunc) = fn;
    setLastError(HE_TEXT_FUNC);
}

// The text of a code that has no row of its own: a free text, or the platform's.
const char* Thread::foreignErrorText(unsigned code) {
    if (code == HE_TEXT_SET) {
        return errorBuffer();
    }
    if (code == HE_TEXT_FUNC) {
        const Thread* thread = getCurrentThread();
        const ErrorFunc fn = thread != nullptr ? thread->errorFunc : lastErrorFunc;
        const char* text = keepErrorText(fn != nullptr ? fn() : nullptr);
        setLastError(HE_TEXT_SET);
        return text;
    }
    const int saved = errno;
    threadinternal::GlobalLocker locker; // strerror's text may be shared
    const char* text = keepErrorText(std::strerror(static_cast<int>(code)));
    errno = saved;
    return text;
}

const char* Thread::getErrorMessage(unsigned code) {
    return isOwnErrorCode(code) ? ownErrorMessage(code) : foreignErrorText(code);
}

const char* Thread::getErrorSymbol(unsigned code) {
    if (isOwnErrorCode(code)) {
        return ownErrorSymbol(code);
    }
    const char* symbol = systemErrorSymbol(code);
    return symbol != nullptr ? symbol : foreignErrorText(code);
}
