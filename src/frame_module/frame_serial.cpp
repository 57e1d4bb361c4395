#include "frame_module/frame_serial.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "media/aud_props.h"
#include "media/pixel_format.h"

namespace zr {

namespace {

struct HEAD {
    uint32_t nMagic;
    uint16_t nVersion;
    uint16_t nRecordBytes;  // a record of another size is another version
    uint32_t nSections;
    uint32_t nReserved;
    uint64_t cbAll;  // with the head
};
static_assert(sizeof(HEAD) == kSerialHeadBytes);

struct SECTION {
    uint32_t nKind;
    uint32_t cbID;
    uint64_t cbContent;
};
static_assert(sizeof(SECTION) == 16);

enum SectionKind : uint32_t {
    eSection_Props = 1,
    eSection_Time = 2,
    eSection_Picture = 3,
    eSection_Audio = 4,
    eSection_Data = 5,
    eSection_Text = 6,
    eSection_Planes = 7,
};

// Where the planes are in the block of the picture. A plane that is not there has no row bytes.
struct PLANES {
    int64_t arrOffsets[4];
    int32_t arrRowBytes[4];
};
static_assert(sizeof(PLANES) == 48);

constexpr uint32_t kMagic = 0x4D46525A;  // "ZRFM"
constexpr uint16_t kVersion = 1;
constexpr uint32_t kMaxSections = 4096;  // each new id is compared with all before
constexpr uint64_t kAlign = 8;
constexpr size_t kFirstStep = size_t{1} << 20;  // read from a stream before anything has come

uint64_t Padding(uint64_t _cb) { return (kAlign - _cb % kAlign) % kAlign; }

uint64_t SectionBytes(uint64_t _cbID, uint64_t _cbContent) {
    return sizeof(SECTION) + _cbID + _cbContent + Padding(_cbID + _cbContent);
}

// What of a frame is written, worked out once for the size and for the bytes.
struct PLAN {
    PLAN(const FrameContent& _content, eZrFrameClone _eType)
        : bPicture(TakesPicture(_eType) && !_content.picture.Empty()),
          bAudio(TakesAudio(_eType) && !_content.audio.Empty()),
          bData(TakesData(_eType)) {
        layout.props = _content.avProps.vidProps;
        if (!bPicture) return;
        layout = LayoutOfCopy(layout.props, _content.picture);
        // Room behind the picture stays here.
        if (!layout.bHasPlanes && layout.props.nWidth != 0) layout.cb = PictureBytes(layout.props);
    }

    COPY_LAYOUT layout;  // of the picture as written
    bool bPicture, bAudio, bData;
};

class SectionWriter {
public:
    explicit SectionWriter(ByteSink& _sink) : sink(_sink) {}
    HRESULT Status() const { return hr; }

