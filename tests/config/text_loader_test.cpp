// The text loader: what inputs make of objects, what is told about them, and where.

#include "common/error.h"
#include "common/stream/memory_stream.h"
#include "common/thread/thread.h"
#include "config/text_loader.h"
#include "tests/config/loader_fixture.h"
#include "tests/config/test_schema.h"
#include "tests/support/temp_dir.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

using namespace HConfig;

namespace {

using Lines = std::vector<std::string>;

class TextLoaderTest : public LoaderTest {};

// ---- What is read -------------------------------------------------------------------------------

TEST_F(TextLoaderTest, EveryFormOfValueReachesItsAttribute) {
    struct Row {
        const char* input; // inside of Server { }
        const char* path;
        const char* value;
    };
    const Row rows[] = {
        {"primaryDomain = localdomain", "primaryDomain", "localdomain"},
        {"PRIMARYDOMAIN = localdomain", "primaryDomain", "localdomain"},
        {"maxIndexingThreads=7 maxMigrationThreads=9", "maxMigrationThreads", "9"},
        {"enableIOSynchronization = YES", "enableIOSynchronization", "yes"},
        {"services = ( log processing smtp )", "services",
         "(log processing smtpIncoming smtpOutgoing)"},
        {"services = smtp", "services", "(smtpIncoming smtpOutgoing)"},
        {"services = \"(log imap)\"", "services", "(log imap)"},
        {"services = ()", "services", "()"},
        {"processing = { queuePath = \"q\" } maxIndexingThreads = 3", "processing.queuePath", "q"},
        {"processing = {} ", "processing.queueEntryCount", "64"},
        {"log = { rules = ({priority = 2} {priority = 1 logLevel = 15}) }", "log.rules", "(1 2)"},
        {"log = { rules = () }", "log.rules", "()"},
        {"pop3 = { listeners = ( { address = 127.0.0.1:110 sslControl = { certFile = none } } ) }",
         "pop3.listeners", "(127.0.0.1:110)"},
        {"domainStorageParams = ({domainName = a domainStorageLocation = b "
         "messageStorageLocations = (x Y x2)})",
         "domainStorageParams", "(a)"},
        {"clusterSettings = { backendAddresses = (b a \"c d\") }",
         "clusterSettings.backendAddresses", "(a b c d)"},
        {"serverName # \"not this\"\n = /* nor */ word /* this */", "serverName", "word"},
        {"services = ( /* a */ log # b\n imap /* c */ )", "services", "(log imap)"},
        {"log = { rules = ( # a\n {priority = 1} /* b */ {priority = 2} /* c */ ) }", "log.rules",
         "(1 2)"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(0, load(std::string("Server {") + row.input + "}")) << row.input;
        EXPECT_EQ(row.value, show(row.path)) << row.input;
        EXPECT_EQ(Lines(), takeLog()) << row.input;
    }
}

// All other texts go through the scanner's plain reference.
TEST_F(TextLoaderTest, TextsArriveWhole) {
    const std::pair<std::string, std::string> rows[] = {
        {R"("")", ""},
        {R"("a \\ \n \" b")", R"(a \ \n " b)"},
        {"\"a\rb\nc\r\nd\\\ne\"", "ab\nc\r\nd\ne"},
        {"\"\x80\xFF" + std::string(4093, 'x') + "\"", "\x80\xFF" + std::string(4093, 'x')},
        {std::string(4095, 'x'), std::string(4095, 'x')},
        {"\\x*// ", "\\x*"},
    };
    for (const auto& [text, value] : rows) {
        EXPECT_EQ(0, load("MappingData { userMap = " + text + " mappingHost = h }", nullptr))
            << text;
        EXPECT_EQ(value, show("userMap"));
        EXPECT_EQ("h", show("mappingHost"));
        EXPECT_EQ(Lines(), takeLog());
    }
}

TEST_F(TextLoaderTest, TwoMajorObjectsFillOneRoot) {
    ASSERT_EQ(0,
              load("Server { serverName = a maxIndexingThreads = 3 } Server { serverName = b }"));
    EXPECT_EQ("b", show("serverName"));
    EXPECT_EQ("2", show("maxIndexingThreads"));
    EXPECT_EQ(Lines(), takeLog());
}

TEST_F(TextLoaderTest, OnlyCommentsGiveAGivenRootItsDefaults) {
    Server server;
    server.doInit(false, true);
    EXPECT_EQ(0, load("# nothing\n/* here */", "Server", false, &server));
    EXPECT_EQ(10U, server.getValue(10).asUnsigned());
    EXPECT_EQ(Lines(), takeLog());

    EXPECT_EQ(HE_NOENT, errorOf(load("# nothing\n")));
    EXPECT_EQ(Lines({"3 (MemoryStream)(1:1): No object found"}), takeLog());
}

// ---- Warnings -----------------------------------------------------------------------------------

struct WarningRow {
    const char* input; // inside of Server { }, which opens on the first line
    const char* warning;
    const char* path; // what the assignment did not touch
    const char* value;
};

const WarningRow warningRows[] = {
    {"nonsense = { a = ( b c ) d = { e = { f = 1 } } g = ( { h = 1 } ) }",
     "(1:9): No attribute 'nonsense' for a 'Server' object", "serverName", ""},
    {"serverName = a\nserverName = b",
     "(2:0): Attribute 'serverName' already set for 'Server' "
     "object; value ignored",
     "serverName", "a"},
    {"processing = { queueEntryCount = 257 }",
     "(1:42): Wrong value '257' for attribute 'queueEntryCount' in 'ProcessingService' object",
     "processing.queueEntryCount", "64"},
    {"maxIndexingThreads = \"x\"",
     "(1:32): Wrong value 'x' for attribute 'maxIndexingThreads' in 'Server' object",
     "maxIndexingThreads", "2"},
    {"processing = 5",
     "(1:22): Invalid type of value for attribute 'processing'; 'ProcessingService' object "
     "expected",
     "processing.queuePath", "queue"},
    {"serverName = { maxIndexingThreads = 4 }",
     "(1:22): Invalid type of value for attribute 'serverName'; 'String' value expected",
     "maxIndexingThreads", "2"},
    {"serverName = ( a b )",
     "(1:24): Invalid type of value for attribute 'serverName'; 'String' value expected",
     "serverName", ""},
    {"userMaps = ( a b )",
     "(1:22): Invalid type of value for attribute 'userMaps'; <UserMap> object-set expected",
     "userMaps", "()"},
    {"clusterSettings = { backendAddresses = a }",
     "(1:48): Invalid type of value for attribute 'backendAddresses'; 'CSString' value-set "
     "expected",
     "clusterSettings.backendAddresses", "()"},
    {"clusterSettings = { backendAddresses = ( a a b ) }",
     "(1:52): Cannot add value 'a' for value-set attribute 'backendAddresses'",
     "clusterSettings.backendAddresses", "(a b)"},
    {"services = ( log nonsense imap )",
     "(1:26): Invalid value 'nonsense' for value attribute 'services'", "services", "(log imap)"},
    {"serverName = ( )",
     "(1:24): Invalid type of value for attribute 'serverName'; value-set/object-set not "
     "expected",
     "serverName", ""},
    {"log = { rules = ( { priority = 1 fileName = a } { priority = 1 fileName = b } ) }",
     "(1:85): Cannot add 'LogRule' object for attribute 'rules'", "log.rules", "(1)"},
};

// A strict load takes a warning for an error.
TEST_F(TextLoaderTest, AWarningCostsOneAssignment) {
    for (const WarningRow& row : warningRows) {
        const std::string text = std::string("Server {") + row.input + " sslRandomFile = rest }";
        const std::string line = std::string(" (MemoryStream)") + row.warning;
        EXPECT_EQ(0, load(text)) << row.input;
        EXPECT_EQ(Lines({"2" + line}), takeLog());
        EXPECT_EQ(row.value, show(row.path)) << row.input;
        EXPECT_EQ("rest", show("sslRandomFile")) << row.input;
        EXPECT_EQ(HE_CFG_STATEMENT, errorOf(load(text, "Server", true))) << row.input;
        EXPECT_EQ(Lines({"3" + line}), takeLog());
    }
}

TEST_F(TextLoaderTest, InternalAttributesAndTooLongNamesAreLeftOut) {
    const std::string name(64, 'a');
    EXPECT_EQ(0, load("Domain { name = a.b lastBackupLabelId = 5 " + name + " = 1 }", "Domain"));
    EXPECT_EQ(Lines({"2 (MemoryStream)(1:21): Internal attribute 'lastBackupLabelId' ignored for a "
                     "'Domain' object",
                     "2 (MemoryStream)(1:43): Attribute name '" + name +
                         "' too long (max length is 64) for a 'Domain' object"}),
              takeLog());
    EXPECT_EQ("0", show("lastBackupLabelId"));
}

// ---- Errors -------------------------------------------------------------------------------------

struct ErrorRow {
    const char* input;
    unsigned code;
    const char* message;
};

const ErrorRow errorRows[] = {
    {"Nonsense {}", HE_CFG_INVALID_OBJECT, "(1:1): Invalid object class 'Nonsense'"},
    {"\x80", HE_CFG_STATEMENT, "(1:1): Invalid statement as major object definition"},
    {"Server", HE_CFG_STATEMENT, "(1:1): Invalid statement as major object definition"},
    {"Server {\n  a_b = 1 }", HE_CFG_STATEMENT, "(2:2): Invalid statement as attribute definition"},
    {"Server { serverName a }", HE_CFG_STATEMENT,
     "(1:21): Assignment operator ('=') for attribute 'serverName' expected"},
    {"Server { serverName = = }", HE_CFG_STATEMENT,
     "(1:23): Invalid assignment statement for attribute 'serverName'"},
    {"Server { deeper = { serverName = = } }", HE_CFG_STATEMENT,
     "(1:34): Invalid assignment statement"},
    {"Server { serverName = \x01 }", HE_CFG_STATEMENT,
     "(1:23): Invalid assignment statement for attribute 'serverName'"},
    {"Server { serverName = \"a\x01\" }", HE_CFG_STATEMENT,
     "(1:25): Invalid assignment statement for attribute 'serverName'"},
    {"Server { serverName = \"a\nbc", HE_CFG_STATEMENT,
     "(2:26): Invalid assignment statement for attribute 'serverName'"},
    {"Server { serverName = /* a\n", HE_CFG_STATEMENT,
     "(1:27): Invalid assignment statement for attribute 'serverName'"},
    {"Server { services = ( log { } ) }", HE_CFG_STATEMENT,
     "(1:27): Invalid statement as attribute definition"},
    {"Server { log = { rules = ( { priority = 1 } a ) } }", HE_CFG_STATEMENT,
     "(1:45): Invalid statement as attribute definition"},
    {"Server { serverName = a", HE_CFG_STATEMENT,
     "(1:23): Invalid statement as attribute definition"},
    {"DNRNameServer { timeout = 3 }", HE_CFG_INVALID_OBJECT,
     "(1:29): Incomplete specification for 'DNRNameServer' object"},
    {"service {}", HE_NOMEM, "(1:1): Cannot create a 'service' object"},
};

TEST_F(TextLoaderTest, AnErrorEndsTheLoadAndTellsItsPlace) {
    for (const ErrorRow& row : errorRows) {
        EXPECT_EQ(row.code, errorOf(load(row.input, nullptr))) << row.input;
        const Lines lines = takeLog();
        ASSERT_FALSE(lines.empty()) << row.input;
        EXPECT_EQ(std::string("3 (MemoryStream)") + row.message, lines.back());
        EXPECT_EQ(nullptr, loaded);
    }
}

TEST_F(TextLoaderTest, AFailedLoadKeepsWhatTheCallersRootGotSoFar) {
    Server server;
    server.doInit(false, true);
    EXPECT_EQ(-1, load("Server { maxIndexingThreads = 5 log = { path = x rules = ( { priority = 3 "
                       "= } ) } }",
                       "Server", false, &server));
    EXPECT_EQ(5U, server.getValue(9).asUnsigned());
    EXPECT_EQ(0U, server.getValue(10).asUnsigned());
    EXPECT_STREQ("x", server.getChildObject(16)->getValue(4).asText());
    EXPECT_EQ(0U, server.getChildObject(16)->getObjectCount(5));
}

TEST_F(TextLoaderTest, AnIncompleteMemberIsDroppedAndTold) {
    EXPECT_EQ(0, load("Server { log = { rules = ( { priority = 1 } { logLevel = 2 } ) } }"));
    EXPECT_EQ(Lines({"3 (MemoryStream)(1:60): Incomplete specification for 'LogRule' object"}),
              takeLog());
    EXPECT_EQ("(1)", show("log.rules"));
}

TEST_F(TextLoaderTest, AWrongClassIsToldAndLoadsIntoTheCallersRoot) {
    Server server;
    server.doInit(false, true);
    EXPECT_EQ(0,
              load("Domain { maxIndexingThreads = 7 assignedIP = x }", "Server", false, &server));
    EXPECT_EQ(Lines({"3 (MemoryStream)(1:1): Wrong object class 'Domain'; 'Server' object expected",
                     "2 (MemoryStream)(1:33): No attribute 'assignedIP' for a 'Server' object"}),
              takeLog());
    EXPECT_EQ(7U, server.getValue(9).asUnsigned());
}

TEST_F(TextLoaderTest, NestingIsBoundedByTheFixedStack) {
    struct Row {
        std::size_t depth;
        const char* open;
        const char* close;
        int result;
    };
    const Row rows[] = {
        {38, " x={", "}", 0},       {39, " x={", "}", 2},       {100000, " x={", "}", 2},
        {27, " x=({", "})", 0},     {28, " x=({", "})", 2},     {100000, " x=({", "})", 2},
        {1000, " x=/**/{}", "", 0}, {5000, " x=({}{})", "", 0},
    };
    for (const Row& row : rows) {
        std::string text = "UserClass { name = a";
        for (std::size_t i = 0; i < 2 * row.depth; i++) {
            text += i < row.depth ? row.open : row.close;
        }
        EXPECT_EQ(row.result, load(text + "}", nullptr)) << row.depth;
        EXPECT_EQ("a", show("name"));
    }
}

// ---- Input that fails ---------------------------------------------------------------------------

// Fails from one of its reads or seeks on, counted from 1; 0 for never.
class FaultyStream : public MemoryStream {
public:
    FaultyStream(std::string& text, int firstRead, int firstSeek)
        : MemoryStream(text.data(), static_cast<long long>(text.size())), failingRead(firstRead),
          failingSeek(firstSeek) {}

    using MemoryStream::read;
    int read(void* target, int amount) override {
        return fails(failingRead) ? -1 : MemoryStream::read(target, std::min(amount, 20));
    }
    long long lseek(long long offset, Seek origin) override {
        return fails(failingSeek) ? -1 : MemoryStream::lseek(offset, origin);
    }

private:
    static bool fails(int& left) {
        if (left == 0 || --left > 0) {
            return false;
        }
        left = 1;
        Thread::setLastError(EIO);
        return true;
    }

    int failingRead;
    int failingSeek;
};

TEST_F(TextLoaderTest, InputThatFailsIsNoEndOfInput) {
    struct Row {
        std::string input;
        int failingRead, failingSeek;
        int result;
        const char* threads; // maxIndexingThreads of the caller's root, whose default is 2
    };
    const Row rows[] = {
        {"", 1, 0, -1, "0"},
        {"# ends as a comment \nServer {}", 2, 0, -1, "0"},
        {"Server {           }Server { maxIndexingThreads = 5 }", 2, 0, -1, "0"},
        // Read once, up to its end, and not begun again.
        {"Server {           }\nServer { maxIndexingThreads = 5 }", 5, 2, 0, "5"},
        // Too long for that.
        {std::string(5000, '\n') + "Server { maxIndexingThreads = 5 }", 0, 0, 0, "5"},
        {std::string(5000, '\n') + "Server { maxIndexingThreads = 5 }", 0, 2, -1, "0"},
        {std::string(5000, '\n') + "Server { maxIndexingThreads = 5 }", 0, 3, -1, "0"},
        {std::string(4096, '\n') + "Server { maxIndexingThreads = 5 }", 413, 0, -1, "5"},
        // Cannot seek: not scanned before.
        {"Server { maxIndexingThreads = 5 }", 0, 1, 0, "5"},
        {"# ends as a comment \nServer {}", 2, 1, -1, "0"},
        {"Server {           }Server { maxIndexingThreads = 5 }", 2, 1, -1, "2"},
        {"Server { maxIndexingThreads = 5 serverName = a }", 3, 1, -1, "5"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.input + std::to_string(row.failingRead));
        std::string text = row.input;
        FaultyStream input(text, row.failingRead, row.failingSeek);
        Server server;
        server.doInit(false, true);
        Object* root = &server;
        TextLoader loader(&input, server.getObjectClass(), false);
        EXPECT_EQ(row.result, loader.load(root));
        const Attribute* threads = server.getObjectClass()->findAttribute("maxIndexingThreads");
        EXPECT_EQ(row.threads, showAttribute(server, *threads));
        const Lines lines = takeLog();
        EXPECT_EQ(row.result == 0, lines.empty());
        if (row.result != 0 && !lines.empty()) {
            EXPECT_EQ(static_cast<unsigned>(EIO), Thread::getLastError());
            EXPECT_TRUE(lines.back().starts_with("3 (MemoryStream)("));
            EXPECT_TRUE(lines.back().ends_with("): Cannot load configuration from "
                                               "'(MemoryStream)' (Input/output error)"));
        }
    }
}

// ---- Attributes of a kind that the server's schema uses rarely ----------------------------------

class TextLoaderSchemaTest : public LoaderTest {
protected:
    void initConfig() override { Config::init(testschema::SCHEMA); }
};

TEST_F(TextLoaderSchemaTest, AChildMadeOnDemandCanBeAssigned) {
    loaded.reset(Config::theConfig->findClass("Root")->newObject());
    EXPECT_EQ("-", show("lazy"));
    ASSERT_EQ(0,
              load("Root { child = { name = c } part = { name = p } lazy = { a = 5 } }", nullptr));
    EXPECT_EQ("5", show("lazy.a"));
}

TEST_F(TextLoaderSchemaTest, AnIncompleteChildEndsTheLoad) {
    EXPECT_EQ(HE_CFG_INVALID_OBJECT, errorOf(load("Root { child = { level = 3 }\n}", nullptr)));
    EXPECT_EQ(Lines({"3 (MemoryStream)(1:28): Incomplete specification of 'Leaf' object for "
                     "attribute 'child'"}),
              takeLog());
}

TEST_F(TextLoaderSchemaTest, ASetTakesNoMoreThanItMay) {
    EXPECT_EQ(0, load("Root { child = { name = c } part = { name = p } tags = (a b c d) "
                      "members = ({name=1} {name=2} {name=3} {name=4}) }",
                      nullptr));
    EXPECT_EQ("(a b c)", show("tags"));
    EXPECT_EQ("(1 2 3)", show("members"));
    EXPECT_EQ(Lines({"2 (MemoryStream)(1:63): Cannot add value 'd' for value-set attribute 'tags'",
                     "2 (MemoryStream)(1:111): Cannot add 'Leaf' object for attribute 'members'"}),
              takeLog());
}

// ---- Files --------------------------------------------------------------------------------------

class TextLoaderFileTest : public LoaderTest {
protected:
    int loadFile(const char* className) {
        const ObjectClass* expected =
            className != nullptr ? Config::theConfig->findClass(className) : nullptr;
        TextLoader loader(path.c_str(), expected, false);
        Object* object = nullptr;
        const int result = loader.load(object);
        loaded.reset(object);
        return result;
    }

    support::TempDir directory;
    std::string path = directory / "a.cfg";
};

TEST_F(TextLoaderFileTest, AMissingFileMeansDefaultsForAServerOnly) {
    EXPECT_EQ(0, loadFile("Server"));
    EXPECT_EQ(Lines({"1 Reading configuration file '" + path + "'",
                     "2 Configuration file '" + path + "' does not exists, using defaults"}),
              takeLog());
    EXPECT_EQ("queue", show("processing.queuePath"));
    for (const char* className : {static_cast<const char*>(nullptr), "Domain"}) {
        EXPECT_EQ(HE_NOENT, errorOf(loadFile(className)));
        EXPECT_EQ(Lines({"3 " + path + "(1:1): File '" + path + "' not found"}), takeLog());
    }
    std::filesystem::create_directory(path);
    EXPECT_EQ(HE_NOENT, errorOf(loadFile(nullptr)));
    EXPECT_EQ(Lines({"3 " + path + "(1:1): File '" + path + "' is not a regular file"}), takeLog());
}

TEST_F(TextLoaderFileTest, TheErrorOfTheAttributesTellsAMissingFileFromOthers) {
    std::filesystem::create_symlink(path, path);
    TextLoader loader(path.c_str(), Config::theConfig->findClass("Server"), false);
    EXPECT_EQ(0U, loader.getAttributesError());
    Server server;
    server.doInit(false, true);
    Object* root = &server;
    EXPECT_EQ(0, loader.load(root));
    EXPECT_EQ(static_cast<unsigned>(ELOOP), loader.getAttributesError());
    std::filesystem::remove(path);
    EXPECT_EQ(0, loader.load(root));
    EXPECT_EQ(HE_NOENT, loader.getAttributesError());
    support::writeFile(path, "Server {}");
    EXPECT_EQ(0, loader.load(root));
    EXPECT_EQ(0U, loader.getAttributesError());
}

TEST_F(TextLoaderFileTest, AFileLoadsAndMessagesNameIt) {
    support::writeFile(path, "Server {\n\tserverName = a\n\tnonsense = b\n}\n");
    EXPECT_EQ(0, loadFile("Server"));
    EXPECT_EQ("a", show("serverName"));
    EXPECT_EQ(Lines({"1 Reading configuration file '" + path + "'",
                     "2 " + path + "(3:1): No attribute 'nonsense' for a 'Server' object"}),
              takeLog());
}

TEST_F(TextLoaderFileTest, ALoaderLoadsAgain) {
    TextLoader loader(path.c_str(), Config::theConfig->findClass("Server"), false);
    for (const char* name : {"first", "second"}) {
        support::writeFile(path, std::string("Server { serverName = ") + name + " }");
        Object* object = nullptr;
        EXPECT_EQ(0, loader.load(object));
        loaded.reset(object);
        EXPECT_EQ(name, show("serverName"));
        support::writeFile(path, "Server { serverName = \"unfinished");
        object = nullptr;
        EXPECT_EQ(-1, loader.load(object));
        EXPECT_EQ(nullptr, object);
    }
}

TEST_F(TextLoaderFileTest, OverlongLinesOfAServersFileAbortTheLoad) {
    struct Row {
        std::string line;
        bool loads;
    };
    const Row rows[] = {
        {std::string(2047, '#') + "\n", true},   {std::string(2048, '#') + "\n", false},
        {std::string(2046, '#') + "\r\n", true}, {std::string(9000, '#') + "\nServer {}", false},
        {std::string(9000, '#'), true},          {"# last\n", true},
    };
    for (const Row& row : rows) {
        support::writeFile(path, "Server { serverName = a }\n" + row.line);
        EXPECT_EQ(row.loads ? 0 : -1, loadFile("Server")) << row.line.size();
        const Lines lines = takeLog();
        ASSERT_EQ(row.loads ? 1U : 2U, lines.size());
        if (!row.loads) {
            EXPECT_EQ(HE_CFG_STATEMENT, Thread::getLastError());
            EXPECT_EQ("3 Line '2' in file '" + path +
                          "' exceeds 2KB, loading configuration aborted.",
                      lines[1]);
        }
    }
}

} // namespace
