// The saver's layout, what a file can hold, and the place of a file with its copies.

#include "common/error.h"
#include "common/thread/foreign_thread.h"
#include "common/thread/rw_object.h"
#include "common/thread/thread.h"
#include "config/text_loader.h"
#include "config/text_saver.h"
#include "tests/config/loader_fixture.h"
#include "tests/config/saved_text.h"
#include "tests/config/test_schema.h"
#include "tests/support/size_limit.h"
#include "tests/support/temp_dir.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <filesystem>
#include <set>
#include <thread>

using namespace HConfig;
using namespace testschema;

namespace {

// The small schema, with the loader's log.
class TextSaverTest : public LoaderTest {
protected:
    void initConfig() override { Config::init(SCHEMA); }

    static std::unique_ptr<Object> make(unsigned row) {
        return std::unique_ptr<Object>(RowObject::newRowObject(row));
    }
    static std::unique_ptr<Object> noted(const std::string& note) {
        auto object = make(LEAF);
        object->setStringValue(NAME, "x");
        object->setStringValue(NOTE, note.c_str());
        return object;
    }
    std::string reloadedNote(Object& object) {
        EXPECT_EQ(load(savedText(object), "Leaf", true), 0);
        return loaded != nullptr ? loaded->getValue(NOTE).asText() : "";
    }
};

TEST_F(TextSaverTest, WritesEachKindInItsForm) {
    const auto root = make(ROOT);
    root->setStringValue(TYPE_INT, "-5");
    root->setStringValue(TYPE_CHOICE, "yes");
    root->setStringValue(TYPE_CHOICE_SET, "(smtp log)");
    root->setStringValue(TYPE_STRING, "say \"hi\" \\n C:\\");
    root->setStringValue(TYPE_INET_ADDR_SET, "10.0.0.0/8");
    root->setStringValue(TYPE_DATE_TIME, "03 Nov 2026 10:11:12 +0100");
    root->setStringValue(TYPE_BINARY_STRING, "QUI=");
    root->setStringValue(TYPE_TIME, "10:00");
    root->addStringValue(TAGS, "b");
    root->addStringValue(TAGS, "a");
    root->setValue(INTERNAL_NUMBER, Value(7u));
    const auto member = noted("m");
    Object* copy = nullptr;
    member->clone(copy, true);
    root->addObject(MEMBERS, copy);
    const std::string part = "        name = \"\"\n        level = 0\n        note = \"\"\n    }\n";
    const std::string before = "Root {\n"
                               "    int = -5\n"
                               "    unsigned = 0\n"
                               "    choice = yes\n"
                               "    choices = (log smtpIncoming smtpOutgoing)\n"
                               "    string = \"say \\\"hi\\\" \\n C:\\\\\"\n"
                               "    csString = \"\"\n"
                               "    inetAddr = 0.0.0.0\n"
                               "    inetAddrSet = 10.0.0.0/255.0.0.0\n"
                               "    inetSockAddr = 0.0.0.0:0\n"
                               "    dateTime = \"Tue, 03 Nov 2026 10:11:12 +0100\"\n"
                               "    binary = \"QUI=\"\n"
                               "    time = \"10:00:00\"\n"
                               "    child = {\n" +
                               part;
    const std::string ownPart = "    part = {\n" + part;
    const std::string sets = "    tags = (\n        \"a\"\n        \"b\"\n    )\n\n"
                             "    csTags = ()\n"
                             "    members = (\n"
                             "        {\n"
                             "            name = \"x\"\n"
                             "            level = 0\n"
                             "            note = \"m\"\n"
                             "        }\n"
                             "    )\n";
    const std::string ownSet = "    ownMembers = ()\n";
    const std::string values = "    folders = ()\n"
                               "    limited = 0\n"
                               "    shortText = \"\"\n"
                               "    serverDefault = \"\"\n"
                               "    address = 0.0.0.0:0\n"
                               "    refusedDefault = 0\n";
    const std::string idle = "    idle = {\n        level = 0\n        note = \"\"\n    }\n}\n";
    EXPECT_EQ(savedText(*root), before + ownPart + sets + ownSet + values + idle);

    support::Sink sink;
    TextSaver saver(&sink, root.get());
    saver.saveInternal = true;
    saver.saveOwnLife = false;
    EXPECT_EQ(saver.save(), 0);
    EXPECT_EQ(sink.text, before + sets + values + "    internal = 7\n" + idle);
}

TEST_F(TextSaverTest, ATextComesBackAsItWasOrIsTold) {
    std::string every;
    for (int byte = 1; byte < 256; ++byte) {
        const bool holdable = byte == '\t' || byte == '\n' || (byte >= ' ' && byte != 0x7F);
        every += holdable ? std::string(1, static_cast<char>(byte)) : "";
    }
    const struct {
        std::string text;
        const char* left = nullptr; // where it is not all
    } rows[] = {
        {""},
        {every},
        {"\r\n\\\r\n\\\n\\\\\n"},
        {"\\\\\\"},
        {"\"\\"},
        {std::string(4095, 'x')},
        {std::string(2000, '"')},
        {std::string(4096, 'x'), ""},
        {std::string(2048, '"'), ""}, // 4096 bytes when quoted
        {"\x01\x1F\x7Fx\r\vy\r", "xy"},
        {"\\\x01\"", "\\\""}, // what goes must not leave an escape behind
    };
    for (const auto& row : rows) {
        EXPECT_EQ(reloadedNote(*noted(row.text)), row.left != nullptr ? row.left : row.text);
        const auto log = takeLog();
        ASSERT_EQ(log.size(), row.left != nullptr ? 1u : 0u);
        EXPECT_TRUE(log.empty() || log[0] == "2 Attribute 'note' of a 'Leaf' object has a value "
                                             "that a file cannot hold as it is");
    }
}

TEST_F(TextSaverTest, FailuresOfTheOutputAndOfTheTreeEndTheSave) {
    const auto root = make(ROOT);
    const std::string whole = savedText(*root);
    support::Sink full([] { return 0; });
    TextSaver saver(&full, root.get());
    EXPECT_EQ(saver.save(), -1);
    support::Sink broken([] {
        Thread::setLastError(HE_FBIG);
        return -1;
    });
    EXPECT_EQ(errorOf(saver.save(&broken, "x")), HE_FBIG);
    EXPECT_EQ(broken.writes, 1) << "nothing more after a failure";
    support::Sink good;
    EXPECT_EQ(saver.save(&good, "x"), 0);
    EXPECT_EQ(good.text, whole);
    TextSaver rootless(&good, nullptr);
    EXPECT_EQ(rootless.save(), -1);
}

// Writes down how it is locked.
class Watched : public RowObject {
public:
    Watched() : RowObject(ROOT) { doInit(false, true); }
    int readLock(int timeout) const override {
        EXPECT_LT(timeout, 0) << "without a limit";
        return ++held, 0;
    }
    void readUnlock() const override { --held; }
    mutable int held = 0;
};

TEST_F(TextSaverTest, AnObjectIsLockedWhileItAndItsPartsAreWritten) {
    Watched root;
    const std::string text = savedText(root);
    EXPECT_EQ(root.held, 0);
    for (const int result : {4096, -1}) {
        support::Sink sink([&] {
            EXPECT_LE(root.held, 1);
            return result;
        });
        root.setStringValue(TYPE_CS_STRING, std::string(4000, 'x').c_str());
        for (int i = 0; i < 30; ++i) { // more than the saver's buffer holds
            root.addStringValue(CS_TAGS, (std::to_string(i) + std::string(4000, 'y')).c_str());
        }
        TextSaver saver(&sink, &root);
        EXPECT_EQ(saver.save() == 0, result > 0);
        EXPECT_EQ(root.held, 0);
    }
}

class SharedRoot : public RowObject, public RWObject {
public:
    SharedRoot() : RowObject(ROOT) { doInit(false, true); }
};

TEST_F(TextSaverTest, ASaveSeesNoHalfOfAnUpdate) {
    SharedRoot shared;
    const std::unique_ptr<Object> sources[] = {make(ROOT), make(ROOT)};
    std::string texts[2];
    for (int i = 0; i < 2; ++i) {
        const std::string name = std::to_string(i);
        sources[i]->setStringValue(TYPE_STRING, name.c_str());
        sources[i]->getChildObject(CHILD)->setStringValue(NAME, name.c_str());
        sources[i]->addObject(MEMBERS, noted(name).release());
        sources[i]->addStringValue(TAGS, name.c_str());
        sources[i]->setStringValue(REFUSED_DEFAULT, i == 0 ? "6" : "7");
        shared.update(sources[i].get(), false);
        texts[i] = savedText(shared);
    }
    std::atomic<bool> done = false;
    std::thread updater([&] {
        const ForeignThread self(nullptr, "updater");
        for (unsigned i = 0; !done; ++i) {
            shared.update(sources[i % 2].get(), false);
        }
    });
    std::set<std::string> seen;
    for (int i = 0; i < 300 || seen.size() < 2; ++i) {
        const std::string text = savedText(shared);
        EXPECT_TRUE(text == texts[0] || text == texts[1]) << text;
        seen.insert(text);
    }
    done = true;
    updater.join();
}

// A class whose objects hold one of themselves.
class DeepTreeTest : public TextSaverTest {
protected:
    void initConfig() override {
        static const AttributeDefinition definitions[] = {
            {KIND_OBJECT, 1, "next", 1, FLAG_ON_DEMAND}};
        static const AttributeDesc attributes[] = {
            {0, 0, AttributeDesc::NO_PARAMS, 0, AttributeDesc::NO_PARAMS, 0}};
        static const ObjectClassDesc classes[] = {
            {1, "Node", 0, 0, 0, 1, [] { return RowObject::newRowObject(0); }}};
        static const ConfigDesc schema = {1,       "",         "",          "",      classes,
                                          1,       attributes, definitions, nullptr, nullptr,
                                          nullptr, 0,          nullptr};
        Config::init(schema);
    }
};

TEST_F(DeepTreeTest, TheIndentLimitsTheDepth) {
    const auto root = make(0);
    Object* deepest = root.get();
    for (int level = 1; level <= 33; ++level) {
        if (level == 33) {
            EXPECT_NE(savedText(*root).find("\n" + std::string(128, ' ') + "}\n"),
                      std::string::npos);
        }
        deepest->doInitAttrOnDemand(*deepest->getObjectClass()->getAttribute(0), nullptr, false);
        deepest = deepest->getChildObject(0);
    }
    support::Sink sink;
    TextSaver saver(&sink, root.get());
    EXPECT_EQ(errorOf(saver.save()), HE_CFG_INVALID_OBJECT);
}

// ---- Files --------------------------------------------------------------------------------------

class ServerFileTest : public LoaderTest {
protected:
    using Names = std::set<std::string>;

