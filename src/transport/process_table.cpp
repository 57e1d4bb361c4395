#include "transport/process_table.h"

#include "platform/clock.h"

namespace zr {
namespace {

// What the watching thread cannot wait for, as a set has its limit, it looks at in this interval.
constexpr int64_t kLook = 100 * kTicksPerMs;

}  // namespace

ProcessTable::~ProcessTable() {
    thread.RequestStop();
    thread.Join();
}

HRESULT ProcessTable::Add(uint32_t _idProcess) {
    MutexLock lock(mtx);
    if (const auto it = mapProcesses.find(_idProcess); it != mapProcesses.end()) {
        ++it->second->nUses;
        return S_FALSE;
    }
    if (!thread.IsJoinable()) {
        const HRESULT hr = thread.Start("zr-processes", [this](ManualEvent& _evStop) { Watch(_evStop); });
        if (Failed(hr)) return hr;
    }
    auto pEntry = std::make_shared<ENTRY>();
    if (const HRESULT hr = pEntry->watch.Begin(_idProcess, pEntry->evEnded); Failed(hr)) return hr;
    mapProcesses.emplace(_idProcess, std::move(pEntry));
    evGone.Reset();
    evChanged.Set();
    return S_OK;
}

HRESULT ProcessTable::Remove(uint32_t _idProcess) {
    MutexLock lock(mtx);
    const auto it = mapProcesses.find(_idProcess);
    if (it == mapProcesses.end()) return ZR_E_NOT_FOUND;
    if (--it->second->nUses > 0) return S_OK;
    it->second->watch.End();
    mapProcesses.erase(it);
    if (mapProcesses.empty()) evGone.Set();
    evChanged.Set();
    return S_OK;
}

HRESULT ProcessTable::Check(Waitable** _ppGone) {
    if (_ppGone) *_ppGone = nullptr;
    MutexLock lock(mtx);
    for (auto it = mapProcesses.begin(); it != mapProcesses.end();) {
        if (!it->second->evEnded.IsSet()) {
            ++it;
            continue;
        }
        it->second->watch.End();
        it = mapProcesses.erase(it);
    }
    if (mapProcesses.empty()) {
        evGone.Set();
        return S_FALSE;
    }
    if (_ppGone) *_ppGone = &evGone;
    return S_OK;
}

void ProcessTable::Watch(ManualEvent& _evStop) {
    while (!_evStop.IsSet()) {
        const std::vector<EntryPtr> arrEntries = Entries();
        std::vector<Waitable*> arrSet{&_evStop, &evChanged};
        for (const EntryPtr& pEntry : arrEntries)
            if (arrSet.size() < kMaxWaitObjects) arrSet.push_back(&pEntry->evEnded);
        const bool bAll = arrSet.size() == arrEntries.size() + 2;
        WaitAny(WaitSet(arrSet), bAll ? -1 : kLook);
        if (!arrEntries.empty()) Check(nullptr);
    }
}

std::vector<ProcessTable::EntryPtr> ProcessTable::Entries() {
    MutexLock lock(mtx);
    std::vector<EntryPtr> arr;
    for (const auto& [id, pEntry] : mapProcesses) arr.push_back(pEntry);
    return arr;
}

}  // namespace zr
