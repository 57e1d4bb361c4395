#pragma once
// Gives an element type T its public faces as an element and as the holder of others; the work is ElementFace's.

#include "scenes/element_face.h"
#include "zr/elements.h"

namespace zr {

template <class T>
class IZrElementImpl : public IZrElement, public IZrElements {
public:
    // --- IZrElement

    HRESULT ElementParentGet(IZrElement** _ppParent) override { return Element_I().ParentGet(_ppParent); }
    HRESULT ElementParentSet(IZrElement* _pParent) override { return Element_I().ParentSet(_pParent); }
    HRESULT ElementBoolSet(const char16_t* _bsAttributeName, int32_t _bValue, double _dblTimeForChange) override {
        return Element_I().BoolSet(_bsAttributeName, _bValue, _dblTimeForChange);
    }
    HRESULT ElementDoubleSet(const char16_t* _bsAttributeName, double _dblValue, double _dblTimeForChange) override {
        return Element_I().DoubleSet(_bsAttributeName, _dblValue, _dblTimeForChange);
    }
    HRESULT ElementStringSet(const char16_t* _bsAttributeName, const char16_t* _bsValue,
                             double _dblTimeForChange) override {
        return Element_I().StringSet(_bsAttributeName, _bsValue, _dblTimeForChange);
    }
    HRESULT ElementMultipleSet(const char16_t* _bsAttributesList, double _dblTimeForChange) override {
        return Element_I().Set(nullptr, _bsAttributesList, _dblTimeForChange);
    }
    HRESULT ElementSet(const char16_t* _bsElementType, const char16_t* _bsXMLDescription,
                       double _dblTimeForChange) override {
        return Element_I().Set(_bsElementType, _bsXMLDescription, _dblTimeForChange);
    }
    HRESULT ElementMediaSet(IUnknown*, const char16_t*, const char16_t*, double) override { return E_NOTIMPL; }
    HRESULT ElementTypeGet(BSTR* _pbsElementType) override { return Element_I().TypeGet(_pbsElementType); }
    HRESULT ElementGet(BSTR* _pbsElementType, BSTR* _pbsXMLDescription) override {
        return Element_I().Get(_pbsElementType, _pbsXMLDescription);
    }
    HRESULT ElementReorder(int32_t _nAddIndex) override { return Element_I().Reorder(_nAddIndex); }
    HRESULT ElementInvoke(const char16_t* _bsCommand, const char16_t* _bsParam, double _dblTimeForChange) override {
        return Element_I().Invoke(_bsCommand, _bsParam, _dblTimeForChange);
    }
    HRESULT ElementDetach(double _dblTimeForChange) override { return Element_I().Detach(_dblTimeForChange); }
    HRESULT ElementAbsolutePosGet(double* _pdblXPos, double* _pdblYPos, double* _pdblWidth,
                                  double* _pdblHeight) override {
        return Element_I().AbsolutePosGet(_pdblXPos, _pdblYPos, _pdblWidth, _pdblHeight);
    }
    HRESULT ElementAbsolutePosSet(double _dblXPos, double _dblYPos, double _dblWidth, double _dblHeight) override {
        return Element_I().AbsolutePosSet(_dblXPos, _dblYPos, _dblWidth, _dblHeight);
    }
    HRESULT ElementInfoGet(const char16_t* _bsInfoType, BSTR* _pbsDescription) override {
        return Element_I().InfoGet(_bsInfoType, _pbsDescription);
    }

    // --- IZrElements

    HRESULT ElementsGetCount(int32_t* _pnCount) override { return Element_I().GetCount(_pnCount); }
    HRESULT ElementsGetByIndex(int32_t _nIndex, IZrElement** _ppChildElement) override {
        return Element_I().GetByIndex(_nIndex, _ppChildElement);
    }
    HRESULT ElementsGetByID(const char16_t* _bsElementID, IZrElement** _ppChildElement) override {
        return Element_I().GetByID(_bsElementID, _ppChildElement);
    }
    HRESULT ElementsAdd(const char16_t* _bsNewElementID, const char16_t* _bsElementType,
                        const char16_t* _bsElementProps, IZrElement** _ppChildElement,
                        double _dblTimeForChange) override {
        return Element_I().Add(_bsNewElementID, _bsElementType, _bsElementProps, _ppChildElement, _dblTimeForChange);
    }
    HRESULT ElementsMediaAdd(const char16_t*, IUnknown*, const char16_t*, const char16_t*, IZrElement** _ppChildElement,
                             double) override {
        if (_ppChildElement) *_ppChildElement = nullptr;
        return E_NOTIMPL;
    }

protected:
    ~IZrElementImpl() = default;

private:
    ElementFace Element_I() { return ElementFace(*static_cast<T*>(this)); }
};

}  // namespace zr