    support::TempDir dir;
    const std::string run = dir / "run";
    const std::string path = run + "/morvex.cfg";
    std::unique_ptr<Object> server;
    static inline std::string runDirectory;

    void SetUp() override {
        LoaderTest::SetUp();
        std::filesystem::create_directory(run);
        runDirectory = run;
        Thread::getRunDirectory = [] { return runDirectory.c_str(); };
        server.reset(Server::newObject());
        server->setAllToDefault();
        set("primaryDomain", "example.org");
    }
    void TearDown() override {
        server.reset();
        Thread::getRunDirectory = [] { return static_cast<const char*>(nullptr); };
        LoaderTest::TearDown();
    }

    static Names entries(const std::string& directory) {
        Names names;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(directory, ignored)) {
            names.insert(entry.path().filename());
        }
        return names;
    }
    void set(const char* name, const char* value) {
        const Attribute* a = server->getObjectClass()->findAttribute(name);
        ASSERT_EQ(server->setStringValue(a->getIndex(), value), 0);
    }
    void expectReload() {
        Object* object = nullptr;
        TextLoader loader(path.c_str(), server->getObjectClass(), true);
        ASSERT_EQ(loader.load(object), 0) << loader.getErrorText();
        loaded.reset(object);
        EXPECT_TRUE(server->isEqual(object, true));
    }
};

