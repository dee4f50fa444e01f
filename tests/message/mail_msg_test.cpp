#include "common/stream/fd_stream.h"
#include "common/stream/memory_stream.h"
#include "message/line_tokenizer.h"
#include "message/mail_msg.h"
#include "message/staged_output.h"
#include "tests/stream/streams.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace {

using namespace std::string_view_literals;
using support::Sink;
using support::Source;

constexpr int HEADER_FLAGS = 1686;

// An input that gives at most so many bytes a read, and then its end or an error.
// All fields as name|separator|value lines.
std::string dump(MailMsg& message) {
    Sink out;
    message.disableOutputFolding();
    message.writeHeaders(out);
    return out.text;
}

struct Passed {
    int readResult;
    std::string headers;
    int writeResult;
    std::string body;
};

Passed pass(std::string_view text, bool dotEndsInput = true, bool normalize = true,
            std::size_t chunk = 4096) {
    Source input(std::string(text), [chunk] { return static_cast<int>(chunk); });
    MailMsg message(&input, dotEndsInput, HEADER_FLAGS);
    Passed result;
    result.readResult = message.readHeaders(false);
    result.headers = dump(message);
    Sink out;
    result.writeResult = message.writeBody(out, normalize);
    result.body = out.text;
    return result;
}

// A message whose headers were read, and its input.
struct Read {
    explicit Read(std::string text) : input(std::move(text)), message(&input, true, HEADER_FLAGS) {
        EXPECT_EQ(message.readHeaders(false), 0);
    }
    Source input;
    MailMsg message;
};

TEST(MailMsg, ReadsHeadersAndPassesTheBody) {
    const struct {
        std::string_view text;
        bool dotEndsInput;
        std::string_view headers;
        std::string_view body;
    } rows[] = {
        {"a: b\n\nbody\n", true, "a: b\r\n\r\n", "body\r\n"},
        {"a: b\r\n\r\nbody\r\n", false, "a: b\r\n\r\n", "body\r\n"},
        {"", true, "", ""},
        {"\n", true, "\r\n", ""},
        {".\na: b\n\nbody\n", true, "", ""},
        {".", true, "", ""},
        {".\na: b\n\nbody\n", false, "a: b\r\n\r\n", "body\r\n"},
        {"a: b\n.\nc: d\n\nbody\n", true, "a: b\r\n", ""},
        {"a: b\n\none\n.\ntwo\n", true, "a: b\r\n\r\n", "one\r\n"},
        {"a: b\n\none\n.\ntwo", false, "a: b\r\n\r\n", "one\r\n.\r\ntwo"},
        {"a: b\n\none\n.", true, "a: b\r\n\r\n", "one\r\n"},
        {"a: b\n\n..\n.x\n. \n.\r\ry\n", true, "a: b\r\n\r\n", "..\r\n.x\r\n. \r\n.\r\ry\r\n"},
        {"a: b\n\none\r\n.\r\ntwo\r\n", true, "a: b\r\n\r\n", "one\r\n"},
        {"a: b\n\nno end", true, "a: b\r\n\r\n", "no end"},
        {"a: b\n\nlast\r", true, "a: b\r\n\r\n", "last\r"},
        {"a: b\n\n.\r", true, "a: b\r\n\r\n", ".\r"},
        {"a: b\n\none\0two\n"sv, true, "a: b\r\n\r\n", "one\r\ntwo\r\n"},
        {"a: b\n\n blank first\n", true, "a: b\r\n\r\n", " blank first\r\n"},
        {"no colon\na: b\n: c\n \t: d\ne:f\n\n", true, "a: b\r\ne:f\r\n\r\n", ""},
        {"a: b\0c\nd\0: e\nf: \0g\n\n"sv, true, "a: b\r\nf: \r\n\r\n", ""},
        {"Subject : x\nX:\ny:  \t\nz:   a \n\n", true,
         "Subject: x\r\nX:\r\ny:  \t\r\nz:   a \r\n\r\n", ""},
        {"two words: x\n\n", true, "two words: x\r\n\r\n", ""},
        {"a: b\n c\n\td\ne: f", true, "a: bcd\r\ne: f\r\n", ""},
        {"a: b", true, "a: b\r\n", ""},
        {"a: b\r\r\n\n", true, "a: b\r\n\r\n", ""},
    };
    for (const auto& row : rows) {
        for (std::size_t chunk = 1; chunk < 6; ++chunk) {
            const Passed passed = pass(row.text, row.dotEndsInput, true, chunk);
            EXPECT_EQ(passed.readResult, 0);
            EXPECT_EQ(passed.headers, row.headers) << row.text;
            EXPECT_EQ(passed.writeResult, 0);
            EXPECT_EQ(passed.body, row.body) << row.text << ", chunk " << chunk;
        }
    }
    EXPECT_EQ(pass("a: b\n\nx\r\ny\nz\0\n"sv, false, false).body, "x\r\ny\nz\0\n"sv);
    EXPECT_EQ(pass("a: b\n\nx\n.\ny", true, false).body, "x\r\n");
}

