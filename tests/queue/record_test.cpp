// The state file: its literal bytes, saves in place, loads of whole, cut, damaged and random files,
// strings and parameters.

#include "tests/queue/queue_fixture.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cstring>
#include <ctime>

namespace {

using Record = StateFileTest;

std::string newRcpt() {
    return bytes({1, 0, 0, 0, 0, 0, 0, 0}) + std::string(8, '\xFF') + std::string(48, '\0');
}

// A state file as it should be, with what a test changes in it.
std::string sample(const Strings& strings, std::uint32_t rcpts) {
    std::string file = "HMIQF$" + bytes({7, 0, 0, 0, 1, 1, 0, 0}) + std::string(24, '\0');
    file += raw(rcpts) + raw(rcpts) + std::string(60 + 16 * 32, '\0');
    for (std::uint32_t r = 0; r < rcpts; ++r) {
        file += newRcpt();
    }
    for (const std::string& text : strings) {
        file += text + '\0';
    }
    return file;
}

const Strings twoRcpts = {"r@x", "<>", "<>", "a@x", "b@x"};

TEST_F(Record, hasTheBytesOfTheContract) {
    const long long before = std::time(nullptr);
    const int id = submit(queue, {"one@x", "two@y"}, "data");
    const std::string file = support::readFile(statePath(id));
    ASSERT_EQ(746U + 7 + 7 + 3 + 6 + 6, file.size());
    long long received = 0;
    std::memcpy(&received, file.data() + 22, 8);
    EXPECT_GE(received, before);
    EXPECT_LE(received, std::time(nullptr));

    std::string expected = "HMIQF$" + bytes({7, 0, 0, 0, 1, 1, 0, 0}) + std::string(8, '\0');
    expected += raw(received) + std::string(8, '\0') + bytes({2, 0, 0, 0, 2, 0, 0, 0});
    expected += std::string(60, '\0');
    expected += bytes({0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}) + std::string(24 + 480, '\0');
    expected += newRcpt() + newRcpt();
    expected += std::string("from@x\0auth@x\0<>\0one@x\0two@y\0", 29);
    EXPECT_EQ(expected, file);
    EXPECT_EQ(static_cast<int>(file.size()) - 10 + 8 * 15 + 136, queue.getQueueSize());
}

TEST_F(Record, readsBackItsSourceType) {
    const std::pair<MailQueue::SourceTypes, std::string> rows[] = {
        {MailQueue::SourceNetwork, bytes({1, 0, 0, 0})},
        {MailQueue::SourceLocal, bytes({1, 1, 0, 0})},
        {MailQueue::SourceRaw, bytes({7, 0, 0, 0})}};
    for (const auto& [source, word] : rows) {
        const int id = submit(queue, {"a@b"}, "no line end", source);
        EXPECT_EQ(word, support::readFile(statePath(id)).substr(10, 4));
        EXPECT_EQ(source == MailQueue::SourceRaw ? "no line end" : "no line end\r\n",
                  support::readFile(dataPath(id)));
        drop(bind(id));
        MailItem* item = bind(id);
        EXPECT_EQ(source, item->getSourceType());
        drop(item);
    }
}

TEST_F(Record, savesInPlaceAndAppendsNewStrings) {
    MailItem* item = submitAndBind({"a@x"});
    const std::string first = stateOf(item);
    EXPECT_EQ(0, item->setParam("colour", "red"));
    item->setRCPTState(0, MailItem::SENT);
    int change = 0;
    EXPECT_EQ(0, item->saveToFile(&change));
    const std::string second = stateOf(item);
    EXPECT_EQ(16, change); // "0000:colour=red" and its end
    EXPECT_EQ(first + "0000:colour=red" + '\0', second.substr(0, 46) + raw(0U) +
                                                    second.substr(50, rcptsAt - 50) + bytes({1}) +
                                                    second.substr(rcptsAt + 1));
    EXPECT_EQ(bytes({3, 0, 0, 0}), second.substr(46, 4)); // the parameters' head
    EXPECT_EQ(bytes({6}), second.substr(rcptsAt, 1));

    // Another byte in the string table shows that a save without new strings leaves it alone.
    std::string marked = second;
    marked[marked.find("red")] = 'R';
    support::writeFile(statePath(item->getId()), marked);
    item->rstadjust(77);
    EXPECT_EQ(marked.substr(0, 30) + raw(77LL) + marked.substr(38), stateOf(item));

    // A new recipient moves the strings behind its address: all is written anew.
    EXPECT_EQ(1, item->addRCPT("b@x"));
    item = reload(item);
    EXPECT_EQ(2, item->getRCPTCount());
    EXPECT_STREQ("b@x", item->getRCPT(1));
    EXPECT_STREQ("red", item->getParam("colour"));
    EXPECT_EQ(1U, item->getRCPTField(1, RecordFormat::rcptStateWord));
    EXPECT_EQ(1U, item->getField(RecordFormat::originalRCPTCount));
    EXPECT_EQ(77LL, item->getField<long long>(RecordFormat::nextSchedule));
    for (int i = 2; i < 40; ++i) { // through growing records
        EXPECT_EQ(i, item->addRCPT(("r" + std::to_string(i) + "@x").c_str()));
        EXPECT_EQ(RecordFormat::idUnknown, item->getRCPTField(i, RecordFormat::rcptDomainId));
    }
    item = reload(item);
    EXPECT_EQ(40, item->getRCPTCount());
    EXPECT_EQ(6U, item->getRCPTField(0, RecordFormat::rcptStateWord));
    EXPECT_STREQ("r39@x", item->getRCPT(39));
    drop(item);
}

TEST_F(Record, refusesAFileCutAtAnyLength) {
    const std::string whole = sample(twoRcpts, 2);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const unsigned error = loadError(whole.substr(0, length));
        // In the table a cut behind a string's end leaves too few strings, and one inside a string
        // makes it a "Corrupted string", which is no address.
        const unsigned expected = length < 10             ? HE_SIGNATURE
                                  : length < whole.size() ? HE_BADFILE
                                                          : 0;
        EXPECT_EQ(expected, error) << length;
    }
    // Behind the addresses, a string without an end is repaired, in the file by the next save.
    const std::string cut = whole + "1234567890";
    MailItem* item = load(cut);
    ASSERT_NE(nullptr, item);
    EXPECT_STREQ("Corrupted string", item->getString(5));
    EXPECT_EQ(cut, stateOf(item));
    EXPECT_EQ(0, item->setParam("a", "b"));
    item = reload(item);
    EXPECT_EQ(4U, item->getField(RecordFormat::paramHead));
    EXPECT_STREQ("b", item->getParam("a"));
    drop(item);
}

