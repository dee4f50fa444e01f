#include "config/value_type.h"

#include "common/net/inet_addr.h"
#include "common/time/date_time.h"
#include "common/time/time_of_day.h"
#include "config/binary_string.h"
#include "config/config.h"
#include "config/menu.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace HConfig {

const ValueTypeDesc VALUE_TYPE_DESC[TYPE_COUNT] = {
    {"Int", "Integer"},
    {"UnsignedInt", "Unsigned Integer"},
    {"Choice", "Single-Choice Menu"},
    {"ChoiseSet", "Multi-Choice Menu"},
    {"String", "String"},
    {"CSString", "Case-sensitive String"},
    {"InetAddr", "Internet Address v4"},
    {"InetAddrSet", "Internet Address v4 Set"},
    {"InetSockAddr", "Internet Socket Address"},
    {"DateTime", "Date and Time"},
    {"BinaryString", "Binary String"},
    {"Time", "Time"},
};

namespace {

// --- Numbers ------------------------------------------------------------------------------------

void numberInit(Value& slot, const Value& source) {
    slot = Value(source.asUnsigned());
}

void numberDestroy(Value& slot) {
    slot = Value();
}

bool numberTest(const Value&) {
    return true;
}

// The difference, kept to the range of int so that the order stays one.
int intCompare(const Value& a, const Value& b) {
    const long long difference = static_cast<long long>(a.asInt()) - b.asInt();
    return static_cast<int>(std::clamp<long long>(difference, INT_MIN, INT_MAX));
}

int uintCompare(const Value& a, const Value& b) {
    return a.asUnsigned() < b.asUnsigned() ? -1 : a.asUnsigned() > b.asUnsigned() ? 1 : 0;
}

template <class Number> int printNumber(Number number, char* buffer, int size) {
    char digits[16];
    const char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    const int length = static_cast<int>(end - digits);
    if (length >= size) {
        return -1;
    }
    std::memcpy(buffer, digits, static_cast<std::size_t>(length));
    buffer[length] = '\0';
    return length;
}

int intToString(const Value& value, char* buffer, int size, const Attribute*, bool) {
    return printNumber(value.asInt(), buffer, size);
}

int uintToString(const Value& value, char* buffer, int size, const Attribute*, bool) {
    return printNumber(value.asUnsigned(), buffer, size);
}

// A base 10 number as strtol reads it, with nothing behind it and within `Number`.
template <class Number> bool parseNumber(const char* text, Number& number) {
    if (text == nullptr || *text == '\0') {
        return false;
    }
    const int savedError = errno;
    char* end = nullptr;
    const long long parsed = std::strtoll(text, &end, 10);
    errno = savedError;
    if (end == text || *end != '\0' || parsed < std::numeric_limits<Number>::min() ||
        parsed > std::numeric_limits<Number>::max()) {
        return false;
    }
    number = static_cast<Number>(parsed);
    return true;
}

template <class Number> int numberToValue(const char* text, Value& slot, const Attribute*) {
    Number number;
    if (!parseNumber(text, number)) {
        return -1;
    }
    slot = Value(number);
    return 0;
}

// --- Choices ------------------------------------------------------------------------------------

const Menu* menuOf(const Attribute* attribute) {
    const Constraint* constraint = attribute != nullptr ? attribute->getConstraint() : nullptr;
    if (constraint == nullptr) {
        return nullptr;
    }
    const void* bound = constraint->doCastInternal(MenuConstraint::getCastableClassId());
    return bound != nullptr ? static_cast<const MenuConstraint*>(bound)->getMenu() : nullptr;
}

int choiceToString(const Value& value, char* buffer, int size, const Attribute* attribute, bool) {
    const Menu* menu = menuOf(attribute);
    if (menu == nullptr || size <= 0 ||
        !menu->valueToName(value.asUnsigned(), buffer, static_cast<unsigned>(size))) {
        return -1;
    }
    return static_cast<int>(std::strlen(buffer));
}

int choiceToValue(const char* text, Value& slot, const Attribute* attribute) {
    const Menu* menu = menuOf(attribute);
    unsigned value = 0;
    if (menu == nullptr || text == nullptr || !menu->nameToValue(text, value)) {
        return -1;
    }
    slot = Value(value);
    return 0;
}

// --- Texts --------------------------------------------------------------------------------------

// What most text slots hold most of the time: shared, so that an empty text costs no memory.
const char EMPTY_TEXT[1] = "";

const char* textOf(const Value& value) {
    return value.isEmpty() ? EMPTY_TEXT : value.asText();
}

void stringDestroy(Value& slot) {
    if (slot.asText() != EMPTY_TEXT) {
        delete[] slot.as<char>();
    }
    slot = Value();
}

void storeText(Value& slot, const char* text) {
    const char* copy = EMPTY_TEXT;
    if (text != nullptr && *text != '\0') {
        const std::size_t size = std::strlen(text) + 1;
        copy = static_cast<const char*>(std::memcpy(new char[size], text, size));
    }
    stringDestroy(slot);
    slot = Value(static_cast<const void*>(copy));
}

void stringInit(Value& slot, const Value& source) {
    if (source.isEmpty() || slot != source) {
        storeText(slot, source.asText());
    }
}

bool pointerTest(const Value& value) {
    return !value.isEmpty();
}

int stringCompare(const Value& a, const Value& b) {
    return strcasecmp(textOf(a), textOf(b));
}

int csStringCompare(const Value& a, const Value& b) {
    return std::strcmp(textOf(a), textOf(b));
}

bool isEndOrLineEnd(char c) {
    return c == '\0' || c == '\n' || c == '\r';
}

// Writes the text for a quoted value of a file, where only `\"` and `\\` are escapes: a backslash
// is doubled where it would be read as one of them, and before a line end, where it would be lost.
int escapeText(const char* text, char* buffer, int size) {
    int length = 0;
    const auto put = [&](char c) {
        if (length < size) {
            buffer[length] = c;
        }
        ++length;
    };
    for (; *text != '\0' && length < size; ++text) {
        if (*text == '\\' && (text[1] == '"' || text[1] == '\\')) {
            put('\\');
            put('\\');
            put('\\');
            put(*++text);
        } else if (*text == '"' || (*text == '\\' && isEndOrLineEnd(text[1]))) {
            put('\\');
            put(*text);
        } else {
            put(*text);
        }
    }
    if (length >= size) {
        buffer[0] = '\0';
        return -1;
    }
    buffer[length] = '\0';
    return length;
}

int stringToString(const Value& value, char* buffer, int size, const Attribute*, bool escape) {
    const char* text = textOf(value);
    if (size <= 0) {
        return -1;
    }
    if (escape) {
        return escapeText(text, buffer, size);
    }
    const std::size_t length = std::strlen(text);
    if (length >= static_cast<std::size_t>(size)) {
        return -1;
    }
    std::memcpy(buffer, text, length + 1);
    return static_cast<int>(length);
}

int stringToValue(const char* text, Value& slot, const Attribute*) {
    storeText(slot, text);
    return 0;
}

// --- Owned objects ------------------------------------------------------------------------------

// What the object types share: `T` is a plain value that a slot owns.
template <class T> void objectDestroy(Value& slot) {
    delete slot.as<T>();
    slot = Value();
}

template <class T> T& neededObject(Value& slot) {
    if (slot.isEmpty()) {
        slot = Value(static_cast<const void*>(new T()));
    }
    return *slot.as<T>();
}

template <class T> void objectInit(Value& slot, const Value& source) {
    if (source.isEmpty()) {
        neededObject<T>(slot) = T();
    } else if (slot != source) {
        neededObject<T>(slot) = *source.as<T>();
    }
}

// Times that are not given start at the present moment.
template <class T> T& neededTime(Value& slot) {
    const bool fresh = slot.isEmpty();
    T& time = neededObject<T>(slot);
    if (fresh) {
        time.setToNow();
    }
    return time;
}

template <class T> void timeInit(Value& slot, const Value& source) {
    if (source.isEmpty()) {
        neededObject<T>(slot).setToNow();
    } else {
        objectInit<T>(slot, source);
    }
}

// Compares two slots, of which an empty one counts as `T()`.
template <class T, int (*compare)(const T&, const T&)>
int objectCompare(const Value& a, const Value& b) {
    const T none;
    return compare(a.isEmpty() ? none : *a.as<T>(), b.isEmpty() ? none : *b.as<T>());
}

int compareNumbers(unsigned a, unsigned b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

int compareInetAddr(const InetAddr& a, const InetAddr& b) {
    return compareNumbers(a.getHostOrder(), b.getHostOrder());
}

int compareInetAddrSet(const InetAddrSet& a, const InetAddrSet& b) {
    const int order = compareInetAddr(a.address, b.address);
    return order != 0 ? order : compareInetAddr(a.mask, b.mask);
}

int compareInetSockAddr(const InetSocketAddr& a, const InetSocketAddr& b) {
    const int order = compareInetAddr(a.getInetAddr(), b.getInetAddr());
    return order != 0 ? order : compareNumbers(a.getPort(), b.getPort());
}

template <class T> int compareByMember(const T& a, const T& b) {
    return a.compareTo(b);
}

int inetAddrToString(const Value& value, char* buffer, int size, const Attribute*, bool) {
    if (size < InetAddr::TextSize) {
        return -1;
    }
    const InetAddr& address = value.isEmpty() ? InetAddr::ANY : *value.as<InetAddr>();
    return InetAddr::iaToStr(address, buffer, size, 10) < 0 ? -1 : 0;
}

int inetAddrToValue(const char* text, Value& slot, const Attribute*) {
    return text == nullptr ? -1 : InetAddr::strToIa(text, neededObject<InetAddr>(slot));
}

int inetAddrSetToString(const Value& value, char* buffer, int size, const Attribute*, bool) {
    if (size < InetAddrSet::TextSize) {
        return -1;
    }
    InetAddrSet::iaSetToStr(value.isEmpty() ? InetAddrSet() : *value.as<InetAddrSet>(), buffer);
    return 0;
}

int inetAddrSetToValue(const char* text, Value& slot, const Attribute*) {
    return text == nullptr ? -1 : InetAddrSet::strToIaSet(text, neededObject<InetAddrSet>(slot));
}

// "255.255.255.255:65535" with its terminator.
constexpr int SOCK_ADDR_ROOM = 22;

int inetSockAddrToString(const Value& value, char* buffer, int size, const Attribute*, bool) {
    if (size < SOCK_ADDR_ROOM) {
        return -1;
    }
    const InetSocketAddr& address =
        value.isEmpty() ? InetSocketAddr() : *value.as<InetSocketAddr>();
    return InetSocketAddr::isaToStr(address, buffer, InetSocketAddr::TextSize, 10) < 0 ? -1 : 0;
}

int inetSockAddrToValue(const char* text, Value& slot, const Attribute*) {
    return text == nullptr ? -1
                           : InetSocketAddr::strToIsa(text, &neededObject<InetSocketAddr>(slot));
}

template <class T> T timeOrNow(const Value& value) {
    if (!value.isEmpty()) {
        return *value.as<T>();
    }
    T now;
    now.setToNow();
    return now;
}

// "\"Tue, 03 Nov 2026 10:11:12 +0100\"" and "\"10:11:12\"" with their terminators.
constexpr int DATE_TIME_ROOM = 34;
constexpr int TIME_ROOM = 11;

int dateTimeToString(const Value& value, char* buffer, int size, const Attribute*, bool) {
    if (size < DATE_TIME_ROOM) {
        return -1;
    }
    DateTime::dateTimeToStr(timeOrNow<DateTime>(value), buffer, size, true);
    return 0;
}

int dateTimeToValue(const char* text, Value& slot, const Attribute*) {
    return DateTime::strToDateTime(text, neededTime<DateTime>(slot));
}

int timeToString(const Value& value, char* buffer, int size, const Attribute*, bool) {
    if (size < TIME_ROOM) {
        return -1;
    }
    Time::timeToStr(timeOrNow<Time>(value), buffer, size, true);
    return 0;
}

int timeToValue(const char* text, Value& slot, const Attribute*) {
    return Time::strToTime(text, neededTime<Time>(slot));
}

int bstringToString(const Value& value, char* buffer, int size, const Attribute*, bool) {
    if (size <= 0) {
        return 0;
    }
    if (value.isEmpty()) {
        buffer[0] = '\0';
    } else {
        BinaryString::bstrToStr(*value.as<BinaryString>(), buffer, size);
    }
    return 0;
}

int bstringToValue(const char* text, Value& slot, const Attribute*) {
    return BinaryString::strToBstr(text, neededObject<BinaryString>(slot));
}

// --- The tables ---------------------------------------------------------------------------------

constexpr ValueHandler INT_HANDLER = {numberInit, numberDestroy, numberTest,
                                      intCompare, intToString,   numberToValue<std::int32_t>};
constexpr ValueHandler UINT_HANDLER = {numberInit,  numberDestroy, numberTest,
                                       uintCompare, uintToString,  numberToValue<std::uint32_t>};
constexpr ValueHandler CHOICE_HANDLER = {numberInit,  numberDestroy,  numberTest,
                                         uintCompare, choiceToString, choiceToValue};
constexpr ValueHandler STRING_HANDLER = {stringInit,    stringDestroy,  pointerTest,
                                         stringCompare, stringToString, stringToValue};
constexpr ValueHandler CS_STRING_HANDLER = {stringInit,      stringDestroy,  pointerTest,
                                            csStringCompare, stringToString, stringToValue};
constexpr ValueHandler INET_ADDR_HANDLER = {
    objectInit<InetAddr>, objectDestroy<InetAddr>,
    pointerTest,          objectCompare<InetAddr, compareInetAddr>,
    inetAddrToString,     inetAddrToValue};
constexpr ValueHandler INET_ADDR_SET_HANDLER = {objectInit<InetAddrSet>,
                                                objectDestroy<InetAddrSet>,
                                                pointerTest,
                                                objectCompare<InetAddrSet, compareInetAddrSet>,
                                                inetAddrSetToString,
                                                inetAddrSetToValue};
constexpr ValueHandler INET_SOCK_ADDR_HANDLER = {objectInit<InetSocketAddr>,
                                                 objectDestroy<InetSocketAddr>,
                                                 pointerTest,
                                                 objectCompare<InetSocketAddr, compareInetSockAddr>,
                                                 inetSockAddrToString,
                                                 inetSockAddrToValue};
constexpr ValueHandler DATE_TIME_HANDLER = {
    timeInit<DateTime>, objectDestroy<DateTime>,
    pointerTest,        objectCompare<DateTime, compareByMember<DateTime>>,
    dateTimeToString,   dateTimeToValue};
constexpr ValueHandler BSTRING_HANDLER = {
    objectInit<BinaryString>,
    objectDestroy<BinaryString>,
    pointerTest,
    objectCompare<BinaryString, compareByMember<BinaryString>>,
    bstringToString,
    bstringToValue};
constexpr ValueHandler TIME_HANDLER = {timeInit<Time>, objectDestroy<Time>,
                                       pointerTest,    objectCompare<Time, compareByMember<Time>>,
                                       timeToString,   timeToValue};

} // namespace

constinit const ValueType IntValueHandler::VALUE_TYPE(INT_HANDLER, TYPE_INT);
constinit const ValueType UintValueHandler::VALUE_TYPE(UINT_HANDLER, TYPE_UNSIGNED_INT);
constinit const ValueType ChoiceValueHandler::VALUE_TYPE(CHOICE_HANDLER, TYPE_CHOICE);
constinit const ValueType ChoiceSetValueHandler::VALUE_TYPE(CHOICE_HANDLER, TYPE_CHOICE_SET);
constinit const ValueType StringValueHandler::VALUE_TYPE(STRING_HANDLER, TYPE_STRING);
constinit const ValueType CSStringValueHandler::VALUE_TYPE(CS_STRING_HANDLER, TYPE_CS_STRING);
constinit const ValueType InetAddrValueHandler::VALUE_TYPE(INET_ADDR_HANDLER, TYPE_INET_ADDR);
constinit const ValueType InetAddrSetValueHandler::VALUE_TYPE(INET_ADDR_SET_HANDLER,
                                                              TYPE_INET_ADDR_SET);
constinit const ValueType InetSockAddrValueHandler::VALUE_TYPE(INET_SOCK_ADDR_HANDLER,
                                                               TYPE_INET_SOCK_ADDR);
constinit const ValueType DateTimeValueHandler::VALUE_TYPE(DATE_TIME_HANDLER, TYPE_DATE_TIME);
constinit const ValueType BStringValueHandler::VALUE_TYPE(BSTRING_HANDLER, TYPE_BINARY_STRING);
constinit const ValueType TimeValueHandler::VALUE_TYPE(TIME_HANDLER, TYPE_TIME);

const ValueType* ValueType::getValueType(unsigned id) {
    static constexpr const ValueType* types[TYPE_COUNT] = {
        &IntValueHandler::VALUE_TYPE,          &UintValueHandler::VALUE_TYPE,
        &ChoiceValueHandler::VALUE_TYPE,       &ChoiceSetValueHandler::VALUE_TYPE,
        &StringValueHandler::VALUE_TYPE,       &CSStringValueHandler::VALUE_TYPE,
        &InetAddrValueHandler::VALUE_TYPE,     &InetAddrSetValueHandler::VALUE_TYPE,
        &InetSockAddrValueHandler::VALUE_TYPE, &DateTimeValueHandler::VALUE_TYPE,
        &BStringValueHandler::VALUE_TYPE,      &TimeValueHandler::VALUE_TYPE,
    };
    return id < TYPE_COUNT ? types[id] : nullptr;
}

} // namespace HConfig
