#include "submit/get_args.h"

#include "common/error.h"
#include "common/thread/thread.h"

#include <strings.h>

#include <cstdio>
#include <cstring>

namespace {

std::unique_ptr<char[]> copyText(const char* text, std::size_t length) {
    std::unique_ptr<char[]> copy(new char[length + 1]);
    std::memcpy(copy.get(), text, length);
    copy[length] = '\0';
    return copy;
}

std::unique_ptr<char[]> copyText(const char* text) {
    return copyText(text, std::strlen(text));
}

// The POSIX locale's isprint, whatever the process's locale is.
bool isPrintable(const char* text) {
    for (; *text != '\0'; ++text) {
        if (*text < 0x20 || *text > 0x7E) {
            return false;
        }
    }
    return true;
}

std::string optionName(const getargs_config& row) {
    std::string name;
    if (row.id > getArgsTextRow) {
        name += '-';
        name += row.id;
    }
    if (row.longName != nullptr) {
        if (!name.empty()) {
            name += ", ";
        }
        name += "--";
        name += row.longName;
    }
    return name;
}

bool isEndRow(const getargs_config& row) {
    return row.id == 0 && row.longName == nullptr;
}

bool isText(const char* text, const char* other) {
    return std::strcmp(text, other) == 0;
}

} // namespace

GetArgs::GetArgs(int argc, const char** argv, const getargs_config* config,
                 const char* const* ignore) {
    Thread::setLastError(create(argc, argv, config, ignore) == 0 ? 0U : unsigned{HE_INVAL});
}

GetArgs::~GetArgs() {
    destroy();
}

void GetArgs::destroy() {
    options.clear();
    args.clear();
}

int GetArgs::create(int argc, const char** argv, const getargs_config* config,
                    const char* const* ignore) {
    if (argc == 0 || argv == nullptr) {
        std::fputs("Nothing to parse.\n", stderr);
        return -1;
    }
    if (config == nullptr) {
        std::fputs("Not configured.\n", stderr);
        return -1;
    }
    table = config;
    programName = argv[0];
    cursor = argv;
    remaining = argc;
    nextArgument();

    while (remaining > 0 && *cursor != nullptr) {
        // Once an argument: a look at each rest behind a comma would make a long list quadratic.
        if (text == *cursor && !isPrintable(text)) {
            return -1;
        }
        if (ignore != nullptr && isIgnored(ignore, text)) {
            nextArgument();
            continue;
        }
        int result = -1;
        switch (state) {
        case State::Start:
            result = parseStart();
            break;
        case State::Short:
            result = parseShort();
            break;
        case State::Long:
            result = parseLong();
            break;
        case State::Values:
            result = parseValue();
            break;
        case State::Positional:
            result = parsePositional();
            break;
        }
        if (result != 0) {
            return -1;
        }
    }
    if (state == State::Values && !hasEnoughValues(*current)) {
        return complainOfCount(*current);
    }
    addDefaults();
    return 0;
}

int GetArgs::parseStart() {
    if (text[0] != '-') {
        state = State::Positional;
    } else if (isText(text, "-")) {
        nextArgument();
    } else if (isText(text, "--")) {
        nextArgument();
        afterOptions = true;
        state = State::Positional;
    } else {
        state = text[1] == '-' ? State::Long : State::Short;
    }
    return 0;
}

// A cluster of letters. Text that cannot be a further flag is the first value of the letter before
// it, so that "-fabc" gives f the value "abc".
int GetArgs::parseShort() {
    for (const char* letter = text + 1; *letter != '\0'; ++letter) {
        if (letter != text + 1 && isValueBegin(*letter)) {
            if (current->row->valueCount == 0) {
                std::fprintf(stderr, "Option %s does not expects values (%s).\n",
                             optionName(*current->row).c_str(), letter);
                return -1;
            }
            text = letter;
            state = State::Values;
            return 0;
        }
        if (createOptionEntry(*letter, nullptr, &current) != 0) {
            return -1;
        }
        const bool takesValues = current->row->valueCount != 0;
        if (letter[1] == '\0') {
            if (takesValues && current->row->valueMode != GETARGS_AT_MOST && remaining <= 1) {
                return complainOfCount(*current);
            }
            break;
        }
        if (takesValues && !isValueBegin(letter[1])) {
            text = letter + 1;
            state = State::Values;
            return 0;
        }
    }
    nextArgument();
    state = State::Values;
    return 0;
}

