// class_table TEMPLATE: prints the template of a manual page with the catalogue of configuration
// classes, in mdoc, in the place of the line "@CLASSES@". Runs while the tree is built, so that the
// page tells what this build reads.
//
// The same input and the same schema give the same bytes. Ends with 1, and a line on standard
// error, when the template cannot be read or has no such line, or the output cannot be written.

#include "config/config.h"
#include "config/menu.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

using namespace HConfig;

namespace {

constexpr char PLACE[] = "@CLASSES@\n";
constexpr std::size_t WIDTH = 78;        // of a line of the page's source
constexpr std::size_t LONGEST_TEXT = 60; // of a default that is shown

constexpr std::uint32_t NO_LIMIT = 0xFFFFFFFF;

// Text for a line of mdoc, in which nothing is a macro or an escape.
std::string plain(const char* text) {
    std::string result;
    for (; *text != '\0'; ++text) {
        switch (*text) {
        case '\\':
            result += "\\e";
            break;
        case '"':
            result += "\\(dq";
            break;
        case '-':
            result += "\\-";
            break;
        default:
            result += *text;
        }
    }
    return result;
}

std::string quoted(const char* text) {
    return "\\(dq" + plain(text) + "\\(dq";
}

// Prints a text as lines of their width; a word that looks like a macro does not begin one as such.
void printWrapped(const std::string& text) {
    std::size_t column = 0;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        const std::string word = text.substr(begin, end - begin);
        if (column > 0 && column + 1 + word.size() > WIDTH) {
            std::putchar('\n');
            column = 0;
        }
        const bool looksLikeMacro = column == 0 && (word[0] == '.' || word[0] == '\'');
        column += static_cast<std::size_t>(std::printf("%s%s%s", column > 0 ? " " : "",
                                                       looksLikeMacro ? "\\&" : "", word.c_str()));
        begin = end + 1;
    }
    std::putchar('\n');
}

// The parameters of an attribute's constraint, in slot order.
const ConstraintParamValue* constraintParams(const Attribute& attribute) {
    return CONFIG_DESC.constraintParams + attribute.getDesc().constraintParams;
}

const char* orEmpty(bool allowed) {
    return allowed ? ", or empty" : "";
}

std::string interval(const ConstraintParamValue* params) {
    const std::uint32_t most = params[0].asUnsigned();
    const std::uint32_t least = params[1].asUnsigned();
    std::string result;
    if (least > 0 || most < NO_LIMIT - 1) {
        result = ", " + std::to_string(least) + " to " + std::to_string(most);
    }
    if (params[2].asBool() && least > 0) {
        result += ", or 0";
    }
    if (params[3].asBool()) {
        result += (result.empty() ? ", " : ", or ") + std::to_string(NO_LIMIT) + " for no limit";
    }
    return result;
}

std::string length(const ConstraintParamValue* params) {
    const std::string most = std::to_string(params[0].asUnsigned());
    const std::uint32_t least = params[1].asUnsigned();
    return least == 0 ? ", at most " + most + " bytes"
                      : ", " + std::to_string(least) + " to " + most + " bytes";
}

std::string choices(const Menu& menu) {
    std::string result = menu.isMultiple() ? ", any of" : ", one of";
    for (unsigned i = 0; i < menu.getChoiceCount(); i++) {
        result += (i > 0 ? ", " : " ") + plain(menu.getChoice(i).name);
    }
    return result;
}

bool isChoice(const Attribute& attribute) {
    return attribute.isOfType(TYPE_CHOICE) || attribute.isOfType(TYPE_CHOICE_SET);
}

// What values the attribute takes, beyond its type.
std::string rangeOf(const Attribute& attribute) {
    if (isChoice(attribute)) {
        return choices(*Menu::getMenu(attribute.getDesc().constraintId));
    }
    const ConstraintParamValue* const params = constraintParams(attribute);
    switch (attribute.getDesc().constraintId) {
    case CONSTRAINT_UINT_INTERVAL:
        return interval(params);
    case CONSTRAINT_STRING_LENGTH:
        return length(params);
    case CONSTRAINT_OBJECT_NAME:
        return ", a name" + length(params) + (params[2].asBool() ? ", or \\(dq(none)\\(dq" : "");
    case CONSTRAINT_EMAIL_ADDRESS:
        return std::string(", a mail address") + orEmpty(params[0].asBool());
    case CONSTRAINT_PATH:
        return ", a path";
    case CONSTRAINT_MBOX_PATH:
        return std::string(", a folder name") + (params[0].asBool() ? ", or \\(dq*\\(dq" : "");
    case CONSTRAINT_DOMAIN_NAME:
        return ", a domain name";
    case CONSTRAINT_RCPT_NAME:
    case CONSTRAINT_USER_RCPT_NAME:
    case CONSTRAINT_MAILLIST_RCPT_NAME:
        return ", a user name";
    case CONSTRAINT_TIME_ZONE:
    case CONSTRAINT_TIME_ZONE_TRANSFORM:
        return ", a time zone";
    case CONSTRAINT_LDAP_URI:
        return ", an LDAP URI";
    case CONSTRAINT_SEARCH_CONDITION:
        return std::string(", a search condition") + orEmpty(params[0].asBool());
    default:
        return "";
    }
}

