// The schema that the targets of the configuration run on: one for the whole program, which may
// hold several of them, since a second Config::init would lose what the first one made.

#ifndef MORVEX_FUZZ_CONFIG_SCHEMA_H
#define MORVEX_FUZZ_CONFIG_SCHEMA_H

#include "config/config.h"

namespace fuzz {

// Makes the schema with the first call; it goes with the process.
inline void needSchema() {
    struct Schema {
        Schema() { HConfig::Config::init(); }
        ~Schema() { HConfig::Config::destroy(); }
    };
    static const Schema schema;
}

} // namespace fuzz

#endif
