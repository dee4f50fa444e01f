// The registry of classes and attributes, and the words that describe them.

#include "config/default.h"
#include "config/menu.h"
#include "tests/config/test_schema.h"

#include <algorithm>
#include <thread>
#include <vector>

using namespace HConfig;
using namespace testschema;

namespace {

class SchemaTest : public ConfigTest {};

// What is found by its own name and uid is checked on the whole catalogue.
TEST_F(SchemaTest, FindsNamesInAnyCaseAndNothingElse) {
    const Config& config = *Config::theConfig;
    EXPECT_EQ(config.getClass(PAIR)->getIndex(), PAIR);
    EXPECT_EQ(config.findClass("rOOT"), config.getClass(ROOT));
    EXPECT_EQ(config.findClass("Roo"), nullptr);
    EXPECT_EQ(config.findClass("Roots"), nullptr);
    EXPECT_EQ(config.getClassByUid(21), config.getClass(PAIR));
    EXPECT_EQ(config.getClassByUid(0), nullptr);
    EXPECT_EQ(config.getClassByUid(12345), nullptr);
    const ObjectClass& root = classOf(ROOT);
    EXPECT_EQ(root.findAttribute("CSTAGS"), root.getAttribute(CS_TAGS));
    EXPECT_EQ(root.findAttribute("tag"), nullptr);
    EXPECT_EQ(root.findAttribute(""), nullptr);
    EXPECT_EQ(root.findAttribute(9999u), nullptr);
}

TEST_F(SchemaTest, SubclassesShareDefinitionsAndKeepTheirOwnParameters) {
    const Attribute& inBase = attribute(BASE, LEVEL);
    const Attribute& inLeaf = attribute(LEAF, LEVEL);
    EXPECT_EQ(&inBase.getDefinition(), &inLeaf.getDefinition());
    EXPECT_NE(inBase.getDefault(), inLeaf.getDefault());
    EXPECT_EQ(classOf(LEAF).getBaseClass(), &classOf(BASE));
    EXPECT_TRUE(classOf(LEAF).isKindOfUid(10));
    EXPECT_TRUE(classOf(LEAF).isKindOfRow(BASE));
    EXPECT_FALSE(classOf(BASE).isKindOfRow(LEAF));
    const auto object = make(LEAF);
    object->setAllToDefault();
    object->setToDefault(false);
    EXPECT_EQ(object->getValue(LEVEL).asUnsigned(), 20u);
}

TEST_F(SchemaTest, LeavesWhatIsNotThereNull) {
    const ObjectClass& orphan = classOf(ORPHAN);
    EXPECT_EQ(orphan.getBaseClass(), nullptr);
    EXPECT_EQ(orphan.getAttribute(0)->getObjectClass(), nullptr);
    EXPECT_EQ(orphan.getAttribute(1)->getConstraint(), nullptr) << "described, but without a class";
    EXPECT_STREQ(ConstraintFactory::getDesc(CONSTRAINT_LDAP_URI).name, "LdapURI");
    EXPECT_EQ(make(ORPHAN)->getChildObject(0), nullptr);
    EXPECT_EQ(attribute(ROOT, SERVER_DEFAULT).getDefault(), nullptr);
    EXPECT_EQ(Config::getValueType(TYPE_COUNT), nullptr);
    EXPECT_EQ(Menu::getMenu(3), nullptr);
    EXPECT_EQ(classOf(BASE).newObject(), nullptr);
}

TEST_F(SchemaTest, ChoicesHaveTheirMenuAlsoWithIdZero) {
    const Attribute& choice = attribute(ROOT, TYPE_CHOICE);
    ASSERT_NE(choice.getConstraint(), nullptr);
    EXPECT_TRUE(choice.isValueCorrect(nullptr, Value(1)));
    EXPECT_FALSE(choice.isValueCorrect(nullptr, Value(2)));
    EXPECT_STREQ(choice.getConstraint()->getConstraintDesc().name, "YesNo");
    EXPECT_EQ(choice.getConstraint()->getId(), 0u);
    EXPECT_EQ(attribute(ROOT, FIRST_VALUE).getConstraint(), nullptr) << "0 is none elsewhere";
}

TEST_F(SchemaTest, NamesTheContentOfAttributes) {
    EXPECT_STREQ(attribute(ROOT, TYPE_CHOICE_SET).getContentTypeString(), "ChoiseSet");
    EXPECT_STREQ(attribute(ROOT, TAGS).getContentTypeString(), "String");
    EXPECT_STREQ(attribute(ROOT, MEMBERS).getContentTypeString(), "Leaf");
    EXPECT_STREQ(getConfigTypeDesc(KIND_OBJECT_SET).name, "OBJECT-SET");
    EXPECT_STREQ(getConfigTypeDesc(KIND_VALUE).description, "A single value");
    EXPECT_STREQ(getAttributeFlagDesc(FLAG_INTERNAL).name, "INTERNAL");
    EXPECT_STREQ(getAttributeFlagDesc(FLAG_ENCODABLE).description, "Encodable attribute");
}

TEST_F(SchemaTest, CastsAnswerByTheClassTree) {
    const auto leafObject = make(LEAF);
    void* const object = leafObject.get();
    EXPECT_EQ(leafObject->doCastInternal(RowObject::getRowClassId(LEAF)), object);
    EXPECT_EQ(leafObject->doCastInternal(RowObject::getRowClassId(BASE)), object);
    EXPECT_EQ(leafObject->doCastInternal(Object::getCastableClassId()), object);
    EXPECT_EQ(leafObject->doCastInternal(RowObject::getRowClassId(ROOT)), nullptr);
    EXPECT_EQ(leafObject->doCastInternal(nullptr), nullptr);
    EXPECT_EQ(leafObject->getOwnCastableId(), RowObject::getRowClassId(LEAF));
    EXPECT_EQ(leafObject->encodingCast(11), leafObject.get());
    EXPECT_EQ(leafObject->encodingCast(10), nullptr);
}

// Attributes are made on first use: all threads must see the same ones, complete.
TEST_F(SchemaTest, ThreadsResolveAClassOnce) {
    constexpr unsigned THREADS = 8;
    std::vector<const Attribute*> seen(THREADS);
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < THREADS; ++i) {
        threads.emplace_back([&seen, i] {
            const Attribute* last = nullptr;
            for (unsigned row = 0; row < Config::theConfig->getClassCount(); ++row) {
                const ObjectClass* objectClass = Config::theConfig->getClass(row);
                last = objectClass->getAttribute(objectClass->getAttributeCount() - 1);
                if (last->getValueType() == nullptr && last->getObjectClass() == nullptr) {
                    return;
                }
            }
            seen[i] = last;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_NE(seen[0], nullptr);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), seen[0]), THREADS);
}

