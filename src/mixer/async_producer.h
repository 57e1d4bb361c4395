#pragma once
// The thread that pulls one source of an asynchronous mixer, at the source's own pace, and pushes what it gives.

#include <atomic>
#include <cstdint>
#include <memory>

#include "mixer/stream_table.h"
#include "mixer/sync_request.h"
#include "platform/thread.h"

namespace zr {

// What a producer works for; outlives it. Called on the producer's thread with no lock held.
class IProducerHost {
public:
    // What a put goes by at this moment.
    virtual STREAM_PUT PutNow() const = 0;
    // Makes an output frame on one of the background, or on black for null, waiting for the streams. Returns when it is
    // out, or when _evStop is set.
    virtual HRESULT DriveCycle(const FramePtr& _pFrame, ManualEvent& _evStop) = 0;
    // Whether the producer starts the item's source, or waits for the host to do so.
    virtual bool StartsIt(const CCoZrItem& _item) const = 0;

protected:
    ~IProducerHost() = default;
};

// Pushes into the stream of its input; that of the background drives the cycle. The owner stops and joins it.
class AsyncProducer {
public:
    AsyncProducer(const CInputStream& _input, IProducerHost& _host)
        : input(_input), pOwned(_input.pItem->Owned()), host(_host) {}
    AsyncProducer(const AsyncProducer&) = delete;
    AsyncProducer& operator=(const AsyncProducer&) = delete;

    // _pBefore (may be null): the one that pushed into the same stream, told to stop; it is joined before the first
    // frame is asked for, so that a stream has one producer at a time. It stays with the caller after a failure.
    HRESULT Start(std::unique_ptr<AsyncProducer>& _pBefore);
    // Ends its waits; that at the source, with EndGet, at once. Any thread, without waiting.
    void RequestStop() { thread.RequestStop(); }
    // Calls the source.
    void EndGet();
    // False: called on the producer's own thread, or _rtTimeout has passed.
    bool Join(int64_t _rtTimeout = -1) { return thread.Join(_rtTimeout); }

    const CInputStream& Input() const { return input; }

private:
    void Run(ManualEvent& _evStop);
    void StartSource(ManualEvent& _evStop);
    void GiveOne(ManualEvent& _evStop);
    FramePtr Get(ManualEvent& _evStop);
    HRESULT Ask(int64_t _rtLimit, ManualEvent& _evStop, FramePtr& _pFrame);
    int64_t Slice() const;
    int64_t Step() const;
    void Push(const FramePtr& _pFrame, ManualEvent& _evStop);
    void Note(bool _bFed, bool _bHasFrames);
    bool IsStalled() const;
    bool GivesPace() const;

    const CInputStream input;
    const OwnedSourcePtr pOwned;  // a source that is closed meanwhile ends with its producer
    IProducerHost& host;
    std::atomic<uint64_t> llReaderID{0};  // at the source; the producer's thread writes
    bool bBegun = false;                  // a frame has come
    int64_t rtWaited = 0;                 // ticks for a frame, since the last one
    FramePtr pLast;                       // of the background
    int64_t rtGiven = 0;                  // when it drove the cycle
    std::unique_ptr<AsyncProducer> pBefore;
    Thread thread;  // last: it goes first
};

}  // namespace zr
