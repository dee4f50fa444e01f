// Reading a message and writing it: what was read and written, folded or not, reads back as the
// same fields, and the body passes as a plain reader says. Input: the message.

#include "common/stream/memory_stream.h"
#include "fuzz/target.h"
#include "message/mail_msg.h"
#include "tests/stream/streams.h"

#include <tuple>
#include <vector>

namespace {

constexpr int JoinFolds = 1686;    // line ends LF and CR LF, folds and one blank taken out
constexpr int JoinAtBlank = 0x296; // the same, but the blank stays

// Longer lines of a body are looked at in pieces.
constexpr std::size_t LongestBody = 10000;

using Field = std::tuple<std::string, std::string, std::string>;

// A message over a text of its own.
struct Message {
    Message(std::string_view content, bool dotEnds, int flags)
        : text(content), stream(text.data(), static_cast<long long>(text.size())),
          message(&stream, dotEnds, flags) {
        FUZZ_CHECK(message.readHeaders(true) == 0);
    }

    std::string headers() {
        support::Sink sink;
        FUZZ_CHECK(message.writeHeaders(sink) == 0);
        return sink.text;
    }

    std::string body(bool normalize) {
        support::Sink sink;
        FUZZ_CHECK(message.writeBody(sink, normalize) == 0);
        return sink.text;
    }

    std::string text;
    MemoryStream stream;
    MailMsg message;
};

// The fields by the text that they are written as, unfolded. Each line is cut at its first colon.
std::vector<Field> fieldsOf(std::string_view headers, bool blankLine) {
    std::vector<Field> fields;
    while (!headers.empty()) {
        const std::size_t end = headers.find("\r\n");
        FUZZ_CHECK(end != std::string_view::npos);
        const std::string_view line = headers.substr(0, end);
        headers.remove_prefix(end + 2);
        if (headers.empty() && blankLine) {
            FUZZ_CHECK(line.empty());
            break;
        }
        const std::size_t colon = line.find(':');
        FUZZ_CHECK(colon != std::string_view::npos && colon > 0);
        const std::size_t value =
            std::min(line.find_first_not_of(" \t\n\v\f\r", colon + 1), line.size());
        fields.emplace_back(line.substr(0, colon), line.substr(colon, value - colon),
                            line.substr(value));
    }
    return fields;
}

void checkFields(MailMsg& message, const std::vector<Field>& fields) {
    MailMsg copy(message);
    for (const auto& [name, separator, value] : fields) {
        const int count = message.countHeaderField(name.c_str());
        bool found = false;
        for (int i = 0; i < count && !found; ++i) {
            found = value == message.getHeaderValue(name.c_str(), i) &&
                    separator == message.getHeaderSeparator(name.c_str(), i);
        }
        FUZZ_CHECK(found);
        FUZZ_CHECK(message.getHeaderField(name.c_str(), count) == nullptr);
        const std::unique_ptr<char[]> plain(hstrdupNoComments(value.c_str()));
        FUZZ_CHECK(std::strlen(plain.get()) <= value.size());
    }
    if (!fields.empty()) {
        const char* const name = std::get<0>(fields.front()).c_str();
        FUZZ_CHECK(copy.appendToHeaderField("x", name, 0) == 0);
        FUZZ_CHECK(copy.modifyHeaderField("y", "z", name, 0) == 0);
        FUZZ_CHECK(copy.deleteHeaderField("y", 0) == 0);
    }
}

std::string plainBody(std::string_view body, bool dotEnds) {
    std::string result;
    while (!body.empty()) {
        const std::size_t end = body.find_first_of(std::string_view("\n\0", 2));
        std::string_view line = body.substr(0, end);
        if (end != std::string_view::npos && body[end] == '\n' && line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        if (dotEnds && line == ".") {
            break;
        }
        result += line;
        if (end == std::string_view::npos) {
            break;
        }
        result += "\r\n";
        body.remove_prefix(end + 1);
    }
    return result;
}

void checkBody(std::string_view text, bool dotEnds) {
    Message first(text, dotEnds, JoinFolds);
    const bool ended = first.message.isInputEnded();
    const long long offset = first.message.getBodyOffset();
    if (!ended && offset == 0 && !text.empty()) {
        return; // more fields than are taken
    }
    FUZZ_CHECK(offset >= 0 && offset <= static_cast<long long>(text.size()));
    const std::string_view body =
        ended ? std::string_view() : text.substr(static_cast<std::size_t>(offset));
    if (body.size() > LongestBody) {
        return;
    }
    const std::string expected = plainBody(body, dotEnds);
    FUZZ_CHECK(first.body(true) == expected);
    Message second(text, dotEnds, JoinFolds);
    FUZZ_CHECK(second.body(false) == (dotEnds ? expected : body));
}

} // namespace

FUZZ_TARGET(mail_header) {
    const std::string_view text = input.rest();
    Message first(text, false, JoinFolds);
    const std::string folded = first.headers();
    first.message.disableOutputFolding();
    const std::string plain = first.headers();
    const bool blankLine = first.message.hasBlankLineAfterHeaders();
    checkFields(first.message, fieldsOf(plain, blankLine));

    Message again(plain, false, JoinFolds);
    FUZZ_CHECK(again.message.hasBlankLineAfterHeaders() == blankLine);
    again.message.disableOutputFolding();
    FUZZ_CHECK(again.headers() == plain);

    Message unfolded(folded, false, JoinAtBlank);
    unfolded.message.disableOutputFolding();
    FUZZ_CHECK(unfolded.headers() == plain);

    checkBody(text, false);
    checkBody(text, true);
}
