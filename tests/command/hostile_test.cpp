// Input made to do harm: very large, very many, deeply nested, cut at awkward places. Each ends
// with the message as told, byte for byte, or with the reason, in bounded memory and on a small
// stack.

#include "tests/command/harness.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

using Strings = std::vector<std::string>;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool bounded = false; // the sanitizers' memory is not the command's
#else
constexpr bool bounded = true;
#endif

constexpr long MiB = 1024; // in KiB
// What a message of any size takes, and what the preloaded library brings with it.
constexpr long streamKiB = 6 * MiB;
constexpr rlim_t smallStack = 256 * 1024;

const std::string head = "From: a@x.org\nDate: d\n";
const std::string storedHead = "From: a@x.org\r\nDate: d\r\n";
const std::string tooMany = "WARNING: only first 1024 recipients are used\n";
const std::string nobody = "Transaction aborted: no recipients specified\n";

std::string times(std::string_view unit, std::size_t count) {
    std::string text;
    text.reserve(unit.size() * count);
    while (count-- > 0) {
        text += unit;
    }
    return text;
}

// A stored message behind its Received field.
std::string withoutReceived(const std::string& data) {
    return data.substr(std::min(data.find("From:"), data.size()));
}

// The message with each fold taken back. Requires: no line of its body begins with a blank.
std::string unfolded(const std::string& data) {
    std::string text;
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (data.compare(i, 3, "\r\n ") == 0) {
            ++i;
        } else {
            text += data[i];
        }
    }
    return text;
}

// A run with what it takes in memory and stack held against bounds.
Outcome runBounded(Desk& desk, const Strings& arguments, long mostKiB) {
    desk.environment.emplace_back("MORVEX_TEST_PEAK", desk.path("peak"));
    if (bounded) {
        desk.limits = [] {
            const rlimit stack = {smallStack, smallStack};
            ::setrlimit(RLIMIT_STACK, &stack);
        };
    }
    const Outcome run = desk.run(arguments);
    const std::string peak = support::readFile(desk.path("peak"));
    EXPECT_NE(peak, "");
    if (bounded) {
        EXPECT_LE(std::atol(peak.c_str()), mostKiB);
    }
    return run;
}

// A process that writes to the other end of a new socket; packets keep their borders.
class Feeder {
public:
    Feeder(int type, const std::function<void(int fd)>& write) {
        int ends[2];
        EXPECT_EQ(::socketpair(AF_UNIX, type, 0, ends), 0);
        fd = ends[0];
        pid = ::fork();
        if (pid == 0) {
            ::close(ends[0]);
            write(ends[1]);
            ::_exit(0);
        }
        ::close(ends[1]);
    }
    Feeder(const Feeder&) = delete;
    Feeder& operator=(const Feeder&) = delete;
    ~Feeder() {
        ::close(fd);
        ::waitpid(pid, nullptr, 0);
    }

    int fd = -1;

private:
    pid_t pid = -1;
};

void writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::send(fd, text.data(), text.size(), 0);
        if (count <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

struct Row {
    const char* what;
    std::string text;   // behind the head
    std::string stored; // behind the head, unfolded
    std::size_t rcpts;  // from the headers, or 0 for the one of the arguments
    std::string err = "";
    long mostKiB = streamKiB;
};

void expectStored(const Row& row) {
    SCOPED_TRACE(row.what);
    Desk desk;
    desk.input = head + row.text;
    const Outcome run =
        runBounded(desk, row.rcpts > 0 ? Strings{} : Strings{"r@x.org"}, row.mostKiB);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err == row.err) << run.err.substr(0, 200);
    const StateFile state = desk.state();
    EXPECT_TRUE(state.valid);
    ASSERT_EQ(state.strings.size(), 3 + std::max<std::size_t>(row.rcpts, 1));
    EXPECT_EQ(state.rcptCount, state.strings.size() - 3);
    const std::string data = withoutReceived(desk.data());
    EXPECT_TRUE(unfolded(data) == storedHead + row.stored)
        << data.size() << " bytes: " << data.substr(0, 200);
}

