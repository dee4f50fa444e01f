// Mails of the seven old state file formats: taken up, worked on, saved in the present format and
// loaded again; and damaged files, which are refused or repaired and stay as they are.

#include "common/stream/file.h"
#include "queue/legacy/versions.h"
#include "tests/queue/legacy_file.h"
#include "tests/queue/queue_fixture.h"

#include <fcntl.h>

#include <algorithm>
#include <memory>

namespace {

namespace Format = RecordFormat;

constexpr int versionCount = 7;

class Legacy : public StateFileTest {
protected:
    // Loads the file and sees that this leaves it alone.
    MailItem* take(const std::string& content) {
        MailItem* item = load(content);
        EXPECT_EQ(content, support::readFile(statePath(loadId)));
        return item;
    }
    unsigned error(const std::string& content) {
        const unsigned code = loadError(content);
        EXPECT_EQ(content, support::readFile(statePath(loadId)));
        EXPECT_EQ(nullptr, queue.getFirst());
        return code;
    }
    static std::string messageSlots(MailItem* item, int rcpt) {
        return slots(item, Format::rcptMessageSlotsHead, rcpt);
    }
    static const char* failText(MailItem* item, int rcpt) {
        return item->getLinkedString(item->getRCPTField(rcpt, Format::rcptFailInfo));
    }
    static void checkFullMail(MailItem* item, int v);
};

// A mail with all that its version can hold. Three recipients, the last of whom came later.
OldMail fullMail(int v) {
    OldMail mail(v);
    mail.state = 3;
    mail.local = true;
    mail.flags = v < 3 ? 0x5A : 0xABCD00;
    mail.last = 3;
    mail.otherLast = 9;
    mail.retry = v < 2 ? 0x1234 : 0x51234;
    mail.received = 0x123456789A;
    mail.next = 0x223456789A;
    mail.versionRecords = 4;
    mail.storageIds = {7, 0x1122334455667788};
    mail.address = 0x0100007F;
    mail.port = 2525;
    for (const char* address : {"a@x", "b@x", "c@x"}) {
        OldRecipient& rcpt = mail.add(address);
        rcpt.state = 12;
        rcpt.flags = v > 4 ? 0x77AB00 : 0;
        rcpt.domain = 0xD0D0D0D0;
        rcpt.account = 0xACACACAC;
        rcpt.messageFlags = 0xF1F2F3F4;
    }
    mail.original = 2;
    OldRecipient* const rcpt = mail.rcpts.data();
    rcpt[0].dataVersion = rcpt[1].dataVersion = 1;
    mail.info = mail.infoString(0, 1, 3, "old three");
    mail.info = mail.infoString(mail.info, 0, 3, "of version 0");
    mail.info = mail.infoString(mail.info, 1, 255, "");
    mail.info = mail.infoString(mail.info, 1, 3, "new three");
    if (v > 2) {
        mail.params = mail.param(0, "colour=red");
        mail.params = mail.param(mail.params, "RPathRelayHost=relay.x");
        mail.params = mail.param(mail.params, "colour=blue=green");
    }
    rcpt[0].mbox = static_cast<std::int32_t>(mail.link("Own folder"));
    rcpt[1].mbox = -2;
    rcpt[2].mbox = v < 2 ? -3 : v < 4 ? -1 : v < 6 ? -3 : -4;
    if (v < 6) {
        rcpt[0].actions = mail.action(0, "00:First");
        rcpt[0].actions = mail.action(rcpt[0].actions, "00:trash");
        rcpt[0].actions = mail.action(rcpt[0].actions, "07:no recipient");
        rcpt[0].actions = mail.action(rcpt[0].actions, "zz:bad@code");
        rcpt[0].actions = mail.action(rcpt[0].actions, "0A:added@x");
        rcpt[2].actions = rcpt[0].actions; // chains that meet are followed for each
    }
    rcpt[0].fail = mail.link("User unknown");
    rcpt[1].fail = mail.link("User unknown");
    rcpt[2].fail = mail.link("");
    rcpt[1].local = mail.link("delivered");
    rcpt[1].relay = mail.link("relay.y");
    return mail;
}

void Legacy::checkFullMail(MailItem* item, int v) {
    SCOPED_TRACE(v);
    EXPECT_EQ(3U, item->getState());
    EXPECT_EQ(MailQueue::SourceLocal, item->getSourceType());
    EXPECT_EQ((v < 3 ? 0x5A000000U : 0xABCD00U) | 0x103U, item->getField(Format::stateWord));
    const std::uint32_t last = v == 6 ? 0 : v == 2 ? 9 : 3;
    EXPECT_EQ(last, item->getField(Format::lastVersion));
    EXPECT_EQ(16U, item->getVersionSlots());
    for (std::uint32_t version = 0; version <= 16; ++version) {
        EXPECT_EQ(version <= last ? -1 : 0,
                  version < 16 ? item->getVersionField<int>(version, Format::headerSize) : 0);
    }
    EXPECT_EQ(0x1234U, item->getField(Format::retryCount));
    EXPECT_EQ(0x123456789A, item->getField<std::int64_t>(Format::recvDate));
    EXPECT_EQ(0x223456789A, item->getField<std::int64_t>(Format::nextSchedule));
    EXPECT_EQ(0x223456789A, item->getField<std::int64_t>(Format::delayDelivery));
    EXPECT_EQ(v < 2 ? 3U : 2U, item->getField(Format::originalRCPTCount));
    EXPECT_STREQ("from@x", item->getString(0));
    EXPECT_STREQ("auth@x", item->getString(1));
    EXPECT_STREQ("<>", item->getString(2));
    EXPECT_EQ(v > 2 ? Strings({"colour=blue=green", "RPathRelayHost=relay.x"}) : Strings(),
              params(item));

    Strings addresses = {"a@x", "b@x", "c@x"};
    addresses.resize(v < 6 ? 5 : 3, "added@x");
    ASSERT_EQ(static_cast<int>(addresses.size()), item->getRCPTCount());
    for (int r = 0; r < item->getRCPTCount(); ++r) {
        SCOPED_TRACE(r);
        const auto field = [&](int offset) { return item->getRCPTField(r, offset); };
        EXPECT_EQ(addresses[static_cast<std::size_t>(r)], item->getRCPT(r));
        if (r > 2) {
            EXPECT_EQ(1U, field(Format::rcptStateWord));
            EXPECT_EQ(Format::idUnknown, field(Format::rcptDomainId));
            EXPECT_EQ(Strings({"INBOX"}), mboxes(item, r));
            continue;
        }
        EXPECT_EQ((v > 4 ? 0x77AB00U : 0U) | 12U, field(Format::rcptStateWord));
        EXPECT_EQ(r < 2 && v < 6 ? 1U : 0U, field(Format::rcptDataVersion));
        EXPECT_EQ(v > 0 ? 0xD0D0D0D0U : 0U, field(Format::rcptDomainId));
        EXPECT_EQ(v > 0 ? 0xACACACACU : 0U, field(Format::rcptAccountId));
        EXPECT_EQ(v > 4 ? 0xF1F2F3F4U : 0U, field(Format::rcptMessageFlags));
        EXPECT_EQ(r < 2 && v < 6 ? "3=new three 255= " : "3=of version 0 ", messageSlots(item, r));
        if (r < 2) {
            EXPECT_EQ(failText(item, 0), failText(item, r));
            EXPECT_STREQ("User unknown", failText(item, r));
        } else {
            EXPECT_EQ(0U, field(Format::rcptFailInfo));
        }
    }
    // The chain of further folders begins with the one that was met last.
    EXPECT_EQ(v < 6 ? Strings({"Own folder", "First", "Trash"}) : Strings({"Own folder"}),
              mboxes(item, 0));
    EXPECT_EQ(Strings({"Pending"}), mboxes(item, 1));
    const Strings third = v < 2   ? Strings()
                          : v < 4 ? Strings({"Requests", "First", "Trash"})
                          : v < 6 ? Strings({"Trash", "First"})
                                  : Strings({"Filtered Email"});
    EXPECT_EQ(third, mboxes(item, 2));
    if (v < 2) { // a folder without a name
        const auto mbox = item->getRCPTField(2, Format::rcptMbox);
        EXPECT_GE(mbox, 3U);
        EXPECT_STREQ("", item->getLinkedString(mbox));
    }
}

TEST_F(Legacy, everyVersionIsTakenUpWhole) {
    for (int v = 0; v < versionCount; ++v) {
        MailItem* item = take(fullMail(v).file());
        ASSERT_NE(nullptr, item) << v << Thread::getErrorMessage();
        checkFullMail(item, v);
        item = reload(item);
        checkFullMail(item, v);
        const std::string saved = stateOf(item);
        EXPECT_EQ("HMIQF$" + bytes({7, 0, 0, 0}), saved.substr(0, 10));
        EXPECT_EQ(raw((v > 4 ? 0x77AB00U : 0U) | 12U), saved.substr(rcptsAt, 4));
        drop(item);
    }
    for (const unsigned major : {8U, 0xFFU, 0x100U, 0x107U}) {
        std::string file = fullMail(6).file();
        file.replace(6, 2, raw(static_cast<std::uint16_t>(major)));
        EXPECT_EQ(HE_VERSION, error(file));
    }
}

// What the present format does not carry is told by the readers all the same.
TEST_F(Legacy, readersTellWhatIsNotCarriedOver) {
    const MailItemVersioner* versioner = MailItemVersioner::first;
    for (int v = versionCount - 1; v >= 0; --v) {
        ASSERT_NE(nullptr, versioner);
        EXPECT_EQ(v, versioner->getVersion());
        const std::string path = dir / "old";
        support::writeFile(path, fullMail(v).file());
        File file(path.c_str());
        ASSERT_EQ(0, file.open(O_RDWR));
        const std::unique_ptr<MailItemLoader> old(versioner->load(1, &file, 0));
        ASSERT_NE(nullptr, old) << v;
        EXPECT_EQ(v < 3 || v > 5 ? 0U : 0x1122334455667788U, old->getMailStorageId(1));
        EXPECT_EQ(0U, old->getMailStorageId(16));
        EXPECT_EQ(v == 6 ? InetAddr(0x7F000001) : InetAddr::NONE, old->getSenderIp());
        EXPECT_EQ(v == 6 ? 2525U : 0U, old->getLocalReceivingPort());
        EXPECT_STREQ(v == 6 ? "relay.x" : nullptr, old->getRPathRelayHost());
        EXPECT_STREQ(v < 3 ? "delivered" : nullptr, old->getLocalDeliveryInfo(1));
        EXPECT_STREQ(v > 3 ? "relay.y" : nullptr, old->getRCPTRelayHost(1));
        versioner = versioner->getNext();
    }
    EXPECT_EQ(nullptr, versioner);
    EXPECT_EQ(1, MailQueue_V4::MailItemObsolete::versionMinor);
    EXPECT_EQ(65U, MailQueue_V0::upgradeStateCode(14));
    EXPECT_EQ(64U, MailQueue_V5::upgradeStateCode(14));
}

TEST_F(Legacy, mapsOldStates) {
    const unsigned first[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 64, 65, 66, 96, 97, 98};
    for (int v = 0; v < versionCount; ++v) {
        for (unsigned stored = 0; stored < 128; stored += stored == 20 ? 107 : 1) {
            SCOPED_TRACE(std::to_string(v) + " " + std::to_string(stored));
            unsigned expected = stored;
            if (v < 2) {
                expected = stored < 19 ? first[stored] : 127;
            } else if (v < 6) {
                expected = stored <= 13 ? stored : stored < 20 ? first[stored - 1] : 127;
            }
            OldMail mail(v);
            mail.state = stored;
            mail.add("a@x").state = stored;
            MailItem* item = take(mail.file());
            ASSERT_NE(nullptr, item);
            const bool limited = (v == 5 && stored >= 20) || (v == 6 && stored >= 127);
            EXPECT_EQ(limited ? 10 : expected, item->getState());
            EXPECT_EQ(item->getState(), item->getField(Format::stateWord) & 0xFF);
            EXPECT_EQ(expected, item->getRCPTField(0, Format::rcptStateWord));
            EXPECT_EQ(stored == 7 ? MailQueue::SourceRaw : MailQueue::SourceNetwork,
                      item->getSourceType());
            item = reload(item);
            EXPECT_EQ(limited || expected == 127 ? 10 : expected, item->getState());
            queue.rawUnbindMail(item, item->getState() != MailItem::PROCESSING);
            if (stored == MailItem::PROCESSING) { // such a mail stays in memory until it is removed
                item = bind(loadId);
                item->setState(MailItem::SENT);
                drop(item);
            }
        }
    }
}

TEST_F(Legacy, refusesAFileCutAtAnyLength) {
    for (int v = 0; v < versionCount; ++v) {
        OldMail mail(v);
        mail.add("a@x");
        mail.add("b@x");
        const std::string whole = mail.file();
        for (std::size_t length = 0; length < whole.size(); ++length) {
            SCOPED_TRACE(std::to_string(v) + " " + std::to_string(length));
            MailItem* item = take(whole.substr(0, length));
            if (item == nullptr) {
                EXPECT_EQ(length < 10 ? HE_SIGNATURE : HE_BADFILE, Thread::getLastError());
                continue;
            }
            // Cut inside the last address, which the older versions do not look at.
            EXPECT_LT(v, 5);
            EXPECT_GT(length, whole.size() - 4);
            EXPECT_STREQ("Corrupted string", item->getRCPT(1));
            EXPECT_EQ(HE_BADFILE, errorOf(item->saveToFile(nullptr)));
            EXPECT_EQ(whole.substr(0, length), stateOf(item));
            drop(item);
        }
    }
}

TEST_F(Legacy, holdsCountsToTheLimitsOfTheVersion) {
    for (int v = 0; v < versionCount; ++v) {
        SCOPED_TRACE(v);
        const std::uint32_t limit = v < 5 ? 1024 : 65535;
        OldMail mail(v);
        for (std::uint32_t r = 0; r < limit; ++r) {
            mail.add("r@x");
        }
        mail.original = 1; // the others came later
        MailItem* item = take(mail.file());
        ASSERT_NE(nullptr, item);
        item = reload(item);
        EXPECT_EQ(static_cast<int>(limit), item->getRCPTCount());
        EXPECT_STREQ("r@x", item->getRCPT(static_cast<int>(limit) - 1));
        if (limit == 65535) { // one more fits the mail, and no file that could be read
            const std::string saved = stateOf(item);
            EXPECT_EQ(65535, item->addRCPT("r@x"));
            EXPECT_EQ(HE_FBIG, errorOf(item->saveToFile(nullptr)));
            EXPECT_EQ(saved, stateOf(item));
        }
        drop(item);
        mail.add("r@x");
        EXPECT_EQ(HE_BADFILE, error(mail.file()));
        OldMail versions(v);
        for (const std::uint32_t records : {1025U, 1024U, 0U}) {
            versions.versionRecords = records;
            EXPECT_EQ(v > 2 && records > 1024 ? HE_BADFILE : 0, error(versions.file()));
        }
        if (v > 1 && v < 6) {
            versions.last = 0x100000;
            EXPECT_EQ(HE_BADFILE, error(versions.file()));
            versions.last = 0xFFFF;
            item = take(versions.file());
            ASSERT_NE(nullptr, item);
            EXPECT_EQ(0x10000U, item->getVersionSlots());
            drop(item);
        }
    }
    OldMail many(6);
    many.others.resize(0x100000 - 3, "s");
    MailItem* item = take(many.file());
    EXPECT_STREQ("<>", item->getString(2));
    drop(item);
}

TEST_F(Legacy, refusesOrRepairsDamage) {
    const char* const corrupted = "Corrupted string";
    const char* const refused = "refused";
    struct Row {
        const char* what;
        int from, to;
        void (*change)(OldMail&);
        const char* failText = nullptr; // or "refused"
    };
    const Row rows[] = {
        {"no sender name", 0, 6,
         [](OldMail& m) { m.rcpts.clear(), m.original = 0, m.front.pop_back(); }, refused},
        {"an address missing", 0, 6, [](OldMail& m) { m.front.pop_back(); }, refused},
        {"more in the envelope than there are", 2, 6,
         [](OldMail& m) { m.original = 2, m.link("x@y"); }, refused},
        {"more in the envelope than can be", 2, 6, [](OldMail& m) { m.original = 0xFFFFFFFF; },
         refused},
        {"path", 5, 6, [](OldMail& m) { m.front[0] = "from"; }, refused},
        {"authenticated path", 5, 6, [](OldMail& m) { m.front[1] = ""; }, refused},
        {"address", 5, 6, [](OldMail& m) { m.rcpts[0].address = "user"; }, refused},
        {"failure text", 0, 6, [](OldMail& m) { m.rcpts[0].fail = 99; }, corrupted},
        {"the last text", 0, 6, [](OldMail& m) { m.rcpts[0].fail = m.link("x"); }, "x"},
        {"behind it", 0, 6, [](OldMail& m) { m.rcpts[0].fail = m.link("x") + 1; }, corrupted},
        {"sender name", 0, 6, [](OldMail& m) { m.front[2] = ""; }},
        {"folder", 0, 6, [](OldMail& m) { m.rcpts[0].mbox = 99; }},
        {"negative folder", 0, 6, [](OldMail& m) { m.rcpts[0].mbox = -5; }},
        {"lowest folder", 0, 6, [](OldMail& m) { m.rcpts[0].mbox = INT32_MIN; }},
        {"heads", 0, 6,
         [](OldMail& m) {
             m.info = m.params = m.rcpts[0].actions = m.rcpts[0].local = 0xFFFFFFFF;
         }},
        {"message information without a colon", 0, 6,
         [](OldMail& m) { m.info = m.infoString(m.link("0000000;0000:01:x"), 0, 2, "y"); }},
        {"short message information", 0, 6, [](OldMail& m) { m.info = m.link("0000000:0000:01"); }},
        {"message information in a circle", 0, 6,
         [](OldMail& m) { m.info = m.infoString(m.version < 2 ? 4 : 3, 0, 1, "x"); }},
        {"actions in a circle", 0, 5,
         [](OldMail& m) { m.rcpts[0].actions = m.action(m.version < 2 ? 4 : 3, "00:F"); }},
        {"action without a colon", 0, 5,
         [](OldMail& m) { m.rcpts[0].actions = m.action(m.link("0000000-00:F"), "00:G"); }},
        {"short action", 0, 5,
         [](OldMail& m) { m.rcpts[0].actions = m.action(m.action(0, ""), "00"); }},
        {"parameter without a colon", 3, 6, [](OldMail& m) { m.params = m.link("0000;a=b"); }},
        {"parameter in a circle", 3, 6, [](OldMail& m) { m.params = m.param(3, "=b"); }},
    };
    for (const Row& row : rows) {
        for (int v = row.from; v <= row.to; ++v) {
            SCOPED_TRACE(std::string(row.what) + " " + std::to_string(v));
            OldMail mail(v);
            mail.add("a@x");
            row.change(mail);
            MailItem* item = take(mail.file());
            if (row.failText == refused) {
                EXPECT_EQ(HE_BADFILE, errorOf(item));
                continue;
            }
            ASSERT_NE(nullptr, item);
            for (int load = 0; load < 2; ++load) {
                if (row.failText != nullptr) {
                    EXPECT_STREQ(row.failText, failText(item, 0));
                } else { // nothing is left of it
                    EXPECT_EQ(Strings({"INBOX"}), mboxes(item, 0));
                    EXPECT_EQ("", messageSlots(item, 0));
                    EXPECT_EQ(Strings(), params(item));
                    EXPECT_EQ(1, item->getRCPTCount());
                }
                item = reload(item);
            }
            drop(item);
        }
    }
}

TEST_F(Legacy, repairsATableWithoutItsEnd) {
    for (int v = 0; v < versionCount; ++v) {
        OldMail mail(v);
        mail.add("a@x");
        mail.add("b@x").fail = 99;
        mail.rcpts[0].fail = mail.link("cut off");
        std::string file = mail.file();
        file.pop_back();
        MailItem* item = take(file);
        ASSERT_NE(nullptr, item);
        EXPECT_STREQ("Corrupted string", failText(item, 0));
        EXPECT_EQ(failText(item, 0), failText(item, 1)); // one text for both
        drop(item);
    }
}

// An address without an at sign passes in the older versions; the present one could not load it.
TEST_F(Legacy, keepsTheOldFileWhereTheNewOneCouldNotBeRead) {
    for (int v = 0; v < 5; ++v) {
        OldMail mail(v);
        mail.front[1] = "";
        mail.add("local");
        MailItem* item = take(mail.file());
        ASSERT_NE(nullptr, item);
        EXPECT_STREQ("local", item->getRCPT(0));
        for (int save = 0; save < 2; ++save) {
            EXPECT_EQ(HE_BADFILE, errorOf(item->saveToFile(nullptr)));
            EXPECT_EQ(mail.file(), stateOf(item));
        }
        drop(item);
    }
}

// Every recipient leads to one long text, or to one long chain: neither grows the mail, or the time
// it takes, by the product of the two.
TEST_F(Legacy, doesNotMultiplyWhatIsShared) {
    constexpr std::size_t longText = 2'000'000;
    OldMail mail(5);
    for (int r = 0; r < 65535; ++r) {
        mail.add("r@x");
    }
    const std::uint32_t folder = mail.action(0, "00:" + std::string(longText, 'f'));
    const std::uint32_t failure = mail.link(std::string(longText, 'e'));
    const std::uint32_t first = mail.link(std::string(longText, 'm'));
    for (int i = 0; i < 5000; ++i) {
        mail.info = mail.infoString(mail.info, 0, static_cast<unsigned>(i) & 0xFF, "text");
    }
    for (OldRecipient& rcpt : mail.rcpts) {
        rcpt.actions = &rcpt == &mail.rcpts[0] ? folder : failure; // no colon there
        rcpt.fail = failure;
        rcpt.mbox = static_cast<std::int32_t>(first);
    }
    mail.rcpts[1].actions = mail.rcpts[2].actions = mail.rcpts[3].actions = folder;
    MailItem* item = take(mail.file());
    ASSERT_NE(nullptr, item);
    const std::string slotsOfLast = messageSlots(item, 65534);
    EXPECT_EQ(256, std::count(slotsOfLast.begin(), slotsOfLast.end(), '='));
    std::size_t total = 0;
    int count = 0;
    for (; item->getString(count) != nullptr; ++count) {
        total += std::char_traits<char>::length(item->getString(count));
    }
    EXPECT_LT(total, 6 * longText);
    EXPECT_LT(count, 70'000);
    drop(item);
}

} // namespace
