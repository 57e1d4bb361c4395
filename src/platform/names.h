#pragma once
// Names that one owner at a time has in the whole system, and that are free again when the owner dies, however it dies.

#include <string_view>

#include "platform/descriptor.h"
#include "platform/status.h"

namespace zr {

// The system-wide claim on a name: held until Release, destruction, or the end of the process. One thread at a time.
class UniqueName {
public:
    // Claims a name, letting go of the one held before. Names are compared unit by unit; all processes of the machine
    // (of a network namespace, to be exact) share them.
    // ZR_E_EXISTS: someone has it. E_INVALIDARG: the name is empty. Otherwise the status of the system's error.
    HRESULT Claim(std::u16string_view _svName);
    void Release() { socket.Reset(); }
    bool IsHeld() const { return static_cast<bool>(socket); }

private:
    Descriptor socket;  // bound to the name; the system frees a name with its socket
};

}  // namespace zr
