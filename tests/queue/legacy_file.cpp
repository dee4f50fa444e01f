#include "tests/queue/legacy_file.h"

#include <cstdio>

namespace {

// Values one behind the other, as they stand in a file.
template <class... T> std::string fields(T... values) {
    return (std::string(reinterpret_cast<const char*>(&values), sizeof values) + ...);
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

std::string OldMail::block() const {
    const auto count = static_cast<std::uint32_t>(rcpts.size());
    const std::uint32_t word = state | (local ? version < 3 ? 0x80U : 0x100U : 0U);
    if (version < 2) {
        return fields(static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(flags),
                      static_cast<std::uint16_t>(last), received, next,
                      static_cast<std::uint16_t>(retry), count, info);
    }
    std::string out =
        version == 2
            ? fields(word, flags, last, otherLast, retry, received, next, original, count, info)
            : fields(word | flags, last, std::uint64_t{0}, versionRecords, retry, received, next,
                     original, count, info, params, address, port);
    out.resize(64);
    return out;
}

std::string OldMail::recipient(const OldRecipient& rcpt) const {
    const std::string begin =
        fields(static_cast<std::uint8_t>(rcpt.state), static_cast<std::uint16_t>(rcpt.dataVersion));
    const std::string owner = fields(rcpt.domain, rcpt.account);
    const std::string old = fields(rcpt.mbox, rcpt.actions, rcpt.fail, rcpt.local);
    switch (version) {
    case 0:
        return begin + old;
    case 1:
        return begin + owner + old;
    case 2:
        return fields(rcpt.state | rcpt.flags, rcpt.dataVersion, 0) + owner + old;
    default:
        // From version 4 on with the host, from 5 on with the flags of the message.
        return (fields(rcpt.state | rcpt.flags, rcpt.dataVersion) + owner +
                fields(rcpt.mbox, rcpt.fail, rcpt.actions, rcpt.relay, rcpt.messageFlags))
            .substr(0, version == 3   ? 28
                       : version == 4 ? 32
                                      : 36);
    }
}

std::string OldMail::file() const {
    std::string out = "HMIQF$";
    out += static_cast<char>(version);
    out += std::string("\0\x09\x09", 3) + block(); // any minor version
    if (version > 2) {
        std::string records(20 * std::size_t{((versionRecords - 1) | 15) + 1}, '\0');
        for (std::size_t v = 0; v < storageIds.size(); ++v) {
            records.replace(20 * v + 12, 8, fields(storageIds[v]));
        }
        out += records;
    }
    std::string strings;
    for (const std::string& text : front) {
        strings += text + '\0';
    }
    for (const OldRecipient& rcpt : rcpts) {
        out += recipient(rcpt);
        strings += rcpt.address + '\0';
    }
    for (const std::string& text : others) {
        strings += text + '\0';
    }
    return out + strings;
}
