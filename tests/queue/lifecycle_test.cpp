// The life of a mail: the legal states on the disk step by step, hand-over, failures at each step,
// binding and removal, and what a shepherd hears.

#include "queue/mail_shepherd.h"
#include "queue/random_range.h"
#include "tests/queue/queue_fixture.h"
#include "tests/support/size_limit.h"

#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

namespace fs = std::filesystem;

namespace {

class Lifecycle : public AttachedTest {
protected:
    Strings mailFiles() const {
        Strings files;
        for (const std::string& name : listTree(root)) {
            if (name != ".mql_auth" && !name.ends_with("/")) {
                files.push_back(name + ":" + std::to_string(fs::file_size(root + "/" + name)));
            }
        }
        return files;
    }
};

class Shepherd : public MailShepherd {
public:
    bool isProcessing() const override { return processing; }
    void bindNotification(MailItem* item) override { heard.push_back("bind " + name(item)); }
    void bindErrorNotification(unsigned id) override { heard.push_back("error " + hex(id, 6)); }
    bool unbindNotification(MailItem* item, bool received) override {
        heard.push_back((received ? "received " : "unbind ") + name(item));
        return drop;
    }
    static std::string name(MailItem* item) { return hex(static_cast<unsigned>(item->getId()), 6); }
    Strings take() { return std::exchange(heard, {}); }

