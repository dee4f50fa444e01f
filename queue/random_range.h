// Random numbers of the queue's names, from the process's one generator, which the process seeds at
// its start. They only spread the names: what makes a name unique is an exclusive create.

#ifndef MORVEX_QUEUE_RANDOM_RANGE_H
#define MORVEX_QUEUE_RANDOM_RANGE_H

#include <cstdlib>

// A number from 0 to `high`. Two draws make up for a rand of 15 bits.
inline int randomInRange(int high) {
    const unsigned first = static_cast<unsigned>(std::rand());
    const unsigned second = static_cast<unsigned>(std::rand());
    const unsigned drawn = ((first << 15) ^ second) & 0x7FFFFFFFU;
    return static_cast<int>(drawn / 2147483648.0 * (high + 1.0));
}

#endif
