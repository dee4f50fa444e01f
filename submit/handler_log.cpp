#include "submit/handler_log.h"

#include "submit/state.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

constexpr std::size_t maxText = 80;

// A line put together on the stack.
class Line {
public:
    void append(std::string_view text) {
        const std::size_t size = std::min(text.size(), sizeof bytes - length);
        std::memcpy(bytes + length, text.data(), size);
        length += size;
    }
    const char* data() const { return bytes; }
    std::size_t size() const { return length; }

private:
    char bytes[logidentSize + maxText + 8];
    std::size_t length = 0;
};

} // namespace

void writeFromHandler(int fd, std::string_view line) {
    Line out;
    out.append(line);
    out.append("\n");
    const ssize_t written = ::write(fd, out.data(), out.size());
    static_cast<void>(written);
}

void logFromHandler(int priority, std::string_view text) {
    const int value = LOG_MAIL | priority; // two digits
    const char head[] = {'<', static_cast<char>('0' + value / 10),
                         static_cast<char>('0' + value % 10), '>'};
    Line line;
    line.append({head, sizeof head});
    line.append(logident[0] != '\0' ? std::string_view(logident) : std::string_view("postdock"));
    line.append(": ");
    line.append(text);

    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd == -1) {
        return;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    static_assert(sizeof _PATH_LOG <= sizeof address.sun_path);
    std::memcpy(address.sun_path, _PATH_LOG, sizeof _PATH_LOG);
    static_cast<void>(::sendto(fd, line.data(), line.size(), MSG_NOSIGNAL,
                               reinterpret_cast<const sockaddr*>(&address), sizeof address));
}
