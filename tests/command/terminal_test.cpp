// A message typed at a terminal: a pseudo-terminal with a small shell on it, which runs postdock as
// its job. The shell tells over a pipe when the job has started, stopped and ended, and takes a
// stopped job to the foreground when the test asks for it. What the job is about to do is read from
// the terminal's input queue and from /proc, so that no key is typed before the job waits for it.

#include "tests/command/harness.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <regex>

namespace {

constexpr std::chrono::seconds bound{30}; // for what happens at once on a machine that is not busy
constexpr char interruptKey = '\x03';
constexpr char endKey = '\x04';
constexpr char stopKey = '\x1A';
constexpr char quitKey = '\x1C';
constexpr char killKey = '\x15';
constexpr char eraseKey = '\x7F';

bool eventually(const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + bound;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        ::usleep(500);
    }
    return true;
}

// What a terminal with the settings of Terminal shows of keys typed at the start of a line.
std::string echoOf(std::string_view keys) {
    std::string shown;
    std::size_t column = 0;
    for (const char key : keys) {
        if (key == '\n') {
            shown += "\r\n";
            column = 0;
        } else if (key == eraseKey || key == killKey) {
            for (std::size_t n = key == killKey ? column : std::min<std::size_t>(column, 1); n > 0;
                 --n, --column) {
                shown += "\b \b";
            }
        } else if (key != endKey) {
            const bool control = key < 0x20;
            shown += control ? std::string{'^', static_cast<char>(key + '@')} : std::string{key};
            ++column;
        }
    }
    return shown;
}

