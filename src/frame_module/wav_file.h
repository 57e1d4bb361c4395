#pragma once
// Audio in wav files: integer samples of 8 to 32 bits and 32-bit float.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/status.h"
#include "zr/records.h"

namespace zr {

// Bytes that can be read at any position.
class ByteSource {
public:
    virtual uint64_t Size() const = 0;
    // Reads all _cb bytes. Fails when they are not there.
    virtual HRESULT ReadAt(uint64_t _nPosition, void* _pv, size_t _cb) const = 0;

protected:
    ~ByteSource() = default;
};

// What a wav file says, checked against its size.
struct WAV_INFO {
    ZR_AUD_PROPS audProps;        // as samples are given out: 8 bits in the file become 16
    uint32_t cbBlock = 0;         // bytes of one sample of all channels in the file
    bool bBytes = false;          // 8 bits in the file
    uint64_t nDataPosition = 0;   // of the first sample
    uint64_t cbData = 0;          // that the file has, whole blocks
    uint64_t cbDataDeclared = 0;  // as the chunk says
    uint64_t nFactPosition = 0;   // of the count of samples that compressed and float files carry; 0: none

    uint64_t Samples() const { return cbBlock == 0 ? 0 : cbData / cbBlock; }
};

// Error codes: ZR_E_INVALID_DATA: no wav file, or one that contradicts itself. kUnsupportedAudio: a coding or a sample
// size that is not read here. kFileTooLarge: more than the 4 GiB that the format can count.
inline constexpr HRESULT kUnsupportedAudio = static_cast<HRESULT>(0x80040248u);
inline constexpr HRESULT kFileTooLarge = Win32Error(223);

HRESULT WavParse(const ByteSource& _source, WAV_INFO* _pInfo);
// Samples _nFirst up to _nFirst + _nCount, which the file has, as a frame stores them.
HRESULT WavRead(const ByteSource& _source, const WAV_INFO& _info, uint64_t _nFirst, uint32_t _nCount, uint8_t* _pOut);

// An open file.
class WavFile {
public:
    WavFile();
    ~WavFile();
    HRESULT Open(const char16_t* _szName);
    const WAV_INFO& Info() const { return info; }
    HRESULT Read(uint64_t _nFirst, uint32_t _nCount, uint8_t* _pOut) const;

private:
    class Source;
    std::unique_ptr<Source> pSource;
    WAV_INFO info;
};

// Writes _cb bytes of samples, as a frame stores them, to a new file in place of one of that name. _bAppend: behind the
// samples of an existing wav file instead, whose format is taken to be the same; when there is no file it is made.
// E_INVALIDARG: the format is not usable. ZR_E_INVALID_DATA: the existing file is no wav file; it is not touched.
HRESULT WavSave(const char16_t* _szName, const ZR_AUD_PROPS& _props, const uint8_t* _p, uint32_t _cb, bool _bAppend);

}  // namespace zr
