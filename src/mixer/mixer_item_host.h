#pragma once
// The way from an item back to its mixer, which does not keep the mixer alive.

#include "mixer/mixer_control.h"
#include "platform/lock.h"
#include "platform/unknown.h"
#include "sources/item_host.h"

namespace zr {

class MixerItemHost final : public UnknownImpl<IItemHost> {
public:
    // _mixer: whose reference keeps _control; _references: its count.
    MixerItemHost(IUnknown& _mixer, ReferenceCount& _references, MixerControl& _control)
        : pMixer(&_mixer), references(_references), control(_control) {}

    // The last reference to the mixer is gone: nobody gets one from here any more.
    void Detach() {
        MutexLock lock(mtx);
        pMixer = nullptr;
    }

    HRESULT ItemPlay(IZrItem* _pItem, double _dblSeconds) override {
        const ZrPtr<IUnknown> pHeld = Hold();
        return pHeld ? control.ItemPlay(_pItem, _dblSeconds) : ZR_E_NOT_FOUND_FILE;
    }
    HRESULT ItemStop(IZrItem* _pItem) override {
        const ZrPtr<IUnknown> pHeld = Hold();
        return pHeld ? control.ItemStop(_pItem) : ZR_E_NOT_FOUND_FILE;
    }

private:
    ~MixerItemHost() override = default;

    ZrPtr<IUnknown> Hold() {
        MutexLock lock(mtx);
        return pMixer && references.TryAdd() ? ZrPtr<IUnknown>::Attach(pMixer) : ZrPtr<IUnknown>();
    }

    Mutex mtx;
    IUnknown* pMixer ZR_GUARDED_BY(mtx);
    ReferenceCount& references;
    MixerControl& control;
};

}  // namespace zr