int GetArgs::parseLong() {
    if (createOptionEntry(0, text + 2, &current) != 0) {
        return -1;
    }
    if (current->row->valueCount != 0 && current->row->valueMode != GETARGS_AT_MOST &&
        remaining <= 1) {
        return complainOfCount(*current);
    }
    nextArgument();
    state = State::Values;
    return 0;
}

int GetArgs::parseValue() {
    if (current == nullptr) {
        return -1;
    }
    const getargs_config& row = *current->row;
    if (text[0] == '-') {
        if (!hasEnoughValues(*current)) {
            return complainOfCount(*current);
        }
        state = State::Start;
        return 0;
    }
    if (row.valueMode != GETARGS_AT_LEAST && current->values.size() == row.valueCount) {
        state = State::Positional;
        return 0;
    }
    if (row.valueCount == 1 && row.valueMode == GETARGS_EXACTLY) {
        current->values.push_back(copyText(text));
        nextArgument();
    } else {
        current->values.push_back(takeUpToComma());
    }
    return 0;
}

int GetArgs::parsePositional() {
    if (!afterOptions && text[0] == '-') {
        if (isText(text, "--") || isText(text, "-")) {
            nextArgument();
            afterOptions = true;
            return 0;
        }
        std::fputs("Error: options are not allowed after arguments.\n", stderr);
        return -1;
    }
    args.push_back(takeUpToComma());
    return 0;
}

void GetArgs::nextArgument() {
    ++cursor;
    --remaining;
    text = *cursor;
}

// The text up to the first comma, moving behind it; to the next argument where nothing follows.
std::unique_ptr<char[]> GetArgs::takeUpToComma() {
    const std::size_t length = std::strcspn(text, ",");
    std::unique_ptr<char[]> piece = copyText(text, length);
    if (text[length] == '\0' || text[length + 1] == '\0') {
        nextArgument();
    } else {
        text += length + 1;
    }
    return piece;
}

bool GetArgs::isIgnored(const char* const* list, const char* argument) const {
    for (; *list != nullptr; ++list) {
        if (std::strncmp(argument, *list, std::strlen(*list)) == 0) {
            return true;
        }
    }
    return false;
}

// A letter that is unknown, or was used already, cannot be a flag.
bool GetArgs::isValueBegin(char c) const {
    return findRow(c, nullptr) == nullptr || lookupOption(c, nullptr) != nullptr;
}

int GetArgs::createOptionEntry(char c, const char* name, Option** out) {
    const getargs_config* row = findRow(c, name);
    if (row == nullptr) {
        if (name == nullptr) {
            std::fprintf(stderr, "Error: option -%c not recognized.\n", c);
        } else {
            std::fprintf(stderr, "Error: option --%s not recognized.\n", name);
        }
        return -1;
    }
    for (const std::unique_ptr<Option>& option : options) {
        if (option->row == row) {
            std::fputs("duplicate options are not accepted: ", stderr);
            if (name == nullptr) {
                std::fprintf(stderr, "-%c.\n", c);
            } else {
                std::fprintf(stderr, "--%s.\n", name);
            }
            return -1;
        }
    }
    options.push_back(std::make_unique<Option>());
    options.back()->row = row;
    *out = options.back().get();
    return 0;
}

void GetArgs::addDefaults() {
    for (const getargs_config* row = table; !isEndRow(*row); ++row) {
        if (row->defaultValue == nullptr || row->id == getArgsTextRow ||
            lookupOption(row->id, row->longName) != nullptr) {
            continue;
        }
        auto option = std::make_unique<Option>();
        option->row = row;
        option->values.push_back(copyText(row->defaultValue));
        options.push_back(std::move(option));
    }
}