TEST(Hostile, HeadersThatAreLargeAreCutAsTold) {
    constexpr std::size_t limit = 262144; // of a line
    const std::string list = times("r@x.org,", 1000000);
    const std::string group = "To: g:" + times("r@x.org,", 20000) + ";";
    const std::string wide = times("X: " + std::string(2557, 'x') + "\n", 4000);
    const Row rows[] = {
        {"one field of 10 MB", "X: " + std::string(10000000, 'x') + "\n\nb\n",
         "X: " + std::string(limit - 3, 'x') + "\r\n\r\nb\r\n", 0},
        {"fields of 10 MB together", wide + "\nb\n",
         times("X: " + std::string(2557, 'x') + "\r\n", 4000) + "\r\nb\r\n", 0, "", 16 * MiB},
        {"one field of 10 MB of folds", "X:" + times("\n x", 3333333) + "\n\nb\n",
         "X:" + std::string((limit - 2) / 3, 'x') + "\r\n\r\nb\r\n", 0},
        {"100,000 lines, all but 4,096 of them taken for body", times("Bcc: b\n", 100000) + "\nb\n",
         times("Bcc: b\r\n", 100000 - 4094) + "\r\nb\r\n", 0},
        {"100,000 lines without a colon", times("bcc\n", 100000) + "\nb\n", "\r\nb\r\n", 0},
        {"100,000 empty lists", times("To:\n", 100000) + "\n", times("To:\r\n", 100000) + "\r\n",
         0},
        {"a million recipients", "To: " + list + "\n\nb\n",
         "To: " + list.substr(0, limit - 4) + "\r\n\r\nb\r\n", 1024, tooMany},
        {"20,000 recipients in a group", group + "\n\nb\n", group + "\r\n\r\nb\r\n", 1024, tooMany,
         8 * MiB},
    };
    for (const Row& row : rows) {
        expectStored(row);
    }
}

TEST(Hostile, OddBytesPass) {
    std::string high;
    for (int c = 0x80; c < 0x100; ++c) {
        high += static_cast<char>(c);
    }
    const std::string nul(1, '\0');
    const Row rows[] = {
        {"NULs in a header", "X: a" + times(nul, 300000) + "b\nY" + nul + ": z\n\nb\n",
         "X: a\r\n\r\nb\r\n", 0},
        {"NULs as body", "\n" + times(nul, 1000000), "\r\n" + times("\r\n", 1000000), 0},
        {"bare CRs in a header", "X: a\r\rb\r\r\nY:\rc\n\n", "X: a\r\rb\r\nY:\rc\r\n\r\n", 0},
        {"bare CRs as body", "\n" + times("\r", 1000000), "\r\n" + times("\r", 1000000) + "\n", 0},
        {"CRs before a line end", "\na\r\r\n.\r\r\n\r", "\r\na\r\r\n.\r\r\n\r\n", 0},
        {"8-bit bytes", "X" + high + ": " + high + "\n\n" + high + "\n",
         "X" + high + ": " + high + "\r\n\r\n" + high + "\r\n", 0},
        {"no final line end", "\nb", "\r\nb\r\n", 0},
        {"nothing behind a header", "X: y", "X: y\r\n", 0},
    };
    for (const Row& row : rows) {
        expectStored(row);
    }
}

// Deep and long addresses: the stack and the parser's own are small, however the text is built.
TEST(Hostile, AddressesParseOnASmallStack) {
    const std::string quoted = "\"" + times("\\\"", 100000) + "\"@x.org";
    const std::string dots = "a" + times(".a", 100000) + "@x.org";
    struct Address {
        const char* what;
        std::string text;
        std::string rcpt; // empty: refused
    };
    const Address rows[] = {
        {"comments", std::string(100000, '(') + std::string(100000, ')') + "r@x.org", "r@x.org"},
        {"open comments", std::string(200000, '('), ""},
        {"comments in a row", times("(c) ", 50000) + "r@x.org", "r@x.org"},
        {"nested groups", times("g:", 100000), ""},
        {"empty groups", times("g:;,", 40000) + "r@x.org", "r@x.org"},
        {"a group of nothing", "g:" + std::string(200000, ',') + "r@x.org;", "r@x.org"},
        {"angles", std::string(200000, '<'), ""},
        {"quoted pairs", quoted, quoted},
        {"an open quote", "\"" + std::string(200000, 'a'), ""},
        {"quoted words", times("\"a\"", 60000) + "<r@x.org>", "r@x.org"},
        {"words", times("a ", 100000) + "<r@x.org>", "r@x.org"},
        {"dots", dots, dots},
        {"a long domain", "a@a" + times(".a", 100000), "a@a" + times(".a", 100000)},
        {"a literal", "a@[" + times("\\[", 100000) + "]", "a@[" + times("\\[", 100000) + "]"},
        {"a route", "<" + times("@a,", 50000) + "@a:r@x.org>", "r@x.org"},
        {"8-bit", "\xE9@x.org", ""},
    };
    for (const Address& row : rows) {
        SCOPED_TRACE(row.what);
        Desk desk;
        desk.input = head + "To: " + row.text + "\n\nb\n";
        const Outcome run = runBounded(desk, {}, 12 * MiB);
        if (!row.rcpt.empty()) {
            EXPECT_EQ(run.exitCode, 0);
            EXPECT_EQ(run.err, "");
            EXPECT_TRUE(desk.state().strings == (Strings{"a@x.org", "a@x.org", "<>", row.rcpt}));
        } else {
            EXPECT_EQ(run.exitCode, 65);
            EXPECT_TRUE(run.err ==
                        "Ignoring invalid 'To:' recipient address '" + row.text + "'\n" + nobody);
            EXPECT_TRUE(desk.mailFiles().empty());
        }
    }
}

