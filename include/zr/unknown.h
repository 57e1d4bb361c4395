#pragma once
// What every interface of the family stands on: identifiers, reference counting, asking an object for another face.

#include <cstddef>
#include <cstdint>

#include "zr/status.h"

namespace zr {

struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];

    friend constexpr bool operator==(const GUID& _a, const GUID& _b) {
        if (_a.Data1 != _b.Data1 || _a.Data2 != _b.Data2 || _a.Data3 != _b.Data3) return false;
        for (int i = 0; i < 8; ++i)
            if (_a.Data4[i] != _b.Data4[i]) return false;
        return true;
    }
};
static_assert(sizeof(GUID) == 16);

namespace detail {
constexpr uint32_t HexDigit(char _c) {
    if (_c >= '0' && _c <= '9') return static_cast<uint32_t>(_c - '0');
    if (_c >= 'a' && _c <= 'f') return static_cast<uint32_t>(_c - 'a' + 10);
    if (_c >= 'A' && _c <= 'F') return static_cast<uint32_t>(_c - 'A' + 10);
    throw "not a hexadecimal digit";
}
constexpr uint32_t HexRun(const char* _sz, int _nDigits) {
    uint32_t nValue = 0;
    for (int i = 0; i < _nDigits; ++i) nValue = nValue * 16 + HexDigit(_sz[i]);
    return nValue;
}
}  // namespace detail

// An identifier from its usual text, at compile time: GuidOf("6E3C1A52-0F0B-4D0E-9B52-3C1D8A7F4E10").
consteval GUID GuidOf(const char (&_sz)[37]) {
    GUID id{detail::HexRun(_sz, 8),
            static_cast<uint16_t>(detail::HexRun(_sz + 9, 4)),
            static_cast<uint16_t>(detail::HexRun(_sz + 14, 4)),
            {}};
    for (int i = 0; i < 2; ++i) id.Data4[i] = static_cast<uint8_t>(detail::HexRun(_sz + 19 + 2 * i, 2));
    for (int i = 0; i < 6; ++i) id.Data4[2 + i] = static_cast<uint8_t>(detail::HexRun(_sz + 24 + 2 * i, 2));
    return id;
}

// The root of all interfaces. An interface carries its identifier as kIid.
struct IUnknown {
    static constexpr GUID kIid = GuidOf("00000000-0000-0000-C000-000000000046");

    // Asks for another face of the same object. _ppv: receives the interface with a reference the caller releases,
    // or null. E_NOINTERFACE: the object has no such face. E_POINTER: _ppv is null. Any thread.
    virtual HRESULT QueryInterface(const GUID& _iid, void** _ppv) = 0;
    // Adds a reference; returns the new count, for diagnosis only. Any thread.
    virtual uint32_t AddRef() = 0;
    // Drops a reference; the object is gone when the last one goes. Returns the new count. Any thread.
    virtual uint32_t Release() = 0;

protected:
    ~IUnknown() = default;  // objects die by Release only
};

// A stream of bytes: what a serialised frame is written to and read from.
struct IStream : IUnknown {
    static constexpr GUID kIid = GuidOf("0000000C-0000-0000-C000-000000000046");

    // Reads up to _cb bytes into _pv. _pcbRead (may be null): bytes read. S_FALSE: the end came first.
    virtual HRESULT Read(void* _pv, uint32_t _cb, uint32_t* _pcbRead) = 0;
    // Writes _cb bytes, growing the stream as needed. _pcbWritten (may be null): bytes written.
    virtual HRESULT Write(const void* _pv, uint32_t _cb, uint32_t* _pcbWritten) = 0;
    // Moves the position. _nOrigin: 0 start, 1 current, 2 end. _pnNewPos (may be null): the new position in bytes.
    // E_INVALIDARG: another origin, or a position before the start.
    virtual HRESULT Seek(int64_t _nMove, uint32_t _nOrigin, uint64_t* _pnNewPos) = 0;
    // Cuts the stream or grows it with zeros to _cb bytes. E_OUTOFMEMORY: no memory, the stream is unchanged.
    virtual HRESULT SetSize(uint64_t _cb) = 0;

protected:
    ~IStream() = default;
};

}  // namespace zr
