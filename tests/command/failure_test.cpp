// Every way a run can end without a mail: exit code, the reason on standard error and in the log,
// and what is left on disk.

#include "tests/command/harness.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

// The complaint is on standard error with a newline and in the log without one.
void expectReport(const Outcome& run, const std::string& text) {
    EXPECT_EQ(run.err, text + "\n");
    EXPECT_TRUE(contains(run.log, errorLine(text))) << text;
}

TEST(Failure, BadCommandLinesTouchNothing) {
    const std::pair<Strings, std::string> rows[] = {
        {{"-t", "-t"}, "duplicate options are not accepted: -t.\n"},
        {{"-w"}, "Error: option -w not recognized.\n"},
        {{"--nothing"}, "Error: option --nothing not recognized.\n"},
        {{"-f"}, "Option -f expects 1 value(s).\n"},
        {{"a@b.org", "-t"}, "Error: options are not allowed after arguments.\n"},
        {{"a@b.org", "\xE9"}, ""},
    };
    for (const auto& [arguments, complaint] : rows) {
        SCOPED_TRACE(complaint);
        Desk desk;
        const Outcome run = desk.run(arguments);
        EXPECT_EQ(run.exitCode, 64);
        EXPECT_EQ(run.err, complaint);
        EXPECT_TRUE(run.out.starts_with("\nUsage: postdock [flags...]")) << run.out;
        EXPECT_EQ(run.log, Strings{"closelog"});
        EXPECT_FALSE(fs::exists(desk.queue("")));
    }
}

TEST(Failure, HelpAndVersionTouchNothing) {
    for (const char* flag : {"-h", "--help", "-hv", "-v", "--VERSION"}) {
        SCOPED_TRACE(flag);
        Desk desk;
        const Outcome run = desk.run({flag});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "");
        const bool help = std::string_view(flag) != "-v" && std::string_view(flag) != "--VERSION";
        EXPECT_TRUE(
            run.out.starts_with(help ? "Usage: postdock [flags...]" : "Morvex Postdock version: "))
            << run.out;
        EXPECT_EQ(run.log, Strings{"closelog"});
        EXPECT_FALSE(fs::exists(desk.queue("")));
    }
}

TEST(Failure, BadAddressesLeaveNoMail) {
    struct Row {
        Strings arguments;
        std::string input;
        std::string reason;
    };
    const Row rows[] = {
        {{"-f", "a b@@", "r@x.org"}, "\n", "invalid sender specified 'a b@@'"},
        {{"-r", "", "r@x.org"}, "\n", "invalid sender specified ''"},
        {{"-f", "G:;", "r@x.org"}, "\n", "invalid sender specified 'G:;'"},
        {{"r@x.org"}, "From: a@x.org\nSender: @\n\n", "invalid notify address '@'"},
        {{"r@x.org"}, "From: @\n\n", "invalid sender address '@'"},
        {{"r@x.org"}, "From:\n\n", "invalid sender address ''"},
        {{"r@x.org"},
         "From: J\xC3\xBC <a@x.org>\n\n",
         "invalid sender address 'J\xC3\xBC <a@x.org>'"},
        {{"r@x.org"},
         "From: A \xC3\xBC <a@x.org>\n\n",
         "invalid sender address 'A \xC3\xBC <a@x.org>'"},
        {{"r@x.org"}, "From: a@x\xE9.org\n\n", "invalid sender address 'a@x\xE9.org'"},
        {{"r@x.org"}, "From: A [B] <a@x.org>\n\n", "invalid sender address 'A [B] <a@x.org>'"},
        {{"-n", "r@x.org"}, "From: bare\n\n", "invalid sender address 'bare'"},
        {{}, "From: a@x.org\nSubject: nobody\n\nb\n", "no recipients specified"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reason);
        Desk desk;
        desk.input = row.input;
        const Outcome run = desk.run(row.arguments);
        EXPECT_EQ(run.exitCode, 65);
        expectReport(run, "Transaction aborted: " + row.reason);
        EXPECT_EQ(desk.mailFiles().size(), 0U);
    }
}

TEST(Failure, InvalidRecipientsAloneAreNoRecipients) {
    Desk desk;
    desk.input = "\n";
    const Outcome run = desk.run({"@"});
    EXPECT_EQ(run.exitCode, 65);
    EXPECT_EQ(run.err, "Ignoring invalid recipient address '@'\n"
                       "Transaction aborted: no recipients specified\n");
    EXPECT_EQ(desk.mailFiles().size(), 0U);
}

