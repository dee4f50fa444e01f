// Objects: values, sets, children, keys, defaults, listeners.

#include "common/error.h"
#include "tests/config/test_schema.h"

#include <algorithm>
#include <cstring>
#include <latch>
#include <string>
#include <thread>
#include <vector>

using namespace HConfig;
using namespace testschema;

namespace {

class ObjectsTest : public ConfigTest {
protected:
    std::unique_ptr<Object> root = make(ROOT);

    // The names of a set's leaves, in order.
    static std::string names(const Object& object, unsigned index) {
        std::string all;
        ObjectIterator at;
        object.getObjectIterator(index, at);
        while (const Object* member = at.next()) {
            all += std::string(member->getValue(NAME).asText()) + " ";
        }
        return all;
    }
    int add(unsigned index, std::unique_ptr<Object> object) {
        const int result = root->addObject(index, object.get());
        if (result == 0) {
            object.release();
        }
        return result;
    }
};

// The first key value of a Pair.
class FirstOfPair final : public AKey {
public:
    explicit FirstOfPair(unsigned first) : value(first) {}
    const ObjectClass* getKeyDesc(std::vector<Value>& values) const override {
        values.push_back(value);
        return Config::theConfig->getClass(PAIR);
    }

private:
    Value value;
};

TEST_F(ObjectsTest, FreshObjectsHaveEmptyFormsOnly) {
    EXPECT_EQ(root->getValue(LIMITED).asUnsigned(), 0u) << "no defaults";
    ASSERT_NE(root->getChildObject(CHILD), nullptr);
    EXPECT_NE(root->getChildObject(PART), nullptr);
    EXPECT_EQ(root->getChildObject(LAZY), nullptr);
    EXPECT_EQ(root->getValueCount(TAGS), 0u);
    EXPECT_EQ(root->getObjectCount(OWN_MEMBERS), 0u);
    EXPECT_STREQ(root->getChildObject(CHILD)->getValue(NOTE).asText(), "");

    RowObject shallow(ROOT);
    shallow.doInit(false, false);
    EXPECT_EQ(shallow.getChildObject(PART), nullptr);
    EXPECT_EQ(shallow.getObjectCount(OWN_MEMBERS), 0u) << "a set that is not there";
    EXPECT_EQ(shallow.removeObject(OWN_MEMBERS, root.get()), -1);
    shallow.setValue(LIMITED, Value(8u));
    shallow.doInit(true, true);
    EXPECT_EQ(shallow.getValue(LIMITED).asUnsigned(), 8u) << "filled slots stay";
    EXPECT_EQ(shallow.getChildObject(PART)->getValue(LEVEL).asUnsigned(), 20u);

    RowObject defaulted(ROOT);
    defaulted.doInit(true, true);
    EXPECT_EQ(defaulted.getValue(LIMITED).asUnsigned(), 7u);
    EXPECT_EQ(defaulted.getValueCount(FOLDERS), 3u);
}

TEST_F(ObjectsTest, FailedStoresLeaveTheOldValue) {
    ASSERT_EQ(root->setStringValue(SHORT_TEXT, "four"), 0);
    EXPECT_EQ(root->setStringValue(SHORT_TEXT, "fiver"), -1);
    EXPECT_EQ(root->setValue(SHORT_TEXT, text("fiver")), -1);
    EXPECT_STREQ(root->getValue(SHORT_TEXT).asText(), "four");
    EXPECT_EQ(root->setStringValue(LIMITED, "7"), 0);
    EXPECT_EQ(root->setStringValue(LIMITED, "eight"), -1);
    EXPECT_EQ(root->getValue(LIMITED).asUnsigned(), 7u);
    EXPECT_TRUE(root->checkValue(LIMITED));
    char buffer[4] = "xxx";
    EXPECT_EQ(root->getStringValue(SHORT_TEXT, buffer, sizeof buffer), -1);
    EXPECT_STREQ(buffer, "");
}

TEST_F(ObjectsTest, FastSetTakesTheTextOver) {
    char* owned = new char[5];
    std::memcpy(owned, "four", 5);
    Value value = text(owned);
    ASSERT_EQ(root->fastSetValue(SHORT_TEXT, value), 0);
    EXPECT_EQ(root->getValue(SHORT_TEXT).asText(), owned);
    EXPECT_TRUE(value.isEmpty());
    value = text("too long");
    EXPECT_EQ(root->fastSetValue(SHORT_TEXT, value), -1);
    EXPECT_STREQ(value.asText(), "too long") << "still the caller's";
    EXPECT_EQ(root->getValue(SHORT_TEXT).asText(), owned);
}

TEST_F(ObjectsTest, ValueSetsHoldEachValueOnce) {
    ASSERT_EQ(root->addStringValue(TAGS, "b"), 0);
    ASSERT_EQ(root->addValue(TAGS, text("a")), 0);
    EXPECT_EQ(errorOf(root->addStringValue(TAGS, "A")), HE_CFG_VALUE_EXISTS);
    EXPECT_EQ(errorOf(root->addValue(TAGS, text("B"))), HE_CFG_VALUE_EXISTS);
    ASSERT_EQ(root->addStringValue(TAGS, "c"), 0);
    EXPECT_EQ(errorOf(root->addStringValue(TAGS, "d")), HE_CFG_TOO_MANY_OBJECTS);
    EXPECT_TRUE(root->hasValue(TAGS, text("C")));
    EXPECT_FALSE(root->hasValue(TAGS, text("d")));

    ValueIterator at;
    root->getValueIterator(TAGS, at);
    EXPECT_STREQ(at.next()->asText(), "a");
    EXPECT_STREQ(at.next()->asText(), "b");
    ValueResult copies(true);
    EXPECT_EQ(root->listValues(TAGS, copies), 3u);
    EXPECT_EQ(root->removeStringValue(TAGS, "B"), 0);
    EXPECT_STREQ(copies.get(1).asText(), "b") << "copies outlive the set's values";
    EXPECT_EQ(errorOf(root->removeValue(TAGS, text("B"))), HE_CFG_VALUE_NOT_FOUND);
    root->removeAllValues(TAGS);
    EXPECT_EQ(root->getValueCount(TAGS), 0u);

    EXPECT_EQ(root->addStringValue(CS_TAGS, "a"), 0);
    EXPECT_EQ(root->addStringValue(CS_TAGS, "A"), 0) << "case counts";
}

TEST_F(ObjectsTest, UpdateValuesIsAllOrNothing) {
    root->addStringValue(TAGS, "a");
    root->addStringValue(TAGS, "b");
    const char* kept = nullptr;
    ValueIterator at;
    root->getValueIterator(TAGS, at);
    at.next();
    kept = at.next()->asText();

    ValueSet wanted(*Config::getValueType(TYPE_STRING));
    for (const char* one : {"B", "c", "d"}) {
        wanted.addValue(text(one));
    }
    ASSERT_EQ(root->updateValues(TAGS, wanted), 0);
    EXPECT_EQ(root->getValueCount(TAGS), 3u);
    root->getValueIterator(TAGS, at);
    EXPECT_EQ(at.next()->asText(), kept) << "equal members stay as they are";
    wanted.addValue(text("e"));
    EXPECT_EQ(root->updateValues(TAGS, wanted), -1) << "more than the limit";
    EXPECT_FALSE(root->hasValue(TAGS, text("e")));

    RowObject bare(ROOT);
    bare.doInit(false, true);
    EXPECT_EQ(bare.updateValues(CS_TAGS, wanted), 0);
    EXPECT_EQ(bare.getValueCount(CS_TAGS), 4u);
}

TEST_F(ObjectsTest, ObjectSetsAreKeptInKeyOrderWithoutEquals) {
    EXPECT_EQ(add(MEMBERS, leaf("b")), 0);
    EXPECT_EQ(add(MEMBERS, leaf("a")), 0);
    EXPECT_EQ(errorOf(add(MEMBERS, leaf("B", 9))), HE_CFG_OBJECT_EXISTS);
    EXPECT_EQ(add(MEMBERS, leaf("c")), 0);
    EXPECT_EQ(errorOf(add(MEMBERS, leaf("d"))), HE_CFG_TOO_MANY_OBJECTS);
    EXPECT_EQ(names(*root, MEMBERS), "a b c ");
    EXPECT_EQ(root->findObject(MEMBERS, leaf("B").get())->getValue(LEVEL).asUnsigned(), 1u)
        << "the first stays";
    EXPECT_EQ(errorOf(root->removeObject(MEMBERS, leaf("x").get())), HE_CFG_OBJECT_NOT_FOUND);
    EXPECT_EQ(root->removeObject(MEMBERS, leaf("A").get()), 0);
    EXPECT_EQ(names(*root, MEMBERS), "b c ");
    root->removeAllObjects(MEMBERS);
    EXPECT_EQ(root->getObjectCount(MEMBERS), 0u);
}

TEST_F(ObjectsTest, PartialKeysMatchAllThatStartWithThem) {
    for (unsigned a = 1; a <= 3; ++a) {
        for (unsigned b = 1; b <= a; ++b) {
            ASSERT_EQ(add(OWN_MEMBERS, pair(a, b)), 0);
        }
    }
    ObjectResult found;
    EXPECT_EQ(root->findObjects(OWN_MEMBERS, std::make_unique<FirstOfPair>(2).get(), found), 2u);
    EXPECT_EQ(found.get(1)->getValue(PAIR_B).asUnsigned(), 2u);
    const FirstOfPair third(3);
    EXPECT_EQ(root->findObjects(OWN_MEMBERS, &third, found), 3u) << "the result is emptied first";
    EXPECT_EQ(root->findObject(OWN_MEMBERS, &third)->getValue(PAIR_B).asUnsigned(), 1u);
    EXPECT_EQ(pair(3, 2)->compareTo(&third), 0);
    EXPECT_GT(pair(3, 2)->compareTo(std::make_unique<FirstOfPair>(2).get()), 0);
    EXPECT_TRUE(root->hasObject(OWN_MEMBERS, pair(3, 2).get()));
    EXPECT_FALSE(root->hasObject(OWN_MEMBERS, pair(2, 3).get()));

    const struct {
        unsigned low, high, count;
    } ranges[] = {{1, 3, 6}, {2, 2, 2}, {2, 9, 5}, {0, 1, 1}, {4, 9, 0}, {3, 1, 0}};
    for (const auto& range : ranges) {
        const FirstOfPair low(range.low);
        const FirstOfPair high(range.high);
        ObjectIterator at;
        root->getRangeObjectIterator(OWN_MEMBERS, &low, &high, at);
        unsigned count = 0;
        while (at.next() != nullptr) {
            ++count;
        }
        EXPECT_EQ(count, range.count) << range.low << " to " << range.high;
    }
}

TEST_F(ObjectsTest, SetsCompare) {
    const auto other = make(ROOT);
    for (const char* name : {"a", "b"}) {
        add(MEMBERS, leaf(name));
    }
    for (const char* name : {"B", "c"}) {
        other->addObject(MEMBERS, leaf(name).release());
    }
    ObjectResult here;
    ObjectResult there(true);
    root->diffObjectSet(MEMBERS, other.get(), here, there);
    ASSERT_EQ(here.size(), 1);
    EXPECT_STREQ(here.get(0)->getValue(NAME).asText(), "a");
    ASSERT_EQ(there.size(), 1);
    EXPECT_STREQ(there.get(0)->getValue(NAME).asText(), "c");
    EXPECT_NE(there.get(0), other->findObject(MEMBERS, there.get(0))) << "a clone";
}

TEST_F(ObjectsTest, MarkersTellWhatNeedsNoDefault) {
    const auto object = make(LEAF);
    ObjectMarker marker(LEAF_COUNT);
    EXPECT_EQ(object->setToDefault(marker), -1) << "the name is required";
    EXPECT_EQ(object->getValue(LEVEL).asUnsigned(), 0u) << "what comes later is not set";
    object->setStringValue(NAME, "leaf");
    object->setValue(LEVEL, Value(3u));
    marker.mark(NAME);
    marker.mark(LEVEL);
    EXPECT_EQ(object->setToDefault(marker), 0);
    EXPECT_EQ(object->getValue(LEVEL).asUnsigned(), 3u) << "marked values stay";
    EXPECT_STREQ(object->getValue(NOTE).asText(), "a note");
    EXPECT_TRUE(object->isObjectValid());
}

// Which attributes the four walks leave alone, and when they stop.
TEST_F(ObjectsTest, DefaultWalks) {
    for (const bool first : {false, true}) {
        for (const bool second : {false, true}) {
            const auto object = make(ROOT);
            object->getChildObject(PART)->setValue(LEVEL, Value(3u));
            object->addStringValue(TAGS, "gone by default");
            EXPECT_TRUE(object->doSetToDefault(first, second));
            const bool isTreated = first == second;
            EXPECT_EQ(object->getChildObject(PART)->getValue(LEVEL).asUnsigned(),
                      isTreated ? 20u : 3u)
                << first << second;
            EXPECT_EQ(object->getChildObject(CHILD)->getValue(LEVEL).asUnsigned(), 20u);
            EXPECT_EQ(object->getValueCount(TAGS), 0u);
            EXPECT_NE(object->getChildObject(LAZY), nullptr) << "an empty slot is filled";
        }
    }
    // A constraint refuses the domain's empty name.
    const auto domain = make(DOMAIN_ROW);
    domain->addStringValue(1, "alias.org");
    EXPECT_EQ(domain->setAllToDefault(), -1);
    EXPECT_EQ(domain->getValueCount(1), 1u) << "stops at the first failure";
    EXPECT_EQ(domain->setToDefault(true), -1);
    EXPECT_EQ(domain->getValueCount(1), 0u) << "goes on to the end";
}

TEST_F(ObjectsTest, ChildrenOnDemand) {
    const Attribute& lazy = attribute(ROOT, LAZY);
    Object* given = pair(1, 2).release();
    root->doInitAttrOnDemand(lazy, given, false);
    EXPECT_EQ(root->getChildObject(LAZY), given);
    const auto unused = pair(3, 4);
    root->doInitAttrOnDemand(lazy, unused.get(), false);
    EXPECT_EQ(root->getChildObject(LAZY), given) << "only an empty slot is filled";
    EXPECT_EQ(root->fastSetChildObject(LAZY, pair(5, 6).release()), 0);
    EXPECT_EQ(root->getChildObject(LAZY)->getValue(PAIR_A).asUnsigned(), 5u);

    const auto other = make(ROOT);
    EXPECT_EQ(other->setChildObject(LAZY, root->getChildObject(LAZY), true), 0);
    EXPECT_EQ(other->getChildObject(LAZY)->getValue(PAIR_B).asUnsigned(), 6u);
    EXPECT_EQ(std::unique_ptr<Object>(root->newChildObjectInstance(LAZY))->getObjectClass(),
              &classOf(PAIR));
    EXPECT_EQ(root->newChildObjectInstance(TAGS), nullptr);
}

// A child that can wait is made when it is looked at, in the state that it would be in by then.
TEST_F(ObjectsTest, IdleChildrenAreMadeWhenLookedAt) {
    EXPECT_TRUE(classOf(IDLE_ROW).isTimeless());
    EXPECT_FALSE(classOf(LEAF).isTimeless()) << "a required name";
    EXPECT_FALSE(classOf(ROOT).isTimeless()) << "a date";
    const Object* fresh = root->getValue(IDLE).as<Object>();
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(fresh->getValue(IDLE_LEVEL).asUnsigned(), 0u);
    EXPECT_STREQ(fresh->getValue(IDLE_NOTE).asText(), "");
    EXPECT_EQ(root->getChildObject(IDLE), fresh);

    const auto defaulted = make(ROOT);
    defaulted->setAllToDefault();
    const auto copy = make(ROOT);
    Object* target = copy.get();
    defaulted->clone(target, true);
    for (const Object* object : {defaulted.get(), copy.get()}) {
        EXPECT_EQ(object->getChildObject(IDLE)->getValue(IDLE_LEVEL).asUnsigned(), 15u);
        EXPECT_STREQ(object->getChildObject(IDLE)->getValue(IDLE_NOTE).asText(), "a note");
    }
    const auto replaced = make(ROOT);
    EXPECT_EQ(replaced->fastSetChildObject(IDLE, make(IDLE_ROW).release()), 0);
    EXPECT_FALSE(replaced->isEqual(defaulted.get(), true));
    EXPECT_TRUE(defaulted->getChildObject(IDLE)->isEqual(copy->getChildObject(IDLE), true));
    replaced->getChildObject(IDLE)->setValue(IDLE_LEVEL, Value(3u));
    replaced->setAllToDefault();
    EXPECT_EQ(replaced->getChildObject(IDLE)->getValue(IDLE_LEVEL).asUnsigned(), 15u);
}

TEST_F(ObjectsTest, ReadersOfAnIdleChildSeeTheSameOne) {
    ObjectMarker marker(ROOT_COUNT);
    marker.mark(IDLE);
    for (int round = 0; round < 50; ++round) {
        const auto shared = make(ROOT);
        std::vector<const Object*> seen(4);
        std::vector<std::unique_ptr<Object>> copies;
        std::vector<std::thread> readers;
        std::latch start(static_cast<std::ptrdiff_t>(seen.size()));
        for (const Object*& mine : seen) {
            copies.push_back(make(ROOT));
            readers.emplace_back([&, copy = copies.back().get()]() mutable {
                start.arrive_and_wait();
                shared->clone(copy, marker, true);
                mine = shared->getChildObject(IDLE);
            });
        }
        for (std::thread& reader : readers) {
            reader.join();
        }
        ASSERT_NE(seen[0], nullptr);
        ASSERT_EQ(std::count(seen.begin(), seen.end(), seen[0]), 4);
    }
}

TEST_F(ObjectsTest, CopiesByInit) {
    add(MEMBERS, leaf("a"));
    root->addStringValue(TAGS, "tag");
    root->getChildObject(CHILD)->setStringValue(NOTE, "child's");
    RowObject copy(ROOT);
    copy.doInit(root.get(), true);
    EXPECT_EQ(copy.getChildObject(LAZY), nullptr);
    EXPECT_TRUE(copy.isEqual(root.get(), true));
    EXPECT_NE(copy.getChildObject(CHILD), root->getChildObject(CHILD));
}

} // namespace