TEST(Hostile, ArgumentsOfAnySizeAndNumber) {
    const std::string name(100000, 'a');
    struct Arguments {
        const char* what;
        Strings arguments;
        std::size_t rcpts;
        std::string err;
    };
    const std::string empty = "Ignoring invalid recipient address ''\n";
    const std::string angle = "Ignoring invalid recipient address '<'\n";
    Arguments rows[] = {
        {"1,023", Strings(1023, "r@x.org"), 1023, ""},
        {"1,024", Strings(1024, "r@x.org"), 1024, tooMany},
        {"1,025", Strings(1025, "r@x.org"), 1024, tooMany},
        {"100,000", Strings(100000, "r@x.org"), 1024, tooMany},
        {"in one", {times("r@x.org,", 10000)}, 1024, tooMany},
        {"commas", {std::string(1000, ',') + "r@x.org"}, 1, times(empty, 1000)},
        {"dropped", Strings(10000, "-o"), 1, ""},
        {"refused", Strings(1000, "<"), 1, times(angle, 1000)},
        {"a long name", {name}, 1, ""},
        {"a long full name", {"-F", times("a ", 50000), "r@x.org"}, 1, ""},
    };
    for (Arguments& row : rows) {
        SCOPED_TRACE(row.what);
        if (row.what == std::string("dropped") || row.what == std::string("refused")) {
            row.arguments.emplace_back("r@x.org");
        }
        Desk desk;
        desk.environment.emplace_back("MORVEX_TEST_PEAK", desk.path("peak"));
        desk.input = head + "\nb\n";
        const Outcome run = desk.run(row.arguments);
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, row.err);
        const StateFile state = desk.state();
        EXPECT_TRUE(state.valid);
        ASSERT_EQ(state.strings.size(), 3 + row.rcpts);
        const bool isName = row.arguments[0] == name;
        for (std::size_t i = 3; i < state.strings.size(); ++i) {
            EXPECT_TRUE(state.strings[i] == (isName ? name + "@example.org" : "r@x.org"));
        }
        if (bounded) { // 8 MiB: the arguments themselves are 1 MB and as many pointers
            EXPECT_LE(std::atol(support::readFile(desk.path("peak")).c_str()), 24 * MiB);
        }
    }
}

// The end of a message at each place around the borders of the buffers, and in pieces that a read
// cuts anywhere within it.
TEST(Hostile, FindsTheLoneDotAtEachBorder) {
    const std::string ends[] = {"\n.\nrest", "\r\n.\r\nrest", "\n.", "\r\n.\r",
                                "\n..\n.x\n.\r\r\n"};
    const std::string stored[] = {"\r\n", "\r\n", "\r\n", "\r\n.\r\n", "\r\n..\r\n.x\r\n.\r\r\n"};
    const std::string front = head + "\n";
    for (std::size_t e = 0; e < std::size(ends); ++e) {
        for (const std::size_t border : {10240U, 131072U}) {
            for (std::size_t at = border - ends[e].size() - 1; at <= border + 1; ++at) {
                SCOPED_TRACE(std::to_string(e) + " at " + std::to_string(at));
                Desk desk;
                const std::string body(at - front.size(), 'x');
                desk.input = front + body + ends[e];
                ASSERT_EQ(desk.run({"r@x.org"}).exitCode, 0);
                ASSERT_TRUE(withoutReceived(desk.data()) == storedHead + "\r\n" + body + stored[e]);
            }
        }
        for (std::size_t cut = 0; cut < ends[e].size(); ++cut) {
            SCOPED_TRACE(std::to_string(e) + " cut at " + std::to_string(cut));
            const Feeder feeder(SOCK_SEQPACKET, [&](int fd) {
                writeAll(fd, front + "x" + ends[e].substr(0, cut));
                for (const char c : ends[e].substr(cut)) {
                    writeAll(fd, std::string(1, c));
                }
            });
            Desk desk;
            desk.inputFd = feeder.fd;
            ASSERT_EQ(desk.run({"r@x.org"}).exitCode, 0);
            ASSERT_EQ(withoutReceived(desk.data()), storedHead + "\r\nx" + stored[e]);
        }
    }
}