TEST(MailMsg, TakesAFailingInputForItsEnd) {
    Source input("a: b\n\nbody", [turn = 0]() mutable { return turn++ == 0 ? 4096 : -1; });
    MailMsg message(&input, true, HEADER_FLAGS);
    ASSERT_EQ(message.readHeaders(false), 0);
    Sink out;
    EXPECT_EQ(message.writeAll(out, true), 0);
    EXPECT_EQ(out.text, "a: b\r\n\r\nbody");
    EXPECT_EQ(input.getInputState(), Stream::StateError);

    Source none("", [] { return -1; });
    MailMsg empty(&none, true, HEADER_FLAGS);
    EXPECT_EQ(empty.readHeaders(false), 0);
    EXPECT_FALSE(empty.hasBlankLineAfterHeaders());
}

TEST(MailMsg, DoesNotWaitForMoreThanTheDot) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const std::string_view text = "a: b\n\nbody\n.\n";
    ASSERT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    FDStream input(ends[0]);
    MailMsg message(&input, true, HEADER_FLAGS);
    Sink out;
    EXPECT_EQ(message.readHeaders(false), 0);
    EXPECT_EQ(message.writeAll(out, true), 0); // the other end stays open
    EXPECT_EQ(out.text, "a: b\r\n\r\nbody\r\n");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(MailMsg, TakesNoMoreThan4096Fields) {
    std::string text;
    for (int i = 0; i < 4097; ++i) {
        text += "n: " + std::to_string(i) + "\n";
    }
    Read read(text);
    EXPECT_EQ(read.message.countHeaderField("N"), MailMsg::MAX_FIELDS);
    EXPECT_STREQ(read.message.getHeaderValue("n", 4095), "4095");
    Sink out;
    ASSERT_EQ(read.message.writeAll(out, true), 0);
    EXPECT_TRUE(out.text.ends_with("\r\nn: 4095\r\nn: 4096\r\n"));
}

TEST(MailMsg, DropsTheRestOfAnOverlongLine) {
    for (std::size_t length : {262000U, 300000U, 10000000U}) {
        const std::string text = "a: " + std::string(length, 'x') + "\nb: c\n\nbody";
        const Passed passed = pass(text, true, true, 100000);
        EXPECT_EQ(passed.headers,
                  text.substr(0, std::min<std::size_t>(length + 3, 262144)) + "\r\nb: c\r\n\r\n");
        EXPECT_EQ(passed.body, "body");
    }
}

TEST(MailMsg, FindsAndChangesFields) {
    Read read("To: a\nCC: b\nto: c\nContent-Type: Text/Plain; x\nTO: d\n"
              "content-transfer-encoding: BASE64\n\n");
    MailMsg& message = read.message;
    EXPECT_EQ(message.countHeaderField("tO"), 3);
    EXPECT_STREQ(message.getHeaderValue("TO", 1), "c");
    EXPECT_STREQ(message.getHeaderSeparator("cc", 0), ": ");
    EXPECT_EQ(message.getHeaderField("to", 3), nullptr);
    EXPECT_EQ(message.getHeaderField("to", -1), nullptr);
    EXPECT_EQ(message.getHeaderValue("x", 0), nullptr);
    EXPECT_EQ(message.getHeaderSeparator("x", 0), nullptr);
    EXPECT_STREQ(message.getMimeHeader(1)->getValue(), "BASE64");
    EXPECT_EQ(message.getMimeHeader(2), nullptr);
    EXPECT_TRUE(message.isTextPlain());
    EXPECT_FALSE(message.isNotBase64());

    EXPECT_EQ(message.modifyHeaderField("Bcc", "e", "cc", 0), 0);
    EXPECT_EQ(message.modifyHeaderField("Bcc", "e", "cc", 0), -1);
    EXPECT_EQ(message.deleteHeaderField("to", 1), 0);
    EXPECT_EQ(message.deleteHeaderField("to", 2), -1);
    EXPECT_EQ(message.appendToHeaderField(", f", "bcc", 0), 0);
    EXPECT_EQ(message.insertToHeaderField("g, ", "bcc", 0), 0);
    EXPECT_EQ(message.appendToHeaderField(nullptr, "bcc", 0), -1);
    EXPECT_EQ(message.insertToHeaderField("x", "none", 0), -1);
    message.insertHeaderField("First", "1");
    message.appendHeaderField("Last", "2");
    message.appendHeaderField(nullptr, "3");
    MailMsg copy(message);
    message.deleteMimeFields();
    EXPECT_TRUE(message.isTextPlain());
    EXPECT_TRUE(message.isNotBase64());
    const std::string expected = "First: 1\r\nTo: a\r\nBcc: g, e, f\r\n";
    EXPECT_EQ(dump(message), expected + "TO: d\r\nLast: 2\r\n\r\n");
    message.deleteHeaderFields();
    EXPECT_EQ(dump(message), "\r\n");
    // The copy has fields of its own, and no input.
    EXPECT_EQ(dump(copy), expected + "Content-Type: Text/Plain; x\r\nTO: d\r\n"
                                     "content-transfer-encoding: BASE64\r\nLast: 2\r\n\r\n");
    EXPECT_EQ(MailMsg().countHeaderField("to"), 0);
}

