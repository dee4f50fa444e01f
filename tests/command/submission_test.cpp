#include "tests/command/harness.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <ctime>
#include <regex>

namespace {

std::string callerName() {
    return ::getpwuid(::getuid())->pw_name;
}

std::string uidText() {
    return std::to_string(::getuid());
}

// The stored message without the Received line and the Date line that stand first.
std::string withoutAddedDates(std::string data) {
    static const std::regex received(
        "^Received: by \\S+ \\(Morvex postdock\\s+invoked by uid [0-9]+\\) id [0-9A-F]{6};\\s+"
        "[A-Z][a-z]{2}, [^\r]*\r\n");
    static const std::regex date("^Date: [^\r]*\r\n");
    data = std::regex_replace(data, received, "", std::regex_constants::format_first_only);
    return std::regex_replace(data, date, "", std::regex_constants::format_first_only);
}

using Strings = std::vector<std::string>;

TEST(Submission, StoresOneMailByteByByte) {
    Desk desk;
    desk.input = "Subject: hi\n\nhello\n";
    const std::time_t before = std::time(nullptr);
    const Outcome run = desk.run({"someone@example.org"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");

    const Strings markers = desk.markers();
    ASSERT_EQ(markers.size(), 1U);
    const std::string id = markers[0];
    ASSERT_TRUE(std::regex_match(id, std::regex("0[0-3][0-9A-F]{4}"))) << id;

    const StateFile state = desk.state();
    EXPECT_TRUE(state.valid);
    EXPECT_EQ(state.stateWord, 0x101U);
    EXPECT_GE(state.recvDate, before);
    EXPECT_LE(state.recvDate, std::time(nullptr));
    EXPECT_EQ(state.originalRCPTCount, 1U);
    EXPECT_EQ(state.rcptCount, 1U);
    EXPECT_EQ(state.headerSize, -1);
    const std::string own = callerName() + "@example.org";
    EXPECT_EQ(state.strings, (Strings{own, own, "<>", "someone@example.org"}));

    const std::string data = desk.data();
    EXPECT_TRUE(data.starts_with("Received: by example.org (Morvex postdock invoked by uid " +
                                 uidText() + ") id " + id + ";"))
        << data;
    EXPECT_EQ(withoutAddedDates(data), "From: " + own + "\r\nSubject: hi\r\n\r\nhello\r\n");
    EXPECT_NE(data.find("\r\nDate: "), std::string::npos);

    ASSERT_EQ(run.log.size(), 4U);
    EXPECT_TRUE(std::regex_match(run.log[0], std::regex("openlog postdock-[0-9]+ " +
                                                        std::to_string(LOG_CONS | LOG_NDELAY) +
                                                        " " + std::to_string(LOG_MAIL))))
        << run.log[0];
    EXPECT_EQ(run.log[1],
              infoLine("Invoked by user '" + callerName() + "' uid '" + uidText() + "'"));
    EXPECT_EQ(run.log[2],
              infoLine("Email enqueued: id " + id + " size " + std::to_string(data.size()) +
                       " uid " + uidText() + " user " + callerName() + " from " + own +
                       " rcpts(1) someone@example.org"));
    EXPECT_EQ(run.log[3], "closelog");
}

TEST(Submission, GivesFilesTheirModes) {
    Desk desk;
    desk.input = "\n";
    ASSERT_EQ(desk.run({"a@b.org"}).exitCode, 0);
    const std::string id = desk.markers().at(0);
    const auto mode = [&](const std::string& name) {
        struct stat status {};
        ::stat(desk.queue(name).c_str(), &status);
        return status.st_mode & 07777U;
    };
    EXPECT_EQ(mode(""), 0750U);
    EXPECT_EQ(mode("locals"), 0750U);
    EXPECT_EQ(mode(id.substr(0, 2)), 0750U);
    EXPECT_EQ(mode(".mql_auth"), 0640U);
    EXPECT_EQ(mode("locals/" + id), 0640U);
    EXPECT_EQ(mode(id.substr(0, 2) + "/S" + id.substr(2)), 0640U);
    EXPECT_EQ(mode(id.substr(0, 2) + "/D" + id.substr(2) + ".00"), 0660U);
}

// Envelope and headers, by flags and message. An empty column of strings means: not looked at.
TEST(Submission, DecidesSenderAndRecipients) {
    const std::string own = callerName() + "@example.org";
    const std::string from = "From: a@x.org\n";
    struct Row {
        const char* what;
        Strings arguments;
        std::string input;
        Strings strings;
        std::string stored; // without the Received and Date lines
    };
    const Row rows[] = {
        {"recipients from To without arguments",
         {},
         from + "To: r@x.org\n\nb\n",
         {"a@x.org", "a@x.org", "<>", "r@x.org"},
         "From: a@x.org\r\nTo: r@x.org\r\n\r\nb\r\n"},
        {"arguments hide the headers, and Bcc goes in any case",
         {"z@x.org"},
         from + "To: r@x.org\nBCC: s@x.org\nbcc: t@x.org\nSubject: q\n\nb\n",
         {"a@x.org", "a@x.org", "<>", "z@x.org"},
         "From: a@x.org\r\nTo: r@x.org\r\nSubject: q\r\n\r\nb\r\n"},
        {"-t with an argument: arguments first, duplicates stay",
         {"-t", "r@x.org"},
         from + "Cc: c@x.org\nTo: r@x.org, G: g@x.org, h@x.org;\nBcc: b@x.org\n\n",
         {"a@x.org", "a@x.org", "<>", "r@x.org", "r@x.org", "g@x.org", "h@x.org", "c@x.org",
          "b@x.org"},
         "From: a@x.org\r\nCc: c@x.org\r\nTo: r@x.org, G: g@x.org, h@x.org;\r\n\r\n"},
        {"arguments split at commas, bare names completed",
         {"u,v@x.org"},
         from + "\n",
         {"a@x.org", "a@x.org", "<>", "u@example.org", "v@x.org"},
         ""},
        {"-f with From present shapes nothing",
         {"-f", "f@x.org", "r@x.org"},
         from + "\nb\n",
         {"a@x.org", "a@x.org", "<>", "r@x.org"},
         "From: a@x.org\r\n\r\nb\r\n"},
        {"-f without From",
         {"-f", "Some One <f@x.org>", "r@x.org"},
         "\nb\n",
         {"f@x.org", "f@x.org", "<>", "r@x.org"},
         "From: f@x.org\r\n\r\nb\r\n"},
        {"-r stands in for -f",
         {"-r", "f@x.org", "r@x.org"},
         "\nb\n",
         {"f@x.org", "f@x.org", "<>", "r@x.org"},
         "From: f@x.org\r\n\r\nb\r\n"},
        {"-f before -r",
         {"-r", "g@x.org", "-f", "f@x.org", "r@x.org"},
         "\nb\n",
         {"f@x.org", "f@x.org", "<>", "r@x.org"},
         "From: f@x.org\r\n\r\nb\r\n"},
        {"-F alone: no blank before the angle bracket",
         {"-F", "Full Name", "r@x.org"},
         "\nb\n",
         {own, own, "<>", "r@x.org"},
         "From: \"Full Name\"<" + own + ">\r\n\r\nb\r\n"},
        {"-F and -f: a blank",
         {"-F", "Full Name", "-f", "f@x.org", "r@x.org"},
         "\nb\n",
         {"f@x.org", "f@x.org", "<>", "r@x.org"},
         "From: \"Full Name\" <f@x.org>\r\n\r\nb\r\n"},
        {"-F and the null path",
         {"-F", "N", "-f", "<>", "r@x.org"},
         "\nb\n",
         {"<>", "<>", "<>", "r@x.org"},
         "From: \"N\" <>\r\n\r\nb\r\n"},
        {"the null path alone",
         {"-f", "<>", "r@x.org"},
         "\nb\n",
         {"<>", "<>", "<>", "r@x.org"},
         "From: <>\r\n\r\nb\r\n"},
        {"-F with From and no Sender",
         {"-F", "N", "-f", "f@x.org", "r@x.org"},
         from + "\nb\n",
         {"f@x.org", "a@x.org", "<>", "r@x.org"},
         "Sender: \"N\" <f@x.org>\r\nFrom: a@x.org\r\n\r\nb\r\n"},
        {"-F with From and Sender: in place",
         {"-F", "N", "-f", "f@x.org", "r@x.org"},
         from + "X: y\nsender: s@x.org\nZ: w\n\nb\n",
         {"f@x.org", "a@x.org", "<>", "r@x.org"},
         "From: a@x.org\r\nX: y\r\nSender: \"N\" <f@x.org>\r\nZ: w\r\n\r\nb\r\n"},
        {"Sender without -F",
         {"r@x.org"},
         from + "Sender: s@x.org\n\nb\n",
         {"s@x.org", "a@x.org", "<>", "r@x.org"},
         "From: a@x.org\r\nSender: s@x.org\r\n\r\nb\r\n"},
        {"-n: the default sender is still completed",
         {"-n", "r@x.org"},
         "\nb\n",
         {own, own, "<>", "r@x.org"},
         "From: " + own + "\r\n\r\nb\r\n"},
        {"a Date of the message's own is kept",
         {"r@x.org"},
         from + "Date: Mon, 1 Jan 2001 00:00:00 +0000\n\nb\n",
         {"a@x.org", "a@x.org", "<>", "r@x.org"},
         "From: a@x.org\r\nDate: Mon, 1 Jan 2001 00:00:00 +0000\r\n\r\nb\r\n"},
        {"dropped flags of the traditional command",
         {"-oi", "-oem", "-odb", "-bm", "-i", "r@x.org"},
         from + "\nb\n",
         {"a@x.org", "a@x.org", "<>", "r@x.org"},
         ""},
        {"-t -i: a lone dot ends the input",
         {"-t", "-i"},
         from + "To: r@x.org\n\na\n.\nb\n",
         {"a@x.org", "a@x.org", "<>", "r@x.org"},
         "From: a@x.org\r\nTo: r@x.org\r\n\r\na\r\n"},
        {"-ti: it does not",
         {"-ti"},
         from + "To: r@x.org\n\na\n.\nb\n",
         {"a@x.org", "a@x.org", "<>", "r@x.org"},
         "From: a@x.org\r\nTo: r@x.org\r\n\r\na\r\n.\r\nb\r\n"},
        {"CR LF stays, a last line gets its end",
         {"r@x.org"},
         "From: a@x.org\r\n\r\na\r\nb",
         {"a@x.org", "a@x.org", "<>", "r@x.org"},
         "From: a@x.org\r\n\r\na\r\nb\r\n"},
        {"8-bit bytes pass through",
         {"r@x.org"},
         from + "Subject: \xE9\xFF\n\n\x80\xFE\n",
         {"a@x.org", "a@x.org", "<>", "r@x.org"},
         "From: a@x.org\r\nSubject: \xE9\xFF\r\n\r\n\x80\xFE\r\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Desk desk;
        desk.input = row.input;
        const Outcome run = desk.run(row.arguments);
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "");
        const StateFile state = desk.state();
        EXPECT_TRUE(state.valid);
        EXPECT_EQ(state.strings, row.strings);
        if (!row.stored.empty()) {
            EXPECT_EQ(withoutAddedDates(desk.data()), row.stored);
        }
    }
}

TEST(Submission, PassesOverInvalidRecipients) {
    struct Row {
        Strings arguments;
        std::string input;
        Strings complaints;
        std::size_t recipients;
    };
    const std::string from = "From: a@x.org\n";
    const Row rows[] = {
        {{"a@@x.org", "r@x.org"},
         from + "\n",
         {"Ignoring invalid recipient address 'a@@x.org'"},
         1},
        {{"-n", "bare", "r@x.org"}, from + "\n", {"Ignoring invalid recipient address 'bare'"}, 1},
        {{"<>", "r@x.org"}, from + "\n", {"Ignoring invalid recipient address '<>'"}, 1},
        {{},
         from + "To: @\nCc: r@x.org\nBcc: (x\n\n",
         {"Ignoring invalid 'To:' recipient address '@'",
          "Ignoring invalid 'Bcc:' recipient address '(x'"},
         1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.complaints[0]);
        Desk desk;
        desk.input = row.input;
        const Outcome run = desk.run(row.arguments);
        EXPECT_EQ(run.exitCode, 0);
        std::string expected;
        for (const std::string& line : row.complaints) {
            expected += line + "\n";
            EXPECT_TRUE(contains(run.log, errorLine(line)));
        }
        EXPECT_EQ(run.err, expected);
        EXPECT_EQ(desk.state().rcptCount, row.recipients);
    }
}

TEST(Submission, TakesAtMost1024Recipients) {
    const std::string warning = "WARNING: only first 1024 recipients are used";
    for (const int given : {1023, 1024, 1025}) {
        SCOPED_TRACE(given);
        Desk desk;
        desk.input = "From: a@x.org\nTo: first@x.org";
        for (int i = 2; i < given; ++i) {
            desk.input += ",\n r" + std::to_string(i) + "@x.org";
        }
        // The limit holds across arguments and headers.
        desk.input += "\n\nb\n";
        const Outcome run = desk.run({"-t", "argument@x.org"});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, given < 1024 ? "" : warning + "\n");
        EXPECT_EQ(contains(run.log, errorLine(warning)), given >= 1024);
        const StateFile state = desk.state();
        EXPECT_TRUE(state.valid);
        EXPECT_EQ(state.rcptCount, static_cast<unsigned>(std::min(given, 1024)));
        EXPECT_EQ(state.strings.at(3), "argument@x.org");
        EXPECT_EQ(state.strings.at(4), "first@x.org");
    }
}

TEST(Submission, UsesTheTreeThatIsThere) {
    Desk desk;
    desk.input = "\n";
    ASSERT_EQ(desk.run({"a@b.org"}).exitCode, 0);
    const std::string token = support::readFile(desk.queue(".mql_auth"));
    EXPECT_TRUE(std::regex_match(
        token, std::regex("MQL:00000000-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}\r\n")))
        << token;
    ASSERT_EQ(desk.run({"a@b.org"}).exitCode, 0);
    EXPECT_EQ(support::readFile(desk.queue(".mql_auth")), token);
    EXPECT_EQ(desk.markers().size(), 2U);
}

TEST(Submission, WorksWithoutAConfiguration) {
    Desk desk;
    desk.input = "\nb\n";
    const Outcome run = desk.run({"-C", "absent.cfg", "a@b.org"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(desk.markers().size(), 1U);
    EXPECT_TRUE(support::isDirectory(desk.queue("3F")));
    EXPECT_FALSE(support::isDirectory(desk.queue("40")));
}

TEST(Submission, NamesACallerWithoutAPasswordEntryByNumber) {
    Desk desk;
    desk.environment = {{"MORVEX_TEST_NO_PASSWD", "1"},
                        {"MORVEX_TEST_FAULT", "open:/etc/passwd:0:2"}};
    desk.input = "\nb\n";
    const Outcome run = desk.run({"a@b.org"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(desk.state().strings.at(0), uidText() + "@example.org");
    EXPECT_TRUE(
        contains(run.log, infoLine("Invoked by user '" + uidText() + "' uid '" + uidText() + "'")));
}

} // namespace
