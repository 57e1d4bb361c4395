#pragma once
// The scenes of an object, of which one is active: the one that is drawn.

#include <cstdint>

#include "zr/elements.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// Any thread; a change waits for the end of a drawing pass. The event "scene_active_set" goes out when the change is
// done. The caller releases scenes and frees texts.
struct IZrScenes : IUnknown {
    static constexpr GUID kIid = GuidOf("5DD288C2-92AB-4A38-B081-990C8B24BA8C");

    // At least 1. E_POINTER: _pnCount is null.
    virtual HRESULT ScenesGetCount(int32_t* _pnCount) = 0;
    // A scene in order of adding, 0 first. ZR_E_BAD_INDEX: no such place.
    virtual HRESULT ScenesGetByIndex(int32_t _nIndex, BSTR* _pbsSceneID, IZrElements** _ppScene) = 0;
    // A scene by its id. ZR_E_NOT_FOUND_FILE: no such id.
    virtual HRESULT ScenesGet(const char16_t* _bsSceneID, IZrElements** _ppScene) = 0;
    // Adds a scene from XML, or an XML file; empty: a new one, "copy_active=true": a copy of the active one.
    // _pbsSceneID: the wished id on entry, a BSTR that the call frees, or null for one of its making; the id that
    // it was given on return, which the caller frees. An id in use gets "_001" and on. _ppScene may be null.
    // E_INVALIDARG: the text is no XML. ZR_E_NOT_FOUND_FILE: it is neither XML nor attributes, nor a file that is
    // there.
    virtual HRESULT ScenesAdd(const char16_t* _bsXMLDescOrPathName, BSTR* _pbsSceneID, IZrElements** _ppScene) = 0;
    // Removes a scene; if it was active, the next becomes so, or the one before the last. E_INVALIDARG: an empty id.
    // ZR_E_NOT_FOUND_FILE: no such id. ZR_E_EMPTY: it is the only one, and stays.
    virtual HRESULT ScenesRemove(const char16_t* _bsSceneID) = 0;
    // The active scene: id, place in the list, root. Each may be null.
    virtual HRESULT ScenesActiveGet(BSTR* _pbsSceneID, int32_t* _pnIndex, IZrElements** _ppScene) = 0;
    // Makes a scene active from the next frame on. _bsParameters (may be null): "reset" (true) lets the old scene drop
    // its pictures, "restart" (false) lets the new one begin without its earlier ones. S_FALSE: it is active already.
    // E_INVALIDARG: an empty id. ZR_E_NOT_FOUND_FILE: no such id.
    virtual HRESULT ScenesActiveSet(const char16_t* _bsSceneID, const char16_t* _bsParameters) = 0;
    // The topmost element of the active scene that shows a stream at a point, 0 to 1 from the top left corner, as under
    // a mouse click. _bHiddenReturn: not 0 counts hidden elements. S_FALSE and null: none. E_UNEXPECTED: no scene.
    virtual HRESULT ScenesElementGetByPos(double _dblPosX, double _dblPosY, int32_t _bHiddenReturn,
                                          IZrElement** _ppElement) = 0;

protected:
    ~IZrScenes() = default;
};

}  // namespace zr