std::string writeField(const std::string& name, const std::string& value) {
    MailMsg message;
    message.insertHeaderField(name.c_str(), value.c_str());
    Sink out;
    EXPECT_EQ(message.writeHeaders(out), 0);
    return out.text;
}

TEST(MailMsg, FoldsLongFields) {
    const auto x = [](std::size_t count) { return std::string(count, 'x'); };
    const struct {
        std::string value; // behind "nn:"
        std::string written;
    } rows[] = {
        {x(75), x(75)},
        {x(200), x(200)},
        {" " + x(200), "\r\n " + x(200)},
        {x(37) + " " + x(38), x(37) + "\r\n " + x(38)}, // 79 characters, a blank at 40
        {x(75) + " x", x(75) + "\r\n x"},               // the last place within the width
        {x(76) + " x", x(76) + "\r\n x"},               // none within it, so the next one
        {x(90) + "\tx " + x(80), x(90) + "\r\n\tx\r\n " + x(80)},
        {x(10) + "; " + x(20) + " " + x(50), x(10) + ";\r\n " + x(20) + " " + x(50)},
        {x(10) + ") " + x(20) + " " + x(50), x(10) + ")\r\n " + x(20) + " " + x(50)},
        {x(10) + "\t" + x(20) + "; " + x(50), x(10) + "\t" + x(20) + ";\r\n " + x(50)},
        {x(10) + "; " + x(20) + "\t" + x(50), x(10) + "; " + x(20) + "\r\n\t" + x(50)},
        {x(70) + "  " + x(100) + " x", x(70) + " \r\n " + x(100) + "\r\n x"},
        {x(100) + " \t " + x(100), x(100) + "\r\n \t " + x(100)}, // no line of blanks alone
    };
    for (const auto& row : rows) {
        Read read("nn:" + row.value);
        Sink out;
        EXPECT_EQ(read.message.writeHeaders(out), 0);
        EXPECT_EQ(out.text, "nn:" + row.written + "\r\n") << row.value;
    }
}

TEST(MailMsg, FoldsVeryLongFields) {
    const std::string large(100000, 'y'); // more than the stack's line buffer
    EXPECT_EQ(writeField("Name", large + " " + large),
              "Name:\r\n " + large + "\r\n " + large + "\r\n");
    // Blanks alone give no useful break, so each piece is as long as the width.
    const std::string written = writeField("N", std::string(5000000, ' '));
    EXPECT_EQ(written.substr(0, 82), "N:" + std::string(76, ' ') + "\r\n  ");
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 5000002 / 78 + 1);
}

// The body by way of the line tokenizer, one line a step.
std::string passByLines(std::string text, bool dotEndsInput) {
    MemoryStream input(text.data(), static_cast<long long>(text.size()));
    LineTokenizer lines(&input, 134, false);
    std::string out;
    for (bool ended = false; !ended;) {
        int size = 10240;
        const char* line = static_cast<const char*>(lines.readToken(size));
        if (line == nullptr) {
            return out + "failed";
        }
        ended = lines.getInputState() != Stream::StateGood;
        if (dotEndsInput && size == 1 && *line == '.') {
            break;
        }
        out.append(line, static_cast<std::size_t>(size));
        if (!ended && lines.lastTokenCompleted()) {
            out += "\r\n";
        }
    }
    return out;
}