TEST_F(ServerFileTest, CopiesRotateIntoOldConfigs) {
    const Names old = {"morvex-01-02-03:04:05.cfg", "morvex-01-03-03:04:05.cfg",
                       "morvex-02-02-03:04:05.cfg", "morvex-12-31-23:59:59.cfg"};
    for (const std::string& name : old) {
        support::writeFile(run + "/" + name, name);
    }
    for (const char* name : {"morvex.cfg", "morvex-1-2-3.cfg", "x-01-02-03:04:05.cfg"}) {
        support::writeFile(run + "/" + name, "other");
    }
    TextSaver saver(path.c_str(), server.get(), 3);
    EXPECT_EQ(entries(run + "/old_configs").size(), 1u) << "one too many at the start";
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(saver.save(), 0);
    const Names moved = entries(run + "/old_configs");
    EXPECT_EQ(moved.size(), 2u);
    for (const std::string& name : moved) {
        EXPECT_EQ(old.count(name), 1u);
        EXPECT_EQ(support::readFile(run + "/old_configs/" + name), name);
    }
    Names fresh;
    for (const std::string& name : entries(run)) {
        if (old.count(name) == 0 && name != "old_configs" &&
            support::readFile(run + "/" + name) == "other") {
            fresh.insert(name);
        }
    }
    const auto copyOf = [](std::time_t at) {
        char name[64];
        std::strftime(name, sizeof name, "morvex-%m-%d-%H:%M:%S.cfg", std::localtime(&at));
        return std::string(name);
    };
    EXPECT_EQ(fresh.size(), 3u) << "the copy beside what is none";
    EXPECT_TRUE(fresh.count(copyOf(before)) + fresh.count(copyOf(std::time(nullptr))) != 0);
    expectReload();

    for (int save = 0; save < 5; ++save) { // copies of one second have one name
        EXPECT_EQ(saver.save(), 0);
    }
    EXPECT_LE(entries(run).size(), 3u + 1 + 1 + 2);
    expectReload();
}

