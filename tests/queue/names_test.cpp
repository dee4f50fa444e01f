// File names, and the removal of a mail's files by its id alone.

#include "tests/queue/queue_fixture.h"

#include <cstdlib>
#include <filesystem>

namespace {

using Names = AttachedTest;

TEST_F(Names, followTheIdInATreeAndFlat) {
    struct Row {
        int id;
        unsigned version;
        const char* data;
        const char* flatData;
    };
    const Row rows[] = {
        {0x3A1F07, 0, "3A/D1F07.00", "D3A1F07.00"},
        {0x3A1F07, 0xFF, "3A/D1F07.FF", "D3A1F07.FF"},
        {0x3A1F07, 0x100, "3A/D1F07.0100", "D3A1F07.0100"},
        {0x3A1F07, 0xFFFF, "3A/D1F07.FFFF", "D3A1F07.FFFF"},
        {0x3A1F07, 0x10000, "3A/D1F07.00010000", "D3A1F07.00010000"},
        {0x000001, 0, "00/D0001.00", "D000001.00"},
        {0xFFFFFF, 0xFFFFFFFF, "FF/DFFFF.FFFFFFFF", "DFFFFFF.FFFFFFFF"},
        {-1, 0xFFFFFFFF, "FFFF/DFFFF.FFFFFFFF", "DFFFFFFFF.FFFFFFFF"},
    };
    MailQueue flat;
    for (const Row& row : rows) {
        EXPECT_EQ(root + "/" + row.data, queue.getDataFileName(row.id, row.version));
        EXPECT_STREQ(row.flatData, flat.getDataFileName(row.id, row.version));
    }
    EXPECT_EQ(root + "/3A/S1F07", queue.getStateFileName(0x3A1F07));
    EXPECT_STREQ("S3A1F07", flat.getStateFileName(0x3A1F07));
    EXPECT_EQ(root + "/3A/M1F07.assoc", queue.getAssociatedFileName(0x3A1F07, 'M'));
    EXPECT_STREQ("M3A1F07.assoc", flat.getAssociatedFileName(0x3A1F07, 'M'));
}

TEST_F(Names, aTemporaryNameIsFree) {
    std::srand(7);
    const std::string first = queue.generateTemporaryFileName(0x12);
    EXPECT_EQ((root + "/00/D0012.").size() + 11, first.size());
    EXPECT_TRUE(first.ends_with(".mvxtmp")) << first;
    support::writeFile(first, "");
    std::srand(7);
    EXPECT_NE(first, queue.generateTemporaryFileName(0x12));
}

TEST_F(Names, removeMailFilesTakesWhatIsThereAndLeavesMemoryAlone) {
    MailItem* item = queue.newMail();
    ASSERT_NE(nullptr, item);
    const std::string before = queue.getAssociatedFileName(1, 'P');
    Thread::setLastError(HE_VERSION);
    EXPECT_EQ(0, queue.removeMailFiles(item->getId())); // no data file yet
    EXPECT_EQ(HE_VERSION, Thread::getLastError());
    EXPECT_FALSE(std::filesystem::exists(statePath(item->getId())));
    EXPECT_EQ(before, queue.getAssociatedFileName(1, 'P'));
    EXPECT_EQ(item, queue.getFirst());
    EXPECT_EQ(0, queue.removeMail(item));

    const int id = submit(queue);
    EXPECT_EQ(0, queue.removeMailFiles(id));
    EXPECT_FALSE(std::filesystem::exists(statePath(id)));
    EXPECT_FALSE(std::filesystem::exists(dataPath(id)));
}

} // namespace
