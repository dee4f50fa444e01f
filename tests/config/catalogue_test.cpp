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
        {"ProcessingService", 6, "queuePath"},
        {"ProcessingService", 7, "queueEntryCount"},
        {"TCPListener", 12, "sslControl"},
        {"ProxyTCPListener", 13, "listenerDomain"},
        {"TcpRule", 8, "peerTimeInterval"},
        {"DNRService", 6, "nameServers"},
        {"POP3Service", 16, "greetingsText"},
        {"IMAPService", 16, "greetingsText"},
        {"SMTPInService", 13, "enableSmtpRouting"},
        {"Filters", 3, "integratedFilters"},
        {"Domain", 0, "name"},
        {"Domain", 1, "aliases"},
        {"Domain", 26, "sharedFoldersNamespace"},
        {"Domain", 34, "domainUniversalUniqueID"},
        {"Domain", 38, "backupLabels"},
        {"DomainAdminLimits", 22, "subdomainStorageLocation"},
        {"DomainAdminLimits", 27, "purgeConstraint"},
        {"User", 1, "aliases"},
        {"UserV41", 11, "aliases"},
        {"Maillist", 14, "subscribeRcpt"},
        {"Maillist", 16, "requestRcpt"},
        {"UserWebmailData", 15, "timeZone"},
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

TEST_F(CatalogueTest, EveryServiceThatListensHasItsPort) {
    struct Row {
        const char* className;
        DefaultIds defaultId;
        unsigned port;
    };
    const Row rows[] = {
        {"LogService", DEFAULT_UDP_LISTENER, 2000},
        {"ReportingService", DEFAULT_UDP_LISTENER, 161},
        {"SMTPInService", DEFAULT_TCP_LISTENER, 25},
        {"POP3Service", DEFAULT_TCP_LISTENER, 110},
        {"IMAPService", DEFAULT_TCP_LISTENER, 143},
        {"WebMailService", DEFAULT_TCP_LISTENER, 8000},
        {"WebAdminService", DEFAULT_TCP_LISTENER, 9000},
        {"CLIService", DEFAULT_TCP_LISTENER, 7000},
        {"FTPBackupService", DEFAULT_TCP_LISTENER, 21},
        {"ProxyPOP3Service", DEFAULT_TCP_LISTENER, 8110},
        {"ProxyIMAPService", DEFAULT_TCP_LISTENER, 8143},
        {"WebmailProxyService", DEFAULT_TCP_LISTENER, 8800},
    };
    for (const Row& row : rows) {
        const AttributeDesc& desc =
            Config::theConfig->findClass(row.className)->findAttribute("listeners")->getDesc();
        EXPECT_EQ(row.defaultId, desc.defaultId) << row.className;
        EXPECT_EQ(row.port, CONFIG_DESC.defaultParams[desc.defaultParams].asUnsigned());
        EXPECT_EQ(32U, desc.maxCount);
    }
}

TEST_F(CatalogueTest, NumbersStayWithinTheirIntervals) {
    struct Row {
        const char* attribute;
        const char* good;
        const char* bad;
    };
    const Row rows[] = {
        {"logLevel", "31", "32"},         {"logLevel", "0", "-1"},
        {"queueEntryCount", "1", "0"},    {"queueEntryCount", "256", "257"},
        {"maxSchedInterval", "5", "4"},   {"schedInterval", "86400", "86401"},
        {"greylistingCache", "1440", ""}, {"procQueueSize", "2", "1"},
    };
    const std::unique_ptr<Object> object(ProcService::newObject());
    for (const Row& row : rows) {
        const unsigned index = object->getObjectClass()->findAttribute(row.attribute)->getIndex();
        EXPECT_EQ(0, object->setStringValue(index, row.good)) << row.attribute;
        EXPECT_EQ(-1, object->setStringValue(index, row.bad)) << row.attribute;
    }
}

TEST_F(CatalogueTest, AnEmptyServerIsComplete) {
    ASSERT_EQ(0, load("Server {}"));
    const char* const rows[][2] = {
        {"services", "(log processing smtpIncoming smtpOutgoing pop3 imap cli webadmin)"},
        {"serverName", ""},
        {"sslRandomFile", "none"},
        {"smtpFiltersFile", "filters/smtpFilters.script"},
        {"primaryDomain", ""},
        {"enableIOSynchronization", "no"},
        {"maxIndexingThreads", "2"},
        {"maxMigrationThreads", "10"},
        {"defaultTimeZone", "GMT"},
        {"defaultLanguage", "en"},
        {"serverDataLocation", "serverData"},
        {"domainStorageParams", "()"},
        {"sendStatisticsEmail", "yes"},
        {"postmasterStatisticsEmailAddress", ""},
        {"processing.logType", "internal"},
        {"processing.logLevel", "15"},
        {"processing.logHost", "127.0.0.1:2000"},
        {"processing.maxSchedInterval", "28800"},
        {"processing.schedInterval", "300"},
        {"processing.maxRetryCount", "20"},
        {"processing.queuePath", "queue"},
        {"processing.queueEntryCount", "64"},
        {"processing.procQueueSize", "256"},
        {"processing.deliveryThreads", "20"},
        {"processing.messagesPerSecond", "20"},
        {"processing.disableInterval", "300"},
        {"processing.filteringThreads", "20"},
        {"processing.greylistingCache", "10"},
        {"log.path", "log"},
        {"log.rules", "()"},
        {"pop3.maxConnThreads", "20"},
        {"pop3.minConnThreads", "1"},
        {"pop3.maxErrors", "20"},
        {"pop3.maxAuthErrors", "5"},
        {"pop3.serviceAccessControl.timeInterval", "60"},
        {"pop3.greetingsText", "MORVEX POP3 server on %D ready %U"},
        {"filters.integratedFilters", "()"},
        {"clusterSettings.runMode", "standAlone"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row[1], show(row[0])) << row[0];
    }
}

} // namespace
