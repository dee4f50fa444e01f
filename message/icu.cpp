// Loading ICU: the one place that knows its library by name.

#include "message/icu.h"

#include <dlfcn.h>

#include <atomic>
#include <mutex>

namespace {

// ICU's headers rename each entry point to one that carries the version ("ucnv_open_72"); so the
// name is spelled out by the preprocessor, after that renaming.
#define MORVEX_ICU_TEXT(name) #name
#define MORVEX_ICU_NAME(name) MORVEX_ICU_TEXT(name)

constexpr char LIBRARY[] = "libicuuc.so." U_ICU_VERSION_SHORT;

Icu table;
std::atomic<bool> loaded{false};
std::once_flag tried;

template <class Function> bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

bool findAll(void* library) {
    return find(library, MORVEX_ICU_NAME(ucnv_open), table.open) &&
           find(library, MORVEX_ICU_NAME(ucnv_close), table.close) &&
           find(library, MORVEX_ICU_NAME(ucnv_convert), table.convert) &&
           find(library, MORVEX_ICU_NAME(ucnv_convertEx), table.convertEx) &&
           find(library, MORVEX_ICU_NAME(ucnv_toUChars), table.toUChars) &&
           find(library, MORVEX_ICU_NAME(ucnv_countAvailable), table.countAvailable) &&
           find(library, MORVEX_ICU_NAME(ucnv_getAvailableName), table.getAvailableName) &&
           find(library, MORVEX_ICU_NAME(ucnv_countAliases), table.countAliases) &&
           find(library, MORVEX_ICU_NAME(ucnv_getAlias), table.getAlias);
}

} // namespace

const Icu* loadIcu() {
    if (!loaded.load(std::memory_order_acquire)) {
        std::call_once(tried, [] {
            void* library = ::dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
            if (library == nullptr) {
                return;
            }
            if (findAll(library)) {
                loaded.store(true, std::memory_order_release);
            } else {
                ::dlclose(library);
            }
        });
    }
    return isIcuLoaded() ? &table : nullptr;
}

bool isIcuLoaded() {
    return loaded.load(std::memory_order_acquire);
}