// A server layer gives an id of its own a default; such a factory knows nothing of arenas.
TEST(DefaultFactoryTest, TakesTheFactoryOfAnotherLayer) {
    static int alive = 0;
    class HostName final : public Default {
    public:
        HostName() : Default(DEFAULT_PRIMARY_DOMAIN) { ++alive; }
        ~HostName() override { --alive; }
        void setToDefault(const Attribute* attribute, Object* object) const override {
            object->setStringValue(attribute->getIndex(), "host.example");
        }
    };
    class Factory final : public DefaultFactory {
    public:
        Default* getDefault(const DefaultParamValue*) const override { return new HostName; }
    };
    static const Factory factory;
    DefaultFactory::registerFactory(DEFAULT_PRIMARY_DOMAIN, &factory);
    Config::init(SCHEMA);
    {
        const std::unique_ptr<Object> root(RowObject::newRowObject(ROOT));
        root->setToDefault(true);
        EXPECT_STREQ(root->getValue(SERVER_DEFAULT).asText(), "host.example");
        EXPECT_STREQ(root->getObjectClass()
                         ->getAttribute(SERVER_DEFAULT)
                         ->getDefault()
                         ->getDefaultDesc()
                         .name,
                     "PrimaryDomain");
    }
    Config::destroy();
    DefaultFactory::registerFactory(DEFAULT_PRIMARY_DOMAIN, nullptr);
    EXPECT_EQ(alive, 0);
}

} // namespace