    bool processing = true;
    bool drop = false;
    Strings heard;
};

TEST_F(Lifecycle, leavesTheLegalStatesOnTheDisk) {
    const LogCapture log;
    MailItem* item = queue.newMail();
    ASSERT_NE(nullptr, item);
    const int id = item->getId();
    const std::string digits = hex(static_cast<unsigned>(id), 4);
    const auto file = [&](char family) { return std::string("00/") + family + digits; };
    EXPECT_EQ(MailItem::NEW_MAIL, item->getState());
    EXPECT_EQ(Strings{file('S') + ":0"}, mailFiles());
    EXPECT_EQ(HE_INVALOP, errorOf(item->addRCPT("early@x")));
    EXPECT_EQ(nullptr, item->endRCPT(&queue));

    EXPECT_EQ(0, item->setRPath("from@x", nullptr, "me"));
    EXPECT_EQ(-1, item->setRPath("from@x", nullptr, nullptr));
    EXPECT_EQ(MailItem::ADD_RCPTS, item->getState());
    EXPECT_EQ(0, item->addRCPT("a@x"));
    EXPECT_EQ(1, item->addRCPT("a@x"));
    EXPECT_STREQ("<>", item->getString(1));
    EXPECT_STREQ("me", item->getString(2));
    char name[256];
    int size = sizeof name;
    EXPECT_EQ(HE_INVALOP, errorOf(item->getDataFileName(&queue, 0, name, size)));
    EXPECT_EQ(-1, item->endData(&queue, MailQueue::SourceLocal, nullptr));

    IncomingStream* stream = item->endRCPT(&queue);
    ASSERT_NE(nullptr, stream);
    EXPECT_EQ((Strings{file('D') + ".00:0", file('S') + ":0"}), mailFiles());
    EXPECT_EQ(0, item->getDataFileName(&queue, 0, name, size));
    EXPECT_EQ(dataPath(id), name);
    EXPECT_EQ(static_cast<int>(dataPath(id).size()), size);
    // No room for the zero.
    EXPECT_EQ(HE_FBIG, errorOf(item->getDataFileName(&queue, 0, name, size)));
    EXPECT_EQ(HE_INVAL, errorOf(item->getDataFileName(&queue, 1, name, size)));
    const std::unique_ptr<char[]> stateName(item->getStateFileName(&queue));
    EXPECT_EQ(statePath(id), stateName.get());

    EXPECT_EQ(4, stream->writeAll("body", 4));
    EXPECT_EQ(0U, fs::file_size(dataPath(id))); // still in the buffer
    EXPECT_EQ(0, queue.endData(item, MailQueue::SourceLocal, stream));
    EXPECT_EQ(nullptr, item);
    EXPECT_EQ(0U, queue.getMarkerError());
    Stream::release(stream);
    EXPECT_EQ((Strings{file('D') + ".00:6", file('S') + ":767", "locals/00" + digits + ":0"}),
              mailFiles());
    EXPECT_EQ((Strings{"I Set mail state to NEW MAIL", "I Set mail state to ADD RCPTs",
                       "I Set mail state to GET DATA", "I Set mail state to RECEIVED"}),
              LogCapture::lines);
    EXPECT_EQ(0, queue.endData(item, MailQueue::SourceLocal, nullptr)); // null by now
    EXPECT_EQ(0, queue.removeMail(item));
    EXPECT_EQ(0, queue.unbindMail(item, false));
    EXPECT_EQ(-1, queue.rawUnbindMail(nullptr, false));
}

TEST_F(Lifecycle, takesAMailWithoutRecipientsOrStream) {
    MailItem* item = queue.newMail();
    const int id = item->getId();
    EXPECT_EQ(0, item->setRPath(nullptr, nullptr, nullptr));
    IncomingStream* stream = item->endRCPT(&queue);
    EXPECT_EQ(0, queue.endData(item, MailQueue::SourceRaw, nullptr));
    Stream::release(stream);
    EXPECT_FALSE(fs::exists(markerPath(id)));
    item = bind(id);
    ASSERT_NE(nullptr, item);
    EXPECT_EQ(MailItem::RAW_RECEIVED, item->getState());
    EXPECT_EQ(0, item->getRCPTCount());
    EXPECT_EQ(-1, item->getVersionField<int>(0, RecordFormat::headerSize));
    queue.unbindMail(item, false);

    // Without a queue no file is touched.
    item = queue.newMail();
    item->setRPath(nullptr, nullptr, nullptr);
    EXPECT_EQ(nullptr, item->endRCPT(nullptr));
    EXPECT_EQ(MailItem::GET_DATA, item->getState());
    EXPECT_EQ(0, item->endData(nullptr, MailQueue::SourceLocal, nullptr));
    EXPECT_EQ(MailItem::RECEIVED, item->getState());
    EXPECT_EQ(0U, fs::file_size(statePath(item->getId())));
    queue.removeMail(item);
}

TEST_F(Lifecycle, needsAnEntryDirectoryAndAFreeId) {
    MailQueue unattached;
    EXPECT_EQ(HE_INVALOP, errorOf(unattached.newMail()));
    MailQueue reader;
    attach(reader, 0);
    EXPECT_EQ(HE_INVALOP, errorOf(reader.newMail()));

    std::srand(3);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(0, randomInRange(0));
        support::writeFile(statePath(randomInRange(0xFFFF)), "");
    }
    const auto before = listTree(root);
    std::srand(3);
    {
        const LogCapture log;
        EXPECT_EQ(HE_EEXISTS, errorOf(queue.newMail()));
        ASSERT_EQ(16U, LogCapture::lines.size());
        const std::string start = "W Unable to add file '" + root + "/00/S";
        EXPECT_TRUE(LogCapture::lines[0].starts_with(start)) << LogCapture::lines[0];
        EXPECT_TRUE(
            LogCapture::lines[0].ends_with("' to incoming queue (File exists), 15 more retries"));
        EXPECT_TRUE(LogCapture::lines[15].ends_with(", 0 more retries"));
    }
    EXPECT_EQ(before, listTree(root));
    std::srand(3);
    fs::remove_all(root + "/00");
    EXPECT_EQ(HE_NOENT, errorOf(queue.newMail()));
    EXPECT_EQ(nullptr, queue.getFirst());
}

