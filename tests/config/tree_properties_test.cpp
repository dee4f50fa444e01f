// What holds for trees of every class of the catalogue, on random ones.

#include "tests/config/loader_fixture.h"
#include "tests/config/random_tree.h"
#include "tests/config/recorder.h"
#include "tests/config/saved_text.h"
#include "tests/support/random.h"

using namespace HConfig;

namespace {

class TreePropertiesTest : public LoaderTest {
protected:
    std::mt19937_64 random = support::seededRandom("TreePropertiesTest");
    RandomTree anything{random, false};

    // Calls `body` with each class that has objects.
    template <class Body> void forEachClass(const Body& body) {
        for (unsigned row = 0; row < Config::theConfig->getClassCount(); ++row) {
            const ObjectClass& objectClass = *Config::theConfig->getClass(row);
            if (!objectClass.isAbstract()) {
                SCOPED_TRACE(objectClass.getItemName());
                body(objectClass);
            }
        }
    }

    static std::unique_ptr<Object> cloneOf(const Object& object, bool deep = true) {
        Object* target = nullptr;
        object.clone(target, deep);
        return std::unique_ptr<Object>(target);
    }
};

// An object of a class with a listener, in the state of another object.
struct Listened {
    explicit Listened(const Object& state) : object(state.getObjectClass()->getIndex()) {
        Object* target = &object;
        state.clone(target, true);
        object.attachCallback(&recorder, &object);
        recorder.heard();
    }

