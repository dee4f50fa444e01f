// StringPool: the strings of a parse, kept for the next one.

#include "address/string_pool.h"

#include "common/container/hvector.h"

#include <functional>

namespace {

constexpr int InitialStrings = 64;
constexpr int PoolNodeOrder = 64;

} // namespace

// The first strings are one array, whose address is the destroy function's argument: one
// allocation in place of 64 on the way of every run.
StringPool::StringPool() : strings(nullptr), capacity(InitialStrings), used(0) {
    std::string* firstBlock = new std::string[InitialStrings];
    strings = new HVector<void*, void*>(PoolNodeOrder, destroyString, firstBlock);
    for (int i = 0; i < InitialStrings; ++i) {
        strings->append(firstBlock + i);
    }
}

StringPool::~StringPool() {
    std::string* firstBlock = getString(0);
    delete strings;
    delete[] firstBlock;
}

void StringPool::destroyString(void* string, void* firstBlock) {
    std::string* const text = static_cast<std::string*>(string);
    std::string* const block = static_cast<std::string*>(firstBlock);
    const std::less<const std::string*> below;
    if (below(text, block) || !below(text, block + InitialStrings)) {
        delete text;
    }
}

std::string* StringPool::addString(const char* text) {
    std::string* string = nextString();
    string->assign(text);
    return string;
}

std::string* StringPool::addString(const std::string& text) {
    std::string* string = nextString();
    string->assign(text);
    return string;
}

std::string* StringPool::addEmpty() {
    std::string* string = nextString();
    string->clear();
    return string;
}

std::string* StringPool::getString(int index) const {
    return static_cast<std::string*>(strings->get(index));
}

std::string* StringPool::nextString() {
    if (used == capacity) {
        strings->append(new std::string);
        ++capacity;
    }
    return getString(used++);
}
