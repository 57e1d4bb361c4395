#pragma once
// What every operation at an interface does alike: no exception leaves it, and texts change hands.

#include <limits>
#include <new>
#include <string_view>

#include "zr/status.h"
#include "zr/text.h"

namespace zr {

// Runs the body of an operation; memory that is out becomes its status.
template <class Body>
HRESULT InterfaceCall(Body&& _body) {
    try {
        return _body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

// A text argument; null counts as empty.
inline std::u16string_view TextArgument(const char16_t* _sz) {
    return _sz ? std::u16string_view(_sz) : std::u16string_view();
}

// Puts a copy of a text into an out argument. E_POINTER: _pbs is null.
inline HRESULT GiveText(std::u16string_view _text, BSTR* _pbs) {
    if (!_pbs) return E_POINTER;
    *_pbs = nullptr;
    if (_text.size() > std::numeric_limits<uint32_t>::max()) return E_OUTOFMEMORY;
    *_pbs = SysAllocStringLen(_text.empty() ? u"" : _text.data(), static_cast<uint32_t>(_text.size()));
    return *_pbs ? S_OK : E_OUTOFMEMORY;
}

}  // namespace zr