    void Begin(uint32_t _nKind, std::u16string_view _svID, uint64_t _cbContent) {
        const SECTION section{_nKind, static_cast<uint32_t>(_svID.size() * sizeof(char16_t)), _cbContent};
        Put(&section, sizeof(section));
        Put(_svID.data(), section.cbID);
        nPadding = Padding(section.cbID + _cbContent);
    }
    void Put(const void* _pv, size_t _cb) {
        if (Succeeded(hr) && _cb > 0) hr = sink.Write(_pv, _cb);
    }
    void End() {
        constexpr uint8_t arrZeros[kAlign] = {};
        Put(arrZeros, nPadding);
    }
    void Whole(uint32_t _nKind, std::u16string_view _svID, const void* _pv, size_t _cb) {
        Begin(_nKind, _svID, _cb);
        Put(_pv, _cb);
        End();
    }

private:
    ByteSink& sink;
    HRESULT hr = S_OK;
    size_t nPadding = 0;
};

// Line by line, in the order of the block, padding as zeros.
void PutLines(const COPY_LAYOUT& _layout, const ZRF_VID_PTR& _from, SectionWriter* _pWriter) {
    constexpr uint8_t arrZeros[256] = {};
    uint64_t nDone = 0;
    const auto PadTo = [&](uint64_t _nOffset) {
        for (; nDone < _nOffset; nDone += std::min<uint64_t>(sizeof(arrZeros), _nOffset - nDone))
            _pWriter->Put(arrZeros, std::min<uint64_t>(sizeof(arrZeros), _nOffset - nDone));
    };
    const ZRF_VID_PTR& to = _layout.planes;
    const auto FirstOffset = [&](int32_t _nPlane) {
        const int64_t nLines = to.szVideoPlanes[_nPlane].cy, nStride = to.cbVideoRowBytes[_nPlane];
        return to.lpVideoPlanes[_nPlane] + (nStride < 0 ? (nLines - 1) * nStride : 0);
    };
    int32_t arrOrder[] = {0, 1, 2, 3};  // YV12 stores V in front of U
    std::ranges::sort(arrOrder, {}, FirstOffset);
    for (const int32_t nPlane : arrOrder) {
        const int64_t nFrom = _from.cbVideoRowBytes[nPlane], nTo = to.cbVideoRowBytes[nPlane];
        if (nTo == 0) continue;
        const auto cbRow = static_cast<size_t>(PlaneRowBytes(_layout.props, nPlane));
        const int32_t nLines = to.szVideoPlanes[nPlane].cy;
        for (int32_t y = 0; y < nLines; ++y) {
            const int64_t nLine = nTo < 0 ? nLines - 1 - y : y;
            PadTo(static_cast<uint64_t>(to.lpVideoPlanes[nPlane] + nLine * nTo));
            _pWriter->Put(reinterpret_cast<const uint8_t*>(_from.lpVideoPlanes[nPlane] + nLine * nFrom), cbRow);
            nDone += cbRow;
        }
    }
    PadTo(_layout.cb);
}

void WritePicture(const COPY_LAYOUT& _layout, const FrameContent& _content, SectionWriter* _pWriter) {
    _pWriter->Begin(eSection_Picture, {}, _layout.cb);
    if (_layout.bWhole)
        _pWriter->Put(_content.picture.pBits, static_cast<size_t>(_layout.cb));
    else
        PutLines(_layout, PicturePlanes(_content.avProps.vidProps, _content.picture), _pWriter);
    _pWriter->End();
    if (!_layout.bHasPlanes) return;
    PLANES planes;
    std::ranges::copy(_layout.planes.lpVideoPlanes, planes.arrOffsets);
    std::ranges::copy(_layout.planes.cbVideoRowBytes, planes.arrRowBytes);
    _pWriter->Whole(eSection_Planes, {}, &planes, sizeof(planes));
}

class SectionReader {
public:
    SectionReader(const uint8_t* _p, uint64_t _cb) : p(_p), cbLeft(_cb) {}

