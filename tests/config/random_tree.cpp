#include "tests/config/random_tree.h"

#include "config/calendar.h"
#include "config/menu.h"
#include "tests/config/loader_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

using namespace HConfig;

namespace {

unsigned param(const Object& object, const Attribute& attribute, const char* name) {
    char buffer[32] = "0";
    object.getAttributeConstraintParam(attribute.getIndex(), name, buffer, sizeof buffer);
    return buffer[0] == 't' ? 1 : static_cast<unsigned>(std::strtoll(buffer, nullptr, 10));
}

std::string formatted(const char* format, unsigned a, unsigned b, unsigned c, unsigned d,
                      unsigned e) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, a, b, c, d, e);
    return buffer;
}

} // namespace

std::unique_ptr<Object> RandomTree::make(const ObjectClass& objectClass) {
    std::unique_ptr<Object> object(objectClass.newObject());
    object->setToDefault(false);
    fill(*object);
    return object;
}

void RandomTree::fill(Object& object, unsigned oneIn, unsigned depth) {
    const ObjectClass& objectClass = *object.getObjectClass();
    for (const Attribute& a : attributesOf(objectClass)) {
        if (below(oneIn) == 0 || a.getKind() == KIND_OBJECT) {
            fillAttribute(object, a, oneIn, depth);
        }
    }
}

void RandomTree::fillAttribute(Object& object, const Attribute& attribute, unsigned oneIn,
                               unsigned depth) {
    const unsigned index = attribute.getIndex();
    if (holdable && attribute.hasFlag(FLAG_INTERNAL | FLAG_NOT_SAVED)) {
        return;
    }
    switch (attribute.getKind()) {
    case KIND_VALUE:
        ASSERT_TRUE(setValue(object, attribute, false)) << attribute.getItemName();
        break;
    case KIND_OBJECT:
        object.doInitAttrOnDemand(attribute, nullptr, true);
        if (object.getChildObject(index) != nullptr) {
            fill(*object.getChildObject(index), oneIn, depth + 1);
        }
        break;
    case KIND_VALUE_SET:
        object.removeAllValues(index);
        for (unsigned count = below(4); count > 0; --count) {
            setValue(object, attribute, true);
        }
        break;
    case KIND_OBJECT_SET:
        object.removeAllObjects(index);
        for (unsigned count = below(depth < 3 ? 4 : 2); count > 0; --count) {
            std::unique_ptr<Object> member(object.newChildObjectInstance(index));
            member->setToDefault(false);
            fill(*member, 1, depth + 1);
            if (object.addObject(index, member.get()) == 0) {
                member.release();
            }
        }
        break;
    }
}

bool RandomTree::setValue(Object& object, const Attribute& attribute, bool asMember) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        std::string drawn;
        switch (attribute.getValueType()->getId()) {
        case TYPE_INT:
        case TYPE_UNSIGNED_INT:
            drawn = number(object, attribute);
            break;
        case TYPE_CHOICE:
        case TYPE_CHOICE_SET:
            drawn = choice(attribute, attribute.isOfType(TYPE_CHOICE_SET));
            break;
        case TYPE_STRING:
        case TYPE_CS_STRING:
            drawn = text(object, attribute);
            break;
        case TYPE_INET_ADDR:
            drawn = formatted("%u.%u.%u.%u", below(256), below(256), below(256), below(256), 0);
            break;
        case TYPE_INET_ADDR_SET:
            drawn = formatted("%u.%u.0.0/%u", below(256), below(256), below(17) + 16, 0, 0);
            break;
        case TYPE_INET_SOCK_ADDR:
            drawn = formatted("%u.%u.%u.%u:%u", below(256), below(256), below(256), below(256),
                              below(65535) + 1);
            break;
        case TYPE_DATE_TIME:
            drawn = formatted("%02u Feb %u %02u:%02u:%02u +0130", below(28) + 1, 1971 + below(60),
                              below(24), below(60), below(60));
            break;
        case TYPE_BINARY_STRING:
            for (unsigned groups = below(12); groups > 0; --groups) {
                drawn += std::string("Zm9v/+9v").substr(below(2) * 4, 4);
            }
            drawn += below(2) != 0 ? "QQ==" : "";
            break;
        case TYPE_TIME:
            drawn = formatted("%02u:%02u:%02u", below(24), below(60), below(60), 0, 0);
            break;
        default:
            return false;
        }
        if ((asMember ? object.addStringValue(attribute.getIndex(), drawn.c_str())
                      : object.setStringValue(attribute.getIndex(), drawn.c_str())) == 0) {
            return true;
        }
    }
    return false;
}

