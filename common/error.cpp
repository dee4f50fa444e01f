#include "common/error.h"

#include <cstddef>
#include <cstdint>

namespace {

// All rows as "SYMBOL\0sentence\0", one behind the other. Positions instead of pointers keep the
// table constant data that needs no relocation when the process starts.
#define MORVEX_ERROR(n, symbol, message) #symbol "\0" message "\0"
constexpr char texts[] =
#include "common/error_codes.inc"
    ;
#undef MORVEX_ERROR

constexpr unsigned rowCount = HE_SENT_RCPT_EXCEEDED - HE_BASE + 1;

struct Row {
    std::uint16_t symbol;
    std::uint16_t message;
};

struct Table {
    Row rows[rowCount];
};

constexpr Table buildTable() {
    Table table{};
    for (Row& row : table.rows) { // unassigned numbers keep what row 0 says
        row = {0, sizeof("HE_BASE")};
    }
    std::size_t position = 0;
#define MORVEX_ERROR(n, symbol, message)                                                           \
    table.rows[n] = {static_cast<std::uint16_t>(position),                                         \
                     static_cast<std::uint16_t>(position + sizeof(#symbol))};                      \
    position += sizeof(#symbol) + sizeof(message);
#include "common/error_codes.inc"
#undef MORVEX_ERROR
    return table;
}

constexpr Table table = buildTable();
static_assert(sizeof(texts) <= UINT16_MAX);

} // namespace

const char* ownErrorMessage(unsigned code) {
    return texts + table.rows[code & ~HE_BASE].message;
}

const char* ownErrorSymbol(unsigned code) {
    return texts + table.rows[code & ~HE_BASE].symbol;
}

const char* systemErrorSymbol(unsigned code) {
    switch (code) {
    case HE_INVALOP:
        return "HE_INVALOP";
    case HE_NOENT:
        return "HE_NOENT";
    case HE_NOMEM:
        return "HE_NOMEM";
    case HE_EEXISTS:
        return "HE_EEXISTS";
    case HE_NOTDIR:
        return "HE_NOTDIR";
    case HE_INVAL:
        return "HE_INVAL";
    case HE_NFILE:
        return "HE_NFILE";
    case HE_MFILE:
        return "HE_MFILE";
    case HE_FBIG:
        return "HE_FBIG";
    case HE_NAMETOOLONG:
        return "HE_NAMETOOLONG";
    case HE_DIR_NOT_EMPTY:
        return "HE_DIR_NOT_EMPTY";
    case HE_TIMEOUT:
        return "HE_TIMEOUT";
    default:
        return nullptr;
    }
}
