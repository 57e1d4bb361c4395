#pragma once
// A frame as bytes, for the way to another process of this machine: numbers are in the machine's own order.
//
//   head      magic, version, count of sections, bytes of all (16-byte aligned fields, see frame_serial.cpp)
//   sections  kind, bytes of the id, bytes of the content; id; content; zeros up to a multiple of 8
//
// The record and the time come first, then the parts that were asked for. A picture is one block, lines in the order
// and with the row bytes that the record says; where its planes are not where the record has them, or it has further
// views, a section behind it says so. Attached objects do not travel.

#include <cstddef>
#include <cstdint>

#include "frame_module/frame_content.h"
#include "platform/status.h"
#include "zr/enums.h"
#include "zr/unknown.h"

namespace zr {

// Takes bytes in order.
class ByteSink {
public:
    virtual HRESULT Write(const void* _pv, size_t _cb) = 0;

protected:
    ~ByteSink() = default;
};

inline constexpr size_t kSerialHeadBytes = 24;

// How many bytes SerialWrite will write.
uint64_t SerialBytes(const FrameContent& _content, eZrFrameClone _eType);
HRESULT SerialWrite(const FrameContent& _content, eZrFrameClone _eType, ByteSink& _sink);

// Bytes of the whole frame that begins with these kSerialHeadBytes. ZR_E_INVALID_DATA: no frame begins like this.
HRESULT SerialReadHead(const uint8_t* _p, uint64_t* _pcbAll);
// Reads a frame of exactly _cb bytes and takes the named parts; the rest is checked all the same. What the bytes say is
// believed only as far as the bytes go. On failure _pContent is unchanged. ZR_E_INVALID_DATA: they contradict
// themselves.
HRESULT SerialRead(const uint8_t* _p, uint64_t _cb, eZrFrameClone _eType, FrameContent* _pContent);

// A whole frame from a stream at its position. ZR_E_EMPTY: the stream is at its end. Memory grows with what has come,
// not with what is announced.
HRESULT SerialReadStream(IStream* _pStream, eZrFrameClone _eType, FrameContent* _pContent);

}  // namespace zr