TEST_F(Lifecycle, refusesAnIdThatIsStillInMemory) {
    std::srand(5);
    MailItem* item = queue.newMail();
    fs::remove(statePath(item->getId())); // by somebody else
    support::writeFile(dataPath(item->getId()), "of the mail in memory");
    std::srand(5);
    EXPECT_EQ(HE_EEXISTS, errorOf(queue.newMail()));
    EXPECT_FALSE(fs::exists(statePath(item->getId())));
    EXPECT_TRUE(fs::exists(dataPath(item->getId())));
    EXPECT_EQ(item, queue.getFirst());
    queue.removeMail(item);
}

TEST_F(Lifecycle, comesBackFromADataFileThatCannotBeMade) {
    MailItem* item = queue.newMail();
    item->setRPath("a@x", nullptr, nullptr);
    item->addRCPT("b@x");
    support::writeFile(dataPath(item->getId()), "foreign");
    EXPECT_EQ(HE_EEXISTS, errorOf(item->endRCPT(&queue)));
    EXPECT_EQ(MailItem::ADD_RCPTS, item->getState());
    EXPECT_FALSE(item->hasRecord());
    EXPECT_EQ("foreign", support::readFile(dataPath(item->getId())));
    fs::remove(dataPath(item->getId()));
    IncomingStream* stream = item->endRCPT(&queue);
    EXPECT_NE(nullptr, stream);
    queue.removeMail(item);
    Stream::release(stream);
    EXPECT_TRUE(mailFiles().empty());
}

TEST_F(Lifecycle, keepsTheMailWithItsCallerWhenTheHandOverFails) {
    // Limits that the state file, and that data and state file, do not fit.
    for (const rlim_t limit : {rlim_t{700}, rlim_t{1}}) {
        IncomingStream* stream = nullptr;
        MailItem* item = fill(queue, {"a@x"}, "data\r\n", stream);
        const int id = item->getId();
        {
            const support::SizeLimit full(limit);
            EXPECT_EQ(HE_FBIG, errorOf(queue.endData(item, MailQueue::SourceLocal, stream)));
        }
        ASSERT_NE(nullptr, item);
        EXPECT_EQ(MailItem::GET_DATA, item->getState());
        EXPECT_FALSE(fs::exists(markerPath(id)));
        if (limit > 1) { // the state file is written again from its start
            EXPECT_EQ(0, queue.endData(item, MailQueue::SourceLocal, stream));
            EXPECT_EQ(10 + 96 + 512 + 64 + 7 + 7 + 3 + 4, fs::file_size(statePath(id)));
            item = bind(id);
        } else { // the data is lost for good
            EXPECT_EQ(-1, queue.endData(item, MailQueue::SourceLocal, stream));
        }
        Stream::release(stream);
        EXPECT_EQ(0, queue.removeMail(item));
        EXPECT_FALSE(fs::exists(statePath(id)));
        EXPECT_FALSE(fs::exists(dataPath(id)));
    }
}

TEST_F(Lifecycle, refusesToHandOverWhatWasRemoved) {
    for (const bool data : {true, false}) {
        IncomingStream* stream = nullptr;
        MailItem* item = fill(queue, {"a@x"}, "x", stream);
        fs::remove(data ? dataPath(item->getId()) : statePath(item->getId()));
        EXPECT_EQ(HE_NOENT, errorOf(queue.endData(item, MailQueue::SourceLocal, stream)));
        ASSERT_NE(nullptr, item);
        queue.removeMail(item);
        Stream::release(stream);
        EXPECT_EQ(0, queue.getQueueSize()); // it was never counted
    }
    EXPECT_TRUE(mailFiles().empty());
}

