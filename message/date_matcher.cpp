// The two date scanners as tables: a row tells what a state accepts, which record that becomes,
// what must stand behind it, and which state follows. The first row of a state that fits is taken;
// its choices start with different bytes, so that is also the longest match.

#include "message/date_matcher.h"

#include "message/mail_date.h"

#include <strings.h>

#include <cstddef>

namespace {

// What a row accepts.
enum class Token : unsigned char {
    ANY,              // some byte, not consumed
    ANY_OR_END,       // some byte or the end of the text, not consumed
    END,              // the end of the text: success
    DAY_NAME,         // Mon to Sun
    MONTH_NAME,       // Jan to Dec
    ZONE_NAME,        // UT, GMT, the North American zones, a letter but J
    GMT,              // GMT
    DIGITS,           // as many digits as there are, within the row's bounds
    SIGN,             // + or -
    COMMA,            // ,
    BLANKS,           // one or more
    BLANKS_COLON,     // blanks, if any, and a colon
    BLANKS_OR_COMMENT // one or more blanks, or a word in parentheses
};

// What must stand between a token and the next state.
enum class Pass : unsigned char { NONE, SPACE_OPT, SPACE, COLON };

constexpr int NO_RECORD = -1;
constexpr int ENDLESS = 0x7FFFFFFF;

struct Row {
    signed char state;
    Token token;
    int least; // of DIGITS
    int most;  // of DIGITS
    signed char record;
    Pass pass;
    signed char next;
};

// The states that both machines have under the same numbers.
enum { INITIAL = 0, INIT = 1, SPACE = 2, SPACE_OPT = 3, COLON = 4, DAY_NAME = 5 };

// The states of DateMatcher.
namespace date {

enum { COMMA = 6, DAY, MONTH, YEAR, HOUR, MIN, MIN_COLON, SEC, END, OFF_SGN };

constexpr Row ROWS[] = {
    {INITIAL, Token::ANY, 0, 0, NO_RECORD, Pass::SPACE_OPT, INIT},
    {INIT, Token::DAY_NAME, 0, 0, 0, Pass::SPACE_OPT, DAY_NAME},
    {INIT, Token::DIGITS, 1, 2, 1, Pass::SPACE, DAY},
    {DAY_NAME, Token::COMMA, 0, 0, NO_RECORD, Pass::SPACE_OPT, COMMA},
    {COMMA, Token::DIGITS, 1, 2, 1, Pass::SPACE, DAY},
    {DAY, Token::MONTH_NAME, 0, 0, 2, Pass::SPACE, MONTH},
    {MONTH, Token::DIGITS, 2, ENDLESS, 3, Pass::SPACE, YEAR},
    {YEAR, Token::DIGITS, 1, 2, 4, Pass::COLON, HOUR},
    {HOUR, Token::DIGITS, 1, 2, 5, Pass::NONE, MIN},
    {MIN, Token::BLANKS_COLON, 0, 0, NO_RECORD, Pass::SPACE_OPT, MIN_COLON},
    {MIN, Token::ANY, 0, 0, NO_RECORD, Pass::SPACE, SEC},
    {MIN_COLON, Token::DIGITS, 1, 2, 6, Pass::SPACE, SEC},
    {SEC, Token::ZONE_NAME, 0, 0, 7, Pass::SPACE_OPT, END},
    {SEC, Token::SIGN, 0, 0, 8, Pass::NONE, OFF_SGN},
    {OFF_SGN, Token::DIGITS, 1, 4, 9, Pass::SPACE_OPT, END},
    {END, Token::END, 0, 0, NO_RECORD, Pass::NONE, END},
};

constexpr char STATE_NAMES[][16] = {"INITIAL",    "D_Init",    "D_Space",        "D_SpaceOpt",
                                    "D_Colon",    "D_DayName", "D_DayNameComma", "D_Day",
                                    "D_Month",    "D_Year",    "D_Hour",         "D_Min",
                                    "D_MinColon", "D_Sec",     "D_End",          "D_OffSgn"};

constexpr char RECORD_NAMES[][16] = {"DayName", "Day", "Month",    "Year",   "Hour",
                                     "Min",     "Sec", "ZoneName", "OffSgn", "OffDigits"};

} // namespace date

// The states of DateTimeMatcher.
namespace datetime {

enum {
    COMMA = 6,
    DAY,
    MONTH,
    YEAR,
    YEAR_SPACE,
    HOUR,
    MIN,
    MIN_COLON,
    SEC,
    SEC_SPACE,
    END,
    OFF_SGN,
    OFF_HRS
};
static_assert(YEAR == DateTimeMatcher::D_YEAR && SEC == DateTimeMatcher::D_SEC &&
              END == DateTimeMatcher::D_END);

constexpr Row ROWS[] = {
    {INITIAL, Token::ANY, 0, 0, NO_RECORD, Pass::SPACE_OPT, INIT},
    {INIT, Token::DAY_NAME, 0, 0, 0, Pass::SPACE_OPT, DAY_NAME},
    {INIT, Token::DIGITS, 1, 2, 1, Pass::SPACE, DAY},
    {DAY_NAME, Token::COMMA, 0, 0, NO_RECORD, Pass::SPACE_OPT, COMMA},
    {COMMA, Token::DIGITS, 1, 2, 1, Pass::SPACE, DAY},
    {DAY, Token::MONTH_NAME, 0, 0, 2, Pass::SPACE, MONTH},
    {MONTH, Token::DIGITS, 2, 4, 3, Pass::NONE, YEAR},
    {YEAR, Token::END, 0, 0, NO_RECORD, Pass::NONE, YEAR},
    {YEAR, Token::BLANKS, 0, 0, NO_RECORD, Pass::NONE, YEAR_SPACE},
    {YEAR_SPACE, Token::DIGITS, 2, 2, 4, Pass::COLON, HOUR},
    {HOUR, Token::DIGITS, 2, 2, 5, Pass::NONE, MIN},
    {MIN, Token::BLANKS_COLON, 0, 0, NO_RECORD, Pass::SPACE_OPT, MIN_COLON},
    {MIN, Token::ANY_OR_END, 0, 0, NO_RECORD, Pass::NONE, SEC},
    {MIN_COLON, Token::DIGITS, 2, 2, 6, Pass::NONE, SEC},
    {SEC, Token::END, 0, 0, NO_RECORD, Pass::NONE, SEC},
    {SEC, Token::BLANKS, 0, 0, NO_RECORD, Pass::NONE, SEC_SPACE},
    {SEC_SPACE, Token::GMT, 0, 0, NO_RECORD, Pass::NONE, END},
    {SEC_SPACE, Token::SIGN, 0, 0, 7, Pass::NONE, OFF_SGN},
    {OFF_SGN, Token::DIGITS, 2, 2, 8, Pass::NONE, OFF_HRS},
    {OFF_HRS, Token::DIGITS, 2, 2, 9, Pass::NONE, END},
    {END, Token::BLANKS_OR_COMMENT, 0, 0, NO_RECORD, Pass::NONE, END},
    {END, Token::END, 0, 0, NO_RECORD, Pass::NONE, END},
};

constexpr char STATE_NAMES[][16] = {
    "INITIAL", "D_Init",     "D_Space", "D_SpaceOpt",  "D_Colon", "D_DayName", "D_DayNameComma",
    "D_Day",   "D_Month",    "D_Year",  "D_YearSpace", "D_Hour",  "D_Min",     "D_MinColon",
    "D_Sec",   "D_SecSpace", "D_End",   "D_OffSgn",    "D_OffHrs"};

constexpr char RECORD_NAMES[][16] = {"DayName", "Day", "Month",  "Year",   "Hour",
                                     "Min",     "Sec", "OffSgn", "OffHrs", "OffMin"};

} // namespace datetime

constexpr char ZONES[][4] = {"GMT", "EST", "EDT", "CST", "CDT", "MST", "MDT", "PST", "PDT"};

template <std::size_t N> const char* nameAt(const char (&names)[N][16], int index) {
    return index >= 0 && index < static_cast<int>(N) ? names[index] : nullptr;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The unread part of the subject. Each test gives the length of what it accepts, or -1.
struct Rest {
    const char* text;
    int size;

    int blanks() const {
        int length = 0;
        while (length < size && isBlank(text[length])) {
            ++length;
        }
        return length;
    }

    int digits(int least, int most) const {
        int length = 0;
        while (length < size && length < most && isDigit(text[length])) {
            ++length;
        }
        return length >= least ? length : -1;
    }

    int character(char c) const { return size > 0 && *text == c ? 1 : -1; }

    int name(const char (*names)[4], int count) const {
        for (int i = 0; size >= 3 && i < count; ++i) {
            if (::strncasecmp(names[i], text, 3) == 0) {
                return 3;
            }
        }
        return -1;
    }

    int zoneName() const {
        if (name(ZONES, static_cast<int>(sizeof ZONES / sizeof ZONES[0])) == 3) {
            return 3;
        }
        if (size >= 2 && ::strncasecmp(text, "UT", 2) == 0) {
            return 2;
        }
        return size >= 1 && isLetter(*text) && *text != 'J' && *text != 'j' ? 1 : -1;
    }

    int comment() const {
        int length = 1;
        while (length < size && (isLetter(text[length]) || isDigit(text[length]))) {
            ++length;
        }
        const bool closed = length > 1 && length < size && text[length] == ')';
        return character('(') == 1 && closed ? length + 1 : -1;
    }

    int accept(const Row& row) const {
        switch (row.token) {
        case Token::ANY:
            return size > 0 ? 0 : -1;
        case Token::ANY_OR_END:
            return 0;
        case Token::END:
            return size == 0 ? 0 : -1;
        case Token::DAY_NAME:
            return name(UTC64::weekDay, 7);
        case Token::MONTH_NAME:
            return name(UTC64::month, 12);
        case Token::ZONE_NAME:
            return zoneName();
        case Token::GMT:
            return name(ZONES, 1);
        case Token::DIGITS:
            return digits(row.least, row.most);
        case Token::SIGN:
            return character('+') == 1 ? 1 : character('-');
        case Token::COMMA:
            return character(',');
        case Token::BLANKS:
            return blanks() > 0 ? blanks() : -1;
        case Token::BLANKS_COLON:
            return Rest{text + blanks(), size - blanks()}.character(':') == 1 ? blanks() + 1 : -1;
        case Token::BLANKS_OR_COMMENT:
            return blanks() > 0 ? blanks() : comment();
        }
        return -1;
    }
};

// Runs a table from its first state over the matcher's subject, from position on. 0 where the end
// of the text was accepted, otherwise -1; the matcher's state is where it stopped.
class Machine {
public:
    Machine(ProtocolMatcher& owner, int& place) : matcher(owner), position(place) {}

    template <std::size_t N> int run(const Row (&rows)[N]) {
        matcher.setState(INITIAL);
        for (;;) {
            int length = -1;
            const Row* taken = nullptr;
            for (const Row& row : rows) {
                if (row.state == matcher.getState() && (length = rest().accept(row)) >= 0) {
                    taken = &row;
                    break;
                }
            }
            if (taken == nullptr) {
                return -1;
            }
            if (taken->token == Token::END) {
                return 0;
            }
            if (taken->record != NO_RECORD) {
                matcher.addRecord(taken->record, position, length);
            }
            position += length;
            if (!pass(taken->pass)) {
                return -1;
            }
            matcher.setState(taken->next);
        }
    }

private:
    Rest rest() const {
        return Rest{matcher.getSubject() + position, matcher.getSubjectLength() - position};
    }

    // A failure leaves the state of the pass behind: that is where the text went wrong.
    bool pass(Pass kind) {
        int length = rest().blanks();
        switch (kind) {
        case Pass::NONE:
            return true;
        case Pass::SPACE_OPT:
            break;
        case Pass::SPACE:
            if (length == 0) {
                matcher.setState(SPACE);
                return false;
            }
            break;
        case Pass::COLON:
            length = 1;
            if (rest().character(':') != 1) {
                matcher.setState(COLON);
                return false;
            }
            break;
        }
        position += length;
        return true;
    }

    ProtocolMatcher& matcher;
    int& position;
};

} // namespace

DateMatcherFlexer::DateMatcherFlexer(DateMatcher* owner)
    : matcher(owner), date(nullptr), position(0) {
}

int DateMatcherFlexer::scan() {
    if (Machine(*matcher, position).run(date::ROWS) != 0) {
        return -1;
    }
    return date != nullptr ? date->matchDate(matcher) : 0;
}

#define MORVEX_TEN_TABLES                                                                          \
    RecordTable(RECORD_ORDER), RecordTable(RECORD_ORDER), RecordTable(RECORD_ORDER),               \
        RecordTable(RECORD_ORDER), RecordTable(RECORD_ORDER), RecordTable(RECORD_ORDER),           \
        RecordTable(RECORD_ORDER), RecordTable(RECORD_ORDER), RecordTable(RECORD_ORDER),           \
        RecordTable(RECORD_ORDER)

DateMatcher::DateMatcher()
    : ProtocolMatcher(tables, RECORD_TYPES), tables{MORVEX_TEN_TABLES},
      flexer(new DateMatcherFlexer(this)) {
}

DateMatcher::~DateMatcher() {
    delete flexer;
}

int DateMatcher::match(void* date) {
    if (getSubject() == nullptr) {
        return -1;
    }
    clearRecords();
    flexer->position = 0;
    flexer->date = static_cast<MailDate*>(date);
    return flexer->scan();
}

const char* DateMatcher::getRecordName(int type) const {
    return nameAt(date::RECORD_NAMES, type);
}

const char* DateMatcher::getStateName(int number) const {
    return getClassStateName(number);
}

const char* DateMatcher::getClassStateName(int number) {
    return number == -1 ? "NoMatch" : nameAt(date::STATE_NAMES, number);
}

DateTimeMatcherFlexer::DateTimeMatcherFlexer(DateTimeMatcher* owner)
    : matcher(owner), date(nullptr), position(0) {
}

int DateTimeMatcherFlexer::scan() {
    return Machine(*matcher, position).run(datetime::ROWS);
}

DateTimeMatcher::DateTimeMatcher()
    : ProtocolMatcher(tables, RECORD_TYPES), tables{MORVEX_TEN_TABLES},
      flexer(new DateTimeMatcherFlexer(this)) {
}

DateTimeMatcher::~DateTimeMatcher() {
    delete flexer;
}

int DateTimeMatcher::match(void* date) {
    if (getSubject() == nullptr) {
        return -1;
    }
    clearRecords();
    flexer->position = 0;
    flexer->date = static_cast<MailDate*>(date);
    return flexer->scan();
}

const char* DateTimeMatcher::getRecordName(int type) const {
    return nameAt(datetime::RECORD_NAMES, type);
}

const char* DateTimeMatcher::getStateName(int number) const {
    return getClassStateName(number);
}

const char* DateTimeMatcher::getClassStateName(int number) {
    return number == -1 ? "NoMatch" : nameAt(datetime::STATE_NAMES, number);
}