// Whether the file holds `front` behind its Received field, then `unit` so many times and `tail`.
bool holds(const std::string& path, const std::string& front, const std::string& unit,
           long long count, const std::string& tail) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               std::fclose);
    std::string piece(4096, '\0');
    piece.resize(std::fread(piece.data(), 1, piece.size(), file.get()));
    const std::size_t start = piece.find("From:");
    if (piece.compare(start, front.size(), front) != 0) {
        return false;
    }
    std::fseek(file.get(), static_cast<long>(start + front.size()), SEEK_SET);
    const std::string block = times(unit, 65536 / unit.size());
    long long left = count * static_cast<long long>(unit.size());
    piece.resize(block.size());
    for (; left > 0; left -= static_cast<long long>(block.size())) {
        const std::size_t wanted = std::min(block.size(), static_cast<std::size_t>(left));
        if (std::fread(piece.data(), 1, wanted, file.get()) != wanted ||
            piece.compare(0, wanted, block, 0, wanted) != 0) {
            return false;
        }
    }
    piece.resize(std::fread(piece.data(), 1, piece.size(), file.get()));
    return piece == tail;
}

// So many of one byte through a pipe, as the body or as a line of the header.
void passBytes(std::size_t count, char byte, const std::string& unit, bool asHeader) {
    SCOPED_TRACE(static_cast<int>(byte));
    const std::string front = asHeader ? head : head + "\n";
    const Feeder feeder(SOCK_STREAM, [&](int fd) {
        writeAll(fd, front);
        const std::string block(65536, byte);
        for (std::size_t i = 0; i < count / block.size(); ++i) {
            writeAll(fd, block);
        }
    });
    Desk desk;
    desk.inputFd = feeder.fd;
    const Outcome run = runBounded(desk, {"r@x.org"}, streamKiB);
    const auto stored = asHeader ? 0 : static_cast<long long>(count * unit.size());
    if (stored > INT_MAX) {
        EXPECT_EQ(run.exitCode, 74);
        EXPECT_TRUE(desk.mailFiles().empty());
        return;
    }
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    const Strings ids = desk.markers();
    ASSERT_EQ(ids.size(), 1U);
    EXPECT_TRUE(holds(desk.queue(ids[0].substr(0, 2) + "/D" + ids[0].substr(2) + ".00"),
                      asHeader ? storedHead : storedHead + "\r\n", unit,
                      asHeader ? 0 : static_cast<long long>(count),
                      asHeader || byte == '\n' || byte == '\0' ? ""
                      : byte == '\r'                           ? "\n"
                                                               : "\r\n"));
}

void passAllBytes(std::size_t count) {
    passBytes(count, 'x', "x", false);
    passBytes(count, 'x', "x", true);
    passBytes(count, '\r', "\r", false);
    // Each becomes two.
    passBytes(count / 2, '\n', "\r\n", false);
    passBytes(count / 2, '\0', "\r\n", false);
}

// Gigabytes in the long form, and then also more than a mail can hold.
TEST(Hostile, PassesALineOfOneByteInLittleMemory) {
    const char* const form = std::getenv("MORVEX_FAULTS");
    const bool isLong = form != nullptr && std::string_view(form) == "long";
    passAllBytes(std::size_t{1} << (isLong ? 30 : 24));
    if (isLong) {
        passBytes((std::size_t{1} << 31) + (1 << 20), 'x', "x", false);
    }
}

} // namespace
