// What a server adds to a mail: folders, slots, filter information, data versions with their
// streams, associated streams, and the failure of a whole mail.

#include "common/container/key.h"
#include "common/container/rb_tree.h"
#include "tests/queue/queue_fixture.h"

#include <filesystem>
#include <map>
#include <set>
#include <tuple>

namespace {

namespace Format = RecordFormat;
namespace fs = std::filesystem;

constexpr int Trash = 0xFFFFF02;

class Extras : public StateFileTest {
protected:
    static std::map<std::string, std::string> infoOf(MailItem* item, int field) {
        RBTree found;
        EXPECT_EQ(0, item->doGetFilterInfo(field, &found));
        std::map<std::string, std::string> info;
        HKey* key = nullptr;
        void* value = nullptr;
        while (found.next(key, value) == 0) {
            info[static_cast<StringRefKey*>(key)->getValue()] = static_cast<const char*>(value);
        }
        return info;
    }
    // Filter information and slots begin at `head`.
    MailItem* loadWithHeads(const Strings& others, std::uint32_t head) {
        return loadChanged(others, {{10 + Format::filterInfoHead, raw(head)},
                                    {rcptsAt + Format::rcptMessageSlotsHead, raw(head)}});
    }
    static std::string readAll(Stream* stream) {
        if (stream == nullptr) {
            return "(none)";
        }
        char buffer[65536];
        const int size = stream->readAll(buffer, sizeof buffer);
        Stream::release(stream);
        return {buffer, buffer + (size > 0 ? size : 0)};
    }
};

TEST_F(Extras, knowsItsFolders) {
    const std::pair<int, const char*> fixed[] = {{0, "INBOX"},
                                                 {0xFFFFF00, "Requests"},
                                                 {0xFFFFF01, "Pending"},
                                                 {Trash, "TRASH"},
                                                 {0xFFFFF03, "filtered email"}};
    for (const auto& [id, name] : fixed) {
        EXPECT_EQ(id, MailItem::getRCPTMboxId(name));
        EXPECT_STRCASEEQ(name, MailItem::getRCPTMboxName(id));
    }
    EXPECT_EQ(-1, MailItem::getRCPTMboxId("Drafts"));
    EXPECT_EQ(-1, MailItem::getRCPTMboxId(nullptr));
    EXPECT_EQ(nullptr, MailItem::getRCPTMboxName(1));
    EXPECT_EQ(nullptr, MailItem::getRCPTMboxName(0xFFFFF04));

    MailItem* item = submitAndBind({"a@x", "b@x", "A@X"});
    EXPECT_EQ(2, item->getRCPTIndex("a@x"));
    EXPECT_EQ(1, item->getRCPTIndex("B@x"));
    EXPECT_EQ(-1, item->getRCPTIndex("c@x"));
    EXPECT_EQ(Strings({"INBOX"}), mboxes(item, 0));
    EXPECT_EQ(Trash, item->addRCPTMbox(0, Trash));
    EXPECT_EQ(0, item->addRCPTMbox(0, 0));
    const int own = item->addString("Own");
    const int same = item->addString("OWN");
    for (const int mbox : {own, same, Trash}) {
        EXPECT_EQ(mbox, item->addRCPTMbox(0, mbox));
    }
    for (int load = 0; load < 2; ++load) { // each folder once, from the newest to the oldest
        EXPECT_EQ(Strings({"INBOX", "Trash", "OWN"}), mboxes(item, 0));
        EXPECT_EQ(Strings({"INBOX"}), mboxes(item, 0, 1));
        EXPECT_EQ(3, item->getRCPTMboxes(0, nullptr, 0));
        EXPECT_EQ(Strings({"INBOX"}), mboxes(item, 1));
        item = reload(item);
    }
    EXPECT_EQ(HE_INVAL, errorOf(item->addRCPTMbox(0, -1)));
    EXPECT_EQ(HE_INVAL, errorOf(item->addRCPTMbox(3, 0)));
    drop(item);
    MailItem* fresh = queue.newMail();
    EXPECT_EQ(HE_INVALOP, errorOf(fresh->addRCPTMbox(0, 0)));
    EXPECT_EQ(HE_INVALOP, errorOf(fresh->getRCPTMboxes(0, nullptr, 0)));
    queue.removeMail(fresh);
}

// Folder, head and strings of a recipient's record as they stand in a file.
TEST_F(Extras, readsFoldersOfAnyFile) {
    struct Row {
        std::int32_t mbox;
        std::uint32_t head;
        Strings others; // from index 3 on
        Strings found;
    };
    const Row rows[] = {
        {Trash, 0, {}, {"Trash"}},
        {3, 4, {"", "0000000:FFFFF02"}, {}}, // no folder, whatever the chain holds
        {3, 5, {"Own", "0000000:FFFFF02", "0000004:0000000"}, {"Own", "INBOX", "Trash"}},
        {0xFFFFF04, 0, {}, {"INBOX"}}, // no folder id: out of range, repaired
        {-7, 0, {}, {"INBOX"}},
        {0, 3, {"0000003:FFFFF02"}, {"INBOX", "Trash"}}, // a circle
        {0, 4, {"0000000:FFFFF02", "0000003;FFFFF01"}, {"INBOX"}},
        {0, 4, {"0000000:FFFFF02", "0000003:FFFFF0"}, {"INBOX"}},
        {0, 4, {"", "0000000:0000003"}, {"INBOX"}},
        {0, 3, {"0000063:FFFFF02"}, {"INBOX", "Trash"}}, // a link that leads nowhere
    };
    for (const Row& row : rows) {
        MailItem* item =
            loadChanged(row.others, {{rcptsAt + Format::rcptMbox, raw(row.mbox) + raw(row.head)}});
        ASSERT_NE(nullptr, item);
        EXPECT_EQ(row.found, mboxes(item, 0)) << row.mbox << " " << row.head;
        drop(item);
    }
}

TEST_F(Extras, keepsSlots) {
    MailItem* item = submitAndBind({"a@x", "b@x"});
    const int one = item->addString("one");
    const int two = item->addString("two");
    for (const int field : {Format::rcptMessageSlotsHead, Format::rcptPropertySlotsHead}) {
        EXPECT_EQ("", slots(item, field, 1));
        EXPECT_EQ(one, item->doAddRCPTSlot(field, 1, 255, one));
        EXPECT_EQ(one, item->doAddRCPTSlot(field, 1, 7, one));
        EXPECT_EQ(two, item->doAddRCPTSlot(field, 1, 7, two));
        EXPECT_EQ(0, item->doAddRCPTSlot(field, 1, 9, 0));
        EXPECT_EQ(HE_INVAL, errorOf(item->doAddRCPTSlot(field, 1, 256, one)));
        EXPECT_EQ(HE_INVAL, errorOf(item->doAddRCPTSlot(field, 1, 1, -1)));
        EXPECT_EQ(HE_INVAL, errorOf(item->doAddRCPTSlot(field, 2, 1, one)));
        for (int load = 0; load < 2; ++load) {
            EXPECT_EQ("7=two 255=one ", slots(item, field, 1));
            EXPECT_EQ("", slots(item, field, 0));
            item = reload(item);
        }
        item->doAddRCPTSlot(field, 1, 7, 0); // a removal takes away what the walk has met before it
        EXPECT_EQ("7=two 255=one ", slots(item, field, 1));
        item->doAddRCPTSlot(field, 1, 255, 99);
        EXPECT_EQ("7=two 255= ", slots(item, field, 1));
    }
    drop(item);
}

TEST_F(Extras, keepsFilterInformationOnThreeLevels) {
    MailItem* item = submitAndBind({"a@x"});
    for (unsigned version = 1; version < 4; ++version) { // 3 from 1, 2 from 0
        EXPECT_EQ(0, item->registerNextDataVersion(version, version == 3 ? 1 : 0));
    }
    const auto set = [&item](int field, const char* key, const char* value) {
        const int index = value != nullptr ? item->addString(value) : 0;
        EXPECT_EQ(index, item->doSetFilterInfo(field, key, index));
    };
    set(MailItem::filterInfoField(), "Score", "1");
    set(MailItem::filterInfoField(), "score", "2");
    set(MailItem::filterInfoField(), "Empty", nullptr);
    set(item->rcptFilterInfoField(0), "Score", "3");
    set(item->dataFilterInfoField(0), "Old", "4");
    set(item->dataFilterInfoField(1), "Score", "5");
    set(item->dataFilterInfoField(2), "Other", "6");
    EXPECT_EQ(HE_INVAL, errorOf(item->doSetFilterInfo(Format::filterInfoHead, nullptr, 0)));
    EXPECT_EQ(HE_INVAL, errorOf(item->doSetFilterInfo(Format::filterInfoHead, "", 0)));
    EXPECT_EQ(HE_INVAL, errorOf(item->doSetFilterInfo(Format::filterInfoHead, "a", -1)));
    using Info = std::map<std::string, std::string>;
    for (int load = 0; load < 2; ++load) {
        for (const auto& [field, key, value, there] :
             {std::tuple{MailItem::filterInfoField(), "SCORE", "2", true},
              {MailItem::filterInfoField(), "empty", "", true},
              {MailItem::filterInfoField(), "none", "", false},
              {item->rcptFilterInfoField(0), "score", "3", true}}) {
            bool found = !there;
            EXPECT_STREQ(value, item->doGetFilterInfo(field, key, found));
            EXPECT_EQ(there, found);
        }
        EXPECT_EQ(Info({{"Empty", ""}, {"Score", "1"}, {"score", "2"}}),
                  infoOf(item, Format::filterInfoHead));
        EXPECT_STREQ("5", item->getDataFilterInfo(3, "score", true));
        EXPECT_STREQ("4", item->getDataFilterInfo(3, "old", true));
        EXPECT_STREQ("", item->getDataFilterInfo(3, "other", true));
        EXPECT_STREQ("", item->getDataFilterInfo(3, "score", false));
        EXPECT_EQ(HE_INVAL, errorOf(item->getDataFilterInfo(4, "score", false)));
        item = reload(item);
    }
    drop(item);
}

TEST_F(Extras, endsBrokenAndCircularChains) {
    struct Row {
        const char* text; // at index 4, which both heads name; index 3 is "value"
        const char* slots;
        const char* value; // of "key", null for a broken chain
    };
    const Row rows[] = {
        {"0000000:07:0000003", "7=value ", nullptr},
        {"0000004:07:0000003", "7=value ", nullptr}, // round and round
        {"0000004:0000003:key", "broken", "value"},
        {"0000004:0000003:kez", "broken", ""},
        {"0000000:0000003:", "broken", nullptr},
        {"0000000:0000000;key", "broken", nullptr},
        {"0000000:07:000000", "broken", nullptr},
        {"0000063:07:0000003", "broken", nullptr},
        {"0000063:0000000:kez", "broken", nullptr},
    };
    for (const Row& row : rows) {
        MailItem* item = loadWithHeads({"value", row.text}, 4);
        ASSERT_NE(nullptr, item);
        EXPECT_EQ(row.slots, slots(item, Format::rcptMessageSlotsHead, 0)) << row.text;
        bool found = true;
        EXPECT_STREQ(row.value, item->doGetFilterInfo(Format::filterInfoHead, "key", found));
        EXPECT_EQ(row.value != nullptr && *row.value != '\0', found);
        drop(item);
    }
}

// A walk in a circle comes by these 65,536 times if nothing stops it.
TEST_F(Extras, meetsALongTextOfACircleAFewTimes) {
    constexpr std::size_t length = 1'000'000;
    for (const std::string& text : {"0000003:0000003:" + std::string(length, 'k'),
                                    "0000003:07:" + std::string(length, '1')}) {
        MailItem* item = loadWithHeads({text}, 3);
        RBTree found;
        EXPECT_EQ(text[10] == ':' ? -1 : 0, item->doGetFilterInfo(Format::filterInfoHead, &found));
        EXPECT_EQ(text[10] == ':' ? "7= " : "broken", slots(item, Format::rcptMessageSlotsHead, 0));
        drop(item);
    }
}

TEST_F(Extras, countsDataVersions) {
    int size = 0;
    MailItem* fresh = queue.newMail();
    EXPECT_EQ(HE_INVALOP, errorOf(fresh->getNextDataVersion(&queue, nullptr, size), 0));
    EXPECT_EQ(HE_INVALOP, errorOf(fresh->registerNextDataVersion(1, 0)));
    EXPECT_EQ(-1, fresh->getCachedHeaderSize(0));
    queue.removeMail(fresh);

    MailItem* item = submitAndBind({"a@x", "b@x"});
    char name[1024];
    size = sizeof name;
    EXPECT_EQ(1U, item->getNextDataVersion(&queue, name, size));
    EXPECT_EQ(dataPath(item->getId()).substr(0, static_cast<std::size_t>(size) - 2) + "01",
              std::string(name));
    size = 4;
    EXPECT_EQ(HE_FBIG, errorOf(item->getNextDataVersion(&queue, name, size), 0));
    EXPECT_EQ(1U, item->getNextDataVersion(nullptr, nullptr, size));
    EXPECT_EQ(HE_INVAL, errorOf(item->registerNextDataVersion(2, 0)));
    EXPECT_EQ(HE_INVAL, errorOf(item->registerNextDataVersion(1, 1)));
    for (unsigned version = 1; version < 40; ++version) {
        EXPECT_EQ(0, item->registerNextDataVersion(version, version / 2));
        EXPECT_EQ((version | 15) + 1, item->getVersionSlots());
    }
    EXPECT_EQ(3, item->addString("s"));
    item->setRCPTState(1, MailItem::SENT);
    item = reload(item);
    EXPECT_EQ(48U, item->getVersionSlots());
    EXPECT_EQ(6U, item->getRCPTField(1, Format::rcptStateWord));
    EXPECT_STREQ("b@x", item->getRCPT(1));
    for (unsigned version = 1; version < 40; ++version) {
        EXPECT_EQ(version / 2, item->getVersionField(version, Format::parentVersion));
        EXPECT_EQ(-1, item->getCachedHeaderSize(version));
        EXPECT_EQ(version == 5 || version / 2 == 5 || version / 4 == 5,
                  item->isMailVersionDerivedFrom(version, 5))
            << version;
        EXPECT_TRUE(item->isMailVersionDerivedFrom(version, 0));
    }
    EXPECT_FALSE(item->isMailVersionDerivedFrom(40, 0));
    EXPECT_EQ(HE_INVAL, Thread::getLastError());
    item->setLastVersion(7); // not above
    EXPECT_EQ(39U, item->getField(Format::lastVersion));
    item->setLastVersion(0xFFFFF);
    EXPECT_EQ(-1, item->getCachedHeaderSize(0xFFFFF));
    EXPECT_EQ(HE_FBIG, errorOf(item->registerNextDataVersion(0x100000, 0)));
    EXPECT_EQ(HE_FBIG, errorOf(item->getNextDataVersion(nullptr, nullptr, size), 0));
    drop(item);
}

TEST_F(Extras, showsHeadersAndBodyOfADataVersion) {
    const std::pair<std::string, std::string> rows[] = {
        {"A: b\r\nC: d\r\n\r\n", "body\r\n\r\nmore\r\n"},
        {"\r\n", "body\r\n"},
        {"A: b\r\n", ""},
        {"A: " + std::string(4093, 'x') + "\r\n\r\n", "body\r\n"}, // longer than the buffer
        {"A: " + std::string(10000, 'x') + "\r\nB: c\r\n\r\n", "body\r\n"},
    };
    for (const auto& [headers, body] : rows) {
        const int id = submit(queue, {"a@x"}, headers + body);
        MailItem* item = bind(id);
        EXPECT_EQ(-1, item->getCachedHeaderSize(0));
        for (int round = 0; round < 2; ++round) { // found, then known
            EXPECT_EQ(headers, readAll(item->openHeaderStream(&queue, 0)));
            EXPECT_EQ(static_cast<int>(headers.size()), item->getCachedHeaderSize(0));
            EXPECT_EQ(body, readAll(item->openBodyStream(&queue, 0)));
        }
        EXPECT_EQ(headers + body, readAll(item->openDataStream(&queue, 0)));
        support::writeFile(dataPath(id), "X: y\r\n" + headers + body);
        const int size = static_cast<int>(headers.size());
        EXPECT_EQ(size, item->getHeaderSize(&queue, 0, false));
        EXPECT_EQ(headers == "\r\n" ? 8 : size + 6, item->getHeaderSize(&queue, 0, true));
        EXPECT_EQ(HE_INVAL, errorOf(item->getHeaderSize(&queue, 1, false)));
        EXPECT_EQ(nullptr, item->openDataStream(&queue, 1));
        fs::remove(dataPath(id));
        fs::create_symlink("/proc/self/mem", dataPath(id)); // opens, and cannot be read at 0
        EXPECT_EQ(-1, item->getHeaderSize(&queue, 0, true));
        EXPECT_EQ(nullptr, item->openHeaderStream(&queue, 0));
        EXPECT_EQ(-1, item->getCachedHeaderSize(0));
        fs::remove(dataPath(id));
        EXPECT_EQ(HE_NOENT, errorOf(item->getHeaderSize(&queue, 0, true)));
        EXPECT_EQ(HE_NOENT, errorOf(item->openHeaderStream(&queue, 0)));
        drop(item);
    }
}

TEST_F(Extras, failsAWholeMail) {
    MailItem* item = submitAndBind({"a@x", "b@x", "c@x"});
    item->setRCPTState(0, MailItem::SENT);
    item->setRCPTState(2, MailItem::FILTER_DISCARD);
    const LogCapture log;
    item->forceNDR(nullptr);
    EXPECT_EQ(Strings({"I Set recipient <b@x> state to FILTER REJECT", "I Set mail state to SENT"}),
              LogCapture::lines);
    const unsigned states[] = {6, 11, 12};
    for (int load = 0; load < 2; ++load) {
        for (int r = 0; r < 3; ++r) {
            EXPECT_EQ(states[r], item->getRCPTField(r, Format::rcptStateWord));
        }
        EXPECT_EQ(0U, item->getRCPTField(0, Format::rcptFailInfo));
        EXPECT_STREQ("Delivery aborted",
                     item->getLinkedString(item->getRCPTField(1, Format::rcptFailInfo)));
        EXPECT_EQ(6U, item->getState());
        item = reload(item);
    }
    item->setRCPTState(2, MailItem::RECEIVED);
    item->forceNDR("too old");
    EXPECT_STREQ("too old", item->getLinkedString(item->getRCPTField(2, Format::rcptFailInfo)));
    drop(item);
}

TEST_F(Extras, keepsAssociatedStreams) {
    MailItem* item = submitAndBind({"a@x"});
    constexpr unsigned shared = MailItem::sharedKey;
    const std::string prefix = statePath(item->getId());
    const std::string path =
        prefix.substr(0, prefix.size() - 5) + "M" + prefix.substr(prefix.size() - 4) + ".assoc";
    const auto get = [&](unsigned key, int type, bool readOnly, bool useShared) {
        return item->getAssociatedStream(&queue, 'M', key, type, readOnly, useShared);
    };
    const auto list = [&](int key, bool withShared) {
        SimpleVector<int> types;
        item->getAssociatedStreamList(&queue, 'M', key, types, withShared);
        return std::multiset<int>(types.data, types.data + types.size);
    };
    using Types = std::multiset<int>;
    const auto write = [](Stream* stream, const std::string& text) {
        const int size = static_cast<int>(text.size());
        EXPECT_EQ(size, stream->writeAll(text.data(), size));
        Stream::release(stream);
    };
    EXPECT_EQ("(none)", readAll(get(1, 2, true, true)));
    EXPECT_EQ(HE_NOENT, Thread::getLastError());
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(Types(), list(1, true));

    EXPECT_EQ("", readAll(get(1, 2, false, false)));
    EXPECT_TRUE(fs::exists(path + "/000001.02"));
    write(get(shared, 0x7F, false, false), "shared");
    EXPECT_EQ("shared", support::readFile(path + "/FFFFFF.7F"));
    EXPECT_EQ("(none)", readAll(get(1, 0x7F, true, false)));
    EXPECT_EQ("shared", readAll(get(1, 0x7F, true, true)));
    EXPECT_EQ(Types({2}), list(1, false));
    EXPECT_EQ(Types({2, 0x7F}), list(1, true));
    EXPECT_EQ(Types({0x7F}), list(2, true));

    // A copy of its own, written from its start.
    write(get(0xABCDEF, 0x7F, false, false), "SHA");
    EXPECT_EQ("SHAred", readAll(get(0xABCDEF, 0x7F, true, true)));
    EXPECT_EQ("shared", readAll(get(shared, 0x7F, true, false)));
    EXPECT_EQ(Types({0x7F}), list(0xABCDEF, true)); // once

    for (const char* other : {"/000001.80", "/00001.03", "/0000001.3", "/000001.G4", "/x"}) {
        support::writeFile(path + other, "");
    }
    EXPECT_EQ(Types({2}), list(1, false));
    Stream* stream = get(1, 0x80, true, false);
    ASSERT_NE(nullptr, stream);
    EXPECT_GE(0, stream->writeAll("x", 1)); // opened to be read only
    Stream::release(stream);
    for (const auto& [family, key, type] : {std::tuple('/', 1U, 1),
                                            {'\0', 1U, 1},
                                            {'M', 0x1000000U, 1},
                                            {'M', 1U, 256},
                                            {'M', 1U, -1}}) {
        EXPECT_EQ(HE_INVAL,
                  errorOf(item->getAssociatedStream(&queue, family, key, type, false, false)));
    }
    // A copy that fails leaves no file behind.
    fs::remove(path + "/FFFFFF.7F");
    fs::create_directory(path + "/FFFFFF.7F");
    EXPECT_EQ("(none)", readAll(get(5, 0x7F, false, false)));
    EXPECT_FALSE(fs::exists(path + "/000005.7F"));
    fs::remove_all(path);
    support::writeFile(path, "no directory");
    EXPECT_EQ("(none)", readAll(get(5, 0x7F, false, false)));
    EXPECT_EQ(Types(), list(1, true));
    fs::remove(path);
    EXPECT_EQ("", readAll(get(1, 2, false, false)));
    EXPECT_EQ(0, queue.removeMail(item));
    EXPECT_FALSE(fs::exists(path));
}

} // namespace