    // False: the bytes end inside it.
    bool Next(SECTION* _pSection, const uint8_t** _ppID, const uint8_t** _ppContent) {
        if (cbLeft < sizeof(SECTION)) return false;
        std::memcpy(_pSection, p, sizeof(SECTION));
        uint64_t cbRest = cbLeft - sizeof(SECTION);
        if (_pSection->cbID > cbRest || _pSection->cbContent > cbRest - _pSection->cbID) return false;
        if (SectionBytes(_pSection->cbID, _pSection->cbContent) > cbLeft) return false;
        *_ppID = p + sizeof(SECTION);
        *_ppContent = *_ppID + _pSection->cbID;
        cbRest = SectionBytes(_pSection->cbID, _pSection->cbContent);
        p += cbRest;
        cbLeft -= cbRest;
        return true;
    }
    bool AtEnd() const { return cbLeft == 0; }

private:
    const uint8_t* p;
    uint64_t cbLeft;
};

template <class Record>
HRESULT ReadRecord(const SECTION& _section, const uint8_t* _p, Record* _pRecord) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (_section.cbContent != sizeof(Record) || _section.cbID != 0) return ZR_E_INVALID_DATA;
    std::memcpy(_pRecord, _p, sizeof(Record));
    return S_OK;
}

// Counts by which others walk the arrays.
void BoundLevels(ZR_AUDIO_LOUDNESS* _pLevels) {
    constexpr int32_t nRoom = std::extent_v<decltype(ZR_AUDIO_LOUDNESS::arrRMS)>;
    _pLevels->nValidChannels = std::clamp(_pLevels->nValidChannels, 0, nRoom);
    _pLevels->nValidTracks = std::clamp(_pLevels->nValidTracks, 0, nRoom);
}

HRESULT ReadPicture(const SECTION& _section, const uint8_t* _p, FrameContent* _pContent) {
    ZR_VID_PROPS props = _pContent->avProps.vidProps;
    if (!_pContent->picture.Empty() || _section.cbID != 0 || _section.cbContent == 0) return ZR_E_INVALID_DATA;
    if (props.nWidth != 0) {
        if (Failed(CompleteVidProps(&props)) || PictureBytes(props) > _section.cbContent) return ZR_E_INVALID_DATA;
    } else {
        props.nHeight = props.nRowBytes = 0;
    }
    if (_section.cbContent > BufferPool::kMaxBytes) return ZR_E_INVALID_DATA;
    const HRESULT hr = PictureAlloc(_section.cbContent, &_pContent->picture);
    if (Failed(hr)) return hr;
    std::memcpy(_pContent->picture.pBits, _p, _section.cbContent);
    _pContent->avProps.vidProps = props;
    return S_OK;
}

HRESULT ReadPlanes(const SECTION& _section, const uint8_t* _p, FrameContent* _pContent) {
    const ZR_VID_PROPS& props = _pContent->avProps.vidProps;
    Picture& picture = _pContent->picture;
    if (picture.Empty() || picture.bHasPlanes) return ZR_E_INVALID_DATA;
    PLANES offsets;
    const HRESULT hr = ReadRecord(_section, _p, &offsets);
    if (Failed(hr)) return hr;
    const auto lpBits = reinterpret_cast<int64_t>(picture.pBits);
    ZRF_VID_PTR planes;
    for (size_t i = 0; i < std::size(offsets.arrOffsets); ++i) {
        if (offsets.arrRowBytes[i] == 0) continue;
        if (offsets.arrOffsets[i] < 0 || offsets.arrOffsets[i] >= picture.cbBits) return ZR_E_INVALID_DATA;
        planes.lpVideoPlanes[i] = lpBits + offsets.arrOffsets[i];
        planes.cbVideoRowBytes[i] = offsets.arrRowBytes[i];
    }
    const bool bGood = planes.lpVideoPlanes[0] != 0 && Succeeded(PictureSetPlanes(props, planes, &picture)) &&
                       PlanesInBlock(props, picture.planes, lpBits, picture.cbBits);
    return bGood ? S_OK : ZR_E_INVALID_DATA;
}

HRESULT ReadAudio(const SECTION& _section, const uint8_t* _p, FrameContent* _pContent) {
    const ZR_AUD_PROPS& props = _pContent->avProps.audProps;
    FrameAudio& audio = _pContent->audio;
    if (!audio.Empty() || _section.cbID != 0 || _section.cbContent == 0) return ZR_E_INVALID_DATA;
    if (_section.cbContent > BufferPool::kMaxBytes) return ZR_E_INVALID_DATA;
    if (!AudUsable(props)) {
        const HRESULT hr = audio.AllocBytes(_section.cbContent);
        if (Succeeded(hr)) std::memcpy(audio.Data(), _p, _section.cbContent);
        return hr;
    }
    const auto cbBlock = static_cast<uint64_t>(AudBlockBytes(props));
    if (props.nChannels > kMaxAudioChannels || _section.cbContent % cbBlock != 0) return ZR_E_INVALID_DATA;
    return audio.Set(props, static_cast<int32_t>(_section.cbContent / cbBlock), _p);
}

// Throws std::bad_alloc.
HRESULT ReadAttachment(const SECTION& _section, const uint8_t* _pID, const uint8_t* _p, AttachmentList* _pList) {
    const bool bText = _section.nKind == eSection_Text;
    if (_section.cbID == 0 || _section.cbID % sizeof(char16_t) != 0) return ZR_E_INVALID_DATA;
    if (_section.cbContent > BufferPool::kMaxBytes - _section.cbID || _section.cbID > BufferPool::kMaxBytes)
        return ZR_E_INVALID_DATA;
    if (bText && _section.cbContent % sizeof(char16_t) != 0) return ZR_E_INVALID_DATA;
    std::u16string sID(_section.cbID / sizeof(char16_t), u'\0');
    std::memcpy(sID.data(), _pID, _section.cbID);  // the bytes may lie at any address
    if (sID.find(u'\0') != sID.npos || sID == szVideoPlanesID || _pList->Find(sID)) return ZR_E_INVALID_DATA;
    return _pList->Set(sID, _p, static_cast<uint32_t>(_section.cbContent));
}

HRESULT ReadSection(const SECTION& _section, const uint8_t* _pID, const uint8_t* _p, FrameContent* _pContent) {
    switch (_section.nKind) {
        case eSection_Picture: return ReadPicture(_section, _p, _pContent);
        case eSection_Planes: return ReadPlanes(_section, _p, _pContent);
        case eSection_Audio: return ReadAudio(_section, _p, _pContent);
        case eSection_Data: return ReadAttachment(_section, _pID, _p, &_pContent->data);
        case eSection_Text: return ReadAttachment(_section, _pID, _p, &_pContent->texts);
        default: return ZR_E_INVALID_DATA;
    }
}

HRESULT ReadHead(const uint8_t* _p, HEAD* _pHead) {
    std::memcpy(_pHead, _p, sizeof(HEAD));
    if (_pHead->nMagic != kMagic || _pHead->nVersion != kVersion) return ZR_E_INVALID_DATA;
    if (_pHead->nRecordBytes != sizeof(ZR_AV_PROPS) || _pHead->nReserved != 0) return ZR_E_INVALID_DATA;
    if (_pHead->nSections < 2 || _pHead->nSections > kMaxSections) return ZR_E_INVALID_DATA;
    if (_pHead->cbAll < sizeof(HEAD) + _pHead->nSections * sizeof(SECTION)) return ZR_E_INVALID_DATA;
    if (_pHead->cbAll > std::numeric_limits<uint32_t>::max()) return ZR_E_INVALID_DATA;
    return S_OK;
}

// Throws std::bad_alloc.
HRESULT ReadSections(const HEAD& _head, const uint8_t* _p, FrameContent* _pContent) {
    HRESULT hr = S_OK;
    SectionReader reader(_p + sizeof(HEAD), _head.cbAll - sizeof(HEAD));
    for (uint32_t i = 0; i < _head.nSections; ++i) {
        SECTION section;
        const uint8_t *pID, *pContent;
        if (!reader.Next(&section, &pID, &pContent)) return ZR_E_INVALID_DATA;
        if (i < 2 && section.nKind != (i == 0 ? eSection_Props : eSection_Time)) return ZR_E_INVALID_DATA;
        if (i == 0)
            hr = ReadRecord(section, pContent, &_pContent->avProps);
        else if (i == 1)
            hr = ReadRecord(section, pContent, &_pContent->time);
        else
            hr = ReadSection(section, pID, pContent, _pContent);
        if (Failed(hr)) return hr;
    }
    // Only planes that were named may lie outside of what the record says.
    const Picture& picture = _pContent->picture;
    const ZR_VID_PROPS& props = _pContent->avProps.vidProps;
    if (!picture.Empty() && !picture.bHasPlanes && props.nWidth != 0 && PictureBytes(props) != picture.cbBits)
        return ZR_E_INVALID_DATA;
    return reader.AtEnd() ? S_OK : ZR_E_INVALID_DATA;
}

// Reads until _cb bytes have come or the stream ends.
HRESULT ReadFully(IStream* _pStream, uint8_t* _p, uint32_t _cb, uint32_t* _pcbRead) {
    *_pcbRead = 0;
    while (*_pcbRead < _cb) {
        uint32_t cbGot = 0;
        const HRESULT hr = _pStream->Read(_p + *_pcbRead, _cb - *_pcbRead, &cbGot);
        if (Failed(hr)) return hr;
        if (cbGot > _cb - *_pcbRead) return E_UNEXPECTED;
        *_pcbRead += cbGot;
        if (cbGot == 0) break;
    }
    return S_OK;
}

}  // namespace

