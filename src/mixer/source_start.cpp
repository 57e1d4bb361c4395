#include "mixer/source_start.h"

#include "attributes/interface_call.h"
#include "platform/thread_pool.h"

namespace zr {

std::shared_ptr<SourceStart> StartOnPool(const ZrPtr<CCoZrItem>& _pItem) {
    const auto pStart = std::make_shared<SourceStart>();
    pStart->pItem = _pItem;
    pStart->pOwned = _pItem->Owned();
    const auto Start = [pStart] {
        InterfaceCall([&] {
            pStart->pItem->StartSource();
            return S_OK;
        });
        pStart->pOwned.reset();
        pStart->evEnded.Set();
    };
    if (Failed(ThreadPool::Shared().Submit(Start))) Start();
    return pStart;
}

}  // namespace zr
