// The tree: made, found, refused, and made by several at once.

#include "common/thread/foreign_thread.h"
#include "tests/queue/queue_fixture.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

namespace {

class Directory : public QueueTest {
protected:
    void refuse(const std::string& path, int entryCount, unsigned error) {
        MailQueue queue;
        EXPECT_EQ(-1, queue.setDirectory(path.c_str(), entryCount));
        EXPECT_EQ(error, Thread::getLastError()) << Thread::getErrorMessage();
        EXPECT_EQ(nullptr, queue.newMail());
    }
    std::string token() const { return support::readFile(root + "/.mql_auth"); }
};

TEST_F(Directory, hasTheLargestPowerOfTwoOfEntryDirectories) {
    const int rows[][2] = {{1, 1},     {2, 2},     {3, 2},     {64, 64},     {127, 64},
                           {128, 128}, {255, 128}, {256, 256}, {100000, 256}};
    for (const auto& [entryCount, directories] : rows) {
        const support::TempDir own;
        MailQueue queue;
        ASSERT_EQ(0, queue.setDirectory((own / "q").c_str(), entryCount));
        EXPECT_EQ(directories - 1, queue.getLastEntry());
        Strings expected = {".mql_auth", "locals/"};
        for (unsigned i = 0; i < static_cast<unsigned>(directories); ++i) {
            expected.push_back(hex(i, 2) + "/");
        }
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(expected, listTree(own / "q"));
    }
}

TEST_F(Directory, keepsWhatItFinds) {
    MailQueue first;
    attach(first, 4);
    const std::string written = token();
    const std::string form = "MQL:00000000-xxxxxxxx-xxxx-xxxx-xxxx\r\n";
    ASSERT_EQ(form.size(), written.size());
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool digit =
            (written[i] >= '0' && written[i] <= '9') || (written[i] >= 'A' && written[i] <= 'F');
        EXPECT_TRUE(form[i] == 'x' ? digit : form[i] == written[i]) << written;
    }
    EXPECT_EQ(written, std::string(first.getAuthToken()) + "\r\n");
    unsigned sum[4] = {};
    for (std::size_t i = 0; i < root.size(); ++i) {
        sum[i % 4] = (sum[i % 4] + static_cast<unsigned char>(root[i])) & 0xFF;
    }
    EXPECT_EQ(hex(sum[0], 2) + hex(sum[1], 2) + hex(sum[2], 2) + hex(sum[3], 2),
              written.substr(13, 8));
    EXPECT_EQ(hex(static_cast<unsigned>(::getpid()) & 0xFFFF, 4), written.substr(22, 4));

    const auto before = listTree(root);
    for (const int entryCount : {4, 0, 1}) { // a lower count leaves the other directories
        MailQueue again;
        attach(again, entryCount);
        EXPECT_EQ(before, listTree(root));
        EXPECT_STREQ(first.getAuthToken(), again.getAuthToken());
    }
    EXPECT_EQ(written, token());
    attach(first, 8); // and once more on the same object
    EXPECT_EQ(7, first.getLastEntry());
    EXPECT_EQ(before.size() + 4, listTree(root).size());
}

TEST_F(Directory, makesWhatIsMissingAmongManyOtherFiles) {
    MailQueue queue;
    attach(queue, 4);
    for (int i = 0; i < 1300; ++i) { // more than one look at the directory takes in
        support::writeFile(root + "/a file that does not belong here " + std::to_string(i), "");
    }
    fs::remove(root + "/02");
    fs::remove(root + "/locals");
    fs::remove(root + "/03");
    fs::create_directory(root + "/elsewhere");
    fs::create_directory_symlink(root + "/elsewhere", root + "/03");
    attach(queue, 4);
    EXPECT_TRUE(fs::is_directory(root + "/02"));
    EXPECT_TRUE(fs::is_directory(root + "/locals"));
    EXPECT_TRUE(fs::is_symlink(root + "/03"));
}

TEST_F(Directory, refusesWhatIsNoQueue) {
    MailQueue none;
    EXPECT_EQ(HE_INVAL, errorOf(none.setDirectory(nullptr, 1)));

    refuse(root, 0, HE_NOENT);
    EXPECT_FALSE(fs::exists(root));
    refuse(root + "/deeper", 1, HE_NOENT); // one level is made, not two
    support::writeFile(root, "");
    refuse(root, 0, HE_NOTDIR); // the command's tests tell of more that is in the way
    fs::remove(root);
    fs::create_directory(root);
    fs::create_symlink("nowhere", root + "/00");
    refuse(root, 1, HE_EEXISTS);
    fs::remove_all(root);
    refuse(root + std::string(5000, 'x'), 1, HE_NAMETOOLONG);
}

TEST_F(Directory, readsTheFirstLineOfTheTokenFile) {
    struct Row {
        const char* content;
        const char* token; // null where it is refused
    };
    const Row rows[] = {
        {"MQL:", "MQL:"}, {"MQL:\r\n", "MQL:"},     {"MQL:abc\r\nmore\r\n", "MQL:abc"},
        {"MQL", nullptr}, {"mql:abc\r\n", nullptr}, {"\r\nMQL:abc\r\n", nullptr},
        {"", nullptr}};
    MailQueue queue;
    attach(queue);
    for (const Row& row : rows) {
        support::writeFile(root + "/.mql_auth", row.content);
        if (row.token == nullptr) {
            refuse(root, 1, HE_INVALOP);
        } else {
            attach(queue);
            EXPECT_STREQ(row.token, queue.getAuthToken());
        }
        EXPECT_EQ(row.content, token());
    }
    fs::remove(root + "/.mql_auth");
    refuse(root, 0, HE_NOENT);
    EXPECT_FALSE(fs::exists(root + "/.mql_auth"));
    fs::create_symlink("elsewhere", root + "/.mql_auth"); // made where the link leads
    attach(queue);
    EXPECT_TRUE(fs::is_regular_file(root + "/elsewhere"));
}

TEST_F(Directory, waitsForATokenThatIsJustBeingWritten) {
    MailQueue queue;
    attach(queue);
    support::writeFile(root + "/.mql_auth", "");
    std::thread writer([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        support::writeFile(root + "/.mql_auth", "MQL:late\r\n");
    });
    attach(queue);
    writer.join();
    EXPECT_STREQ("MQL:late", queue.getAuthToken());
}

TEST_F(Directory, isMadeOnceByManyAtATime) {
    for (int round = 0; round < 20; ++round) {
        constexpr int count = 4;
        std::string tokens[count];
        std::vector<std::thread> threads;
        for (std::string& seen : tokens) {
            threads.emplace_back([this, &seen] {
                const ForeignThread thread;
                MailQueue queue;
                const int result = queue.setDirectory(root.c_str(), 16);
                EXPECT_EQ(0, result) << Thread::getErrorMessage();
                seen = result == 0 ? queue.getAuthToken() : "";
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (const std::string& seen : tokens) {
            EXPECT_EQ(token(), seen + "\r\n");
        }
        EXPECT_EQ(18U, listTree(root).size());
        fs::remove_all(root);
    }
}

} // namespace
