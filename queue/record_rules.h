// What the readers of all format versions hold a state file to.

#ifndef MORVEX_QUEUE_RECORD_RULES_H
#define MORVEX_QUEUE_RECORD_RULES_H

#include <cstring>

namespace RecordRules {

// Stands in the place of a string that is damaged or missing.
inline constexpr char corruptedText[] = "Corrupted string";

// Whether a text may stand in a recipient's, or in a path's place; null may not.
inline bool isRecipient(const char* text) {
    return text != nullptr && std::strchr(text, '@') != nullptr;
}
inline bool isPath(const char* text) {
    return isRecipient(text) || (text != nullptr && std::strcmp(text, "<>") == 0);
}

} // namespace RecordRules

#endif