TEST(Failure, BadConfigurationEndsBeforeTheQueue) {
    std::string deep = "Server { processing = { queuePath = \"elsewhere\" }";
    for (int i = 0; i < 100; ++i) {
        deep += " a = {";
    }
    for (const std::string& content : {std::string("Server {\n primaryDomain = = }\n"), deep}) {
        Desk desk;
        support::writeFile(desk.path("run/morvex.cfg"), content);
        const Outcome run = desk.run({"r@x.org"});
        EXPECT_EQ(run.exitCode, 78);
        const std::string text = "Transaction aborted: cannot load configuration from '" +
                                 desk.path("run/morvex.cfg") + "' (";
        EXPECT_TRUE(run.err.starts_with(text)) << run.err;
        EXPECT_TRUE(run.err.ends_with(")\n")) << run.err;
        EXPECT_TRUE(contains(run.log, errorLine(run.err.substr(0, run.err.size() - 1))));
        EXPECT_FALSE(fs::exists(desk.queue("")));
        EXPECT_FALSE(fs::exists(desk.path("elsewhere")));
    }
}

// The defaults name a queue that the file may not name.
TEST(Failure, AConfigurationThatCannotBeReadIsNotTheDefaults) {
    const std::string small = "Server { processing = { queuePath = elsewhere } }\n";
    std::string large = small; // more than is read at once
    for (int i = 0; i < 100; ++i) {
        large += "# " + std::string(78, 'x') + "\n";
    }
    const struct {
        const std::string& content;
        const char* fault;
        const char* error;
    } rows[] = {
        {small, "stat:morvex.cfg:1:13", "Permission denied"},
        {small, "open:morvex.cfg:1:24", "Too many open files"},
        {small, "read:morvex.cfg:1:5", "Input/output error"},
        {small, "read:morvex.cfg:2:5", "Input/output error"},
        {large, "read:morvex.cfg:1:5", "Input/output error"},
        {large, "lseek:morvex.cfg:2:5", "Input/output error"}, // back, to look at its lines
        {large, "read:morvex.cfg:3:5", "Input/output error"},
        {large, "lseek:morvex.cfg:3:5", "Input/output error"}, // back, to parse it
        {large, "read:morvex.cfg:8:5", "Input/output error"},
    };
    for (const auto& [content, fault, error] : rows) {
        SCOPED_TRACE(fault);
        Desk desk;
        support::writeFile(desk.path("run/morvex.cfg"), content);
        desk.environment = {{"MORVEX_TEST_FAULT", fault}};
        const Outcome run = desk.run({"r@x.org"});
        EXPECT_EQ(run.exitCode, 78);
        expectReport(run, "Transaction aborted: cannot load configuration from '" +
                              desk.path("run/morvex.cfg") + "' (" + error + ")");
        EXPECT_FALSE(fs::exists(desk.queue("")));
        EXPECT_FALSE(fs::exists(desk.path("elsewhere")));
    }
}

TEST(Failure, UnusableQueue) {
    struct Row {
        const char* inTheWay; // a plain file of that name
        const char* reason;
    };
    for (const Row& row : {Row{"queue", "Not a directory"}, Row{"queue/02", "Not a directory"},
                           Row{"queue/locals", "Not a directory"}}) {
        SCOPED_TRACE(row.inTheWay);
        Desk desk;
        if (std::string_view(row.inTheWay) != "queue") {
            fs::create_directory(desk.queue(""));
        }
        support::writeFile(desk.path(row.inTheWay), "");
        const Outcome run = desk.run({"r@x.org"});
        EXPECT_EQ(run.exitCode, 74);
        std::string queue = desk.queue("");
        queue.pop_back();
        expectReport(run, "Transaction aborted: cannot find/create a queue in " + queue + " (" +
                              row.reason + ")");
    }
}

TEST(Failure, ForeignTokenFile) {
    Desk desk;
    fs::create_directory(desk.queue(""));
    support::writeFile(desk.queue(".mql_auth"), "XYZ:\r\n");
    const Outcome run = desk.run({"r@x.org"});
    EXPECT_EQ(run.exitCode, 74);
    EXPECT_EQ(support::readFile(desk.queue(".mql_auth")), "XYZ:\r\n");
}

