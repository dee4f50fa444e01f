// A small parser of an argument vector, driven by two tables: one of options, which also carries
// the usage text, and a list of argument prefixes to drop.
//
// The parser is a state machine over the text of the arguments. It prints its own complaints on
// standard error; the caller learns only that parsing failed, through the thread's last error.
// A GetArgs owns every value and argument it hands out. One thread.

#ifndef MORVEX_SUBMIT_GET_ARGS_H
#define MORVEX_SUBMIT_GET_ARGS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

enum getargs_value_mode : std::uint32_t {
    GETARGS_EXACTLY = 0,  // valueCount values
    GETARGS_AT_LEAST = 1, // valueCount or more
    GETARGS_AT_MOST = 2,  // valueCount or fewer: a value may be missing
};

// One row of an option table. The table ends with a row whose id is 0 and whose longName is null.
struct getargs_config {
    char id;              // flag letter; 0: long name only; getArgsTextRow: a line of the usage
    const char* longName; // name after "--", matched without regard to case, or null
    std::uint64_t valueCount;
    getargs_value_mode valueMode;
    const char* valueName;    // word for the value in the usage text, or null
    const char* defaultValue; // value of an option that was not given, or null for none
    const char* help;         // help text; in a text row, the line to print
};

inline constexpr char getArgsTextRow = 1;

class GetArgs {
public:
    // Parses at once. Sets the thread's last error to 0, or to HE_INVAL on a bad command line.
    // `config` and `ignore` (ended by a null pointer; may be null) are kept and stay the caller's.
    GetArgs(int argc, const char** argv, const getargs_config* config, const char* const* ignore);
    GetArgs(const GetArgs&) = delete;
    GetArgs& operator=(const GetArgs&) = delete;
    ~GetArgs();

    // Frees all options and arguments.
    void destroy();

    // The option's value at `index`; the text "none" for an option given without values; null if
    // the option is absent, the index is beyond its values, or neither flag nor name is given.
    const char* getVal(char flag, const char* longName, int index) const;

    // The number of the option's values; -1 if it is absent or neither flag nor name is given.
    int getValCount(char flag, const char* longName) const;

    // A positional argument, or null beyond the end.
    const char* getArg(int index) const;
    int getArgCount() const;

    // Prints the usage text on standard output.
    void printUsage() const;

    // Replaces a stored value. Returns 0, or -1 if there is none at `index`.
    int modifyVal(const char* value, char flag, const char* longName, int index);

    // Adds an option of the table with one value, as if it had been typed. Returns 0, or -1, with
    // the complaint a typed one would get, if there is no such row or it was given already.
    int addOptionAndValue(char flag, const char* longName, const char* value);

private:
    struct Option {
        const getargs_config* row;
        std::vector<std::unique_ptr<char[]>> values;
    };
    enum class State { Start, Short, Long, Values, Positional };

    int create(int argc, const char** argv, const getargs_config* config,
               const char* const* ignore);
    int parseShort();
    int parseLong();
    int parseValue();
    int parsePositional();
    int parseStart();

    bool isIgnored(const char* const* list, const char* argument) const;
    bool isValueBegin(char c) const;
    int createOptionEntry(char c, const char* name, Option** out);
    void addDefaults();
    Option* lookupOption(char flag, const char* longName) const;
    const getargs_config* findRow(char flag, const char* longName) const;
    bool hasEnoughValues(const Option& option) const;
    int complainOfCount(const Option& option) const;
    std::unique_ptr<char[]> takeUpToComma();
    void nextArgument();

    const char* programName = nullptr;
    std::vector<std::unique_ptr<Option>> options; // in the order met, defaults behind the given
    std::vector<std::unique_ptr<char[]>> args;
    const getargs_config* table = nullptr;

    // Where the machine stands; of no meaning once create has returned.
    const char** cursor = nullptr; // the argument being read
    int remaining = 0;             // arguments from the cursor on
    const char* text = nullptr;    // position inside that argument
    State state = State::Start;
    bool afterOptions = false;
    Option* current = nullptr;
};

#endif
