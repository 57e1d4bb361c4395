#pragma once
// The status codes inside the library: the public ones, and how an error number of the system becomes one.

#include "zr/status.h"

namespace zr {

// The status for an errno value: the named code where the family has one, else E_FAIL.
HRESULT StatusFromErrno(int _nErrno);

}  // namespace zr
