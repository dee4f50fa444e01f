// State files of the old format versions, put together byte by byte. Nothing here shares code or
// tables with the readers.

#ifndef MORVEX_TESTS_QUEUE_LEGACY_FILE_H
#define MORVEX_TESTS_QUEUE_LEGACY_FILE_H

#include <cstdint>
#include <string>
#include <vector>

struct OldRecipient {
    std::string address;
    unsigned state = 1;
    std::uint32_t flags = 0; // bits 8 to 31
    std::uint32_t dataVersion = 0, domain = 0, account = 0;
    std::int32_t mbox = 0;
    std::uint32_t actions = 0, fail = 0, local = 0, relay = 0, messageFlags = 0;
};

struct OldMail {
    int version = 0;
    unsigned state = 1;
    bool local = false;
    std::uint32_t flags = 0; // as they are stored: a byte, a word, bits 9 to 31 of the state word
    std::uint32_t last = 0, otherLast = 0, retry = 0;
    std::int64_t received = 0, next = 0;
    std::uint32_t original = 0; // set by add
    std::uint32_t info = 0, params = 0, versionRecords = 1, address = 0, port = 0;
    std::vector<std::uint64_t> storageIds;
    std::vector<OldRecipient> rcpts;
    std::vector<std::string> front = {"from@x", "auth@x", "<>"};
    std::vector<std::string> others;

    explicit OldMail(int v) : version(v) {}

    // Adds a recipient, who counts as one of the envelope.
    OldRecipient& add(const std::string& address);

    // Adds another string and gives its link. All recipients must be there.
    std::uint32_t link(const std::string& text);

    // Strings of the three chains; each gives its link.
    std::uint32_t infoString(std::uint32_t previous, unsigned dataVersion, unsigned slot,
                             const std::string& text);
    std::uint32_t action(std::uint32_t previous, const std::string& text);
    std::uint32_t param(std::uint32_t previous, const std::string& text);

    std::string file() const;

private:
    std::string block() const;
    std::string recipient(const OldRecipient& rcpt) const;
};

#endif