uint64_t SerialBytes(const FrameContent& _content, eZrFrameClone _eType) {
    const PLAN plan(_content, _eType);
    uint64_t cb = sizeof(HEAD) + SectionBytes(0, sizeof(ZR_AV_PROPS)) + SectionBytes(0, sizeof(ZR_TIME));
    if (plan.bPicture) cb += SectionBytes(0, plan.layout.cb);
    if (plan.layout.bHasPlanes) cb += SectionBytes(0, sizeof(PLANES));
    if (plan.bAudio) cb += SectionBytes(0, _content.audio.Size());
    if (!plan.bData) return cb;
    for (const AttachmentList* pList : {&_content.data, &_content.texts})
        for (int32_t i = 0; const Attachment* p = pList->At(i); ++i)
            cb += SectionBytes(p->ID().size() * sizeof(char16_t), p->Size());
    return cb;
}

HRESULT SerialWrite(const FrameContent& _content, eZrFrameClone _eType, ByteSink& _sink) {
    const PLAN plan(_content, _eType);
    uint64_t nSections = uint64_t{2} + plan.bPicture + plan.layout.bHasPlanes + plan.bAudio;
    if (plan.bData) nSections += _content.data.Count() + _content.texts.Count();
    const uint64_t cbAll = SerialBytes(_content, _eType);
    if (plan.layout.cb > BufferPool::kMaxBytes || nSections > kMaxSections ||
        cbAll > std::numeric_limits<uint32_t>::max())
        return ZR_E_NOT_SUPPORTED;

    SectionWriter writer(_sink);
    const HEAD head{kMagic, kVersion, sizeof(ZR_AV_PROPS), static_cast<uint32_t>(nSections), 0, cbAll};
    writer.Put(&head, sizeof(head));
    ZR_AV_PROPS avProps = _content.avProps;
    avProps.vidProps = plan.layout.props;
    writer.Whole(eSection_Props, {}, &avProps, sizeof(avProps));
    // The record ends in padding, which holds what was in memory before.
    constexpr size_t cbTime = offsetof(ZR_TIME, eFFlags) + sizeof(ZR_TIME::eFFlags);
    constexpr uint8_t arrTimePadding[sizeof(ZR_TIME) - cbTime] = {};
    writer.Begin(eSection_Time, {}, sizeof(ZR_TIME));
    writer.Put(&_content.time, cbTime);
    writer.Put(arrTimePadding, sizeof(arrTimePadding));
    writer.End();
    if (plan.bPicture) WritePicture(plan.layout, _content, &writer);
    if (plan.bAudio) writer.Whole(eSection_Audio, {}, _content.audio.Data(), _content.audio.Size());
    if (!plan.bData) return writer.Status();
    for (int32_t i = 0; const Attachment* p = _content.data.At(i); ++i)
        writer.Whole(eSection_Data, p->ID(), p->Data(), p->Size());
    for (int32_t i = 0; const Attachment* p = _content.texts.At(i); ++i)
        writer.Whole(eSection_Text, p->ID(), p->Data(), p->Size());
    return writer.Status();
}