TEST_F(Record, refusesWhatIsDamagedAndRepairsWhatCanBe) {
    struct Row {
        const char* what;
        std::size_t at;
        std::string value;
        unsigned error;
    };
    const Row rows[] = {
        {"signature", 0, "X", HE_SIGNATURE},
        {"newer major", 6, bytes({8, 0}), HE_VERSION},
        {"any minor", 8, bytes({9, 9}), 0},
        {"recipients", 42, raw(65536U), HE_BADFILE},
        {"versions", 14, raw(0x100000U), HE_BADFILE},
        {"versions wrap", 14, raw(0xFFFFFFFFU), HE_BADFILE},
        {"versions beyond the file", 14, raw(0xFFFFFU), HE_BADFILE},
        {"path", rcptsAt + 128, "rrx", HE_BADFILE},
        {"auth path", rcptsAt + 132, "<<", HE_BADFILE},
        {"sender name", rcptsAt + 135, "!!", 0},
        {"address", rcptsAt + 138, "aax", HE_BADFILE},
    };
    for (const Row& row : rows) {
        std::string file = sample(twoRcpts, 2);
        file.replace(row.at, row.value.size(), row.value);
        EXPECT_EQ(row.error, loadError(file)) << row.what;
    }
    EXPECT_EQ(0U, loadError(sample({"<>", "a@b", ""}, 0)));
    EXPECT_EQ(HE_BADFILE, loadError(sample({"<>"}, 0)));

    std::string file = sample(twoRcpts, 2);
    file[10] = 127;
    file[rcptsAt] = '\xFF';
    file.replace(rcptsAt + 16, 12, raw(3) + raw(3U) + raw(3U)); // links just out of range
    file.replace(rcptsAt + 64 + 16, 12, raw(-2) + raw(0xFFFFFFFFU) + raw(0x80000000U));
    MailItem* item = load(file);
    ASSERT_NE(nullptr, item);
    EXPECT_EQ(MailItem::PROCESSING_ERROR, item->getState());
    EXPECT_EQ(10U, item->getRCPTField(0, RecordFormat::rcptStateWord));
    EXPECT_EQ(0, item->getRCPTField<int>(0, RecordFormat::rcptMbox));
    EXPECT_EQ(-2, item->getRCPTField<int>(1, RecordFormat::rcptMbox));
    for (const int rcpt : {0, 1}) { // one string for both
        EXPECT_EQ(0U, item->getRCPTField(rcpt, RecordFormat::rcptMboxHead));
        EXPECT_EQ(3U, item->getRCPTField(rcpt, RecordFormat::rcptFailInfo));
    }
    EXPECT_STREQ("Corrupted string", item->getLinkedString(3));
    EXPECT_EQ(nullptr, item->getLinkedString(4));
    item = reload(item);
    EXPECT_STREQ("Corrupted string", item->getLinkedString(3));
    drop(item);
}

