#include "common/thread/sync_provider.h"

#include "common/thread/async_object.h"

#include <cstring>

SyncProvider* SyncProvider::syncProviders = nullptr;

SyncProvider::SyncProvider()
    : CriticalSection(0), condStates(nullptr), firstFree(-1), stateCount(0) {
}

SyncProvider::~SyncProvider() {
    delete[] condStates;
}

void SyncProvider::init() {
    syncProviders = new SyncProvider[count];
}

void SyncProvider::cleanup() {
    delete[] syncProviders;
    syncProviders = nullptr;
}

SyncProvider& SyncProvider::of(const ASyncObject* object) {
    return syncProviders[(reinterpret_cast<std::uintptr_t>(object) >> 4) & (count - 1)];
}

void SyncProvider::extendConds() {
    constexpr int step = 4;
    addConditions(step);
    CondState* grown = new CondState[static_cast<unsigned>(stateCount + step)];
    if (stateCount > 0) {
        std::memcpy(grown, condStates, static_cast<unsigned>(stateCount) * sizeof(CondState));
    }
    for (int i = stateCount; i < stateCount + step; ++i) {
        grown[i] = {0, static_cast<std::int16_t>(i + 1)};
    }
    grown[stateCount + step - 1].nextFree = -1;
    delete[] condStates;
    condStates = grown;
    firstFree = stateCount;
    stateCount += step;
}

int SyncProvider::waitOn(std::int16_t& field, int timeout) {
    if (field < 0) {
        if (firstFree < 0) {
            extendConds();
        }
        field = static_cast<std::int16_t>(firstFree);
        firstFree = condStates[field].nextFree;
    }
    const std::int16_t condition = field;
    ++condStates[condition].waiters;
    const int result = wait(condition, timeout);
    CondState& state = condStates[condition]; // the array may have grown meanwhile
    if (--state.waiters == 0) {
        state.nextFree = static_cast<std::int16_t>(firstFree);
        firstFree = condition;
        field = -1;
    }
    return result;
}
