#pragma once
// The producers of an asynchronous mixer: one for each stream that is open and one for the background.

#include <atomic>
#include <memory>
#include <vector>

#include "framework/lock_order.h"
#include "mixer/async_producer.h"
#include "mixer/stream_table.h"
#include "platform/lock.h"

namespace zr {

// Any thread, with no lock held that a source or a pass of the mixer may need.
class AsyncProducers {
public:
    // Both outlive the producers.
    AsyncProducers(StreamTable& _streams, IProducerHost& _host) : streams(_streams), host(_host) {}
    ~AsyncProducers();
    AsyncProducers(const AsyncProducers&) = delete;
    AsyncProducers& operator=(const AsyncProducers&) = delete;

    // The mixer runs: what is on it gets its producer now, what comes with Update.
    void Start();
    // After a change of the table: producers of what has come start; those of what is gone have ended when this
    // returns, but for one that calls it itself; those of what was replaced end before their successors begin.
    void Update();
    // All end. Nothing is started until the next Start.
    void Stop();
    // A thread could not be started: somebody is to call Update again after a while.
    bool IsMissingOne() const { return bMissing.load(std::memory_order_relaxed); }

private:
    using ProducerPtr = std::unique_ptr<AsyncProducer>;
    using ProducerList = std::vector<ProducerPtr>;

    void Update_I(ProducerList& _arrGone) ZR_REQUIRES(mtx);
    void End(ProducerList& _arrGone);

    StreamTable& streams;
    IProducerHost& host;
    Mutex mtx{lock_order::kProducers};
    bool bActive ZR_GUARDED_BY(mtx) = false;
    ProducerList arrProducers ZR_GUARDED_BY(mtx);
    std::atomic<bool> bMissing{false};
    ProducerList arrLeft ZR_GUARDED_BY(mtx);  // told to stop by themselves: joined by the next who comes
};

}  // namespace zr