TEST_F(Record, savesWholeWhenItsStringsCannotBeCounted) {
    MailItem* item = submitAndBind({"a@x"});
    for (int i = item->getRCPTCount() + 3; i < 65535; ++i) {
        item->addString("s");
    }
    EXPECT_EQ(0, item->saveToFile(nullptr)); // 65,535 can be counted still
    EXPECT_EQ(65534, item->addString("last"));
    for (int save = 0; save < 2; ++save) {
        EXPECT_EQ(0, item->saveToFile(nullptr));
        EXPECT_TRUE(stateOf(item).ends_with(std::string("s\0last\0", 7)));
    }
    item = reload(item);
    EXPECT_STREQ("last", item->getLinkedString(65534));
    EXPECT_EQ(65535, item->addString("more"));
    item = reload(item);
    EXPECT_STREQ("more", item->getString(65536));
    drop(item);
}

TEST_F(Record, keepsParameters) {
    MailItem* fresh = queue.newMail();
    EXPECT_EQ(HE_INVALOP, errorOf(fresh->setParam("a", "b")));
    EXPECT_EQ(HE_NOENT, errorOf(fresh->getParam("a")));
    queue.removeMail(fresh);

    // Names that begin with each other, in every order, with what sorts below and above "=".
    Strings names = {"abc", "abcd", "abc-x", "ab"};
    std::sort(names.begin(), names.end());
    do {
        MailItem* item = submitAndBind({"a@x"});
        for (const std::string& name : names) {
            EXPECT_EQ(0, item->setParam(name.c_str(), "old"));
            EXPECT_EQ(0, item->setParam(name.c_str(), ("of " + name).c_str()));
        }
        for (int load = 0; load < 2; ++load) {
            for (const std::string& name : names) {
                EXPECT_TRUE(item->hasParam(name.c_str())) << name;
                EXPECT_EQ("of " + name, std::string(item->getParam(name.c_str())));
            }
            EXPECT_FALSE(item->hasParam("a"));
            EXPECT_FALSE(item->hasParam("abcde"));
            EXPECT_FALSE(item->hasParam(""));
            EXPECT_EQ(Strings({"ab=of ab", "abc=of abc", "abcd=of abcd", "abc-x=of abc-x"}),
                      params(item));
            item = reload(item);
        }
        drop(item);
    } while (std::next_permutation(names.begin(), names.end()));

    MailItem* item = submitAndBind({"a@x"});
    EXPECT_EQ(0, item->setParam("n", std::string(1016, 'v').c_str())); // 5 + 1 + 1 + 1016 and 0
    EXPECT_EQ(HE_FBIG, errorOf(item->setParam("n", std::string(1017, 'v').c_str())));
    EXPECT_EQ(3U, item->getField(RecordFormat::paramHead));
    for (const char* name : {"", "a=b"}) {
        EXPECT_EQ(HE_INVAL, errorOf(item->setParam(name, "")));
    }
    EXPECT_EQ(-1, item->setParam("n", nullptr));
    EXPECT_EQ(HE_INVAL, errorOf(item->addString(nullptr)));
    drop(item);
}

