#include "scenes/element.h"

namespace zr {

HRESULT CoElement::QueryInterface(const GUID& _iid, void** _ppv) {
    if (!_ppv) return E_POINTER;
    if (_iid == IZrNode::kIid) {
        *_ppv = static_cast<IZrNode*>(this);
    } else if (_iid == IZrAttributes::kIid) {
        *_ppv = static_cast<IZrAttributes*>(this);
    } else {
        return XMLNodeBase::QueryInterface(_iid, _ppv);
    }
    AddRef();
    return S_OK;
}

}  // namespace zr
