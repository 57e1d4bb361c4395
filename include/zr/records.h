#pragma once
// The records that cross every interface, by value or by pointer. Field order, widths and alignment are part of the
// public contract; a record made of zeros means "nothing given". Times (rt) are signed counts of 100 ns.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "zr/enums.h"

namespace zr {

// A picture.
struct ZR_VID_PROPS {
    eZrVideoFormat eVideoFormat = eZrVF_Custom;  // eZrVF_Custom: the other fields say everything; eZrVF_Disabled: none
    eZrFCC fccType = eZrFCC_Default;
    int32_t nWidth = 0;     // pixels
    int32_t nHeight = 0;    // lines; negative: rows are stored top-down in a format whose natural order is bottom-up
    int32_t nRowBytes = 0;  // bytes from one line to the next; of the luma plane in a planar format
    eZrInterlace eInterlace = eZrI_Default;
    int16_t nAspectX = 0;  // display aspect ratio, 4 of 4:3; both parts 0: none given
    int16_t nAspectY = 0;
    double dblRate = 0;  // frames (not fields) a second
    eZrScaleType eScaleType = eZrST_Default;
    eZr3DFormat e3DFormat = eZr3D_None;
};

// Interleaved audio.
struct ZR_AUD_PROPS {
    int32_t nChannels = 0;
    int32_t nSamplesPerSec = 0;   // Hz
    int32_t nBitsPerSample = 0;   // 16, 20, 24, 32: integers; -32: 32-bit float
    int32_t nTrackSplitBits = 0;  // bit i set: channel i is the last of its track
};

// Levels of all channels, one entry a channel.
struct ZR_AUDIO_LOUDNESS {
    float arrVUMeter[32] = {};
    float arrVUPeaks[32] = {};
    float arrRMS[32] = {};
    float arrEBUMode_M[32] = {};
    float arrEBUMode_S[32] = {};
    float arrEBUMode_I[32] = {};
    float arrPeaks_QPPM[32] = {};
    float arrPeaks_TPL[32] = {};
    int32_t nValidChannels = 0;  // entries filled
    int32_t nValidTracks = 0;
    int32_t nTracksSplitBit = 0;  // as nTrackSplitBits of ZR_AUD_PROPS
};

// Levels of one track.
struct ZR_AUDIO_TRACK_LOUDNESS {
    float arrVUMeter[32] = {};
    float arrVUPeaks[32] = {};
    float arrRMS[32] = {};
    float arrEBUMode_M = 0;
    float arrEBUMode_S = 0;
    float arrEBUMode_I = 0;
    float arrPeaks_QPPM = 0;
    float arrPeaks_TPL = 0;
    int32_t nValidChannels = 0;  // entries filled
};

struct ZR_ANC_DATA {
    eZrANCFlags eFlags = eZrAF_None;
    ZR_AUDIO_LOUDNESS audOriginal;  // levels of the audio as it entered
    ZR_AUDIO_LOUDNESS audOutput;    // levels of the audio as it left
};

// What a frame carries besides its data.
struct ZR_AV_PROPS {
    ZR_VID_PROPS vidProps;
    ZR_AUD_PROPS audProps;
    ZR_ANC_DATA ancData;
    int32_t bLocked = 0;
};

struct ZR_TIMECODE {
    int32_t nHours = 0;
    int32_t nMinutes = 0;
    int32_t nSeconds = 0;
    int32_t nFrames = 0;
    eZrTimecodeFlags eTCFlags = eZrTCF_NonDropFrame;
    int32_t nExtraCounter = 0;
};

// Time of a frame.
struct ZR_TIME {
    int64_t rtStartTime = 0;
    int64_t rtEndTime = 0;
    ZR_TIMECODE tcFrame;
    eZrFrameFlags eFFlags = eZrFF_None;
};

// Calendar time.
struct ZR_DATETIME {
    int32_t nYear = 0;
    int32_t nMonth = 0;  // 1 to 12
    int32_t nDay = 0;    // 1 to 31
    int32_t nHour = 0;
    int32_t nMinute = 0;
    int32_t nSecond = 0;
    int32_t nMilliseconds = 0;
};

// A whole frame in one read. Addresses are valid in the process dwProcessID, for as long as the frame is held.
struct ZRF_FRAME_INFO {
    int64_t llVideoID = 0;
    ZR_TIME mTime;
    ZR_AV_PROPS avProps;
    uint32_t cbAudio = 0;       // bytes
    uint32_t cbVideo = 0;       // bytes
    int64_t lpVideo = 0;        // address
    int64_t lpAudio = 0;        // address
    int32_t lAudioSamples = 0;  // a channel
    uint32_t dwProcessID = 0;
    int32_t nDataCount = 0;  // attached data blocks
    int32_t nObjCount = 0;   // attached objects
    int32_t nStrCount = 0;   // attached texts
};

struct ZRF_RECT {
    double dblPosX = 0;
    double dblPosY = 0;
    double dblWidth = 0;
    double dblHeight = 0;
    eZrFRectType eRectType = eZrFRT_Absolute;  // the units of the four
};

// Size of a plane in samples.
struct tagSIZE {
    int32_t cx = 0;
    int32_t cy = 0;
};

// Pixels; right and bottom lie just outside.
struct tagRECT {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;
};

// A picture by planes; unused planes are zeros.
struct ZRF_VID_PTR {
    int64_t lpVideoPlanes[4] = {};  // addresses
    tagSIZE szVideoPlanes[4];
    int32_t cbVideoRowBytes[4] = {};  // bytes from one line to the next
};

namespace detail {
template <class Record>
constexpr bool IsPlainRecord(size_t _cb) {
    return sizeof(Record) == _cb && std::is_standard_layout_v<Record> && std::is_trivially_copyable_v<Record>;
}
}  // namespace detail

static_assert(detail::IsPlainRecord<ZR_VID_PROPS>(48));
static_assert(offsetof(ZR_VID_PROPS, eVideoFormat) == 0 && offsetof(ZR_VID_PROPS, fccType) == 4);
static_assert(offsetof(ZR_VID_PROPS, nWidth) == 8 && offsetof(ZR_VID_PROPS, nHeight) == 12);
static_assert(offsetof(ZR_VID_PROPS, nRowBytes) == 16 && offsetof(ZR_VID_PROPS, eInterlace) == 20);
static_assert(offsetof(ZR_VID_PROPS, nAspectX) == 24 && offsetof(ZR_VID_PROPS, nAspectY) == 26);
static_assert(offsetof(ZR_VID_PROPS, dblRate) == 32 && offsetof(ZR_VID_PROPS, eScaleType) == 40);
static_assert(offsetof(ZR_VID_PROPS, e3DFormat) == 44);

static_assert(detail::IsPlainRecord<ZR_AUD_PROPS>(16));
static_assert(offsetof(ZR_AUD_PROPS, nChannels) == 0 && offsetof(ZR_AUD_PROPS, nSamplesPerSec) == 4);
static_assert(offsetof(ZR_AUD_PROPS, nBitsPerSample) == 8 && offsetof(ZR_AUD_PROPS, nTrackSplitBits) == 12);

static_assert(detail::IsPlainRecord<ZR_AUDIO_LOUDNESS>(1036));
static_assert(offsetof(ZR_AUDIO_LOUDNESS, arrVUMeter) == 0 && offsetof(ZR_AUDIO_LOUDNESS, arrVUPeaks) == 128);
static_assert(offsetof(ZR_AUDIO_LOUDNESS, arrRMS) == 256 && offsetof(ZR_AUDIO_LOUDNESS, arrEBUMode_M) == 384);
static_assert(offsetof(ZR_AUDIO_LOUDNESS, arrEBUMode_S) == 512 && offsetof(ZR_AUDIO_LOUDNESS, arrEBUMode_I) == 640);
static_assert(offsetof(ZR_AUDIO_LOUDNESS, arrPeaks_QPPM) == 768 && offsetof(ZR_AUDIO_LOUDNESS, arrPeaks_TPL) == 896);
static_assert(offsetof(ZR_AUDIO_LOUDNESS, nValidChannels) == 1024 && offsetof(ZR_AUDIO_LOUDNESS, nValidTracks) == 1028);
static_assert(offsetof(ZR_AUDIO_LOUDNESS, nTracksSplitBit) == 1032);

static_assert(detail::IsPlainRecord<ZR_AUDIO_TRACK_LOUDNESS>(408));
static_assert(offsetof(ZR_AUDIO_TRACK_LOUDNESS, arrVUMeter) == 0 && offsetof(ZR_AUDIO_TRACK_LOUDNESS, arrRMS) == 256);
static_assert(offsetof(ZR_AUDIO_TRACK_LOUDNESS, arrVUPeaks) == 128);
static_assert(offsetof(ZR_AUDIO_TRACK_LOUDNESS, arrEBUMode_M) == 384);
static_assert(offsetof(ZR_AUDIO_TRACK_LOUDNESS, arrEBUMode_S) == 388);
static_assert(offsetof(ZR_AUDIO_TRACK_LOUDNESS, arrEBUMode_I) == 392);
static_assert(offsetof(ZR_AUDIO_TRACK_LOUDNESS, arrPeaks_QPPM) == 396);
static_assert(offsetof(ZR_AUDIO_TRACK_LOUDNESS, arrPeaks_TPL) == 400);
static_assert(offsetof(ZR_AUDIO_TRACK_LOUDNESS, nValidChannels) == 404);

static_assert(detail::IsPlainRecord<ZR_ANC_DATA>(2076));
static_assert(offsetof(ZR_ANC_DATA, eFlags) == 0 && offsetof(ZR_ANC_DATA, audOriginal) == 4);
static_assert(offsetof(ZR_ANC_DATA, audOutput) == 1040);

static_assert(detail::IsPlainRecord<ZR_AV_PROPS>(2144));
static_assert(offsetof(ZR_AV_PROPS, vidProps) == 0 && offsetof(ZR_AV_PROPS, audProps) == 48);
static_assert(offsetof(ZR_AV_PROPS, ancData) == 64 && offsetof(ZR_AV_PROPS, bLocked) == 2140);

static_assert(detail::IsPlainRecord<ZR_TIMECODE>(24));
static_assert(offsetof(ZR_TIMECODE, nHours) == 0 && offsetof(ZR_TIMECODE, nMinutes) == 4);
static_assert(offsetof(ZR_TIMECODE, nSeconds) == 8 && offsetof(ZR_TIMECODE, nFrames) == 12);
static_assert(offsetof(ZR_TIMECODE, eTCFlags) == 16 && offsetof(ZR_TIMECODE, nExtraCounter) == 20);

static_assert(detail::IsPlainRecord<ZR_TIME>(48));
static_assert(offsetof(ZR_TIME, rtStartTime) == 0 && offsetof(ZR_TIME, rtEndTime) == 8);
static_assert(offsetof(ZR_TIME, tcFrame) == 16 && offsetof(ZR_TIME, eFFlags) == 40);

static_assert(detail::IsPlainRecord<ZR_DATETIME>(28));
static_assert(offsetof(ZR_DATETIME, nYear) == 0 && offsetof(ZR_DATETIME, nMonth) == 4);
static_assert(offsetof(ZR_DATETIME, nDay) == 8 && offsetof(ZR_DATETIME, nHour) == 12);
static_assert(offsetof(ZR_DATETIME, nMinute) == 16 && offsetof(ZR_DATETIME, nSecond) == 20);
static_assert(offsetof(ZR_DATETIME, nMilliseconds) == 24);

static_assert(detail::IsPlainRecord<ZRF_FRAME_INFO>(2248));
static_assert(offsetof(ZRF_FRAME_INFO, llVideoID) == 0 && offsetof(ZRF_FRAME_INFO, mTime) == 8);
static_assert(offsetof(ZRF_FRAME_INFO, avProps) == 56 && offsetof(ZRF_FRAME_INFO, cbAudio) == 2200);
static_assert(offsetof(ZRF_FRAME_INFO, cbVideo) == 2204 && offsetof(ZRF_FRAME_INFO, lpVideo) == 2208);
static_assert(offsetof(ZRF_FRAME_INFO, lpAudio) == 2216 && offsetof(ZRF_FRAME_INFO, lAudioSamples) == 2224);
static_assert(offsetof(ZRF_FRAME_INFO, dwProcessID) == 2228 && offsetof(ZRF_FRAME_INFO, nDataCount) == 2232);
static_assert(offsetof(ZRF_FRAME_INFO, nObjCount) == 2236 && offsetof(ZRF_FRAME_INFO, nStrCount) == 2240);

static_assert(detail::IsPlainRecord<ZRF_RECT>(40));
static_assert(offsetof(ZRF_RECT, dblPosX) == 0 && offsetof(ZRF_RECT, dblPosY) == 8);
static_assert(offsetof(ZRF_RECT, dblWidth) == 16 && offsetof(ZRF_RECT, dblHeight) == 24);
static_assert(offsetof(ZRF_RECT, eRectType) == 32);

static_assert(detail::IsPlainRecord<tagSIZE>(8) && offsetof(tagSIZE, cx) == 0 && offsetof(tagSIZE, cy) == 4);
static_assert(detail::IsPlainRecord<tagRECT>(16) && offsetof(tagRECT, left) == 0 && offsetof(tagRECT, top) == 4);
static_assert(offsetof(tagRECT, right) == 8 && offsetof(tagRECT, bottom) == 12);

static_assert(detail::IsPlainRecord<ZRF_VID_PTR>(80));
static_assert(offsetof(ZRF_VID_PTR, lpVideoPlanes) == 0 && offsetof(ZRF_VID_PTR, szVideoPlanes) == 32);
static_assert(offsetof(ZRF_VID_PTR, cbVideoRowBytes) == 64);

}  // namespace zr
