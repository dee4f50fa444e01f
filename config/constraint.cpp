#include "config/constraint.h"

#include "address/domainname.h"
#include "address/mbox_name.h"
#include "address/username.h"
#include "address/utils.h"
#include "common/stream/file.h"
#include "common/stream/memory_stream.h"
#include "config/binary_string.h"
#include "config/calendar.h"
#include "config/config.h"
#include "config/mail_search.h"
#include "config/object.h"

#include <strings.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>

namespace HConfig {

namespace {

// --- Descriptions -------------------------------------------------------------------------------

constexpr const char* UINT_INTERVAL_PARAMS[] = {"maxValue", "minValue", "allowZero",
                                                "allowInfinite"};
constexpr const char* LENGTH_PARAMS[] = {"maxLength", "minLength"};
constexpr const char* ALLOW_EMPTY_PARAMS[] = {"allowEmpty"};
constexpr const char* ALLOW_WILDCARD_PARAMS[] = {"allowWildcard"};
constexpr const char* OBJECT_NAME_PARAMS[] = {"maxLength", "minLength", "allowNone"};

template <unsigned N>
constexpr ConstraintDesc describe(const char* name, const char* const (&params)[N]) {
    return {name, "", params, N};
}
constexpr ConstraintDesc describe(const char* name) {
    return {name, "", nullptr, 0};
}

constexpr ConstraintDesc CONSTRAINT_DESC[CONSTRAINT_COUNT] = {
    describe(""),
    describe("UintInterval", UINT_INTERVAL_PARAMS),
    describe("StringLength", LENGTH_PARAMS),
    describe("EmailAddress", ALLOW_EMPTY_PARAMS),
    describe("Path"),
    describe("MboxPath", ALLOW_WILDCARD_PARAMS),
    describe("DomainName"),
    describe("RcptName"),
    describe("UserRcptName"),
    describe("MaillistRcptName"),
    describe(""),
    describe(""),
    describe("TimeZone"),
    describe("ObjectName", OBJECT_NAME_PARAMS),
    describe("LdapURI"),
    describe("TimeZoneTransform"),
    describe("SearchCondition", ALLOW_EMPTY_PARAMS),
};

// --- Factories ----------------------------------------------------------------------------------

template <class C> class FactoryOf final : public ConstraintFactory {
public:
    Constraint* getConstraint(const ConstraintParamValue* params) const override {
        return new C(params);
    }
    Constraint* getConstraint(const ConstraintParamValue* params, Arena& arena) const override {
        return arena.make<C>(params);
    }
};

template <class C> constinit const FactoryOf<C> factoryOf;

constexpr const ConstraintFactory* FACTORIES[CONSTRAINT_COUNT] = {
    nullptr,
    &factoryOf<UintIntervalConstraint>,
    &factoryOf<LengthConstraint>,
    &factoryOf<EmailAddressConstraint>,
    &factoryOf<PathConstraint>,
    &factoryOf<MboxPathConstraint>,
    &factoryOf<DomainNameConstraint>,
    &factoryOf<RcptNameConstraint>,
    &factoryOf<UserRcptNameConstraint>,
    &factoryOf<MaillistRcptNameConstraint>,
    nullptr,
    nullptr,
    &factoryOf<TimeZoneConstraint>,
    &factoryOf<ObjectNameConstraint>,
    nullptr,
    &factoryOf<TimeZoneTransformConstraint>,
    &factoryOf<SearchConditionConstraint>,
};

// --- Parameters and texts -----------------------------------------------------------------------

void printNumber(std::uint32_t value, char* buffer, unsigned size) {
    std::snprintf(buffer, size, "%d", static_cast<int>(value));
}

void printBool(bool value, char* buffer, unsigned size) {
    std::snprintf(buffer, size, "%s", value ? "true" : "false");
}

// The uids of the classes whose attributes some constraints hold apart.
constexpr std::uint32_t DOMAIN_UID = 128;
constexpr std::uint32_t USER_UID = 135;
constexpr std::uint32_t USER_V41_UID = 131;
constexpr std::uint32_t MAILLIST_UID = 132;

constexpr unsigned MAX_USER_NAME = 256;
constexpr std::size_t MAX_MAILLIST_NAME = 200;

bool isObjectOf(const Object* object, std::uint32_t classUid) {
    return object->getObjectClass()->isKindOfUid(classUid);
}

// Whether `text` differs from the text of another attribute, in any case.
bool differsFrom(const Object* object, unsigned index, const char* text) {
    const char* other = object->getValue(index).asText();
    return other == nullptr || strcasecmp(other, text) != 0;
}

// Holds a name and the aliases of an object apart, whichever of the two is to be stored.
bool isApart(const Attribute* attribute, const Object* object, const Value& value, unsigned name,
             unsigned aliases) {
    if (attribute->getIndex() == name) {
        return !object->hasValue(aliases, value);
    }
    return attribute->getIndex() == aliases && differsFrom(object, name, value.asText());
}

bool isWithin(std::size_t length, std::uint32_t minimum, std::uint32_t maximum) {
    return length >= minimum && length <= maximum;
}

// Two names that stand on the wrong side of Greenwich in old files. Their sign is the fourth byte.
bool correctSign(char* text) {
    if (strcasecmp(text, "GMT-14") != 0 && strcasecmp(text, "GMT-13") != 0) {
        return false;
    }
    text[3] = '+';
    return true;
}

} // namespace

// --- The base classes ---------------------------------------------------------------------------

CastableId* Constraint::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* Constraint::doCastInternal(CastableId* classId) const {
    return classId == getCastableClassId() ? const_cast<Constraint*>(this) : nullptr;
}

CastableId* Constraint::getOwnCastableId() const {
    return getCastableClassId();
}

const ConstraintDesc& Constraint::getConstraintDesc() const {
    return ConstraintFactory::getDesc(id);
}

bool Constraint::isValueCorrect(const Attribute*, const Object*, const Value&) const {
    return false;
}

bool Constraint::isObjectCorrect(const Attribute*, const Object*, const Object*) const {
    return false;
}

void Constraint::getParamValue(const char*, char*, unsigned) const {
}

Constraint* ConstraintFactory::getConstraint(const ConstraintParamValue*, Arena&) const {
    return nullptr;
}

const ConstraintFactory* ConstraintFactory::getFactory(unsigned id) {
    return id < CONSTRAINT_COUNT ? FACTORIES[id] : nullptr;
}

const ConstraintDesc& ConstraintFactory::getDesc(unsigned id) {
    return CONSTRAINT_DESC[id];
}

// --- Numbers and lengths ------------------------------------------------------------------------

UintIntervalConstraint::UintIntervalConstraint(const ConstraintParamValue* params)
    : Constraint(CONSTRAINT_UINT_INTERVAL), maxValue(params[0].asUnsigned()),
      minValue(params[1].asUnsigned()), allowZero(params[2].asBool()),
      allowInfinite(params[3].asBool()) {
}

bool UintIntervalConstraint::isValueCorrect(const Attribute*, const Object*,
                                            const Value& value) const {
    const std::uint32_t number = value.asUnsigned();
    return (number == 0 && allowZero) || (number == 0xFFFFFFFF && allowInfinite) ||
           (number >= minValue && number <= maxValue);
}

void UintIntervalConstraint::getParamValue(const char* name, char* buffer, unsigned size) const {
    if (std::strcmp(name, "maxValue") == 0) {
        printNumber(maxValue, buffer, size);
    } else if (std::strcmp(name, "minValue") == 0) {
        printNumber(minValue, buffer, size);
    } else if (std::strcmp(name, "allowZero") == 0) {
        printBool(allowZero, buffer, size);
    } else if (std::strcmp(name, "allowInfinite") == 0) {
        printBool(allowInfinite, buffer, size);
    }
}

LengthConstraint::LengthConstraint(const ConstraintParamValue* params)
    : Constraint(CONSTRAINT_STRING_LENGTH), maxLength(params[0].asUnsigned()),
      minLength(params[1].asUnsigned()) {
}

bool LengthConstraint::isValueCorrect(const Attribute* attribute, const Object*,
                                      const Value& value) const {
    if (attribute->isOfType(TYPE_STRING) || attribute->isOfType(TYPE_CS_STRING)) {
        return isWithin(value.isEmpty() ? 0 : std::strlen(value.asText()), minLength, maxLength);
    }
    if (attribute->isOfType(TYPE_BINARY_STRING)) {
        return isWithin(value.isEmpty() ? 0 : value.as<const BinaryString>()->getSize(), minLength,
                        maxLength);
    }
    return false;
}

void LengthConstraint::getParamValue(const char* name, char* buffer, unsigned size) const {
    if (std::strcmp(name, "maxLength") == 0) {
        printNumber(maxLength, buffer, size);
    } else if (std::strcmp(name, "minLength") == 0) {
        printNumber(minLength, buffer, size);
    }
}

// --- Names, addresses, paths --------------------------------------------------------------------

EmailAddressConstraint::EmailAddressConstraint(const ConstraintParamValue* params)
    : Constraint(CONSTRAINT_EMAIL_ADDRESS), allowEmpty(params[0].asBool()) {
}

bool EmailAddressConstraint::isValueCorrect(const Attribute*, const Object*,
                                            const Value& value) const {
    const char* text = value.asText();
    if (text == nullptr) {
        return false;
    }
    if (*text == '\0') {
        return allowEmpty;
    }
    // The check cuts its text for a moment, and this one may be a constant.
    const std::size_t size = std::strlen(text) + 1;
    const auto copy = std::make_unique_for_overwrite<char[]>(size);
    std::memcpy(copy.get(), text, size);
    return Utils::isValidMailAddress(copy.get());
}

PathConstraint::PathConstraint(const ConstraintParamValue*) : Constraint(CONSTRAINT_PATH) {
}

bool PathConstraint::isValueCorrect(const Attribute*, const Object*, const Value& value) const {
    const char* text = value.asText();
    if (text == nullptr || *text == '"' || *text == '\'') {
        return false;
    }
    return *text == '/' ||
           (std::isalpha(static_cast<unsigned char>(*text)) != 0 &&
            (text[1] == ':' || strcasecmp(text, "none") == 0)) ||
           File::containsRelativePath(text);
}

MboxPathConstraint::MboxPathConstraint(const ConstraintParamValue* params)
    : Constraint(CONSTRAINT_MBOX_PATH), allowWildcard(params[0].asBool()) {
}

bool MboxPathConstraint::isValueCorrect(const Attribute*, const Object*, const Value& value) const {
    const char* text = value.asText();
    if (text == nullptr) {
        return false;
    }
    if (allowWildcard && std::strcmp(text, "*") == 0) {
        return true;
    }
    const std::size_t length = std::strlen(text);
    return length <= MboxNameMaxLength && checkMboxName(text, static_cast<unsigned>(length));
}

DomainNameConstraint::DomainNameConstraint(const ConstraintParamValue*)
    : Constraint(CONSTRAINT_DOMAIN_NAME) {
}

bool DomainNameConstraint::isValueCorrect(const Attribute* attribute, const Object* object,
                                          const Value& value) const {
    if (!Domainname::isDomainname(value.asText())) {
        return false;
    }
    return object == nullptr || !isObjectOf(object, DOMAIN_UID) ||
           isApart(attribute, object, value, 0, 1);
}

RcptNameConstraint::RcptNameConstraint(const ConstraintParamValue*)
    : Constraint(CONSTRAINT_RCPT_NAME) {
}

bool RcptNameConstraint::isValueCorrect(const Attribute*, const Object*, const Value& value) const {
    return Username::isUsername(value.asText(), MAX_USER_NAME);
}

UserRcptNameConstraint::UserRcptNameConstraint(const ConstraintParamValue*)
    : Constraint(CONSTRAINT_USER_RCPT_NAME) {
}

bool UserRcptNameConstraint::isValueCorrect(const Attribute* attribute, const Object* object,
                                            const Value& value) const {
    if (object == nullptr || !Username::isUsername(value.asText(), MAX_USER_NAME)) {
        return false;
    }
    if (isObjectOf(object, USER_UID)) {
        return isApart(attribute, object, value, 0, 1);
    }
    return isObjectOf(object, USER_V41_UID) && isApart(attribute, object, value, 0, 11);
}

MaillistRcptNameConstraint::MaillistRcptNameConstraint(const ConstraintParamValue*)
    : Constraint(CONSTRAINT_MAILLIST_RCPT_NAME) {
}

bool MaillistRcptNameConstraint::isValueCorrect(const Attribute* attribute, const Object* object,
                                                const Value& value) const {
    // name, subscribeRcpt, unsubscribeRcpt, requestRcpt
    static constexpr unsigned NAMES[] = {0, 14, 15, 16};
    const char* text = value.asText();
    if (object == nullptr || !Username::isUsername(text, MAX_USER_NAME) ||
        std::strlen(text) > MAX_MAILLIST_NAME || !isObjectOf(object, MAILLIST_UID)) {
        return false;
    }
    bool isOneOfThem = false;
    for (const unsigned index : NAMES) {
        if (index == attribute->getIndex()) {
            isOneOfThem = true;
        } else if (!differsFrom(object, index, text)) {
            return false;
        }
    }
    return isOneOfThem;
}

ObjectNameConstraint::ObjectNameConstraint(const ConstraintParamValue* params)
    : Constraint(CONSTRAINT_OBJECT_NAME), maxLength(params[0].asUnsigned()),
      minLength(params[1].asUnsigned()), allowNone(params[2].asBool()) {
}

bool ObjectNameConstraint::isValueCorrect(const Attribute*, const Object*,
                                          const Value& value) const {
    const char* text = value.asText();
    if (text == nullptr) {
        return false;
    }
    if (allowNone && std::strcmp(text, "(none)") == 0) {
        return true;
    }
    return isWithin(std::strlen(text), minLength, maxLength) &&
           Username::isUsername(text, maxLength);
}

void ObjectNameConstraint::getParamValue(const char* name, char* buffer, unsigned size) const {
    if (std::strcmp(name, "maxLength") == 0) {
        printNumber(maxLength, buffer, size);
    } else if (std::strcmp(name, "minLength") == 0) {
        printNumber(minLength, buffer, size);
    } else if (std::strcmp(name, "allowNone") == 0) {
        printBool(allowNone, buffer, size);
    }
}

// --- Time zones and searches --------------------------------------------------------------------

TimeZoneConstraint::TimeZoneConstraint(const ConstraintParamValue*)
    : Constraint(CONSTRAINT_TIME_ZONE) {
}

bool TimeZoneConstraint::isValueCorrect(const Attribute*, const Object*, const Value& value) const {
    char* text = value.as<char>();
    if (text == nullptr || *text == '\0') {
        return false;
    }
    const int first = std::toupper(static_cast<unsigned char>(*text));
    for (unsigned i = 0; i < Calendar::timezoneDataSize; ++i) {
        const char* name = Calendar::timezoneNames[i];
        if (*name == first && strcasecmp(name, text) == 0) {
            if (std::strcmp(name, text) != 0) {
                std::memcpy(text, name, std::strlen(name));
            }
            return true;
        }
    }
    return correctSign(text);
}

TimeZoneTransformConstraint::TimeZoneTransformConstraint(const ConstraintParamValue*)
    : Constraint(CONSTRAINT_TIME_ZONE_TRANSFORM) {
}

bool TimeZoneTransformConstraint::isValueCorrect(const Attribute*, const Object*,
                                                 const Value& value) const {
    if (!value.isEmpty()) {
        correctSign(value.as<char>());
    }
    return true;
}

SearchConditionConstraint::SearchConditionConstraint(const ConstraintParamValue* params)
    : Constraint(CONSTRAINT_SEARCH_CONDITION), allowEmpty(params[0].asBool()) {
}

bool SearchConditionConstraint::isValueCorrect(const Attribute*, const Object*,
                                               const Value& value) const {
    const char* text = value.asText();
    if (text == nullptr || *text == '\0') {
        return allowEmpty;
    }
    // A reader of a memory stream may write into it, and this text may be a constant.
    const std::size_t length = std::strlen(text);
    const auto copy = std::make_unique_for_overwrite<char[]>(length);
    std::memcpy(copy.get(), text, length);
    MemoryStream stream(copy.get(), static_cast<long long>(length));
    const std::unique_ptr<SearchList> list(MailSearch::parseSearchStream(&stream));
    return list != nullptr;
}

} // namespace HConfig
