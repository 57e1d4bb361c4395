#pragma once
// Gives an object T its faces for its scenes and for the elements of the active one. T shows its scenes by Scenes_I();
// the work is ScenesSet's and ElementFace's.

#include "scenes/scenes_set.h"

namespace zr {

template <class T>
class IZrScenesImpl : public IZrScenes, public IZrElements {
public:
    // --- IZrScenes

    HRESULT ScenesGetCount(int32_t* _pnCount) override { return Set_I().GetCount(_pnCount); }
    HRESULT ScenesGetByIndex(int32_t _nIndex, BSTR* _pbsSceneID, IZrElements** _ppScene) override {
        return Set_I().GetByIndex(_nIndex, _pbsSceneID, _ppScene);
    }
    HRESULT ScenesGet(const char16_t* _bsSceneID, IZrElements** _ppScene) override {
        return Set_I().Get(_bsSceneID, _ppScene);
    }
    HRESULT ScenesAdd(const char16_t* _bsXMLDescOrPathName, BSTR* _pbsSceneID, IZrElements** _ppScene) override {
        return Set_I().Add(_bsXMLDescOrPathName, _pbsSceneID, _ppScene);
    }
    HRESULT ScenesRemove(const char16_t* _bsSceneID) override { return Set_I().Remove(_bsSceneID); }
    HRESULT ScenesActiveGet(BSTR* _pbsSceneID, int32_t* _pnIndex, IZrElements** _ppScene) override {
        return Set_I().ActiveGet(_pbsSceneID, _pnIndex, _ppScene);
    }
    HRESULT ScenesActiveSet(const char16_t* _bsSceneID, const char16_t* _bsParameters) override {
        return Set_I().ActiveSet(_bsSceneID, _bsParameters);
    }
    HRESULT ScenesElementGetByPos(double _dblPosX, double _dblPosY, int32_t _bHiddenReturn,
                                  IZrElement** _ppElement) override {
        return Set_I().ElementGetByPos(_dblPosX, _dblPosY, _bHiddenReturn, _ppElement);
    }

    // --- IZrElements: those of the scene that is active at the call

    HRESULT ElementsGetCount(int32_t* _pnCount) override { return ElementFace(*Set_I().Active()).GetCount(_pnCount); }
    HRESULT ElementsGetByIndex(int32_t _nIndex, IZrElement** _ppChildElement) override {
        return ElementFace(*Set_I().Active()).GetByIndex(_nIndex, _ppChildElement);
    }
    HRESULT ElementsGetByID(const char16_t* _bsElementID, IZrElement** _ppChildElement) override {
        return ElementFace(*Set_I().Active()).GetByID(_bsElementID, _ppChildElement);
    }
    HRESULT ElementsAdd(const char16_t* _bsNewElementID, const char16_t* _bsElementType,
                        const char16_t* _bsElementProps, IZrElement** _ppChildElement,
                        double _dblTimeForChange) override {
        return ElementFace(*Set_I().Active())
            .Add(_bsNewElementID, _bsElementType, _bsElementProps, _ppChildElement, _dblTimeForChange);
    }
    HRESULT ElementsMediaAdd(const char16_t*, IUnknown*, const char16_t*, const char16_t*, IZrElement** _ppChildElement,
                             double) override {
        if (_ppChildElement) *_ppChildElement = nullptr;
        return E_NOTIMPL;
    }

protected:
    ~IZrScenesImpl() = default;

private:
    ScenesSet& Set_I() { return static_cast<T*>(this)->Scenes_I(); }
};

}  // namespace zr
