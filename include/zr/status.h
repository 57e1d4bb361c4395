#pragma once
// Status codes. Every operation of every interface returns one: 0 done, 1 nothing done, negative failed.

#include <cstdint>

namespace zr {

using HRESULT = int32_t;

constexpr bool Succeeded(HRESULT _hr) { return _hr >= 0; }
constexpr bool Failed(HRESULT _hr) { return _hr < 0; }

// The status form of a system error code: 0x80070000 + code, 0 for code 0.
constexpr HRESULT Win32Error(uint32_t _nCode) {
    return _nCode == 0 ? 0 : static_cast<HRESULT>(0x80070000u | (_nCode & 0xFFFFu));
}

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;  // nothing done, or nothing there

inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
inline constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004u);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);

inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154u);  // nobody registered the class id
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);

// Control codes between the objects of the family.
inline constexpr HRESULT ZR_E_RETRY = static_cast<HRESULT>(0x80040203u);  // not now, or not mine: the caller goes on
inline constexpr HRESULT ZR_E_NOT_RUNNING = static_cast<HRESULT>(0x80040226u);  // the object is not running
inline constexpr HRESULT ZR_E_WRONG_STATE = static_cast<HRESULT>(0x80040227u);  // the state forbids the operation
inline constexpr HRESULT VFW_E_UNSUPPORTED_AUDIO = static_cast<HRESULT>(0x80040248u);  // a sound format nobody converts

// System errors that interfaces return under a name.
inline constexpr HRESULT ZR_E_NOT_FOUND_FILE = Win32Error(2);
inline constexpr HRESULT ZR_E_INVALID_DATA = Win32Error(13);  // bytes from outside that contradict themselves
inline constexpr HRESULT ZR_E_NOT_SUPPORTED = Win32Error(50);
inline constexpr HRESULT ZR_E_EXISTS = Win32Error(183);
inline constexpr HRESULT ZR_E_NOT_FOUND = Win32Error(1168);  // no element of that name
inline constexpr HRESULT ZR_E_BAD_INDEX = Win32Error(1413);
inline constexpr HRESULT ZR_E_TIMEOUT = Win32Error(1460);
inline constexpr HRESULT ZR_E_EMPTY = Win32Error(4306);

}  // namespace zr