HRESULT SerialReadHead(const uint8_t* _p, uint64_t* _pcbAll) {
    HEAD head;
    const HRESULT hr = ReadHead(_p, &head);
    if (Succeeded(hr)) *_pcbAll = head.cbAll;
    return hr;
}

HRESULT SerialRead(const uint8_t* _p, uint64_t _cb, eZrFrameClone _eType, FrameContent* _pContent) {
    if (_cb < sizeof(HEAD)) return ZR_E_INVALID_DATA;
    HEAD head;
    HRESULT hr = ReadHead(_p, &head);
    if (Failed(hr)) return hr;
    if (head.cbAll != _cb) return ZR_E_INVALID_DATA;
    FrameContent content;
    try {
        hr = ReadSections(head, _p, &content);
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    }
    if (Failed(hr)) return hr;
    BoundLevels(&content.avProps.ancData.audOriginal);
    BoundLevels(&content.avProps.ancData.audOutput);
    if (!TakesPicture(_eType)) content.picture.Reset();
    if (!TakesAudio(_eType)) content.audio.Reset();
    if (!TakesData(_eType)) content.data.Clear();
    if (!TakesData(_eType)) content.texts.Clear();
    *_pContent = std::move(content);
    return S_OK;
}

HRESULT SerialReadStream(IStream* _pStream, eZrFrameClone _eType, FrameContent* _pContent) {
    try {
        std::vector<uint8_t> arrBytes(sizeof(HEAD));
        uint32_t cbGot = 0;
        HRESULT hr = ReadFully(_pStream, arrBytes.data(), sizeof(HEAD), &cbGot);
        if (Failed(hr)) return hr;
        if (cbGot == 0) return ZR_E_EMPTY;
        if (cbGot < sizeof(HEAD)) return ZR_E_INVALID_DATA;
        uint64_t cbAll = 0;
        hr = SerialReadHead(arrBytes.data(), &cbAll);
        if (Failed(hr)) return hr;
        while (arrBytes.size() < cbAll) {
            const size_t cbHave = arrBytes.size();
            const auto cbStep = static_cast<uint32_t>(std::min<uint64_t>(cbAll - cbHave, std::max(cbHave, kFirstStep)));
            arrBytes.resize(cbHave + cbStep);
            hr = ReadFully(_pStream, arrBytes.data() + cbHave, cbStep, &cbGot);
            if (Failed(hr)) return hr;
            if (cbGot < cbStep) return ZR_E_INVALID_DATA;
        }
        return SerialRead(arrBytes.data(), cbAll, _eType, _pContent);
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace zr
