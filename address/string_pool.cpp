// StringPool: the strings behind the first ones, which few parses need.

#include "address/string_pool.h"

#include "common/container/hvector.h"

namespace {

constexpr int PoolNodeOrder = 64;

} // namespace

StringPool::StringPool()
    : strings(new HVector<void*, void*>(PoolNodeOrder, destroyString)), capacity(InitialStrings),
      used(0) {
}

StringPool::~StringPool() {
    delete strings;
}

void StringPool::destroyString(void* string, void* /*unused*/) {
    delete static_cast<std::string*>(string);
}

void StringPool::grow() {
    strings->append(new std::string);
    ++capacity;
}

std::string* StringPool::getLaterString(int index) const {
    return static_cast<std::string*>(strings->get(index - InitialStrings));
}
