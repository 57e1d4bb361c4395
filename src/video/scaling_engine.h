#pragma once
// What a scaler keeps between frames: filter tables of three planes and scratch that only grows.
//
// One engine serves one conversion at a time; an owner that scales to several sizes keeps one for each, or the tables
// are built anew with every change.

#include <cstdint>

#include "framework/blob_holder.h"
#include "platform/lock.h"
#include "video/horizontal_resampler.h"
#include "video/vertical_scaler.h"

namespace zr {

using ScratchBuffer = CBLOBHolder<CVirtualAlloc>;

struct ScalingEngine {
    bool bMultiThread = false;  // row bands on several threads; set by the owner before it converts

    Mutex mtx;                      // held through a conversion; a leaf
    VerticalScaler arrDown[3];      // of luma (or all channels of RGB), Cb, Cr
    VerticalFilter packedDown;      // the first two merged, for packed rows
    HorizontalFilter arrAcross[2];  // luma (or all channels), chroma
    ScratchBuffer rows;             // rows of each slice
    ScratchBuffer resized;          // a picture before it is sharpened
    ScratchBuffer converted;        // the source in another format
    ScratchBuffer result;           // the scaled picture before its format changes
    ScratchBuffer srcPlanes, dstPlanes;
};

// Room for rows of _cbRow bytes each, with what vectors read and write behind a row.
inline constexpr size_t ScratchRowBytes(size_t _cbRow) { return (_cbRow + kResampleSlack + 63) & ~size_t{63}; }

// _cb bytes of a buffer; null when memory is out.
inline uint8_t* Scratch(ScratchBuffer& _buffer, uint64_t _cb) {
    if (_cb > UINT32_MAX - 4096 || Failed(_buffer.Resize(static_cast<uint32_t>(_cb)))) return nullptr;
    return _buffer.Data();
}

}  // namespace zr
