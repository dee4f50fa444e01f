#include "config/default.h"

#include "config/config.h"
#include "config/object.h"

namespace HConfig {

namespace {

constexpr const char* VALUE_PARAMS[] = {"value"};
constexpr const char* PORT_PARAMS[] = {"port"};
constexpr const char* LISTENER_PARAMS[] = {"smtp",     "pop3", "imap",     "webmail",
                                           "webadmin", "cli",  "ftpBackup"};

template <unsigned N>
constexpr DefaultDesc describe(const char* name, const char* const (&params)[N]) {
    return {name, "", params, N};
}
constexpr DefaultDesc describe(const char* name) {
    return {name, "", nullptr, 0};
}

constexpr DefaultDesc DEFAULT_DESC[DEFAULT_COUNT] = {
    describe(""),
    describe("UintConstant", VALUE_PARAMS),
    describe("StringConstant", VALUE_PARAMS),
    describe("InetSocketAddrConstant", VALUE_PARAMS),
    describe("PrimaryDomain"),
    describe("DomainObjectStorageLocation"),
    describe("MessageStorageLocation"),
    describe("Dns"),
    describe("UDPListener", PORT_PARAMS),
    describe("TCPListener", PORT_PARAMS),
    describe("TCPListenerParameter", LISTENER_PARAMS),
    describe("PurgeFolders"),
    describe("TimeConstant", VALUE_PARAMS),
};

template <class D> class FactoryOf final : public DefaultFactory {
public:
    Default* getDefault(const DefaultParamValue* params) const override { return new D(params); }
    Default* getDefault(const DefaultParamValue* params, Arena& arena) const override {
        return arena.make<D>(params);
    }
};

template <class D> constinit const FactoryOf<D> factoryOf;

constexpr const DefaultFactory* BUILT_IN[DEFAULT_COUNT] = {
    nullptr,
    &factoryOf<UintConstantDefault>,
    &factoryOf<StringConstantDefault>,
    &factoryOf<IsaConstantDefault>,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    &factoryOf<PurgeFoldersDefault>,
    &factoryOf<TimeConstantDefault>,
};

// What another layer has put in the place of a built-in factory, or of none.
constinit const DefaultFactory* registered[DEFAULT_COUNT] = {};

} // namespace

const DefaultDesc& Default::getDefaultDesc() const {
    return DefaultFactory::getDesc(id);
}

Default* DefaultFactory::getDefault(const DefaultParamValue*, Arena&) const {
    return nullptr;
}

const DefaultFactory* DefaultFactory::getFactory(unsigned id) {
    if (id >= DEFAULT_COUNT) {
        return nullptr;
    }
    return registered[id] != nullptr ? registered[id] : BUILT_IN[id];
}

bool DefaultFactory::isConstant(unsigned id) {
    return id >= DEFAULT_COUNT || registered[id] == nullptr;
}

const DefaultDesc& DefaultFactory::getDesc(unsigned id) {
    return DEFAULT_DESC[id];
}

void DefaultFactory::registerFactory(unsigned id, const DefaultFactory* factory) {
    registered[id] = factory;
}

UintConstantDefault::UintConstantDefault(const DefaultParamValue* params)
    : Default(DEFAULT_UINT_CONSTANT), value(params[0].asUnsigned()) {
}

void UintConstantDefault::setToDefault(const Attribute* attribute, Object* object) const {
    object->setValue(attribute->getIndex(), Value(value));
}

StringConstantDefault::StringConstantDefault(const DefaultParamValue* params)
    : Default(DEFAULT_STRING_CONSTANT), value(params[0].asText()) {
}

void StringConstantDefault::setToDefault(const Attribute* attribute, Object* object) const {
    object->setValue(attribute->getIndex(), Value(static_cast<const void*>(value)));
}

IsaConstantDefault::IsaConstantDefault(const DefaultParamValue* params)
    : Default(DEFAULT_INET_SOCK_ADDR_CONSTANT) {
    InetSocketAddr::strToIsa(params[0].asText(), &value);
}

void IsaConstantDefault::setToDefault(const Attribute* attribute, Object* object) const {
    object->setValue(attribute->getIndex(), Value(static_cast<const void*>(&value)));
}

TimeConstantDefault::TimeConstantDefault(const DefaultParamValue* params)
    : Default(DEFAULT_TIME_CONSTANT) {
    value.setToNow();
    Time::strToTime(params[0].asText(), value);
}

void TimeConstantDefault::setToDefault(const Attribute* attribute, Object* object) const {
    object->setValue(attribute->getIndex(), Value(static_cast<const void*>(&value)));
}

PurgeFoldersDefault::PurgeFoldersDefault(const DefaultParamValue*)
    : Default(DEFAULT_PURGE_FOLDERS) {
}

void PurgeFoldersDefault::setToDefault(const Attribute* attribute, Object* object) const {
    for (const char* folder : {"Trash", "Spam", "Deleted Items"}) {
        object->addStringValue(attribute->getIndex(), folder);
    }
}

} // namespace HConfig
