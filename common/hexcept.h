// The exception that carries an error code. It is thrown only where a constructor can't return a
// failure, and for misuse that ordinary input does not reach, such as a container built with bad
// parameters; everything else reports by its result and the last error.

#ifndef MORVEX_COMMON_HEXCEPT_H
#define MORVEX_COMMON_HEXCEPT_H

#include <cstdint>
#include <exception>

class hexcept : public std::exception {
public:
    // Carries the thread's last error.
    hexcept();
    // Carries `errorCode`, which also becomes the thread's last error.
    explicit hexcept(int errorCode);
    explicit hexcept(unsigned errorCode) : hexcept(static_cast<int>(errorCode)) {}
    ~hexcept() override;

    // The sentence of the code (Thread::getErrorMessage): constant, or in the thread's text buffer
    // until the next call that asks for a text.
    const char* what() const noexcept override;

    unsigned getCode() const { return code; }

private:
    std::uint32_t code;
};

#endif