// Faults of the system below, one call at a time: what is said, and that no file of the mail stays.
TEST(Failure, FailingCallsLeaveNoMail) {
    struct Row {
        const char* fault;
        int exitCode;
        const char* reason; // with %Q the queue directory, in front of the data file's name if any
        const char* error;
    };
    const Row rows[] = {
        {"mkdir:queue/01:1:13", 74, "cannot find/create a queue in %Q (", "Permission denied"},
        {"open:.mql_auth:0:13", 74, "cannot find/create a queue in %Q (", "Permission denied"},
        {"open:/S:0:13", 75, "cannot create a new mail in queue '%Q' (",
         "No such file or directory"},
        {"open:/D:1:28", 74, "cannot write to email file in queue 'unknown' (",
         "No space left on device"},
        {"write:/D:1:28", 74, "cannot write email message in queue '%Q/",
         "No space left on device"},
        {"write:/D:2:5", 74, "cannot write email message in queue '%Q/", "Input/output error"},
        {"write:/S:1:28", 74, "cannot write email message in queue '%Q/",
         "No space left on device"},
        {"fsync:/D:1:5", 74, "cannot write email message in queue '%Q/", "Input/output error"},
        {"open:locals/:1:28", 74, "cannot write email message in queue '%Q/",
         "No space left on device"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        Desk desk;
        desk.input = "From: a@x.org\n\n" + std::string(200000, 'x') + "\n";
        desk.environment = {{"MORVEX_TEST_FAULT", row.fault}};
        const Outcome run = desk.run({"r@x.org"});
        EXPECT_EQ(run.exitCode, row.exitCode);
        std::string queue = desk.queue("");
        queue.pop_back();
        std::string reason = row.reason;
        if (const std::size_t at = reason.find("%Q"); at != std::string::npos) {
            reason.replace(at, 2, queue);
        }
        EXPECT_TRUE(run.err.starts_with("Transaction aborted: " + reason)) << run.err;
        EXPECT_TRUE(run.err.ends_with(std::string(row.error) + ")\n")) << run.err;
        EXPECT_TRUE(contains(run.log, errorLine(run.err.substr(0, run.err.size() - 1))));
        EXPECT_EQ(desk.mailFiles().size(), 0U);
    }
}

// The id is free for another process from then on, so the handler must not remove its files again.
TEST(Failure, AnInterruptOfTheRemovalChangesNothing) {
    Desk desk;
    desk.input = "From: a@x.org\n\n" + std::string(5000, 'x') + "\n";
    desk.environment = {{"MORVEX_TEST_FAULT", "write:/D:1:28"},
                        {"MORVEX_TEST_SIGNAL", "unlink:/D:1"}};
    const Outcome run = desk.run({"r@x.org"});
    EXPECT_EQ(run.exitCode, 74);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(desk.mailFiles().size(), 0U);
}

// Right before the marker is made, and right behind that.
TEST(Failure, AnAbortAroundTheHandOverNeverReportsAMailWithoutItsMarker) {
    for (const bool made : {false, true}) {
        SCOPED_TRACE(made);
        Desk desk;
        desk.input = "From: a@x.org\n\nbody\n";
        desk.environment = {{"MORVEX_TEST_SIGNAL", made ? "stat:/D:2:6" : "open:locals/:1:6"}};
        const Outcome run = desk.run({"r@x.org"});
        EXPECT_EQ(run.exitCode, made ? 0 : 74);
        EXPECT_EQ(desk.markers().size(), made ? 1U : 0U);
        EXPECT_EQ(desk.mailFiles().size(), made ? 3U : 2U); // as a kill leaves it
    }
}

// The next file opened would be read as the message.
TEST(Failure, ClosedStandardInputWhereThereAreNoDeviceFiles) {
    Desk desk;
    desk.environment = {{"MORVEX_TEST_FAULT", "open:/dev/:0:2"}};
    desk.limits = [] { ::close(0); };
    const Outcome run = desk.run({"r@x.org"});
    EXPECT_EQ(run.exitCode, 74);
    expectReport(run, "Transaction aborted: cannot read the email message (Bad file descriptor)");
    EXPECT_EQ(desk.mailFiles().size(), 0U);
}

// A message that cannot be read to its end is no message.
TEST(Failure, UnreadableStandardInput) {
    for (const char* fault : {"read:stdin:1:5", "read:stdin:2:5"}) {
        SCOPED_TRACE(fault);
        Desk desk;
        desk.input = "From: a@x.org\n\n" + std::string(600000, 'x') + "\n";
        desk.environment = {{"MORVEX_TEST_FAULT", fault}};
        const Outcome run = desk.run({"r@x.org"});
        EXPECT_NE(run.exitCode, 0);
        EXPECT_TRUE(run.err.starts_with("Transaction aborted: ")) << run.err;
        EXPECT_EQ(desk.mailFiles().size(), 0U);
    }
}

} // namespace