TEST_F(Lifecycle, tellsOfAMarkerThatCouldNotBeMade) {
    fs::remove(root + "/locals");
    const int lost = submit(queue); // the result is 0 all the same
    EXPECT_EQ(HE_NOENT, queue.getMarkerError());
    EXPECT_FALSE(queue.isHandedOver());
    EXPECT_EQ(HE_NOENT, Thread::getLastError());
    queue.removeMailFiles(lost);
    EXPECT_TRUE(mailFiles().empty());
    fs::create_directory(root + "/locals");
    submit(queue);
    EXPECT_EQ(0U, queue.getMarkerError());
    EXPECT_TRUE(queue.isHandedOver());
    IncomingStream* stream = nullptr;
    MailItem* item = fill(queue, {"a@x"}, "x", stream);
    EXPECT_TRUE(queue.isHandedOver()); // still the mail before
    fs::remove(dataPath(item->getId()));
    EXPECT_EQ(-1, queue.endData(item, MailQueue::SourceLocal, stream));
    EXPECT_FALSE(queue.isHandedOver());
    queue.removeMail(item);
    Stream::release(stream);
    submit(queue, {"a@b"}, "x", MailQueue::SourceRaw); // has no marker
    EXPECT_FALSE(queue.isHandedOver());
}

TEST_F(Lifecycle, bindsFromTheDiskAndTellsBadFiles) {
    const int id = submit(queue);
    MailItem* item = bind(id);
    queue.rawUnbindMail(item, true);
    EXPECT_EQ(nullptr, queue.getFirst());
    bool badFile = true;
    EXPECT_EQ(nullptr, queue.rawBindMail(id, 0, true, badFile));
    EXPECT_FALSE(badFile);
    item = bind(id);
    ASSERT_NE(nullptr, item);
    EXPECT_EQ(item, queue.getFirst());
    EXPECT_EQ(MailItem::RECEIVED, item->getState());
    queue.unbindMail(item, false);
    EXPECT_EQ(nullptr, item);
    item = queue.rawBindMail(id, 0, true, badFile); // in memory, its file opened again
    ASSERT_NE(nullptr, item);
    EXPECT_EQ(0, item->saveToFile(nullptr));
    item->setState(MailItem::PROCESSING);
    EXPECT_EQ(0, queue.rawUnbindMail(item, true)); // stays while it is being processed
    EXPECT_EQ(item, queue.getFirst());
    item = bind(id);
    EXPECT_EQ(HE_INVALOP, errorOf(queue.removeMail(item)));
    EXPECT_TRUE(fs::exists(statePath(id)));

    support::writeFile(statePath(1), "");
    fs::create_directory(statePath(2));
    const std::pair<int, unsigned> rows[] = {{1, HE_SIGNATURE}, {2, EISDIR}, {3, HE_NOENT}};
    for (const auto& [bad, error] : rows) {
        EXPECT_EQ(nullptr, queue.bindMail(bad, 0, false, badFile));
        EXPECT_TRUE(badFile);
        EXPECT_EQ(error, Thread::getLastError());
    }
    // No descriptor left is no fault of the file.
    rlimit old{};
    ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &old));
    const rlimit none = {0, old.rlim_max};
    const int other = submit(queue);
    item = bind(other);
    queue.rawUnbindMail(item, true);
    ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
    EXPECT_EQ(nullptr, queue.bindMail(other, 0, false, badFile));
    EXPECT_FALSE(badFile);
    EXPECT_EQ(HE_MFILE, Thread::getLastError());
    EXPECT_EQ(nullptr, bind(id)); // in memory, and cannot be opened
    ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &old));
    item = bind(id);
    EXPECT_NE(nullptr, item);
}

