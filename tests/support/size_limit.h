// A limit on the size of files, as of a disk that is full.

#ifndef MORVEX_TESTS_SUPPORT_SIZE_LIMIT_H
#define MORVEX_TESTS_SUPPORT_SIZE_LIMIT_H

#include <sys/resource.h>

#include <csignal>

namespace support {

// In force while it lives. A write beyond it fails with EFBIG, and no signal tells of it.
class SizeLimit {
public:
    explicit SizeLimit(rlim_t bytes) : oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &oldLimit);
        const rlimit limit = {bytes, oldLimit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &oldLimit);
        std::signal(SIGXFSZ, oldHandler);
    }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

private:
    rlimit oldLimit = {};
    void (*oldHandler)(int);
};

} // namespace support

#endif