    Recorder recorder;
    ListenedObject object;
};

TEST_F(TreePropertiesTest, ClonesAreEqual) {
    forEachClass([&](const ObjectClass& objectClass) {
        const auto tree = anything.make(objectClass);
        const std::string all = dump(*tree, true);
        const auto copy = cloneOf(*tree);
        EXPECT_TRUE(tree->isEqual(copy.get(), true) && copy->isEqual(tree.get(), true));
        EXPECT_EQ(dump(*copy, true), all);
        EXPECT_EQ(dump(*cloneOf(*tree, false), false), dump(*tree, false));

        const auto other = anything.make(objectClass);
        Object* target = other.get();
        tree->clone(target, true);
        EXPECT_EQ(dump(*other, true), all) << "over another tree";
        target = tree.get();
        tree->clone(target, true);
        EXPECT_EQ(dump(*tree, true), all) << "over itself";
    });
}

TEST_F(TreePropertiesTest, UpdatesMakeEqualAndTellWhatDiffered) {
    forEachClass([&](const ObjectClass& objectClass) {
        const auto tree = anything.make(objectClass);
        const auto source = cloneOf(*tree);
        anything.fill(*source, 3);
        Listened own(*tree);

        std::string marks;
        std::vector<const Attribute*> parts;
        for (unsigned i = 0; i < objectClass.getAttributeCount(); ++i) {
            const Attribute& a = *objectClass.getAttribute(i);
            if (a.hasFlag(FLAG_OWN_LIFE)) {
                parts.push_back(&a);
            } else if (dump(*tree, a, false) != dump(*source, a, false)) {
                marks += " " + std::to_string(i);
            }
        }
        EXPECT_EQ(own.object.update(source.get(), false), !marks.empty());
        EXPECT_EQ(own.recorder.heard(), marks.empty() ? "" : "update" + marks + "; ");
        EXPECT_EQ(dump(own.object, false), dump(*source, false));
        for (const Attribute* a : parts) {
            EXPECT_EQ(dump(own.object, *a, true), dump(*tree, *a, true)) << a->getItemName();
        }
        own.object.update(source.get(), true);
        for (const Attribute* a : parts) {
            EXPECT_EQ(dump(own.object, *a, false), dump(*source, *a, false)) << a->getItemName();
        }
        own.recorder.heard();
        const std::string all = dump(own.object, true);
        EXPECT_FALSE(own.object.update(source.get(), true));
        EXPECT_FALSE(own.object.update(&own.object, true));
        EXPECT_EQ(own.object.persistentUpdate(&own.object, true), 0);
        EXPECT_EQ(own.recorder.heard(), "") << "nothing differs";
        EXPECT_EQ(dump(own.object, true), all);
    });
}

TEST_F(TreePropertiesTest, AVetoEndsTheUpdateThere) {
    forEachClass([&](const ObjectClass& objectClass) {
        const auto tree = anything.make(objectClass);
        const std::string before = dump(*tree, true);
        const auto source = cloneOf(*tree);
        anything.fill(*source, 3);
        const std::string sourceText = dump(*source, true);

        Listened willing(*tree);
        EXPECT_EQ(willing.object.persistentUpdate(source.get(), true), 0);
        const int calls = willing.recorder.calls;
        const std::string all = willing.recorder.heard();
        const std::string after = dump(willing.object, true);
        for (int call = 1; call <= calls; ++call) {
            Listened own(*tree);
            own.recorder.vetoAt = call;
            own.recorder.atRollback = [&](const Object& old) {
                EXPECT_EQ(dump(old, true), before);
            };
            EXPECT_EQ(own.object.persistentUpdate(source.get(), true), -1);
            EXPECT_EQ(own.recorder.calls, call + 1);
            EXPECT_TRUE(own.recorder.enabled);
            const std::string heard = own.recorder.heard();
            ASSERT_TRUE(heard.ends_with("rollback; "));
            EXPECT_EQ(all.compare(0, heard.size() - 10, heard, 0, heard.size() - 10), 0);
            own.recorder.vetoAt = 0;
            EXPECT_EQ(own.object.persistentUpdate(source.get(), true), 0) << "the rest of it";
            EXPECT_EQ(dump(own.object, true), after);
        }
        EXPECT_EQ(dump(*source, true), sourceText);
    });
}

// Members of one set may be of kindred classes, and a caller may mix up others.
TEST_F(TreePropertiesTest, ObjectsOfUnlikeClassesShareTheirCommonAttributesOnly) {
    std::vector<std::unique_ptr<Object>> trees;
    forEachClass(
        [&](const ObjectClass& objectClass) { trees.push_back(anything.make(objectClass)); });
    for (const auto& source : trees) {
        const ObjectClass* ofSource = source->getObjectClass();
        for (unsigned row = 0; row < Config::theConfig->getClassCount(); ++row) {
            const ObjectClass* ofTarget = Config::theConfig->getClass(row);
            const ObjectClass* common = ofTarget;
            while (common != nullptr && !ofSource->isKindOfUid(common->getItemUid())) {
                common = common->getBaseClass();
            }
            if (ofTarget->isAbstract() || (common == nullptr && support::below(random, 20) != 0)) {
                continue;
            }
            SCOPED_TRACE(std::string(ofSource->getItemName()) + " " + ofTarget->getItemName());
            const unsigned shared = common != nullptr ? common->getAttributeCount() : 0;
            const auto shown = [&](unsigned index, const Object& object) {
                return dump(object, *ofTarget->getAttribute(index), false);
            };
            for (const bool clones : {true, false}) {
                const std::unique_ptr<Object> target(ofTarget->newObject());
                std::vector<std::string> wanted;
                for (unsigned i = 0; i < ofTarget->getAttributeCount(); ++i) {
                    wanted.push_back(shown(i, i < shared ? *source : *target));
                }
                if (clones) {
                    Object* copy = target.get();
                    source->clone(copy, true);
                } else {
                    target->doUpdate(source.get(), nullptr, nullptr);
                }
                for (unsigned i = 0; i < ofTarget->getAttributeCount(); ++i) {
                    if (clones || !ofTarget->getAttribute(i)->hasFlag(FLAG_OWN_LIFE)) {
                        EXPECT_EQ(shown(i, *target), wanted[i]);
                    }
                }
            }
        }
    }
}

// Every class and attribute of the catalogue, drawn anew each time.
TEST_F(TreePropertiesTest, WhatIsSavedLoadsWithoutAWarningAndSavesTheSame) {
    RandomTree trees(random, true);
    forEachClass([&](const ObjectClass& objectClass) {
        const auto tree = trees.make(objectClass);
        const std::string text = savedText(*tree);
        ASSERT_EQ(load(text, objectClass.getItemName(), true), 0) << text;
        EXPECT_EQ(takeLog(), std::vector<std::string>());
        EXPECT_TRUE(tree->isEqual(loaded.get(), true) && loaded->isEqual(tree.get(), true));
        EXPECT_EQ(savedText(*loaded), text);
        for (const Attribute& a : attributesOf(objectClass)) {
            const bool isThere =
                text.find("\n    " + std::string(a.getItemName()) + " = ") != std::string::npos;
            EXPECT_EQ(isThere, !a.hasFlag(FLAG_INTERNAL | FLAG_NOT_SAVED)) << a.getItemName();
        }
    });
}

} // namespace
