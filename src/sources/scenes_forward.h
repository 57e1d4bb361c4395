#pragma once
// IZrScenes of what stands for an object that has scenes of its own, as a mixer that is a source of another.

#include "platform/unknown.h"
#include "zr/scenes.h"

namespace zr {

// Every operation goes on to the object that T::Scenes_I gives. T shows the face only where there is one.
template <class T>
class IZrScenesForward : public IZrScenes {
public:
    HRESULT ScenesGetCount(int32_t* _pnCount) override { return Scenes().ScenesGetCount(_pnCount); }
    HRESULT ScenesGetByIndex(int32_t _nIndex, BSTR* _pbsSceneID, IZrElements** _ppScene) override {
        return Scenes().ScenesGetByIndex(_nIndex, _pbsSceneID, _ppScene);
    }
    HRESULT ScenesGet(const char16_t* _bsSceneID, IZrElements** _ppScene) override {
        return Scenes().ScenesGet(_bsSceneID, _ppScene);
    }
    HRESULT ScenesAdd(const char16_t* _bsXMLDescOrPathName, BSTR* _pbsSceneID, IZrElements** _ppScene) override {
        return Scenes().ScenesAdd(_bsXMLDescOrPathName, _pbsSceneID, _ppScene);
    }
    HRESULT ScenesRemove(const char16_t* _bsSceneID) override { return Scenes().ScenesRemove(_bsSceneID); }
    HRESULT ScenesActiveGet(BSTR* _pbsSceneID, int32_t* _pnIndex, IZrElements** _ppScene) override {
        return Scenes().ScenesActiveGet(_pbsSceneID, _pnIndex, _ppScene);
    }
    HRESULT ScenesActiveSet(const char16_t* _bsSceneID, const char16_t* _bsParameters) override {
        return Scenes().ScenesActiveSet(_bsSceneID, _bsParameters);
    }
    HRESULT ScenesElementGetByPos(double _dblPosX, double _dblPosY, int32_t _bHiddenReturn,
                                  IZrElement** _ppElement) override {
        return Scenes().ScenesElementGetByPos(_dblPosX, _dblPosY, _bHiddenReturn, _ppElement);
    }

protected:
    ~IZrScenesForward() = default;

private:
    IZrScenes& Scenes() { return *static_cast<T*>(this)->Scenes_I(); }
};

}  // namespace zr
