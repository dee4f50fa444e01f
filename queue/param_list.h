// Parameters as the string tables of all format versions keep them: "%04X:%s=%s", which is the link
// to the one before, the name and the value. A list of them holds pointers behind link and colon,
// sorted by name, and owns nothing.
//
// Nothing here fails; the list and the strings belong to one thread.

#ifndef MORVEX_QUEUE_PARAM_LIST_H
#define MORVEX_QUEUE_PARAM_LIST_H

#include "common/container/hvector.h"
#include "common/container/simple_vector.h"
#include "queue/chain_text.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace ParamList {

inline constexpr int textOffset = 5; // of the name, behind link and colon
inline constexpr int maxLinks = 4096;
inline constexpr std::size_t shortestString = 7;

// Whether a parameter of this name is there; `place` is its place, or where it belongs. Where one
// name begins with the other, the longer one comes first.
bool find(const HVector<const char*>& params, const char* name, std::size_t length, int& place);

// Appends the text "name=value" of each parameter, last name first.
void list(const HVector<const char*>& params, SimpleVector<const char*>& out);

// Fills `params` from the chain at `head`, which runs from the newest to the oldest: a name that
// is there already has a newer value. `linked` gives the string of a link, which is 1 to
// `others` - 1; anything else ends the walk, and so does a circle, which has nothing new.
template <class Linked>
void readChain(HVector<const char*>& params, std::uint32_t head, std::uint32_t others,
               const Linked& linked) {
    std::uint32_t index = head;
    ChainText::CircleWatch circle;
    for (int links = 0; links < maxLinks && index >= 1 && index < others && !circle.closes(index);
         ++links) {
        const char* const text = linked(index);
        if (text == nullptr || ::strnlen(text, shortestString) < shortestString ||
            text[textOffset - 1] != ':') {
            return;
        }
        const auto previous = static_cast<std::uint32_t>(std::strtoul(text, nullptr, 16));
        const char* const stored = text + textOffset;
        int place = 0;
        if (const char* end = std::strchr(stored, '=');
            end != nullptr &&
            !find(params, stored, static_cast<std::size_t>(end - stored), place)) {
            params.insertAt(place, stored);
        }
        index = previous;
    }
}

} // namespace ParamList

#endif