TEST_F(Lifecycle, removesAllFilesOfAMail) {
    const int id = submit(queue);
    MailItem* item = bind(id);
    for (unsigned version = 10; version < 20; ++version) { // also past the version records
        support::writeFile(queue.getDataFileName(id, version), "");
    }
    for (const char family : {'M', 'P', 'Z'}) {
        const std::string associated = queue.getAssociatedFileName(id, family);
        fs::create_directory(associated);
        support::writeFile(associated + "/FFFFFF.01", "");
    }
    fs::remove(markerPath(id));
    fs::remove(queue.getDataFileName(id, 17)); // ends the run
    const LogCapture log;
    EXPECT_EQ(0, queue.removeMail(item));
    EXPECT_EQ(nullptr, item);
    const std::string mail = "00/D" + hex(static_cast<unsigned>(id), 4);
    EXPECT_EQ(
        (Strings{mail + ".12:0", mail + ".13:0", "00/Z" + mail.substr(4) + ".assoc/FFFFFF.01:0"}),
        mailFiles());
    EXPECT_EQ("I Set mail state to REMOVED", LogCapture::lines.at(0));
    EXPECT_EQ(0, queue.getQueueSize());
    EXPECT_EQ(nullptr, bind(id));
}

TEST_F(Lifecycle, logsStatesAndRefusesUnknownOnes) {
    const LogCapture log;
    MailItem* item = queue.newMail();
    item->setRPath(nullptr, nullptr, nullptr);
    item->addRCPT("a@x");
    item->setRCPTState(0, MailItem::SENT); // no record yet
    item->setRCPTDataVersion(0, 1);
    item->endRCPT(nullptr);
    LogCapture::lines.clear();
    item->setRCPTState(0, 3);
    item->setRCPTState(0, 50);
    item->setRCPTState(0, 200);
    item->setRCPTDataVersion(0, 1);
    item->setState(50);
    item->setState(128);
    EXPECT_EQ((Strings{"I Set recipient <a@x> state to PROCESSED - LOCAL",
                       "I Set recipient <a@x> state to null", "E Invalid recipient state used: 200",
                       "I Set recipient <a@x> data version to 1", "I Set mail state to null",
                       "E Invalid mail state used: 128"}),
              LogCapture::lines);
    EXPECT_STREQ("QUARANTINED", MailItem::rcptStateCodes[14]);
    EXPECT_STREQ("GET DATA", MailItem::globalStateCodes[66]);
    EXPECT_STREQ("IOERROR", MailItem::rcptStateCodes[98]);
    queue.removeMail(item);
}

TEST_F(Lifecycle, tellsItsShepherd) {
    Shepherd shepherd;
    MailQueue server(&shepherd);
    attach(server);
    shepherd.processing = false;
    EXPECT_EQ(HE_NOPROCESSING, errorOf(server.newMail()));
    shepherd.processing = true;

    const int id = submit(server);
    const std::string name = hex(static_cast<unsigned>(id), 6);
    EXPECT_EQ(Strings{"received " + name}, shepherd.take());
    EXPECT_FALSE(fs::exists(markerPath(id)));
    EXPECT_NE(nullptr, server.getFirst());
    const int raw = submit(server, {"a@b"}, "x", MailQueue::SourceRaw);
    EXPECT_TRUE(shepherd.take().empty());

    bool badFile = false;
    MailItem* item = server.bindMail(id, 0, true, badFile);
    server.unbindMail(item, true);
    item = server.bindMail(raw, 0, true, badFile); // nobody hears of a raw one
    server.removeMail(item);
    EXPECT_EQ(nullptr, server.bindMail(5, 0, true, badFile)); // nor of a bad file
    item = server.bindMail(id, 0, false, badFile);
    EXPECT_EQ(HE_TIMEOUT, errorOf(server.bindMail(id, 0, true, badFile))); // busy
    server.removeMail(item);
    EXPECT_EQ((Strings{"bind " + name, "unbind " + name, "error " + name, "unbind " + name}),
              shepherd.take());
    EXPECT_EQ(0, server.getQueueSize());
    EXPECT_EQ(HE_INVALOP, errorOf(server.removeMailFiles(id)));

    shepherd.drop = true; // what is received leaves memory
    const int dropped = submit(server);
    EXPECT_EQ(nullptr, server.getFirst());
    EXPECT_EQ(0, server.getQueueSize());
    EXPECT_TRUE(fs::exists(statePath(dropped)));
}

} // namespace
