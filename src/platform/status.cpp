#include "platform/status.h"

#include <cerrno>

namespace zr {

HRESULT StatusFromErrno(int _nErrno) {
    switch (_nErrno) {
        case 0: return S_OK;
        case ENOENT: return ZR_E_NOT_FOUND_FILE;
        case EACCES:
        case EPERM: return E_ACCESSDENIED;
        case ENOMEM: return E_OUTOFMEMORY;
        case EINVAL: return E_INVALIDARG;
        case EEXIST:
        case EADDRINUSE: return ZR_E_EXISTS;
        case ETIMEDOUT: return ZR_E_TIMEOUT;
        case ENOSPC:
        case EDQUOT:
        case EFBIG: return Win32Error(112);  // full, as far as this user or this file goes
        default: return E_FAIL;
    }
}

}  // namespace zr