class Terminal {
public:
    Terminal() {
        master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ::grantpt(master);
        ::unlockpt(master);
        ::fcntl(master, F_SETFL, O_NONBLOCK);
        char name[64] = "";
        ::ptsname_r(master, name, sizeof name);
        slave = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios settings{};
        ::tcgetattr(slave, &settings);
        settings.c_iflag = ICRNL;
        settings.c_oflag = OPOST | ONLCR;
        settings.c_lflag = ISIG | ICANON | ECHO | ECHOE | ECHOK | ECHOKE | ECHOCTL | IEXTEN;
        EXPECT_EQ(::tcsetattr(slave, TCSANOW, &settings), 0) << "no pseudo-terminal";
        EXPECT_EQ(::pipe2(reports.data(), O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(commands.data(), O_CLOEXEC), 0);
    }
    ~Terminal() {
        if (job > 0 && !ended) {
            ::kill(job, SIGKILL);
        }
        ::close(commands[1]); // the end of the shell
        ::close(commands[0]);
        ::waitpid(shellId, nullptr, 0);
        ::close(reports[0]);
        ::close(reports[1]);
        ::close(slave);
        hangUp();
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // Starts postdock as a job of the terminal; readInBackground: what SIGTTIN does to it.
    void start(Desk& desk, const std::vector<std::string>& arguments, bool foreground,
               sighandler_t readInBackground = SIG_DFL) {
        desk.inputFd = slave;
        desk.limits = [readInBackground] {
            ::dup2(0, 1);
            ::dup2(0, 2);
            ::signal(SIGTTIN, readInBackground);
        };
        const std::function<void()> body = desk.child(arguments);
        shellId = ::fork();
        if (shellId == 0) {
            shell(body, foreground);
        }
        job = nextReport();
    }

    // The job has claimed a mail, has read all keys and sleeps until there are more.
    bool awaitsKeys(const Desk& desk) const {
        return eventually([this, &desk] {
            int unread = 0;
            ::ioctl(slave, FIONREAD, &unread);
            return unread == 0 && !desk.mailFiles().empty() && catchesInterrupt();
        });
    }

    void type(std::string_view keys) {
        EXPECT_EQ(::write(master, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    // Whether the terminal comes to show just this, from its beginning on.
    bool shows(const std::string& text) {
        return eventually([this, &text] { return screen().size() >= text.size(); }) &&
               screen() == text;
    }

    // All that the terminal shows when the job has ended: up to a mark behind it.
    std::string finalScreen() {
        constexpr std::string_view mark = "[end of test]";
        EXPECT_EQ(::write(slave, mark.data(), mark.size()), static_cast<ssize_t>(mark.size()));
        EXPECT_TRUE(eventually([&] { return screen().ends_with(mark); })) << shown;
        return shown.substr(0, shown.size() - std::min(shown.size(), mark.size()));
    }

    // The wait status of the job when it next stops or ends.
    int nextStatus() {
        const int status = nextReport();
        ended = ended || !WIFSTOPPED(status);
        return status;
    }

    void resume() { EXPECT_EQ(::write(commands[1], "f", 1), 1); }

    void hangUp() {
        ::close(master);
        master = -1;
    }

private:
    [[noreturn]] void shell(const std::function<void()>& body, bool foreground) const {
        ::close(master);
        ::close(commands[1]);
        ::setsid();
        ::ioctl(slave, TIOCSCTTY, 0);
        ::signal(SIGTTOU, SIG_IGN);
        ::signal(SIGHUP, SIG_IGN);
        const pid_t child = ::fork();
        if (child == 0) {
            ::setpgid(0, 0);
            if (foreground) {
                ::tcsetpgrp(slave, ::getpid());
            }
            body();
            ::_exit(126);
        }
        ::setpgid(child, child);
        report(child);
        int status = 0;
        while (::waitpid(child, &status, WUNTRACED) == child) {
            report(status);
            char command = 0;
            // The end of the session takes the terminal from all who have it: only when asked.
            if (::read(commands[0], &command, 1) != 1) {
                break;
            }
            ::tcsetpgrp(slave, child);
            ::kill(child, SIGCONT);
        }
        ::_exit(0);
    }

    void report(int value) const { static_cast<void>(!::write(reports[1], &value, sizeof value)); }

    int nextReport() const {
        pollfd waiting = {reports[0], POLLIN, 0};
        int value = -1;
        EXPECT_EQ(::poll(&waiting, 1, std::chrono::milliseconds(bound).count()), 1);
        EXPECT_TRUE((waiting.revents & POLLIN) != 0 &&
                    ::read(reports[0], &value, sizeof value) == sizeof value)
            << "the job does not go on, with " << shown << " on the terminal";
        return value;
    }

    bool catchesInterrupt() const {
        const std::string status = support::readFile("/proc/" + std::to_string(job) + "/status");
        std::smatch caught;
        return std::regex_search(status, std::regex("\nState:\tS")) &&
               std::regex_search(status, caught, std::regex("\nSigCgt:\t([0-9a-f]+)")) &&
               ((std::stoull(caught[1], nullptr, 16) >> (SIGINT - 1)) & 1) != 0;
    }

    const std::string& screen() {
        char buffer[1024];
        for (ssize_t count = 0; (count = ::read(master, buffer, sizeof buffer)) > 0;) {
            shown.append(buffer, static_cast<std::size_t>(count));
        }
        return shown;
    }

    int master = -1;
    int slave = -1;
    std::array<int, 2> reports{-1, -1};
    std::array<int, 2> commands{-1, -1};
    pid_t shellId = -1;
    pid_t job = -1;
    bool ended = false;
    std::string shown;
};

// The stored message behind the fields that every message gets, which are checked.
std::string typedPart(const Desk& desk) {
    const std::string data = desk.data();
    const std::regex added("Received: by example\\.org \\(Morvex postdock invoked by uid " +
                           std::to_string(::getuid()) + "\\) id " + desk.markers().at(0) +
                           ";\r\n [^\r\n]+\r\nDate: [^\r\n]+\r\n");
    std::smatch head;
    const bool found = std::regex_search(data, head, added, std::regex_constants::match_continuous);
    return found ? data.substr(static_cast<std::size_t>(head.length())) : "no head in " + data;
}

struct Row {
    const char* name;
    std::vector<std::string> arguments;
    std::vector<std::string> keys; // each typed when the job waits for it
    int exitCode;
    const char* says;      // by postdock itself
    const char* stored;    // of what was typed; null: no mail
    std::size_t leftovers; // files of a mail that is none
};

const char* const userAbort = "Transaction aborted by user\r\n";

const Row rows[] = {
    {"Ctrl-D at the start of a line ends the message",
     {"-f", "a@x.org", "r@x.org"},
     {"Subject: s\n", "\n", "hello\n", "\x04"},
     0,
     "",
     "From: a@x.org\r\nSubject: s\r\n\r\nhello\r\n",
     0},
    {"once is enough in the header",
     {"-f", "a@x.org", "r@x.org"},
     {"Subject: s\n", "\x04"},
     0,
     "",
     "From: a@x.org\r\nSubject: s\r\n",
     0},
    {"once is enough before the first line",
     {"-f", "a@x.org", "r@x.org"},
     {"\x04"},
     0,
     "",
     "From: a@x.org\r\n",
     0},
    {"once is enough where a dot ends nothing",
     {"-nif", "a@x.org", "r@x.org"},
     {"\nb\n", "\x04"},
     0,
     "",
     "From: a@x.org\r\n\r\nb\r\n",
     0},
    {"nothing typed and nobody to send it to",
     {},
     {"\x04"},
     65,
     "Transaction aborted: no recipients specified\r\n",
     nullptr,
     0},
    {"Ctrl-D within a line hands it over as it is, and again ends the message",
     {"-f", "a@x.org", "r@x.org"},
     {"\n", "bo", "\x04", "dy", "\x04", "\x04"},
     0,
     "",
     "From: a@x.org\r\n\r\nbody\r\n",
     0},
    {"the same in the header, where the line is a field",
     {"-t"},
     {"From: a@x.org\nTo: r@x.org\n", "Subject: s", "\x04", "\x04"},
     0,
     "",
     "From: a@x.org\r\nTo: r@x.org\r\nSubject: s\r\n",
     0},
    {"a lone dot as the first line",
     {"-f", "a@x.org", "r@x.org"},
     {".\n"},
     0,
     "",
     "From: a@x.org\r\n",
     0},
    {"a lone dot in the header",
     {"-f", "a@x.org", "r@x.org"},
     {"Subject: s\n", ".\n"},
     0,
     "",
     "From: a@x.org\r\nSubject: s\r\n",
     0},
    {"a lone dot right behind the header",
     {"-f", "a@x.org", "r@x.org"},
     {"Subject: s\n\n", ".\n"},
     0,
     "",
     "From: a@x.org\r\nSubject: s\r\n\r\n",
     0},
    {"a lone dot in the body, which an i of its own does not change",
     {"-i", "-oi", "-f", "a@x.org", "r@x.org"},
     {"\nb\n", ".\n"},
     0,
     "",
     "From: a@x.org\r\n\r\nb\r\n",
     0},
    {"a lone dot that Ctrl-D ends",
     {"-f", "a@x.org", "r@x.org"},
     {"\nb\n", ".", "\x04", "\x04"},
     0,
     "",
     "From: a@x.org\r\n\r\nb\r\n",
     0},
    {"dots that are not alone",
     {"-f", "a@x.org", "r@x.org"},
     {"a", "\x04", ".\n", "..\n", "\n", "b", "\x04", ".\n", ". \n", "\x04"},
     0,
     "",
     "From: a@x.org\r\n\r\nb.\r\n. \r\n",
     0},
    {"a lone dot that i makes a line",
     {"-nif", "a@x.org", "r@x.org"},
     {".\n", "\nb\n", ".\n", "c\n", "\x04"},
     0,
     "",
     "From: a@x.org\r\n\r\nb\r\n.\r\nc\r\n",
     0},
    {"the terminal's own editing",
     {"-f", "a@x.org", "r@x.org"},
     {"rubbish\x15Subjj\x7F"
      "ect: s\n",
      "\nbodz\x7F\x7F"
      "dy\n",
      "x\x7F\x7F.\n"},
     0,
     "",
     "From: a@x.org\r\nSubject: s\r\n\r\nbody\r\n",
     0},
    {"Ctrl-C before the first line", {"r@x.org"}, {"\x03"}, 0, userAbort, nullptr, 0},
    {"Ctrl-C within the header",
     {"r@x.org"},
     {"Subject: s\n", "To: ", "\x03"},
     0,
     userAbort,
     nullptr,
     0},
    {"Ctrl-C in the body", {"r@x.org"}, {"\nb\n", "\x03"}, 0, userAbort, nullptr, 0},
    {"Ctrl-\\ kills", {"r@x.org"}, {"\nb\n", "\x1C"}, 128 + SIGQUIT, "", nullptr, 2},
    {"Ctrl-Z and back, in the header and in the body",
     {"-f", "a@x.org", "r@x.org"},
     {"\x1A", "Subject: s\n", "\x1A", "\n", "b\n", "\x1A", "\x04"},
     0,
     "",
     "From: a@x.org\r\nSubject: s\r\n\r\nb\r\n",
     0},
    {"Ctrl-Z, back, and Ctrl-C", {"r@x.org"}, {"\nb\n", "\x1A", "\x03"}, 0, userAbort, nullptr, 0},
};

// Takes a job that a signal stopped to the foreground.
void stopAndResume(Terminal& terminal, int signal) {
    const int status = terminal.nextStatus();
    ASSERT_TRUE(WIFSTOPPED(status)) << status;
    ASSERT_EQ(WSTOPSIG(status), signal);
    terminal.resume();
}

void expectOutcome(Terminal& terminal, const Desk& desk, int exitCode, const char* stored,
                   std::size_t leftovers) {
    const int status = terminal.nextStatus();
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), exitCode);
    if (stored == nullptr) {
        EXPECT_EQ(desk.markers().size(), 0U);
        EXPECT_EQ(desk.mailFiles().size(), leftovers);
    } else {
        EXPECT_TRUE(desk.state().valid);
        EXPECT_EQ(typedPart(desk), stored);
    }
}

// The echo of a key that sends a signal comes at any place in what the job says on the signal.
std::string without(std::string text, std::string_view echo) {
    const std::size_t at = echo.empty() ? std::string::npos : text.rfind(echo);
    return at == std::string::npos ? text : text.erase(at, echo.size());
}

void runRow(const Row& row) {
    SCOPED_TRACE(row.name);
    Desk desk;
    Terminal terminal;
    terminal.start(desk, row.arguments, true);
    std::string echo;
    std::string lastEcho;
    for (const std::string& keys : row.keys) {
        ASSERT_TRUE(terminal.shows(echo) && terminal.awaitsKeys(desk))
            << "before " << ::testing::PrintToString(keys);
        terminal.type(keys);
        if (keys[0] == interruptKey || keys[0] == quitKey) {
            lastEcho = echoOf(keys);
            break;
        }
        echo += echoOf(keys);
        if (keys[0] == stopKey) {
            ASSERT_NO_FATAL_FAILURE(stopAndResume(terminal, SIGTSTP));
        }
    }
    expectOutcome(terminal, desk, row.exitCode, row.stored, row.leftovers);
    EXPECT_EQ(without(terminal.finalScreen(), lastEcho), echo + row.says);
}

TEST(Terminal, EndsStopsAndAbortsAsTyped) {
    for (const Row& row : rows) {
        runRow(row);
    }
}

// To who waits for keys a terminal that goes away is an error, and to who comes later it is at its
// end: neither is the end of the message.
TEST(Terminal, HangUpLeavesNothing) {
    for (const bool isStopped : {false, true}) {
        for (const std::string keys : {"", "Subject: s\n", "\nb\n", "\nhalf"}) {
            SCOPED_TRACE(keys + (isStopped ? "stopped" : "waiting"));
            Desk desk;
            Terminal terminal;
            terminal.start(desk, {"r@x.org"}, true);
            ASSERT_TRUE(terminal.awaitsKeys(desk));
            terminal.type(keys);
            ASSERT_TRUE(terminal.shows(echoOf(keys)));
            ASSERT_TRUE(terminal.awaitsKeys(desk));
            if (isStopped) {
                terminal.type({&stopKey, 1});
                ASSERT_TRUE(WIFSTOPPED(terminal.nextStatus()));
            }
            terminal.hangUp();
            if (isStopped) {
                terminal.resume();
            }
            expectOutcome(terminal, desk, 74, nullptr, 0);
        }
    }
}

TEST(Terminal, JobInTheBackgroundWaitsForItsTurn) {
    Desk desk;
    Terminal terminal;
    terminal.start(desk, {"-f", "a@x.org", "r@x.org"}, false);
    ASSERT_NO_FATAL_FAILURE(stopAndResume(terminal, SIGTTIN));
    terminal.type("\nb\n.\n");
    expectOutcome(terminal, desk, 0, "From: a@x.org\r\n\r\nb\r\n", 0);
    EXPECT_EQ(terminal.finalScreen(), echoOf("\nb\n.\n"));
}

// Where the signal that would stop it is ignored, the read fails: again no end of the message.
TEST(Terminal, JobInTheBackgroundThatCannotStopLeavesNothing) {
    Desk desk;
    Terminal terminal;
    terminal.start(desk, {"r@x.org"}, false, SIG_IGN);
    expectOutcome(terminal, desk, 74, nullptr, 0);
    EXPECT_EQ(terminal.finalScreen(),
              "Transaction aborted: cannot read the email message (Input/output error)\r\n");
}

} // namespace
