#include "common/hexcept.h"

#include "common/thread/thread.h"

hexcept::hexcept() : code(Thread::getLastError()) {
}

hexcept::hexcept(int errorCode) : code(static_cast<std::uint32_t>(errorCode)) {
    Thread::setLastError(code);
}

hexcept::~hexcept() = default;

const char* hexcept::what() const noexcept {
    return Thread::getErrorMessage(code);
}
