// State files of the queue: any bytes load or are refused as a plain reader says, and what loads is
// saved and loads again as the same mail, in place and as a whole. Input: the bytes of the file.

#include "fuzz/state_place.h"

#include <map>
#include <set>
#include <vector>

namespace {

constexpr long long NextSchedule = 77;

bool isPath(const std::string& text) {
    return text == "<>" || text.find('@') != std::string::npos;
}

// A state file of the present version, read with no care for speed.
struct Plain {
    explicit Plain(std::string_view file) {
        if (file.size() < RecordsAt) {
            return;
        }
        const std::uint64_t last = number(file, 14);
        rcpts = number(file, 42);
        const std::uint64_t table = RecordsAt + (last / 16 + 1) * 512 + rcpts * 64;
        if (last >= 0x100000 || rcpts >= 65536 || file.size() <= table) {
            return;
        }
        std::string_view rest = file.substr(table);
        const bool damaged = rest.back() != '\0';
        rest.remove_suffix(1);
        for (std::size_t end = 0; end != std::string_view::npos;) {
            end = rest.find('\0');
            strings.emplace_back(rest.substr(0, end));
            rest.remove_prefix(std::min(rest.size(), end + 1));
        }
        if (damaged) {
            strings.back() = "Corrupted string";
        }
        loads = strings.size() >= 2 && isPath(strings[0]) && isPath(strings[1]) &&
                (rcpts == 0 || strings.size() >= 3 + rcpts);
        for (std::size_t r = 0; loads && r < rcpts; ++r) {
            loads = strings[3 + r].find('@') != std::string::npos;
        }
        if (loads) {
            readParams(number(file, 46));
        }
    }

    static std::uint32_t number(std::string_view file, std::size_t at) {
        std::uint32_t value = 0;
        std::memcpy(&value, file.data() + at, sizeof value);
        return value;
    }

    // From the newest to the oldest; the newest of a name counts.
    void readParams(std::uint32_t link) {
        std::set<std::uint32_t> seen;
        while (seen.size() < 4096 && link > 0 && link < strings.size() - rcpts &&
               seen.insert(link).second) {
            const std::string& text = strings[rcpts + link];
            if (text.size() < 7 || text[4] != ':') {
                return;
            }
            const std::size_t equals = text.find('=', 5);
            if (equals != std::string::npos) {
                params.try_emplace(text.substr(5, equals - 5), text.substr(equals + 1));
            }
            link = 0;
            std::sscanf(text.c_str(), "%x", &link);
        }
    }

    static constexpr std::size_t RecordsAt = 106;

    bool loads = false;
    std::uint64_t rcpts = 0;
    std::vector<std::string> strings;
    std::map<std::string, std::string> params;
};

void checkAgainst(const Plain& plain, MailItem* item) {
    FUZZ_CHECK(plain.loads == (item != nullptr));
    if (item == nullptr) {
        return;
    }
    FUZZ_CHECK(static_cast<std::uint64_t>(item->getRCPTCount()) == plain.rcpts);
    for (std::size_t i = 0; i < plain.strings.size(); ++i) {
        FUZZ_CHECK(plain.strings[i] == item->getString(static_cast<int>(i)));
    }
    SimpleVector<const char*> params;
    item->listParams(params);
    FUZZ_CHECK(static_cast<std::size_t>(params.size) == plain.params.size());
    for (const auto& [name, value] : plain.params) {
        const char* const found = item->getParam(name.c_str());
        FUZZ_CHECK(found != nullptr && value == found);
    }
}

} // namespace

FUZZ_TARGET(state_file) {
    static fuzz::Place place;
    const std::string_view file = input.rest();
    fuzz::writeState(place.statePath, file);
    MailItem* item = place.bind();
    const bool present = file.starts_with(std::string_view("HMIQF$\7\0", 8));
    if (present) {
        checkAgainst(Plain(file), item);
    }
    if (item == nullptr) {
        return;
    }
    item->rstadjust(NextSchedule);
    const std::string first = fuzz::show(item);
    const int saved = item->saveToFile(nullptr);
    place.drop(item);
    if (saved == -1) {
        FUZZ_CHECK(!present); // an older file whose addresses the present version refuses
        return;
    }

    item = place.bind();
    FUZZ_CHECK(item != nullptr);
    FUZZ_CHECK(fuzz::show(item) == first);
    FUZZ_CHECK(item->getField<long long>(RecordFormat::nextSchedule) == NextSchedule);
    const bool stored = item->setParam("fuzz", "value") == 0;
    const int added = item->addRCPT("added@x");
    const int rcpts = item->getRCPTCount();
    FUZZ_CHECK(item->saveToFile(nullptr) == 0);
    place.drop(item);

    item = place.bind();
    FUZZ_CHECK(item != nullptr && item->getRCPTCount() == rcpts);
    if (stored) {
        FUZZ_CHECK(item->hasParam("fuzz") && std::strcmp(item->getParam("fuzz"), "value") == 0);
    }
    if (added >= 0) {
        FUZZ_CHECK(std::strcmp(item->getRCPT(added), "added@x") == 0);
    }
    place.drop(item);
}
