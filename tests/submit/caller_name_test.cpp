// The name of the caller: when /etc/passwd may be read in place of asking the C library, and that
// both give the same.

#include "submit/caller_name.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

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
