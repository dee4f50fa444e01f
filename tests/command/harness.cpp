#include "tests/command/harness.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t recordOffset = 10;
constexpr std::size_t versionsOffset = 106;
constexpr std::size_t rcptsOffset = 618;
constexpr std::size_t rcptSize = 64;

template <class T> T readAt(std::string_view bytes, std::size_t offset) {
    T value{};
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

bool isZero(std::string_view bytes, std::size_t from, std::size_t to) {
    return bytes.substr(from, to - from).find_first_not_of('\0') == std::string_view::npos;
}

void redirect(int fd, const std::string& path, int flags) {
    const int file = ::open(path.c_str(), flags, 0600);
    ::dup2(file, fd);
    ::close(file);
}

} // namespace

StateFile decodeStateFile(std::string_view bytes) {
    StateFile state;
    if (bytes.size() < rcptsOffset ||
        bytes.substr(0, recordOffset) != std::string_view("HMIQF$\x07\0\0\0", recordOffset)) {
        return state;
    }
    state.stateWord = readAt<std::uint32_t>(bytes, 10);
    state.recvDate = readAt<std::int64_t>(bytes, 22);
    state.originalRCPTCount = readAt<std::uint32_t>(bytes, 38);
    state.rcptCount = readAt<std::uint32_t>(bytes, 42);
    state.headerSize = readAt<std::int32_t>(bytes, 110);
    const std::size_t stringsOffset = rcptsOffset + rcptSize * state.rcptCount;
    if (bytes.size() < stringsOffset || bytes.back() != '\0') {
        return state;
    }
    state.valid = isZero(bytes, 14, 22) && isZero(bytes, 30, 38) && isZero(bytes, 46, 110) &&
                  isZero(bytes, versionsOffset + 8, rcptsOffset);
    for (std::size_t r = 0; r < state.rcptCount; ++r) {
        const std::size_t at = rcptsOffset + rcptSize * r;
        state.valid = state.valid && readAt<std::uint32_t>(bytes, at) == 1 &&
                      isZero(bytes, at + 4, at + 8) &&
                      readAt<std::uint64_t>(bytes, at + 8) == ~std::uint64_t{0} &&
                      isZero(bytes, at + 16, at + rcptSize);
    }
    for (std::size_t at = stringsOffset; at < bytes.size();) {
        state.strings.emplace_back(bytes.data() + at);
        at += state.strings.back().size() + 1;
    }
    return state;
}

Desk::Desk() {
    fs::create_directory(path("run"));
    support::writeFile(path("run/morvex.cfg"), "Server {\n primaryDomain = \"example.org\"\n"
                                               " processing = { queueEntryCount = 4 }\n}\n");
}

Outcome Desk::run(const std::vector<std::string>& arguments) {
    return runChild(child(arguments));
}

Outcome Desk::runPlain(const std::vector<std::string>& arguments) {
    return runChild(plainChild(arguments));
}

Outcome Desk::runChild(const std::function<void()>& body) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        body();
        ::_exit(126);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return collect(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
}

std::function<void()> Desk::child(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"-W", path("")};
    all[1].pop_back();
    all.insert(all.end(), arguments.begin(), arguments.end());
    return plainChild(all);
}

std::function<void()> Desk::plainChild(const std::vector<std::string>& arguments) {
    support::writeFile(path("stdin"), input);
    fs::remove(path("log"));
    return [this, arguments] {
        std::vector<std::string> texts = {"postdock"};
        texts.insert(texts.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& text : texts) {
            argv.push_back(text.data());
        }
        argv.push_back(nullptr);
        redirect(0, path("stdin"), O_RDONLY);
        if (inputFd != -1) {
            ::dup2(inputFd, 0);
        }
        redirect(1, path("stdout"), O_WRONLY | O_CREAT | O_TRUNC);
        redirect(2, path("stderr"), O_WRONLY | O_CREAT | O_TRUNC);
        if (preload) {
            ::setenv("LD_PRELOAD", LOG_SHIM, 1);
            ::setenv("MORVEX_TEST_LOG", path("log").c_str(), 1);
        }
        ::setenv("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0", 1);
        for (const auto& [name, value] : environment) {
            ::setenv(name.c_str(), value.c_str(), 1);
        }
        ::close_range(3, ~0U, 0); // what the test's own caller left open
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        ::alarm(seconds);
        // What whoever runs the tests ignores, as nohup does with SIGHUP, is not the command's.
        for (int number = 1; number < SIGRTMIN; ++number) {
            ::signal(number, SIG_DFL);
        }
        // Opened first: who gives up root's rights below may not reach it by its path.
        const int binary = ::open(POSTDOCK_BINARY, O_PATH | O_CLOEXEC);
        if (limits) {
            limits();
        }
        ::fexecve(binary, argv.data(), environ);
    };
}

Outcome Desk::collect(int exitCode) {
    Outcome run;
    run.exitCode = exitCode;
    run.out = support::readFile(path("stdout"));
    run.err = support::readFile(path("stderr"));
    std::istringstream lines(support::readFile(path("log")));
    for (std::string line; std::getline(lines, line);) {
        run.log.push_back(line);
    }
    return run;
}

std::map<std::string, std::string> Desk::mailFiles() const {
    std::map<std::string, std::string> files;
    if (!fs::exists(queue(""))) {
        return files;
    }
    for (const auto& entry : fs::recursive_directory_iterator(queue(""))) {
        if (entry.is_regular_file() && entry.path().filename() != ".mql_auth") {
            files[fs::relative(entry.path(), queue("")).string()] =
                support::readFile(entry.path().string());
        }
    }
    return files;
}

std::vector<std::string> Desk::markers() const {
    std::vector<std::string> names;
    for (const auto& [name, bytes] : mailFiles()) {
        if (name.starts_with("locals/")) {
            names.push_back(name.substr(7));
            EXPECT_EQ(bytes, "") << name;
        }
    }
    return names;
}

StateFile Desk::state() const {
    const std::vector<std::string> ids = markers();
    EXPECT_EQ(ids.size(), 1U);
    EXPECT_EQ(mailFiles().size(), 3U);
    if (ids.size() != 1) {
        return {};
    }
    return decodeStateFile(support::readFile(queue(ids[0].substr(0, 2) + "/S" + ids[0].substr(2))));
}

std::string Desk::data() const {
    const std::vector<std::string> ids = markers();
    EXPECT_EQ(ids.size(), 1U);
    if (ids.size() != 1) {
        return "";
    }
    return support::readFile(queue(ids[0].substr(0, 2) + "/D" + ids[0].substr(2) + ".00"));
}

std::string errorLine(std::string_view text) {
    return std::to_string(LOG_ERR) + " " + std::string(text);
}

std::string infoLine(std::string_view text) {
    return std::to_string(LOG_INFO) + " " + std::string(text);
}

bool contains(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}
