// A listener that writes down what it hears and vetoes what it is told to, and objects with a place
// for one.

#ifndef MORVEX_TESTS_CONFIG_RECORDER_H
#define MORVEX_TESTS_CONFIG_RECORDER_H

#include "config/classes.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

class Recorder : public HConfig::ObjectCallback {
public:
    int onCallerAttach(HConfig::Object*) override { return note("attach"); }
    int onObjectUpdate(const HConfig::ObjectMarker& marker, HConfig::Object* old) override {
        return note("update" + marks(marker) + (old != nullptr ? "" : " new"));
    }
    int onObjectUpdateEnd(const HConfig::ObjectMarker& marker, HConfig::Object*) override {
        return note("end" + marks(marker));
    }
    int onChildObjectAdd(unsigned attribute, HConfig::Object*) override {
        return note("add " + std::to_string(attribute));
    }
    int onChildObjectRemove(unsigned attribute, HConfig::Object*) override {
        return note("remove " + std::to_string(attribute));
    }
    int onChildObjectUpdate(unsigned attribute, HConfig::Object*,
                            const HConfig::ObjectMarker& marker, HConfig::Object*) override {
        return note("child " + std::to_string(attribute) + ":" + marks(marker));
    }
    int onObjectRollback(HConfig::Object* old) override {
        if (atRollback) {
            atRollback(*old);
        }
        return note("rollback");
    }

    std::string heard() {
        calls = 0;
        return std::exchange(all, "");
    }
    std::string veto; // what starts with it is vetoed
    int vetoAt = 0;   // the call that is vetoed, from 1; 0 for none
    int calls = 0;    // since the last heard()
    std::function<void(const HConfig::Object&)> atRollback;

private:
    std::string all;

    int note(const std::string& what) {
        EXPECT_TRUE(!enabled || what == "attach") << "off while it hears";
        all += what + "; ";
        return ++calls == vetoAt || (!veto.empty() && what.rfind(veto, 0) == 0) ? -1 : 0;
    }
    static std::string marks(const HConfig::ObjectMarker& marker) {
        std::string indexes;
        for (unsigned i = 0; i < marker.getCount(); ++i) {
            indexes += marker.isMarked(i) ? " " + std::to_string(i) : "";
        }
        return indexes;
    }
};

class ListenedObject : public HConfig::RowObject {
public:
    explicit ListenedObject(unsigned row) : RowObject(row) { doInit(false, true); }

    void attachCallback(HConfig::ObjectCallback* callback, HConfig::Object* object) override {
        callable.attachCallback(callback, object);
    }
    void enableCallback(bool enable) override { callable.enableCallback(enable); }
    HConfig::ObjectCallback* getCallback() const override { return callable.getCallback(); }

private:
    class Place final : public HConfig::Callable {};
    Place callable;
};

#endif
