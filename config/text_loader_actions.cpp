// What the reductions of config/text_grammar.y do. All effects on objects are here.
//
// An assignment is ignored while the current context has no attribute, and everything inside a
// block that is being skipped is; current() tells both. A warning ends a strict load, so whatever
// warns passes that answer on.

#include "common/error.h"
#include "common/thread/thread.h"
#include "config/menu.h"
#include "config/text_loader.h"
#include "config/text_loader_context.h"

#include <cstring>
#include <memory>

namespace HConfig {

namespace {

const char* nameOf(const Object* object) {
    return object->getObjectClass()->getItemName();
}

bool isMultipleChoice(const Attribute& attribute) {
    return attribute.getKind() == KIND_VALUE && attribute.isOfType(TYPE_CHOICE_SET);
}

} // namespace

const Attribute* TextLoader::current() const {
    return skipDepth == 0 ? context->attribute : nullptr;
}

const char* TextLoader::contextClassName() const {
    return nameOf(context->object);
}

void TextLoader::release(int buffer) {
    freeBuffers[freeCount++] = static_cast<std::uint8_t>(buffer);
}

// ---- The whole input and its major objects ------------------------------------------------------

// What a failed read cut off is not left out: it gets no defaults.
bool TextLoader::onEnd() {
    if (readFailed) {
        return false;
    }
    return rootObject == nullptr || majorDone || rootObject->setAllToDefault() == 0;
}

void TextLoader::failMajor() {
    setError(HE_CFG_STATEMENT, "Invalid statement as major object definition");
}

bool TextLoader::onMajorBegin(int name, const TokenLoc& location) {
    const ObjectClass* found = Config::theConfig->findClass(textOf(name));
    if (found == nullptr) {
        setError(HE_CFG_INVALID_OBJECT, location, "Invalid object class '%s'", textOf(name));
        return false;
    }
    if (objectClass != nullptr && found != objectClass) {
        setError(HE_CFG_INVALID_OBJECT, location, "Wrong object class '%s'; '%s' object expected",
                 found->getItemName(), objectClass->getItemName());
    }
    if (rootObject == nullptr) {
        rootObject = found->newObject();
    }
    if (rootObject == nullptr) {
        setError(HE_NOMEM, location, "Cannot create a '%s' object", found->getItemName());
        return false;
    }
    dropContexts();
    pushContext(rootObject, false);
    release(name);
    return true;
}

bool TextLoader::onMajorEnd(const TokenLoc& location) {
    if (rootObject->setToDefault(context->marker) < 0) {
        setError(HE_CFG_INVALID_OBJECT, location, "Incomplete specification for '%s' object",
                 nameOf(rootObject));
        return false;
    }
    majorDone = true;
    return true;
}

// ---- Assignments --------------------------------------------------------------------------------

void TextLoader::failAttribute() {
    setError(HE_CFG_STATEMENT, "Invalid statement as attribute definition");
}

void TextLoader::failAssignmentOf(int name) {
    setError(HE_CFG_STATEMENT, "Assignment operator ('=') for attribute '%s' expected",
             textOf(name));
}

void TextLoader::failAssignment() {
    const Attribute* attribute = current();
    if (attribute != nullptr) {
        setError(HE_CFG_STATEMENT, "Invalid assignment statement for attribute '%s'",
                 attribute->getItemName());
    } else {
        setError(HE_CFG_STATEMENT, "Invalid assignment statement");
    }
}

bool TextLoader::onAttributeName(int name, const TokenLoc& location) {
    const bool accepted = skipDepth > 0 || acceptName(textOf(name), location);
    release(name);
    return accepted;
}

// Makes the attribute of that name current, or leaves none current with a word about why. False
// ends the load.
bool TextLoader::acceptName(const char* name, const TokenLoc& location) {
    context->attribute = nullptr;
    if (std::strlen(name) >= MAX_NAME) {
        return !setWarning(location,
                           "Attribute name '%s' too long (max length is %d) for a '%s' object",
                           name, MAX_NAME, contextClassName());
    }
    const Attribute* attribute = context->object->getObjectClass()->findAttribute(name);
    if (attribute == nullptr) {
        return !setWarning(location, "No attribute '%s' for a '%s' object", name,
                           contextClassName());
    }
    if (attribute->hasFlag(FLAG_DEPRECATED)) {
        setInfo(location, "Deprecated attribute '%s' ignored for a '%s' object", name,
                contextClassName());
        return true;
    }
    if (attribute->hasFlag(FLAG_INTERNAL)) {
        return !setWarning(location, "Internal attribute '%s' ignored for a '%s' object", name,
                           contextClassName());
    }
    if (context->marker.isMarked(attribute->getIndex())) {
        return !setWarning(location, "Attribute '%s' already set for '%s' object; value ignored",
                           name, contextClassName());
    }
    context->attribute = attribute;
    return true;
}

// In a block that is being skipped the context is that of the object around the block.
void TextLoader::onAttributeEnd() {
    context->attribute = nullptr;
}

bool TextLoader::attrTypeCheck(unsigned kind, const TokenLoc& location) {
    const Attribute& attribute = *context->attribute;
    if (attribute.getKind() == kind) {
        return true;
    }
    if (kind == KIND_VALUE_SET && isMultipleChoice(attribute)) {
        return true;
    }
    const char* name = attribute.getItemName();
    const char* type = attribute.getContentTypeString();
    switch (attribute.getKind()) {
    case KIND_VALUE:
        setWarning(location, "Invalid type of value for attribute '%s'; '%s' value expected", name,
                   type);
        break;
    case KIND_OBJECT:
        setWarning(location, "Invalid type of value for attribute '%s'; '%s' object expected", name,
                   type);
        break;
    case KIND_VALUE_SET:
        setWarning(location, "Invalid type of value for attribute '%s'; '%s' value-set expected",
                   name, type);
        break;
    case KIND_OBJECT_SET:
        setWarning(location, "Invalid type of value for attribute '%s'; <%s> object-set expected",
                   name, type);
        break;
    }
    return false;
}

bool TextLoader::onValue(int value, const TokenLoc& location) {
    bool goesOn = true;
    const Attribute* attribute = current();
    if (attribute != nullptr) {
        if (!attrTypeCheck(KIND_VALUE, location)) {
            goesOn = !strict;
        } else if (context->object->setStringValue(attribute->getIndex(), textOf(value)) == 0) {
            context->marker.mark(attribute->getIndex());
        } else {
            goesOn = !setWarning(location, "Wrong value '%s' for attribute '%s' in '%s' object",
                                 textOf(value), attribute->getItemName(), contextClassName());
        }
    }
    release(value);
    return goesOn;
}

// ---- An object as a value -----------------------------------------------------------------------

Object* TextLoader::getChildObject(unsigned index) {
    Object* child = context->object->getChildObject(index);
    if (child == nullptr) {
        const Attribute& attribute = *context->object->getObjectClass()->getAttribute(index);
        context->object->doInitAttrOnDemand(attribute, nullptr, false);
        child = context->object->getChildObject(index);
    }
    return child;
}

bool TextLoader::onObjectBegin(const TokenLoc& location) {
    const Attribute* attribute = current();
    Object* child = nullptr;
    if (attribute != nullptr && attrTypeCheck(KIND_OBJECT, location)) {
        child = getChildObject(attribute->getIndex());
    }
    if (child != nullptr) {
        pushContext(child, false);
        return true;
    }
    skipDepth++;
    return !strict;
}

bool TextLoader::onObjectEnd(const TokenLoc& location) {
    if (skipDepth > 0) {
        skipDepth--;
        return true;
    }
    const std::unique_ptr<Context> popped(popContext());
    const Attribute& attribute = *context->attribute;
    if (popped->object->setToDefault(popped->marker) < 0) {
        setError(HE_CFG_INVALID_OBJECT, location,
                 "Incomplete specification of '%s' object for attribute '%s'",
                 nameOf(popped->object), attribute.getItemName());
        return false;
    }
    context->marker.mark(attribute.getIndex());
    return true;
}

// ---- Sets ---------------------------------------------------------------------------------------

void TextLoader::onSetEnd() {
    const Attribute* attribute = current();
    if (attribute != nullptr) {
        context->marker.mark(attribute->getIndex());
    }
}

bool TextLoader::onEmptySet() {
    const Attribute* attribute = current();
    if (attribute == nullptr) {
        return true;
    }
    const unsigned index = attribute->getIndex();
    if (attribute->getKind() == KIND_VALUE_SET) {
        context->object->removeAllValues(index);
    } else if (attribute->getKind() == KIND_OBJECT_SET) {
        context->object->removeAllObjects(index);
    } else if (!isMultipleChoice(*attribute)) {
        return !setWarning(
            lastToken,
            "Invalid type of value for attribute '%s'; value-set/object-set not expected",
            attribute->getItemName());
    }
    context->marker.mark(index);
    return true;
}

bool TextLoader::addValue(const char* text, const TokenLoc& location) {
    const Attribute& attribute = *context->attribute;
    if (attribute.getKind() == KIND_VALUE_SET) {
        if (context->object->addStringValue(attribute.getIndex(), text) == 0) {
            return true;
        }
        setWarning(location, "Cannot add value '%s' for value-set attribute '%s'", text,
                   attribute.getItemName());
        return false;
    }
    if (isMultipleChoice(attribute)) {
        return addChoice(attribute, text, location);
    }
    setWarning(location, "Cannot add value '%s' for value attribute '%s'", text,
               attribute.getItemName());
    return false;
}

bool TextLoader::addChoice(const Attribute& attribute, const char* text, const TokenLoc& location) {
    const Menu* menu = Menu::getMenu(attribute.getDesc().constraintId);
    unsigned choice = 0;
    if (menu == nullptr || !menu->nameToValue(text, choice)) {
        setWarning(location, "Invalid value '%s' for value attribute '%s'", text,
                   attribute.getItemName());
        return false;
    }
    const unsigned index = attribute.getIndex();
    const std::uint32_t chosen = context->object->getValue(index).asUnsigned();
    context->object->setValue(index, Value(std::uint32_t{chosen | choice}));
    return true;
}

bool TextLoader::onFirstMember(int value, const TokenLoc& location) {
    bool goesOn = true;
    const Attribute* attribute = current();
    if (attribute != nullptr && !attrTypeCheck(KIND_VALUE_SET, location)) {
        context->attribute = nullptr;
        goesOn = !strict;
    } else if (attribute != nullptr) {
        if (attribute->getKind() == KIND_VALUE) {
            context->object->setValue(attribute->getIndex(), Value(std::uint32_t{0}));
        }
        goesOn = addValue(textOf(value), location) || !strict;
    }
    release(value);
    return goesOn;
}

bool TextLoader::onNextMember(int value, const TokenLoc& location) {
    bool goesOn = true;
    const Attribute* attribute = current();
    if (attribute != nullptr) {
        goesOn = addValue(textOf(value), location) || !strict;
        context->marker.mark(attribute->getIndex());
    }
    release(value);
    return goesOn;
}

void TextLoader::beginAddObject(const TokenLoc&) {
    Object* member = context->object->newChildObjectInstance(context->attribute->getIndex());
    if (member != nullptr) {
        pushContext(member, true);
    } else {
        skipDepth++;
    }
}

bool TextLoader::endAddObject(const TokenLoc& location) {
    const std::unique_ptr<Context> popped(popContext());
    std::unique_ptr<Object> member(popped->object);
    if (member->setToDefault(popped->marker) < 0) {
        setError(HE_CFG_INVALID_OBJECT, location, "Incomplete specification for '%s' object",
                 nameOf(member.get()));
        return false;
    }
    const Attribute& attribute = *context->attribute;
    if (context->object->addObject(attribute.getIndex(), member.get()) < 0) {
        setWarning(location, "Cannot add '%s' object for attribute '%s'", nameOf(member.get()),
                   attribute.getItemName());
        return false;
    }
    static_cast<void>(member.release()); // the set's now
    return true;
}

bool TextLoader::onFirstMemberBegin(const TokenLoc& location) {
    if (current() != nullptr && attrTypeCheck(KIND_OBJECT_SET, location)) {
        beginAddObject(location);
        return true;
    }
    if (skipDepth == 0) {
        context->attribute = nullptr;
    }
    skipDepth++;
    return !strict;
}

void TextLoader::onNextMemberBegin(const TokenLoc& location) {
    if (current() != nullptr) {
        beginAddObject(location);
    } else {
        skipDepth++;
    }
}

bool TextLoader::onMemberEnd(const TokenLoc& location) {
    if (skipDepth > 0) {
        skipDepth--;
        return true;
    }
    return endAddObject(location) || !strict;
}

} // namespace HConfig
