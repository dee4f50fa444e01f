#include "common/log/thread_log.h"

#include <cstring>

namespace {

constinit ThSpecificLogClientDataManager thsLogDataManager;

constexpr char anonymous[] = "<ANONYMOUS>";

} // namespace

const ThreadSpecificKey<ThSpecificLogClient, ThreadSpecificKeythsLog> thsLog(&thsLogDataManager);

ThSpecificLogClient::ThSpecificLogClient()
    : client(nullptr), id(0), module(""), name(new char[sizeof(anonymous)]) {
    std::memcpy(name, anonymous, sizeof(anonymous));
}

ThSpecificLogClient::~ThSpecificLogClient() {
    client = nullptr;
    delete[] name;
}

void* ThSpecificLogClientDataManager::createData() {
    return new ThSpecificLogClient;
}

void ThSpecificLogClientDataManager::destroyData(void* data) {
    delete static_cast<ThSpecificLogClient*>(data);
}