std::string RandomTree::number(const Object& object, const Attribute& attribute) {
    if (attribute.getConstraint() == nullptr) {
        return attribute.isOfType(TYPE_INT) ? std::to_string(static_cast<int>(random()))
                                            : std::to_string(static_cast<unsigned>(random()));
    }
    const unsigned lowest = param(object, attribute, "minValue");
    const unsigned width = param(object, attribute, "maxValue") - lowest;
    const unsigned inside = lowest + (width == ~0U ? below(~0U) : below(width + 1));
    const unsigned kind = below(8);
    return kind == 0 && param(object, attribute, "allowZero") != 0       ? "0"
           : kind == 1 && param(object, attribute, "allowInfinite") != 0 ? "4294967295"
                                                                         : std::to_string(inside);
}

std::string RandomTree::choice(const Attribute& attribute, bool multiple) {
    const Menu& menu = *Menu::getMenu(attribute.getDesc().constraintId);
    const auto any = [&] { return std::string(menu.getChoice(below(menu.getChoiceCount())).name); };
    return !multiple ? any() : below(4) == 0 ? "()" : "(" + any() + " " + any() + ")";
}

// Bytes of every class of the scanner, most of all those that it takes for more than themselves.
std::string RandomTree::anyText(unsigned shortest, unsigned longest) {
    static const std::string bytes = "\"\"\\\\\\\n\r\t #(){}=/*ab1-,\x80\xFF";
    std::string drawn(shortest + below(std::min(longest - shortest, 60U) + 1), ' ');
    for (char& byte : drawn) {
        byte = below(3) != 0 ? static_cast<char>('a' + below(26))
                             : bytes[below(static_cast<unsigned>(bytes.size()))];
    }
    for (std::size_t at = 0; holdable && (at = drawn.find('\r', at)) < drawn.size(); ++at) {
        drawn[at] = at + 1 < drawn.size() && drawn[at + 1] == '\n' ? '\r' : 'r';
    }
    return drawn;
}

std::string RandomTree::text(const Object& object, const Attribute& attribute) {
    static const char* const folders[] = {"Sent", "a&-b", "Sp&AOk-cial", "x/y z"};
    switch (attribute.getDesc().constraintId) {
    case CONSTRAINT_STRING_LENGTH:
        return anyText(param(object, attribute, "minLength"),
                       param(object, attribute, "maxLength"));
    case CONSTRAINT_EMAIL_ADDRESS:
        return newName() + "@" + newName() + ".example.org";
    case CONSTRAINT_PATH:
        return below(3) == 0 ? "none" : "/" + anyText(0, 30);
    case CONSTRAINT_MBOX_PATH:
        return folders[below(std::size(folders))];
    case CONSTRAINT_DOMAIN_NAME:
        return newName() + ".example.org";
    case CONSTRAINT_RCPT_NAME:
    case CONSTRAINT_USER_RCPT_NAME:
    case CONSTRAINT_MAILLIST_RCPT_NAME:
    case CONSTRAINT_OBJECT_NAME:
        return newName();
    case CONSTRAINT_TIME_ZONE:
        return Calendar::timezoneNames[below(Calendar::timezoneDataSize)];
    case CONSTRAINT_SEARCH_CONDITION:
        return below(2) != 0 ? "from \"a \\\"b\\\"\"" : "(subject x)";
    default:
        return anyText(0, 60);
    }
}

// ---- Trees as text ------------------------------------------------------------------------------

namespace {

std::string shown(const Attribute& attribute, const Value& value) {
    char buffer[8192] = "";
    attribute.getHandler().opToString(value, buffer, sizeof buffer, &attribute, false);
    if (attribute.isOfType(TYPE_STRING)) {
        std::transform(std::begin(buffer), std::end(buffer), buffer, [](char c) {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        });
    }
    return std::string(buffer) + ";";
}

} // namespace

std::string dump(const Object& object, const Attribute& attribute, bool ownLife) {
    const unsigned index = attribute.getIndex();
    std::string text = std::string(attribute.getItemName()) + "=";
    switch (attribute.getKind()) {
    case KIND_VALUE:
        return text + shown(attribute, object.getValue(index));
    case KIND_OBJECT:
        return text + (object.getChildObject(index) != nullptr
                           ? dump(*object.getChildObject(index), ownLife)
                           : "null");
    case KIND_VALUE_SET: {
        ValueIterator values;
        object.getValueIterator(index, values);
        while (const Value* value = values.next()) {
            text += shown(attribute, *value);
        }
        return text;
    }
    case KIND_OBJECT_SET: {
        ObjectIterator members;
        object.getObjectIterator(index, members);
        while (const Object* member = members.next()) {
            text += dump(*member, ownLife);
        }
        return text;
    }
    }
    return text;
}

std::string dump(const Object& object, bool ownLife) {
    const ObjectClass& objectClass = *object.getObjectClass();
    std::string text = std::string(objectClass.getItemName()) + "{";
    for (const Attribute& a : attributesOf(objectClass)) {
        if (ownLife || !a.hasFlag(FLAG_OWN_LIFE)) {
            text += dump(object, a, ownLife);
        }
    }
    return text + "}";
}
