#pragma once
// The commands of IZrObject::ObjectCommandExecute, on the faces that an object has.

#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// _pObject: whose faces are used. Results as of ObjectCommandExecute; the event is the caller's to raise.
HRESULT ExecuteObjectCommand(IUnknown* _pObject, const char16_t* _szCommand, const char16_t* _szParam,
                             BSTR* _pbsReturn);

}  // namespace zr
