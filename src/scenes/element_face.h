#pragma once
// An element as its public faces show it; IZrElementImpl gives an element those.

#include <string_view>

#include "zr/elements.h"

namespace zr {

class CoElement;

// The operations of IZrElement and IZrElements on one element, with their results. No state of its own.
class ElementFace {
public:
    explicit ElementFace(CoElement& _element) : element(_element) {}

    HRESULT ParentGet(IZrElement** _ppParent) const;
    HRESULT ParentSet(IZrElement* _pParent);
    HRESULT BoolSet(const char16_t* _bsName, int32_t _bValue, double _dblTime);
    HRESULT DoubleSet(const char16_t* _bsName, double _dblValue, double _dblTime);
    HRESULT StringSet(const char16_t* _bsName, const char16_t* _bsValue, double _dblTime);
    HRESULT Set(const char16_t* _bsType, const char16_t* _bsDescription, double _dblTime);
    HRESULT TypeGet(BSTR* _pbsType) const;
    HRESULT Get(BSTR* _pbsType, BSTR* _pbsXml) const;
    HRESULT Reorder(int32_t _nAddIndex);
    HRESULT Invoke(const char16_t* _bsCommand, const char16_t* _bsParam, double _dblTime);
    HRESULT Detach(double _dblTime);
    HRESULT AbsolutePosGet(double* _pdblX, double* _pdblY, double* _pdblW, double* _pdblH) const;
    HRESULT AbsolutePosSet(double _dblX, double _dblY, double _dblW, double _dblH);
    HRESULT InfoGet(const char16_t* _bsInfoType, BSTR* _pbsDescription) const;

    HRESULT GetCount(int32_t* _pnCount) const;
    HRESULT GetByIndex(int32_t _nIndex, IZrElement** _ppChild) const;
    HRESULT GetByID(const char16_t* _bsID, IZrElement** _ppChild) const;
    HRESULT Add(const char16_t* _bsID, const char16_t* _bsType, const char16_t* _bsProps, IZrElement** _ppChild,
                double _dblTime);

private:
    CoElement& element;
};

}  // namespace zr
