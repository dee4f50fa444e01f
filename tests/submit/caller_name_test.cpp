// The name of the caller: when /etc/passwd may be read in place of asking the C library, and that
// both give the same.

#include "submit/caller_name.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

TEST(CallerName, ReadsTheFileOnlyWhereItIsAskedFirst) {
    const struct {
        const char* configuration;
        bool first;
    } rows[] = {
        {"passwd: files", true},
        {"passwd:\tfiles systemd\n", true},
        {"# names\n\ngroup: ldap\npasswd:files # passwd: ldap\nhosts: dns\n", true},
        {"  passwd : files ldap\r\n", true},
        {"passwd files\n", true},
        {"", false},
        {"hosts: files\n", false},
        {"passwd:\n", false},
        {"passwd", false},
        {"passwd: ldap files\n", false},
        {"passwd: compat\n", false},
        {"passwd: filesystem\n", false},
        {"passwd: files [SUCCESS=continue] ldap\n", false},
        {"passwd: files[NOTFOUND=return]\n", false},
        {"passwd: [NOTFOUND=return] files\n", false},
        {"#passwd: files\n", false},
        {"passwd_compat: files\n", false},
        {"Passwd: files\n", false},
        {"passwd: files\npasswd: ldap\n", false},
        {"passwd: files\npasswd ldap\n", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(asksPasswdFileFirst(row.configuration), row.first) << row.configuration;
    }
}

TEST(CallerName, AgreesWithTheLibrary) {
    // The last two have no entry on most machines.
    for (const uid_t uid :
         {uid_t{0}, uid_t{1}, uid_t{65534}, ::getuid(), uid_t{60000}, uid_t{3999999999U}}) {
        const passwd* const entry = ::getpwuid(uid);
        EXPECT_EQ(callerName(uid), entry != nullptr ? entry->pw_name : std::to_string(uid));
    }
}

// What the C library's own reader of such a file says.
std::string nameByLibrary(const std::string& path, uid_t uid) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "re"), std::fclose);
    while (const passwd* const entry = ::fgetpwent(file.get())) {
        if (entry->pw_uid == uid && entry->pw_name[0] != '+' && entry->pw_name[0] != '-') {
            return entry->pw_name;
        }
    }
    return "";
}

TEST(CallerName, ReadsOnlyWhatIsBeyondDoubt) {
    const std::string root = "root:x:0:0:root:/root:/bin/sh\n";
    const std::string wanted = "ann:*:7:100::/:\n";
    std::string many;
    while (many.size() < 9000) {
        many += "user" + std::to_string(many.size()) + ":x:" + std::to_string(1000 + many.size()) +
                ":100:A user of many:/home/user:/bin/sh\n";
    }
    const struct {
        std::string text;
        const char* name;
    } rows[] = {
        {root + wanted, "ann"},
        {wanted + "bob:*:7:100::/:\n", "ann"},
        {many + wanted, "ann"},
        {"x:x:4294967295:0:::\n" + wanted, "ann"},
        {root, ""},
        {"", ""},
        {root + wanted.substr(0, wanted.size() - 1), ""},
        {"# names\n" + wanted, ""},
        {"\n" + wanted, ""},
        {" ann:*:7:100::/:\n", ""},
        {"+ann:*:7:100::/:\n" + wanted, ""},
        {"-ann:*:7:100::/:\n", ""},
        {":*:7:100::/:\n", ""},
        {"ann:*:07x:100::/:\n", ""},
        {"ann:*: 7:100::/:\n", ""},
        {"ann:*:-4294967289:100::/:\n", ""},
        {"ann:*:4294967303:100::/:\n", ""},
        {"ann:*:7:100:/\n", ""},
        {"ann:*:7::/:\n", ""},
        {"ann:*:7:100::/::\n", ""},
        {std::string("an\0n:*:7:100::/:\n", 17), ""},
        {"x:" + std::string(5000, 'x') + ":8:100::/:\n" + wanted, ""},
    };
    const support::TempDir dir;
    const std::string path = dir / "passwd";
    for (const auto& row : rows) {
        support::writeFile(path, row.text);
        const std::string name = nameInPasswdFile(path.c_str(), 7);
        EXPECT_EQ(name, row.name) << row.text;
        EXPECT_TRUE(name.empty() || name == nameByLibrary(path, 7)) << row.text;
    }
    EXPECT_EQ(nameInPasswdFile((dir / "none").c_str(), 7), "");
}