TEST_F(ServerFileTest, NamesOfAllKindsHaveCopies) {
    const std::string there = std::filesystem::current_path();
    ASSERT_EQ(chdir(run.c_str()), 0);
    const char* const rows[][2] = {
        {"plain", "plain-01-02-00:00:00"},
        {"a%d*[x]?.cfg", "a%d*[x]?-01-02-00:00:00.cfg"},
        {".hidden.cfg", ".hidden-01-02-00:00:00.cfg"},
        {"two.dots.cfg", "two.dots-01-02-00:00:00.cfg"},
    };
    std::filesystem::create_directory("old_configs");
    for (const auto& [name, oldCopy] : rows) {
        const std::size_t before = entries(".").size();
        support::writeFile(name, "old");
        support::writeFile(oldCopy, "older");
        TextSaver saver(name, server.get(), 1);
        EXPECT_EQ(saver.save(), 0);
        EXPECT_EQ(entries(".").size(), before + 2) << name << " and its copy";
        EXPECT_EQ(entries("old_configs").count(oldCopy), 1u);
    }
    EXPECT_EQ(chdir(there.c_str()), 0);
}

// The disk is full after any number of bytes: through a file that moves aside, through one that
// cannot, and where there was none.
TEST_F(ServerFileTest, AFullDiskLeavesTheOldContent) {
    const std::size_t size = savedText(*server).size();
    const std::string old(size / 2, 'o');
    for (const bool inPlace : {false, true}) {
        if (inPlace) {
            std::filesystem::create_directories(path + ".1/x");
        }
        const Names names = inPlace ? Names{"morvex.cfg", "morvex.cfg.1"} : Names{"morvex.cfg"};
        for (std::size_t limit = 0; limit < size; limit += 1 + size / 17) {
            TextSaver saver(path.c_str(), server.get(), 0);
            support::writeFile(path, old);
            for (const bool isThere : {true, false}) {
                {
                    const support::SizeLimit full(limit);
                    EXPECT_EQ(errorOf(saver.save()), HE_FBIG);
                }
                EXPECT_EQ(std::filesystem::exists(path), isThere);
                if (isThere) {
                    EXPECT_TRUE(support::readFile(path) == old) << limit;
                    EXPECT_EQ(entries(run), names);
                    std::filesystem::remove(path);
                }
            }
            support::writeFile(path, std::string(2 * size, 'o'));
            EXPECT_EQ(saver.save(), 0) << "the disk has room again";
            EXPECT_EQ(entries(run), names) << "and no copy";
            expectReload();
        }
    }
}

