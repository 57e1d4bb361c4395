#include "mixer/async_producers.h"

#include <algorithm>

namespace zr {
namespace {

bool IsSame(const CInputStream& _a, const CInputStream& _b) {
    return _a.pItem.Get() == _b.pItem.Get() && _a.pStream.Get() == _b.pStream.Get();
}

bool IsFeedable(const MIX_INPUT& _input) { return !_input.pStream || _input.pStream->IsOpen(); }

}  // namespace

AsyncProducers::~AsyncProducers() { Stop(); }

void AsyncProducers::Start() {
    {
        MutexLock lock(mtx);
        bActive = true;
    }
    Update();
}

void AsyncProducers::Update() {
    ProducerList arrGone;
    {
        MutexLock lock(mtx);
        arrGone.swap(arrLeft);
        if (bActive) Update_I(arrGone);
    }
    End(arrGone);
}

void AsyncProducers::Stop() {
    ProducerList arrGone;
    {
        MutexLock lock(mtx);
        bActive = false;
        bMissing.store(false, std::memory_order_relaxed);
        arrGone.swap(arrLeft);
        for (ProducerPtr& pProducer : arrProducers) {
            pProducer->RequestStop();
            arrGone.push_back(std::move(pProducer));
        }
        arrProducers.clear();
    }
    End(arrGone);
}

void AsyncProducers::Update_I(ProducerList& _arrGone) {
    std::vector<MIX_INPUT> arrInputs;
    {
        MutexLock lock(streams.mtxChange);
        streams.Collect(arrInputs);
    }
    // Those whose place has another item, or none, or is closed.
    const auto IsWanted = [&arrInputs](const ProducerPtr& _p) {
        return std::any_of(arrInputs.begin(), arrInputs.end(),
                           [&](const MIX_INPUT& _input) { return IsFeedable(_input) && IsSame(_input, _p->Input()); });
    };
    const auto itGone = std::stable_partition(arrProducers.begin(), arrProducers.end(), IsWanted);
    const auto nFirstGone = _arrGone.size();
    for (auto it = itGone; it != arrProducers.end(); ++it) {
        (*it)->RequestStop();
        _arrGone.push_back(std::move(*it));
    }
    arrProducers.erase(itGone, arrProducers.end());
    bool bFailed = false;
    for (const MIX_INPUT& input : arrInputs) {
        const auto IsThis = [&](const ProducerPtr& _p) { return IsSame(input, _p->Input()); };
        if (!IsFeedable(input) || std::any_of(arrProducers.begin(), arrProducers.end(), IsThis)) continue;
        const auto itBefore =
            std::find_if(_arrGone.begin() + static_cast<ptrdiff_t>(nFirstGone), _arrGone.end(),
                         [&](const ProducerPtr& _p) { return _p && _p->Input().pStream.Get() == input.pStream.Get(); });
        ProducerPtr pNobody;
        auto pProducer = std::make_unique<AsyncProducer>(input, host);
        if (Succeeded(pProducer->Start(itBefore != _arrGone.end() ? *itBefore : pNobody))) {
            arrProducers.push_back(std::move(pProducer));
        } else {
            bFailed = true;
        }
    }
    bMissing.store(bFailed, std::memory_order_relaxed);
}

void AsyncProducers::End(ProducerList& _arrGone) {
    for (const ProducerPtr& pProducer : _arrGone) {
        if (pProducer) pProducer->EndGet();
    }
    for (ProducerPtr& pProducer : _arrGone) {
        if (!pProducer || pProducer->Join()) continue;
        MutexLock lock(mtx);
        arrLeft.push_back(std::move(pProducer));
    }
}

}  // namespace zr
