#include "framework/frame_factory_access.h"

#include "platform/class_registry.h"
#include "platform/lock.h"
#include "zr/class_ids.h"

namespace zr {

namespace {

Mutex mtxFactory;
IZrFFactory* pFactory ZR_GUARDED_BY(mtxFactory) = nullptr;        // one reference that is never given back
ZrFrameFactory_I* pInternal ZR_GUARDED_BY(mtxFactory) = nullptr;  // the same

bool FindFactory() ZR_REQUIRES(mtxFactory) {
    if (pFactory && pInternal) return true;
    ZrPtr<IZrFFactory> pFound;
    if (Failed(ZrCreateInstance(kClsidZrFrameFactory, pFound))) return false;
    ZrPtr<ZrFrameFactory_I> pFoundInternal = pFound.As<ZrFrameFactory_I>();
    if (!pFoundInternal) return false;
    pFactory = pFound.Detach();
    pInternal = pFoundInternal.Detach();
    return true;
}

}  // namespace

HRESULT FrameFactory(IZrFFactory** _ppFactory) {
    if (!_ppFactory) return E_POINTER;
    MutexLock lock(mtxFactory);
    *_ppFactory = FindFactory() ? pFactory : nullptr;
    return *_ppFactory ? S_OK : E_UNEXPECTED;
}

HRESULT FrameFactory(ZrFrameFactory_I** _ppFactory) {
    if (!_ppFactory) return E_POINTER;
    MutexLock lock(mtxFactory);
    *_ppFactory = FindFactory() ? pInternal : nullptr;
    return *_ppFactory ? S_OK : E_UNEXPECTED;
}

}  // namespace zr
