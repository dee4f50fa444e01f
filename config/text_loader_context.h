// What a TextLoader knows about one object that is being read. Private to the loader's sources.

#ifndef MORVEX_CONFIG_TEXT_LOADER_CONTEXT_H
#define MORVEX_CONFIG_TEXT_LOADER_CONTEXT_H

#include "config/object.h"
#include "config/object_marker.h"
#include "config/text_loader.h"

namespace HConfig {

struct TextLoader::Context {
    Context(Object* filled, Context* enclosing, bool ownsObject)
        : object(filled), marker(filled->getObjectClass()->getAttributeCount()), outer(enclosing),
          owned(ownsObject) {}

    Object* object;
    ObjectMarker marker;                  // the attributes that the input has set
    const Attribute* attribute = nullptr; // being assigned; null while an assignment is ignored
    Context* outer;                       // of the object that holds this one
    bool owned;                           // the object has no other owner yet
};

} // namespace HConfig

#endif