// A parameter once took the place of the name, and was lost with the first recipient.
TEST_F(Record, keepsAParameterWhereTheSenderNameIsMissing) {
    std::string file = sample({"<>", "a@b"}, 0);
    MailItem* item = load(file);
    ASSERT_NE(nullptr, item);
    EXPECT_EQ(0, item->saveToFile(nullptr));
    EXPECT_EQ(file += std::string("<>\0", 3), stateOf(item));
    drop(item);

    item = load(sample({"<>", "a@b"}, 0));
    EXPECT_EQ(0, item->setParam("n", "v"));
    EXPECT_EQ(0, item->saveToFile(nullptr));
    file += std::string("0000:n=v\0", 9);
    file.replace(46, 4, raw(3U));
    EXPECT_EQ(file, stateOf(item));

    EXPECT_EQ(0, item->addRCPT("r@x"));
    item = reload(item);
    EXPECT_STREQ("v", item->getParam("n"));
    EXPECT_STREQ("r@x", item->getRCPT(0));
    EXPECT_STREQ("<>", item->getString(2));
    drop(item);
    EXPECT_EQ(HE_BADFILE, loadError(sample({"a@b"}, 0)));
}

TEST_F(Record, endsABrokenParameterChain) {
    struct Row {
        Strings others; // the strings from index 3 on
        std::uint32_t head;
        Strings found;
    };
    const Row rows[] = {
        {{"0000:a=1", "0003:b=2"}, 4, {"b=2", "a=1"}},
        {{"0000:a=1", "0003:a=2"}, 4, {"a=2"}},
        {{"0000:a=1", "0003:none", "0004:c=3"}, 5, {"c=3", "a=1"}}, // skipped, the link followed
        {{"0003:a=1"}, 3, {"a=1"}},                                 // a circle
        {{"0004:a=1", "0003:b=2"}, 3, {"b=2", "a=1"}},
        {{"0005:a=1", "0003:b=2", "0004:c=3", "0005:d=4"}, 6, {"d=4", "c=3", "b=2", "a=1"}},
        {{"0000:a=1", "0003;b=2"}, 4, {}},
        {{"0000:a"}, 3, {}},
        {{"zzzz:a=1"}, 3, {"a=1"}},
        {{"0063:a=1"}, 3, {"a=1"}},
        {{"0000:a=1"}, 4, {}},
        {{"0000:a=1"}, 0xFFFFFFFF, {}},
    };
    for (const Row& row : rows) {
        MailItem* item = loadChanged(row.others, {{10 + RecordFormat::paramHead, raw(row.head)}});
        EXPECT_EQ(row.found, params(item));
        drop(item);
    }
}

TEST_F(Record, loadsOrRefusesAnyBytes) {
    auto random = support::seededRandom("loadsOrRefusesAnyBytes");
    const Strings strings = {"r@x", "<>", "n", "a@x", "b@x", "0000:a=1", "0003:b=2"};
    int loaded = 0;
    for (int round = 0; round < 300; ++round) {
        std::string file = sample(strings, 2);
        file.replace(46, 4, raw(4U));
        for (std::size_t changes = support::below(random, 6); changes > 0; --changes) {
            file[10 + support::below(random, file.size() - 10)] =
                static_cast<char>(support::below(random, 256));
        }
        file.resize(file.size() - support::below(random, 3));
        MailItem* item = load(file);
        if (item == nullptr) {
            continue;
        }
        ++loaded;
        // Saved as a whole and loaded as another mail it is the same mail: both save alike.
        item->addRCPT("last@x");
        EXPECT_EQ(0, item->saveToFile(nullptr));
        MailItem* other = load(stateOf(item), loadId + 1);
        ASSERT_NE(nullptr, other);
        for (MailItem* each : {item, other}) {
            each->addRCPT("very@last");
            EXPECT_EQ(0, each->saveToFile(nullptr));
        }
        EXPECT_EQ(stateOf(item), stateOf(other));
        drop(item);
        drop(other);
    }
    EXPECT_GT(loaded, 30);
}

} // namespace