// A rename between two names of one file leaves both.
TEST_F(ServerFileTest, ACopyThatIsTheFileItselfKeepsItsContent) {
    TextSaver saver(path.c_str(), server.get(), 0);
    support::writeFile(path, "old");
    for (const bool isFull : {true, false}) {
        std::filesystem::create_hard_link(path, path + ".1");
        {
            const support::SizeLimit limit(isFull ? 100 : RLIM_INFINITY);
            EXPECT_EQ(saver.save() == 0, !isFull);
        }
        EXPECT_EQ(support::readFile(path) == "old", isFull);
        EXPECT_EQ(entries(run), Names{"morvex.cfg"});
    }
    expectReload();
}

TEST_F(ServerFileTest, WhatCannotBeReplacedStays) {
    const std::string missing = run + "/none/morvex.cfg";
    TextSaver nowhere(missing.c_str(), server.get(), 2);
    EXPECT_EQ(errorOf(nowhere.save()), HE_NOENT);
    std::filesystem::create_directories(run + "/dir/x");
    std::filesystem::create_directories(run + "/dir.1/x");
    const std::string directory = run + "/dir";
    TextSaver overDirectory(directory.c_str(), server.get(), 0);
    EXPECT_EQ(overDirectory.save(), -1);
    EXPECT_EQ(entries(run), (Names{"dir", "dir.1"}));
    EXPECT_EQ(entries(directory), Names{"x"});

    TextSaver saver(path.c_str(), server.get(), 0);
    ASSERT_EQ(saver.save(), 0);
    const std::string old = support::readFile(path);
    ASSERT_EQ(chmod(run.c_str(), 0555), 0);
    if (access(run.c_str(), W_OK) == 0) {
        std::puts("root writes to every directory: that part is left out");
    } else {
        set("primaryDomain", "b.example.org");
        EXPECT_EQ(saver.save(), 0) << "in place";
        expectReload();
        ASSERT_EQ(chmod(path.c_str(), 0444), 0);
        const std::string before = support::readFile(path);
        EXPECT_EQ(saver.save(), -1);
        EXPECT_EQ(support::readFile(path), before);
    }
    ASSERT_EQ(chmod(run.c_str(), 0755), 0);
}

// A file with a line that the loader refuses would keep the server from starting.
TEST_F(ServerFileTest, NoSavedFileIsRefusedByTheLoader) {
    const Attribute* name = server->getObjectClass()->findAttribute("sslRandomFile");
    const unsigned start = sizeof "    sslRandomFile = \"" - 1;
    const struct {
        std::string text;
        bool fits;
    } rows[] = {
        {std::string(2048 - start - 2, 'x'), true},
        {std::string(2048 - start - 1, 'x'), false},
        {std::string(1000, 'x') + "\n" + std::string(2046, 'y'), true},
        {"\n" + std::string(2048, 'y') + "\n", false},
    };
    for (const auto& [text, fits] : rows) {
        ASSERT_EQ(server->setStringValue(name->getIndex(), text.c_str()), 0);
        TextSaver saver(path.c_str(), server.get(), 0);
        takeLog();
        EXPECT_EQ(saver.save(), 0);
        EXPECT_EQ(takeLog().empty(), fits);
        if (fits) {
            expectReload();
        } else {
            EXPECT_EQ(load(support::readFile(path)), 0);
            EXPECT_EQ(show("sslRandomFile"), "");
        }
    }
    // Choices of a new object that their menus do not have.
    server.reset(Server::newObject());
    takeLog();
    const std::string text = savedText(*server);
    EXPECT_FALSE(takeLog().empty());
    ASSERT_EQ(load(text), 0);
    EXPECT_EQ(show("clusterSettings.runMode"), "standAlone");
}

} // namespace