std::string number(const Attribute& attribute, std::uint32_t value) {
    char name[1024];
    if (isChoice(attribute) &&
        Menu::getMenu(attribute.getDesc().constraintId)->valueToName(value, name, sizeof name)) {
        return plain(name);
    }
    return std::to_string(value);
}

std::string text(const char* value) {
    if (std::strlen(value) > LONGEST_TEXT || std::strchr(value, '\n') != nullptr) {
        return "a built\\-in text";
    }
    return quoted(value);
}

std::string defaultOf(const Attribute& attribute) {
    const AttributeDesc& desc = attribute.getDesc();
    const DefaultParamValue* const params = CONFIG_DESC.defaultParams + desc.defaultParams;
    switch (desc.defaultId) {
    case DEFAULT_NONE:
        // Its empty form, 0, is a choice by a name of its own.
        return attribute.isOfType(TYPE_CHOICE) ? "; default " + number(attribute, 0) : "";
    case DEFAULT_UINT_CONSTANT:
        return "; default " + number(attribute, params[0].asUnsigned());
    case DEFAULT_STRING_CONSTANT:
    case DEFAULT_INET_SOCK_ADDR_CONSTANT:
    case DEFAULT_TIME_CONSTANT:
        return "; default " + text(params[0].asText());
    case DEFAULT_PURGE_FOLDERS:
        return R"(; default \(dqDeleted Items\(dq, \(dqSpam\(dq, \(dqTrash\(dq)";
    default:
        return "; default of the server";
    }
}

std::string flagsOf(const Attribute& attribute) {
    struct Word {
        AttributeFlags flag;
        const char* text;
    };
    constexpr Word words[] = {
        {FLAG_KEY, "key"},
        {FLAG_REQUIRED, "required"},
        {FLAG_INTERNAL, "internal"},
        {FLAG_DEPRECATED, "deprecated"},
        {FLAG_NOT_SAVED, "not saved"},
    };
    std::string result;
    for (const Word& word : words) {
        if (attribute.hasFlag(word.flag)) {
            result += (result.empty() ? "; " : ", ") + std::string(word.text);
        }
    }
    return result;
}

std::string contentOf(const Attribute& attribute) {
    std::string type = attribute.getContentTypeString();
    switch (attribute.getKind()) {
    case KIND_VALUE:
        return type;
    case KIND_OBJECT:
        return "object of " + type;
    case KIND_VALUE_SET:
        return "set of " + type;
    case KIND_OBJECT_SET:
        return "set of objects of " + type;
    }
    return type;
}

std::string limitOf(const Attribute& attribute) {
    const unsigned most = attribute.getMaxCount();
    return most == 0 ? "" : ", at most " + std::to_string(most);
}

void printAttribute(const Attribute& attribute) {
    std::printf(".It Va %s\n", attribute.getItemName());
    printWrapped(contentOf(attribute) + rangeOf(attribute) + limitOf(attribute) +
                 defaultOf(attribute) + flagsOf(attribute));
}

// Whether the row says something else than the base class's row of the same attribute.
bool isChanged(const Attribute& attribute, const Attribute& inherited) {
    return rangeOf(attribute) + limitOf(attribute) + defaultOf(attribute) !=
           rangeOf(inherited) + limitOf(inherited) + defaultOf(inherited);
}

void printClass(const ObjectClass& objectClass) {
    std::printf(".Ss %s\n", objectClass.getItemName());
    const ObjectClass* const base = objectClass.getBaseClass();
    const unsigned inherited = base != nullptr ? base->getAttributeCount() : 0;
    if (objectClass.isAbstract()) {
        std::printf("Only a base of other classes.\n");
    }
    if (base != nullptr) {
        std::printf("Has the attributes of\n.Vt %s .\n", base->getItemName());
    }
    bool begun = false;
    for (unsigned i = 0; i < objectClass.getAttributeCount(); i++) {
        const Attribute& attribute = *objectClass.getAttribute(i);
        if (i < inherited && !isChanged(attribute, *base->getAttribute(i))) {
            continue;
        }
        if (!begun) {
            std::printf(".Bl -tag -width \"queueEntryCount\" -compact\n");
            begun = true;
        }
        printAttribute(attribute);
    }
    if (begun) {
        std::printf(".El\n");
    }
}

int printPage(const char* path) {
    const std::unique_ptr<FILE, int (*)(FILE*)> page(std::fopen(path, "re"), std::fclose);
    bool placed = false;
    char line[1024];
    while (page != nullptr && std::fgets(line, sizeof line, page.get()) != nullptr) {
        if (std::strcmp(line, PLACE) != 0) {
            std::fputs(line, stdout);
            continue;
        }
        placed = true;
        for (unsigned row = 0; row < Config::theConfig->getClassCount(); row++) {
            printClass(*Config::theConfig->getClass(row));
        }
    }
    if (!placed || std::ferror(page.get()) != 0 || std::fflush(stdout) != 0) {
        std::fprintf(stderr, "class_table: no page from '%s'\n", path);
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: class_table template\n");
        return 1;
    }
    Config::init();
    const int result = printPage(argv[1]);
    Config::destroy();
    return result;
}