TEST(MailMsg, PassesRandomBodiesAsLineByLine) {
    std::mt19937_64 random = support::seededRandom("MailMsg.PassesRandomBodiesAsLineByLine");
    for (int i = 0; i < 4000; ++i) {
        std::string body = support::randomText(random, "ab.\r\n\0"sv, 60);
        if (i % 50 == 0) {
            // Lines that reach the length of a piece, and the size of every buffer on the way.
            body.insert(support::below(random, body.size() + 1),
                        std::string(10230 + support::below(random, 20), 'x'));
            body.insert(support::below(random, body.size() + 1), std::string(70000, 'y'));
        }
        const bool dotEndsInput = support::below(random, 4) != 0;
        const std::size_t chunk = 1 + support::below(random, i % 50 == 0 ? 9000 : 8);
        ASSERT_EQ(pass("\n" + body, dotEndsInput, true, chunk).body,
                  passByLines(body, dotEndsInput))
            << "chunk " << chunk;
    }
}

TEST(MailMsg, CountsAnOverlongLineInPieces) {
    const std::string piece(10240, 'x');
    EXPECT_EQ(pass("\n" + piece + ".\nmore\n", true).body, piece);
    EXPECT_EQ(pass("\n" + piece + piece + ".\r\nmore\n", true, true, 7).body, piece + piece);
    EXPECT_EQ(pass("\n" + piece + ".\nmore\n", false).body, piece + ".\r\nmore\r\n");
    EXPECT_EQ(pass("\n" + piece + "\n.x\n", true).body, piece + "\r\n.x\r\n");
    // A CR goes to the next piece.
    const std::string shorter = piece.substr(1) + "\r";
    for (std::size_t chunk = 10200; chunk < 10260; ++chunk) {
        EXPECT_EQ(pass("\n" + shorter + ".\nmore\n", true, true, chunk).body,
                  shorter + ".\r\nmore\r\n");
    }
}

// The dot is taken back out of the block of output, which may have gone out just before it or
// behind.
TEST(MailMsg, StopsAtALoneDotAtTheEdgeOfTheOutputBlock) {
    const std::string piece(10240, 'y');
    constexpr std::size_t block = StagedOutput::SIZE;
    for (std::size_t edge = block - 10; edge < block + 10; ++edge) {
        for (const std::string& line : {std::string("."), piece + "."}) {
            for (const char* lineEnd : {"\n", "\r\n"}) {
                const std::string before = std::string(edge - line.size() - 2, 'x') + "\n";
                const std::string body = before + line + lineEnd + "more\n";
                ASSERT_EQ(pass("\n" + body, true, true, block).body, passByLines(body, true))
                    << edge;
                ASSERT_EQ(pass("\n" + body, false, true, block).body, passByLines(body, false))
                    << edge;
            }
        }
    }
}

TEST(MailMsg, GathersLinesForTheOutput) {
    std::string text = "a: b\n\n";
    for (int i = 0; i < 20000; ++i) {
        text += "a line of an ordinary length, ended by a bare line feed\n";
    }
    Read read(text);
    Sink out;
    ASSERT_EQ(read.message.writeAll(out, true), 0);
    EXPECT_EQ(out.text.size(), text.size() + 20000 + 2);
    EXPECT_EQ(out.writes, static_cast<int>(out.text.size() / StagedOutput::SIZE + 1));
    EXPECT_EQ(out.largestWrite, StagedOutput::SIZE);
}

TEST(MailMsg, KeepsEmptyLinesWholeWhereTheGatheredTextIsFull) {
    std::string body = "x\r\n"; // an odd length, so that a line end meets the end of the room
    std::string text = "\nx\n";
    for (int i = 0; i < 20000; ++i) {
        text += i % 2 == 0 ? '\n' : '\0';
        body += "\r\n";
    }
    EXPECT_EQ(pass(text + ".\nrest").body, body);
    EXPECT_EQ(pass(text, false).body, body);
}

TEST(MailMsg, ReportsAnOutputThatFails) {
    const std::string text = "a: b\nc: " + std::string(20000, 'd') + "\n\n" +
                             std::string(30000, 'e') + "\n" + std::string(100, 'f');
    Sink whole;
    EXPECT_EQ(Read(text).message.writeAll(whole, true), 0);
    const std::size_t full = whole.text.size();
    for (std::size_t room : {std::size_t{0}, std::size_t{5}, full - 30105, full - 110, full - 1}) {
        Sink out([&] { return static_cast<int>(room - out.text.size()); });
        EXPECT_EQ(Read(text).message.writeAll(out, true), -1) << room;
        EXPECT_EQ(out.text.size(), room);
    }
    Read read(text);
    Source broken(""); // not for output
    EXPECT_EQ(read.message.writeHeaders(broken), -1);
    EXPECT_EQ(read.message.writeBody(broken, true), -1);
}

} // namespace
