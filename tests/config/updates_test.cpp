// Bringing trees in line with each other, and what listeners hear of it and can veto.

#include "common/error.h"
#include "tests/config/recorder.h"
#include "tests/config/test_schema.h"

#include <string>
#include <vector>

using namespace HConfig;
using namespace testschema;

namespace {

class UpdatesTest : public ConfigTest {
protected:
    ListenedObject root{ROOT};
    Recorder recorder;
    std::unique_ptr<Object> source = make(ROOT);

    UpdatesTest() {
        // Times start at the moment of creation, which differs between two objects.
        root.setStringValue(TYPE_DATE_TIME, "03 Nov 2026");
        root.setStringValue(TYPE_TIME, "10:00");
        root.setStringValue(TYPE_STRING, "Text");
        root.addStringValue(TAGS, "a");
        root.addObject(MEMBERS, leaf("m1").release());
        root.addObject(MEMBERS, leaf("m2").release());
        root.addObject(OWN_MEMBERS, pair(1, 1).release());
        root.addObject(OWN_MEMBERS, pair(2, 2).release());
        copyRootToSource();
        root.attachCallback(&recorder, &root);
        EXPECT_EQ(recorder.heard(), "attach; ");
    }

    void copyRootToSource() {
        Object* target = source.get();
        root.clone(target, true);
    }
    // Changes of every kind in the source.
    void changeSource() {
        source->setValue(TYPE_UNSIGNED_INT, Value(5u));
        source->getChildObject(CHILD)->setStringValue(NOTE, "new");
        source->getChildObject(PART)->setStringValue(NOTE, "new");
        source->removeObject(OWN_MEMBERS, pair(1, 1).get());
        source->findObject(OWN_MEMBERS, pair(2, 2).get())->setStringValue(PAIR_TEXT, "new");
        source->addObject(OWN_MEMBERS, pair(3, 3).release());
    }
};

const std::string UPDATED = "update 1 12; child 13: 2; ";
const std::string OWN_SET = "remove 18; child 18: 2; add 18; ";

TEST_F(UpdatesTest, ClonesAreEqualAndApart) {
    EXPECT_TRUE(root.isEqual(source.get(), true));
    source->findObject(MEMBERS, leaf("m1").get())->setStringValue(NOTE, "other");
    EXPECT_FALSE(root.isEqual(source.get(), true));
    EXPECT_TRUE(root.isEqual(source.get(), false)) << "children and sets do not count";
    source->setStringValue(TYPE_STRING, "TEXT");
    EXPECT_TRUE(root.isEqual(source.get(), false)) << "case does not count in a String";
    source->setValue(INTERNAL_NUMBER, Value(9u));
    EXPECT_TRUE(root.isEqual(source.get(), false)) << "what is internal does not count";
    source->setStringValue(TYPE_CS_STRING, "x");
    EXPECT_FALSE(root.isEqual(source.get(), false));
    ObjectMarker marker(ROOT_COUNT);
    marker.mark(TYPE_STRING);
    EXPECT_TRUE(root.isEqual(source.get(), marker));
    marker.mark(INTERNAL_NUMBER);
    EXPECT_FALSE(root.isEqual(source.get(), marker));
    EXPECT_FALSE(root.isEqual(leaf("x").get(), false));
}

TEST_F(UpdatesTest, ClonesOfAPart) {
    const auto from = leaf("from", 5);
    from->setStringValue(NOTE, "note");
    Object* target = nullptr;
    ObjectMarker marker(LEAF_COUNT);
    marker.mark(LEVEL);
    from->clone(target, marker, true);
    const std::unique_ptr<Object> owned(target);
    EXPECT_EQ(target->getValue(LEVEL).asUnsigned(), 5u);
    EXPECT_STREQ(target->getValue(NAME).asText(), "");

    Object* shallow = nullptr;
    root.clone(shallow, false);
    const std::unique_ptr<Object> ownedShallow(shallow);
    EXPECT_EQ(shallow->getObjectCount(MEMBERS), 2u);
    EXPECT_EQ(shallow->getObjectCount(OWN_MEMBERS), 0u) << "a life of its own";
}

TEST_F(UpdatesTest, ASourceInAnotherCaseChangesNothing) {
    source->setStringValue(TYPE_STRING, "TEXT");
    EXPECT_FALSE(root.update(source.get(), true));
    EXPECT_EQ(recorder.heard(), "");
    EXPECT_STREQ(root.getValue(TYPE_STRING).asText(), "Text");
}

TEST_F(UpdatesTest, AFlatUpdateLeavesPartsAlone) {
    changeSource();
    const Object* member = root.findObject(MEMBERS, leaf("m1").get());
    source->removeObject(MEMBERS, leaf("m2").get());
    source->addObject(MEMBERS, leaf("m0").release());
    EXPECT_TRUE(root.update(source.get(), false));
    EXPECT_EQ(recorder.heard(), "update 1 12 17; ");
    EXPECT_EQ(root.findObject(MEMBERS, leaf("m1").get()), member) << "members keep their identity";
    EXPECT_TRUE(root.hasObject(MEMBERS, leaf("m0").get()));
    EXPECT_FALSE(root.hasObject(MEMBERS, leaf("m2").get()));
    EXPECT_STREQ(root.getChildObject(PART)->getValue(NOTE).asText(), "");
    EXPECT_TRUE(root.hasObject(OWN_MEMBERS, pair(1, 1).get()));
    EXPECT_TRUE(recorder.enabled);
}

TEST_F(UpdatesTest, ARecursiveUpdateTellsItselfFirst) {
    changeSource();
    EXPECT_TRUE(root.update(source.get(), true));
    EXPECT_EQ(recorder.heard(), UPDATED + OWN_SET);
    EXPECT_TRUE(root.isEqual(source.get(), true));
    root.update(true);
    EXPECT_EQ(recorder.heard(), "update 0 1 2 3 4 5 6 7 8 9 10 11 12 14 15 16 17 19 20 21 22 23 "
                                "24 25 26 new; child 13: 0 1 2; add 18; add 18; ");
    root.enableCallback(false);
    source->setValue(TYPE_INT, Value(1));
    EXPECT_TRUE(root.update(source.get(), true));
    EXPECT_EQ(recorder.heard(), "") << "a listener that is off";
    EXPECT_EQ(root.getValue(TYPE_INT).asInt(), 1);
}

TEST_F(UpdatesTest, APersistentUpdateTellsItsEnd) {
    changeSource();
    EXPECT_EQ(source->persistentUpdate(&root, true), -1) << "nobody listens";
    EXPECT_EQ(root.persistentUpdate(source.get(), true), 0);
    EXPECT_EQ(recorder.heard(), UPDATED + OWN_SET + "end 1 12 13 18; ");
    source->getChildObject(CHILD)->setStringValue(NOTE, "newer");
    source->setValue(TYPE_UNSIGNED_INT, Value(6u));
    ObjectMarker marker(ROOT_COUNT);
    marker.mark(CHILD);
    EXPECT_EQ(root.persistentUpdate(source.get(), marker, true), 0);
    EXPECT_EQ(recorder.heard(), "update 12; end 12; ");
}

TEST_F(UpdatesTest, ListenersOfSetsCanVeto) {
    recorder.veto = "add";
    auto refused = pair(7, 7);
    EXPECT_EQ(root.addObject(OWN_MEMBERS, refused.get()), -1);
    EXPECT_FALSE(root.hasObject(OWN_MEMBERS, refused.get()));
    recorder.veto = "remove";
    EXPECT_EQ(root.removeObject(OWN_MEMBERS, pair(1, 1).get()), -1);
    EXPECT_TRUE(root.hasObject(OWN_MEMBERS, pair(1, 1).get()));
    recorder.veto = "child";
    const auto changed = leaf("child");
    EXPECT_EQ(root.setChildObject(CHILD, changed.get(), true), -1);
    EXPECT_STREQ(root.getChildObject(CHILD)->getValue(NAME).asText(), "") << "rolled back";
    EXPECT_EQ(root.setChildObject(CHILD, changed.get(), false), 0) << "nobody is asked";
    EXPECT_STREQ(root.getChildObject(CHILD)->getValue(NAME).asText(), "child");
    EXPECT_EQ(recorder.heard(), "add 18; remove 18; child 12: 0 1; ");
}

TEST_F(UpdatesTest, MembersMoveToNewKeys) {
    const auto wanted = pair(1, 9);
    EXPECT_EQ(errorOf(root.updateObject(OWN_MEMBERS, pair(8, 8).get(), wanted.get())),
              HE_CFG_OBJECT_NOT_FOUND);
    EXPECT_EQ(errorOf(root.updateObject(OWN_MEMBERS, pair(1, 1).get(), pair(2, 2).get())),
              HE_CFG_OBJECT_EXISTS);
    EXPECT_TRUE(root.hasObject(OWN_MEMBERS, pair(1, 1).get()));
    recorder.veto = "child";
    EXPECT_EQ(root.updateObject(OWN_MEMBERS, pair(1, 1).get(), wanted.get()), -1);
    EXPECT_TRUE(root.hasObject(OWN_MEMBERS, pair(1, 1).get())) << "put back";
    EXPECT_FALSE(root.hasObject(OWN_MEMBERS, wanted.get()));
    recorder.veto.clear();
    EXPECT_EQ(root.updateObject(OWN_MEMBERS, pair(1, 1).get(), wanted.get()), 0);
    EXPECT_TRUE(root.hasObject(OWN_MEMBERS, wanted.get()));
    EXPECT_EQ(recorder.heard(), "child 18: 1; child 18: 1; ");
    Object* old = nullptr;
    EXPECT_EQ(root.updateObject(OWN_MEMBERS, wanted.get(), pair(9, 9).get(), old), 0);
    const std::unique_ptr<Object> owned(old);
    EXPECT_EQ(old->compareTo(wanted.get()), 0);
    EXPECT_EQ(root.getObjectCount(OWN_MEMBERS), 2u);
}

TEST_F(UpdatesTest, SetsGoAsideAndComeBack) {
    ObjectSet members(&classOf(PAIR));
    members.addObject(pair(1, 1).release());
    ObjectSet aside(&classOf(PAIR));
    members.backup(aside);
    members.removeAllObjects();
    members.addObject(pair(2, 2).release());
    members.restore(aside);
    EXPECT_EQ(aside.getCount(), 0u);
    EXPECT_NE(members.findObject(pair(1, 1).get()), nullptr);
    EXPECT_EQ(members.getCount(), 1u);
}

// The class of a child or member may build on that of the source.
TEST_F(UpdatesTest, ASourceOfABaseClassGivesTheCommonRows) {
    RowObject base(BASE);
    base.doInit(false, true);
    base.setStringValue(NAME, "base");
    const auto object = leaf("leaf", 0);
    object->setStringValue(NOTE, "stays");
    EXPECT_EQ(root.setChildObject(CHILD, object.get(), false), 0);
    EXPECT_EQ(root.setChildObject(CHILD, &base, true), 0);
    EXPECT_EQ(recorder.heard(), "child 12: 0; ");
    EXPECT_STREQ(root.getChildObject(CHILD)->getValue(NOTE).asText(), "stays");
}

// A source without a set: a flat update leaves the own one, a recursive one empties it.
TEST_F(UpdatesTest, ASourceWithoutASet) {
    RowObject bare(ROOT);
    bare.doInit(source.get(), true);
    bare.fastSetChildObject(LAZY, nullptr);
    class Emptied final : public RowObject {
    public:
        Emptied() : RowObject(ROOT) { doInit(false, true); }
        void takeSetAway() {
            removeAllObjects(MEMBERS);
            delete getValue(MEMBERS).as<ObjectSet>();
            doDestroyAttrOnDemand(*getObjectClass()->getAttribute(MEMBERS));
        }
    };
    Emptied without;
    without.doUpdate(source.get(), nullptr, nullptr);
    without.takeSetAway();
    EXPECT_FALSE(root.doUpdate(&without, nullptr, nullptr));
    EXPECT_EQ(root.getObjectCount(MEMBERS), 2u);
    EXPECT_TRUE(root.update(&without, true));
    EXPECT_EQ(root.getObjectCount(MEMBERS), 0u);
}

} // namespace