// With a flag the name is not looked at.
const getargs_config* GetArgs::findRow(char flag, const char* longName) const {
    if (table == nullptr) {
        return nullptr;
    }
    for (const getargs_config* row = table; !isEndRow(*row); ++row) {
        if (row->id == getArgsTextRow) {
            continue;
        }
        if (flag != 0 ? row->id == flag
                      : row->longName != nullptr && longName != nullptr &&
                            ::strcasecmp(row->longName, longName) == 0) {
            return row;
        }
    }
    return nullptr;
}

GetArgs::Option* GetArgs::lookupOption(char flag, const char* longName) const {
    const getargs_config* row = findRow(flag, longName);
    for (const std::unique_ptr<Option>& option : options) {
        if (option->row == row) {
            return option.get();
        }
    }
    return nullptr;
}

bool GetArgs::hasEnoughValues(const Option& option) const {
    switch (option.row->valueMode) {
    case GETARGS_EXACTLY:
        return option.values.size() == option.row->valueCount;
    case GETARGS_AT_LEAST:
        return option.values.size() >= option.row->valueCount;
    case GETARGS_AT_MOST:
        break;
    }
    return true;
}

int GetArgs::complainOfCount(const Option& option) const {
    std::fprintf(stderr, "Option %s expects %s%lu value(s).\n", optionName(*option.row).c_str(),
                 option.row->valueMode == GETARGS_AT_LEAST ? "at least " : "",
                 static_cast<unsigned long>(option.row->valueCount));
    return -1;
}

const char* GetArgs::getVal(char flag, const char* longName, int index) const {
    const Option* option = lookupOption(flag, longName);
    if (option == nullptr) {
        return nullptr;
    }
    if (option->values.empty()) {
        return "none";
    }
    if (index < 0 || static_cast<std::size_t>(index) >= option->values.size()) {
        return nullptr;
    }
    return option->values[static_cast<std::size_t>(index)].get();
}

int GetArgs::getValCount(char flag, const char* longName) const {
    const Option* option = lookupOption(flag, longName);
    return option == nullptr ? -1 : static_cast<int>(option->values.size());
}

const char* GetArgs::getArg(int index) const {
    if (index < 0 || index >= getArgCount()) {
        return nullptr;
    }
    return args[static_cast<std::size_t>(index)].get();
}

int GetArgs::getArgCount() const {
    return static_cast<int>(args.size());
}

int GetArgs::modifyVal(const char* value, char flag, const char* longName, int index) {
    Option* option = lookupOption(flag, longName);
    if (option == nullptr || index < 0 ||
        static_cast<std::size_t>(index) >= option->values.size()) {
        return -1;
    }
    option->values[static_cast<std::size_t>(index)] = copyText(value);
    return 0;
}

int GetArgs::addOptionAndValue(char flag, const char* longName, const char* value) {
    Option* option = nullptr;
    if (createOptionEntry(flag, flag != 0 ? nullptr : longName, &option) != 0) {
        return -1;
    }
    option->values.push_back(copyText(value));
    return 0;
}

void GetArgs::printUsage() const {
    constexpr int helpColumn = 43;
    if (programName == nullptr || table == nullptr) {
        return;
    }
    for (const getargs_config* row = table; !isEndRow(*row); ++row) {
        if (row->id == getArgsTextRow) {
            std::printf("%s\n", row->help);
            continue;
        }
        int column = 0;
        if (row->id != 0) {
            column = std::printf("    -%c", row->id);
            if (row->longName != nullptr) {
                column += std::printf(", --%s", row->longName);
            }
        } else {
            column = std::printf("        --%s", row->longName);
        }
        if (row->valueName != nullptr) {
            column += std::printf(" %s", row->valueName);
        }
        std::printf("%*s%s\n", column < helpColumn ? helpColumn - column : 0, "",
                    row->help != nullptr ? row->help : "");
    }
}
