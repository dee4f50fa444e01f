// Username: the check of a user name.

#include "address/username.h"

#include "address/name_matchers.h"
#include "address/text_copy.h"

#include <climits>
#include <cstring>

bool Username::isUsername(const char* text, unsigned int maxLength) {
    UsernameMatcher matcher;
    return match(&matcher, text, maxLength);
}

bool Username::match(UsernameMatcher* matcher, const char* text, unsigned int maxLength) {
    if (text == nullptr) {
        return false;
    }
    const std::size_t length = strnlen(text, static_cast<std::size_t>(maxLength) + 1);
    if (length > maxLength || length > INT_MAX) {
        return false;
    }
    matcher->setSubject(static_cast<int>(length), text, false);
    matcher->match(nullptr);
    return matcher->getState() == NameStateFits;
}

Username::Username(const char* text)
    : name(isUsername(text, MaxLength) ? copyText(text) : nullptr) {
}

Username::~Username() {
    delete[] name;
}
