#include "common/aptr.h"

#include "common/stream/stream.h"

void aptrFree(Stream* stream) {
    if (stream != nullptr) {
        Stream::release(stream);
    }
}
