// The server's schema as the library sees it. That the rows add up to the counts of the class tree
// is checked while compiling.

#include "config/menu.h"
#include "tests/config/loader_fixture.h"

#include <cstring>
#include <map>
#include <set>

using namespace HConfig;

namespace {

class CatalogueTest : public LoaderTest {
protected:
    static std::vector<const ObjectClass*> classes() {
        std::vector<const ObjectClass*> result;
        for (unsigned row = 0; row < Config::theConfig->getClassCount(); row++) {
            result.push_back(Config::theConfig->getClass(row));
        }
        return result;
    }

    static const Attribute& attribute(const char* className, unsigned index) {
        return *Config::theConfig->findClass(className)->getAttribute(index);
    }

    static std::string nameOf(const Attribute& attribute) {
        return std::string(attribute.getOwner().getItemName()) + "." + attribute.getItemName();
    }
};

TEST_F(CatalogueTest, NamesAndUidsAreUnique) {
    std::set<std::uint32_t> classUids;
    std::map<std::uint32_t, std::string> attributeUids;
    for (const ObjectClass* objectClass : classes()) {
        EXPECT_TRUE(classUids.insert(objectClass->getItemUid()).second);
        EXPECT_EQ(objectClass, Config::theConfig->findClass(objectClass->getItemName()));
        for (const Attribute& a : attributesOf(*objectClass)) {
            EXPECT_EQ(&a, objectClass->findAttribute(a.getItemName())) << nameOf(a);
            EXPECT_EQ(&a, objectClass->findAttribute(a.getItemUid())) << nameOf(a);
            EXPECT_EQ(a.getItemName(),
                      attributeUids.emplace(a.getItemUid(), a.getItemName()).first->second);
        }
    }
}

TEST_F(CatalogueTest, RowsBeginWithThoseOfTheBaseClass) {
    for (const ObjectClass* objectClass : classes()) {
        const ObjectClass* base = objectClass->getBaseClass();
        EXPECT_EQ(objectClass->getDesc().baseUid != 0, base != nullptr);
        for (unsigned i = 0; base != nullptr && i < base->getAttributeCount(); i++) {
            EXPECT_EQ(&base->getAttribute(i)->getDefinition(),
                      &objectClass->getAttribute(i)->getDefinition())
                << objectClass->getItemName() << " " << i;
        }
    }
    EXPECT_STREQ("logType", attribute("POP3Service", 0).getItemName());
    EXPECT_EQ(&attribute("ProcessingService", 0).getDefinition(),
              &attribute("LogService", 0).getDefinition());
}

// Other code names attributes by these indexes.
TEST_F(CatalogueTest, KnownIndexesStayWhereTheyAre) {
    struct Row {
        const char* className;
        unsigned index;
        const char* name;
    };
    const Row rows[] = {
        {"Server", 7, "primaryDomain"},
        {"Server", 18, "processing"},
        {"Server", 36, "clusterSettings"},
        {"ProcessingService", 7, "queueEntryCount"},
        {"TCPListener", 12, "sslControl"},
        {"ProxyTCPListener", 13, "listenerDomain"},
        {"TcpRule", 8, "peerTimeInterval"},
        {"DNRService", 6, "nameServers"},
        {"POP3Service", 16, "greetingsText"},
        {"IMAPService", 16, "greetingsText"},
        {"SMTPInService", 13, "enableSmtpRouting"},
        {"Filters", 3, "integratedFilters"},
        {"Domain", 1, "aliases"},
        {"Domain", 38, "backupLabels"},
        {"DomainAdminLimits", 27, "purgeConstraint"},
        {"User", 1, "aliases"},
        {"UserV41", 11, "aliases"},
        {"Maillist", 16, "requestRcpt"},
        {"UserWebmailData", 22, "startWorkingTime"},
        {"UserLimits", 107, "peaUsernameRecoveryFileNameInherited"},
        {"LdapConnector", 2, "ldapURI1"},
        {"clusterSettings", 1, "clusterKey"},
    };
    for (const Row& row : rows) {
        EXPECT_STREQ(row.name, attribute(row.className, row.index).getItemName());
    }
}

// What a file of a complete object would hold must be accepted when it is read again.
TEST_F(CatalogueTest, EveryDefaultPassesItsOwnConstraint) {
    for (const ObjectClass* objectClass : classes()) {
        const std::unique_ptr<Object> object(objectClass->newObject());
        if (object == nullptr) {
            EXPECT_TRUE(objectClass->isAbstract());
            continue;
        }
        object->setToDefault(false);
        for (const Attribute& a : attributesOf(*objectClass)) {
            const bool isNumber = a.isOfType(TYPE_UNSIGNED_INT) || a.isOfType(TYPE_CHOICE) ||
                                  a.isOfType(TYPE_CHOICE_SET);
            const bool isServersOwn = a.getDesc().defaultId >= DEFAULT_PRIMARY_DOMAIN &&
                                      a.getDesc().defaultId <= DEFAULT_TCP_LISTENER_PARAMETER;
            if (a.getKind() != KIND_VALUE || a.hasFlag(FLAG_REQUIRED) || isServersOwn ||
                (a.getDefault() == nullptr && !isNumber)) {
                continue;
            }
            EXPECT_TRUE(object->checkValue(a.getIndex())) << nameOf(a);
            if (a.getDesc().defaultId == DEFAULT_UINT_CONSTANT) {
                EXPECT_EQ(CONFIG_DESC.defaultParams[a.getDesc().defaultParams].asUnsigned(),
                          object->getValue(a.getIndex()).asUnsigned())
                    << nameOf(a);
            } else if (a.getDesc().defaultId == DEFAULT_STRING_CONSTANT) {
                EXPECT_STREQ(CONFIG_DESC.defaultParams[a.getDesc().defaultParams].asText(),
                             object->getValue(a.getIndex()).asText());
                EXPECT_LT(std::strlen(object->getValue(a.getIndex()).asText()), 4096U);
            }
        }
    }
}

TEST_F(CatalogueTest, ChildrenAreOfKnownClassesAndMembersHaveKeys) {
    for (const ObjectClass* objectClass : classes()) {
        for (const Attribute& a : attributesOf(*objectClass)) {
            if (a.getKind() == KIND_OBJECT || a.getKind() == KIND_OBJECT_SET) {
                ASSERT_NE(nullptr, a.getObjectClass()) << nameOf(a);
                EXPECT_FALSE(a.getObjectClass()->isAbstract()) << nameOf(a);
                EXPECT_TRUE(a.getKind() == KIND_OBJECT || a.getObjectClass()->getKeyCount() > 0)
                    << nameOf(a);
            } else {
                EXPECT_NE(nullptr, a.getValueType()) << nameOf(a);
            }
        }
    }
}

TEST_F(CatalogueTest, ChoicesOfASetAreBitsOrShorthandsForBits) {
    unsigned menus = 0;
    for (unsigned id = 0; id < CONFIG_DESC.menuCount; id++) {
        const Menu* menu = Menu::getMenu(id);
        std::set<std::string> names;
        std::uint32_t bits = 0;
        for (unsigned i = 0; i < menu->getChoiceCount(); i++) {
            const Choice& choice = menu->getChoice(i);
            EXPECT_TRUE(names.insert(choice.name).second) << menu->getName();
            const bool isBit = choice.value != 0 && (choice.value & (choice.value - 1)) == 0;
            EXPECT_TRUE(!menu->isMultiple() || isBit || (choice.value & ~bits) == 0) << choice.name;
            bits |= choice.value;
        }
        menus += names.empty() ? 0 : 1;
    }
    EXPECT_EQ(49U, menus);
    EXPECT_STREQ("receiveFrom", Menu::getMenu(51)->getName());
    unsigned value = 0;
    EXPECT_TRUE(Menu::getMenu(2)->nameToValue("(LOG smtp)", value));
    EXPECT_EQ(0xDU, value);
}

TEST_F(CatalogueTest, AnEmptyServerIsComplete) {
    ASSERT_EQ(0, load("Server {}"));
    const char* const rows[][2] = {
        {"services", "(log processing smtpIncoming smtpOutgoing pop3 imap cli webadmin)"},
        {"sslRandomFile", "none"},
        {"enableIOSynchronization", "no"},
        {"defaultTimeZone", "GMT"},
        {"domainStorageParams", "()"},
        {"sendStatisticsEmail", "yes"},
        {"processing.logType", "internal"},
        {"processing.logHost", "127.0.0.1:2000"},
        {"processing.queuePath", "queue"},
        {"processing.queueEntryCount", "64"},
        {"log.rules", "()"},
        {"pop3.maxAuthErrors", "5"},
        {"pop3.serviceAccessControl.timeInterval", "60"},
        {"pop3.greetingsText", "MORVEX POP3 server on %D ready %U"},
        {"clusterSettings.runMode", "standAlone"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row[1], show(row[0])) << row[0];
    }
}

} // namespace
