// Listing, making and removing directories.

#include "common/error.h"
#include "common/hexcept.h"
#include "common/stream/directory.h"
#include "common/thread/thread.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// The names that a search reports, without the path, sorted.
Names list(Dir& directory, const std::string& path, const char* pattern, int flags) {
    Names names;
    for (const File* file = directory.findFirst(pattern, flags); file != nullptr;
         file = directory.findNext()) {
        const std::string name = file->getName();
        names.push_back(path.empty() ? name : name.substr(path.size() + 1));
    }
    std::sort(names.begin(), names.end());
    return names;
}

void makeTree(const support::TempDir& root) {
    for (const char* name : {"a", "a/deep", "b", ".hidden"}) {
        fs::create_directory(root / name);
    }
    for (const char* name :
         {"f.txt", "g", "a/f.txt", "a/deep/x.txt", "b/y", ".profile", ".hidden/z", "a/.dot"}) {
        support::writeFile(root / name, name);
    }
    fs::permissions(root / "g", fs::perms::owner_read);
}

} // namespace

TEST(Directory, FiltersAndPatterns) {
    const support::TempDir root;
    makeTree(root);
    fs::create_symlink("..", root / "b/loop");
    const struct {
        const char* pattern;
        int flags;
        Names names;
    } rows[] = {
        {nullptr, 0, {"a", "b", "f.txt", "g"}},
        {nullptr, 16, {"f.txt", "g"}},
        {nullptr, 32, {"a", "b"}},
        {nullptr, 2, {"a", "b", "f.txt"}},
        {nullptr, 8 | 16, {".profile", "f.txt", "g"}},
        {nullptr, 8 | 32, {".", "..", ".hidden", "a", "b"}},
        {"*.txt", 0, {"f.txt"}},
        {"[ag]", 0, {"a", "g"}},
        {nullptr, 128 | 16, {"a/deep/x.txt", "a/f.txt", "b/y", "f.txt", "g"}},
        {nullptr, 128 | 32, {"a", "a/deep", "b", "b/loop"}},
        {"*.txt", 128, {"a/deep/x.txt", "a/f.txt", "f.txt"}},
        {nullptr,
         128 | 16 | 8,
         {".hidden/z", ".profile", "a/.dot", "a/deep/x.txt", "a/f.txt", "b/y", "f.txt", "g"}},
    };
    Dir directory(root.path().c_str());
    for (const auto& row : rows) {
        EXPECT_EQ(list(directory, root.path(), row.pattern, row.flags), row.names)
            << (row.pattern != nullptr ? row.pattern : "") << ' ' << row.flags;
    }
}

TEST(Directory, AnEntryCarriesItsAttributesAndOnlyDirectoriesAreNothing) {
    const support::TempDir root;
    fs::create_directory(root / "only");
    Dir directory(root.path().c_str());
    EXPECT_EQ(directory.findFirst(nullptr, Dir::ExcludeDirectories), nullptr);
    support::writeFile(root / "f", "12345");
    const File* file = directory.findFirst("f", 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->getSize(), 5);
    EXPECT_EQ(std::string(file->getName()), root / "f");
    EXPECT_EQ(directory.findNext(), nullptr);
    EXPECT_EQ(directory.findNext(), nullptr);
    Dir missing((root / "missing").c_str());
    EXPECT_EQ(missing.findFirst(nullptr, 128), nullptr);
    EXPECT_THROW(Dir(nullptr), hexcept);
}

TEST(Directory, TheWorkingDirectoryGivesRelativeNamesAtAnyPathLength) {
    const support::TempDir root;
    const fs::path before = fs::current_path();
    fs::path deep = root.path();
    for (int i = 0; i < 5; ++i) {
        deep /= std::string(60, 'd');
    }
    fs::create_directories(deep / "sub");
    support::writeFile((deep / "sub/f").string(), "");
    fs::current_path(deep);
    {
        Dir directory;
        EXPECT_EQ(list(directory, "", nullptr, 128), (Names{"sub", "sub/f"}));
        EXPECT_EQ(directory.createRecursive(), -1);
        EXPECT_EQ(Thread::getLastError(), HE_EEXISTS);
    }
    fs::current_path(before);
}

TEST(Directory, CreateRecursive) {
    const support::TempDir root;
    const struct {
        const char* path;
        unsigned error;
        const char* made;
    } rows[] = {
        {"/a/b/c", 0, "a/b/c"},
        {"/a/b/c", HE_EEXISTS, "a/b/c"},
        {"/a/b/d", 0, "a/b/d"},
        {"/e//f", 0, "e/f"},
        {"/g/h/", 0, "g/h"},
        {"/g/h///", HE_EEXISTS, "g/h"},
        {"/file/x/y", HE_NOTDIR, "file"},
    };
    support::writeFile(root / "file", "");
    for (const auto& row : rows) {
        Thread::setLastError(0U);
        EXPECT_EQ(Dir((root.path() + row.path).c_str()).createRecursive(), row.error == 0 ? 0 : -1);
        EXPECT_TRUE(row.error == 0 || Thread::getLastError() == row.error) << row.path;
        EXPECT_TRUE(fs::exists(root / row.made)) << row.path;
    }
    EXPECT_EQ(Dir("").createRecursive(), -1);
    EXPECT_EQ(Dir("/").createRecursive(), -1);
    EXPECT_EQ(Thread::getLastError(), HE_EEXISTS);
}

TEST(Directory, Remove) {
    const support::TempDir root;
    fs::create_directory(root / "outside");
    support::writeFile(root / "outside/kept", "");
    fs::create_directories(root / "tree/a/b");
    support::writeFile(root / "tree/a/b/.f", "");
    fs::create_directory_symlink(root / "outside", root / "tree/link");

    EXPECT_EQ(Dir((root / "tree").c_str()).remove(0), -1);
    EXPECT_EQ(Dir((root / "tree").c_str()).remove(1), 0);
    EXPECT_FALSE(fs::exists(root / "tree"));
    EXPECT_TRUE(fs::exists(root / "outside/kept"));

    EXPECT_EQ(Dir((root / "outside/kept").c_str()).remove(1), -1);
    EXPECT_EQ(Thread::getLastError(), HE_NOTDIR);
    EXPECT_EQ(Dir((root / "missing").c_str()).remove(1), -1);
    EXPECT_EQ(Thread::getLastError(), HE_NOENT);

    // A tree too deep for a bounded stack is refused. It grows, and goes, at its upper end.
    const std::string well = root / "well";
    const std::string next = root / "next";
    fs::create_directory(well);
    for (int i = 0; i < 1100; ++i) {
        fs::create_directory(next);
        fs::rename(well, next + "/d");
        fs::rename(next, well);
    }
    EXPECT_EQ(Dir(well.c_str()).remove(1), -1);
    while (fs::exists(well + "/d")) {
        fs::rename(well + "/d", next);
        fs::remove(well);
        fs::rename(next, well);
    }
    fs::create_directory(root / "empty");
    EXPECT_EQ(Dir((root / "empty").c_str()).remove(0), 0);
}
