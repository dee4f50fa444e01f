// A stream that stands on another one, its base, and so can be stacked.
//
// Ownership: a composing stream holds a reference to its base until it gets another one or dies.

#ifndef MORVEX_COMMON_STREAM_COMPOSABLE_STREAM_H
#define MORVEX_COMMON_STREAM_COMPOSABLE_STREAM_H

#include "common/stream/stream.h"

class ComposableStream : public virtual Stream {
public:
    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // The base, or null. No reference is added.
    virtual Stream* getBaseStream() const = 0;

    // Releases the old base and adds a reference to the new one, which may be null; does nothing
    // where they are the same. 0, or -1. Here: HE_INVALOP, -1.
    virtual int setBaseStream(Stream* stream);

    // Drops what the stream holds of its base's data. 0, or -1. Here: HE_INVALOP, -1.
    virtual int resetComposableStream();

    // The first stream down the bases, beginning with stream itself, that is no ComposableStream;
    // null where a stream on the way has no base.
    static Stream* getRootStream(Stream* stream);
};

#endif
