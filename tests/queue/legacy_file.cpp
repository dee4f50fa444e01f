#include "tests/queue/legacy_file.h"

#include <cstdio>
#include <cstring>

namespace {

template <class T> void put(std::string& at, std::size_t offset, T value) {
    std::memcpy(at.data() + offset, &value, sizeof value);
}

void put16(std::string& at, std::size_t offset, std::uint32_t value) {
    put(at, offset, static_cast<std::uint16_t>(value));
}

void put8(std::string& at, std::size_t offset, std::uint32_t value) {
    at[offset] = static_cast<char>(value);
}

std::string hexNumber(std::uint32_t value, int width) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", width, value);
    return text;
}

} // namespace

OldRecipient& OldMail::add(const std::string& rcpt) {
    rcpts.emplace_back().address = rcpt;
    ++original;
    return rcpts.back();
}

std::uint32_t OldMail::link(const std::string& text) {
    others.push_back(text);
    const std::size_t position = 3 + rcpts.size() + others.size() - 1;
    return static_cast<std::uint32_t>(version < 2 ? position : position - rcpts.size());
}

std::uint32_t OldMail::infoString(std::uint32_t previous, unsigned dataVersion, unsigned slot,
                                  const std::string& text) {
    return link(hexNumber(previous, 7) + ":" + hexNumber(dataVersion, 4) + ":" +
                hexNumber(slot, 2) + ":" + text);
}

std::uint32_t OldMail::action(std::uint32_t previous, const std::string& text) {
    return link(hexNumber(previous, 7) + ":" + text);
}

std::uint32_t OldMail::param(std::uint32_t previous, const std::string& text) {
    return link(hexNumber(previous, 4) + ":" + text);
}

std::size_t OldMail::rcptBytes() const {
    constexpr std::size_t sizes[] = {19, 27, 36, 28, 32, 36, 36};
    return sizes[version];
}

std::size_t OldMail::versionsBytes() const {
    return version < 3 ? 0 : 20 * std::size_t{((versionRecords - 1) | 15) + 1};
}

std::string OldMail::block() const {
    std::string out(blockBytes(), '\0');
    const auto count = static_cast<std::uint32_t>(rcpts.size());
    if (version < 2) {
        put8(out, 0, state | (local ? 0x80 : 0));
        put8(out, 1, flags);
        put16(out, 2, last);
        put(out, 4, received);
        put(out, 12, next);
        put16(out, 20, retry);
        put(out, 22, count);
        put(out, 26, info);
        return out;
    }
    if (version == 2) {
        put(out, 0, state | (local ? 0x80 : 0));
        put(out, 4, flags);
        put(out, 8, last);
        put(out, 12, otherLast);
        put(out, 16, retry);
        put(out, 20, received);
        put(out, 28, next);
        put(out, 36, original);
        put(out, 40, count);
        put(out, 44, info);
        return out;
    }
    put(out, 0, state | (local ? 0x100 : 0) | flags);
    put(out, 4, last);
    put(out, 16, versionRecords);
    put(out, 20, retry);
    put(out, 24, received);
    put(out, 32, next);
    put(out, 40, original);
    put(out, 44, count);
    put(out, 48, info);
    put(out, 52, params);
    put(out, 56, address);
    put(out, 60, port);
    return out;
}

std::string OldMail::recipient(const OldRecipient& rcpt) const {
    std::string out(rcptBytes(), '\0');
    if (version < 2) {
        put8(out, 0, rcpt.state);
        put16(out, 1, rcpt.dataVersion);
        std::size_t at = 3;
        if (version == 1) {
            put(out, 3, rcpt.domain);
            put(out, 7, rcpt.account);
            at = 11;
        }
        put(out, at, rcpt.mbox);
        put(out, at + 4, rcpt.actions);
        put(out, at + 8, rcpt.fail);
        put(out, at + 12, rcpt.local);
        return out;
    }
    put(out, 0, rcpt.state | rcpt.flags);
    put(out, 4, rcpt.dataVersion);
    if (version == 2) {
        put(out, 12, rcpt.domain);
        put(out, 16, rcpt.account);
        put(out, 20, rcpt.mbox);
        put(out, 24, rcpt.actions);
        put(out, 28, rcpt.fail);
        put(out, 32, rcpt.local);
        return out;
    }
    put(out, 8, rcpt.domain);
    put(out, 12, rcpt.account);
    put(out, 16, rcpt.mbox);
    put(out, 20, rcpt.fail);
    put(out, 24, rcpt.actions);
    if (version > 3) {
        put(out, 28, rcpt.relay);
    }
    if (version > 4) {
        put(out, 32, rcpt.messageFlags);
    }
    return out;
}

std::string OldMail::file() const {
    std::string out = "HMIQF$";
    out += static_cast<char>(version);
    out += std::string("\0\x09\x09", 3) + block(); // any minor version
    std::string records(versionsBytes(), '\0');
    for (std::size_t v = 0; v < storageIds.size() && version > 2; ++v) {
        put(records, 20 * v + 12, storageIds[v]);
    }
    out += records;
    for (const OldRecipient& rcpt : rcpts) {
        out += recipient(rcpt);
    }
    for (const std::string& text : front) {
        out += text + '\0';
    }
    for (const OldRecipient& rcpt : rcpts) {
        out += rcpt.address + '\0';
    }
    for (const std::string& text : others) {
        out += text + '\0';
    }
    return out;
}
