// Readers of picture and audio descriptions: a record of raw bytes, then texts as attributes. Besides not crashing,
// what comes out must be in form.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "media/aud_props.h"
#include "media/frame_time.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "media/vid_props_attributes.h"
#include "media/vid_props_text.h"

namespace zr {
namespace {

void Require(bool _bHolds) {
    if (!_bHolds) std::abort();
}

void CheckRecord(const ZR_VID_PROPS& _record) {
    for (const bool bKeepOwnSize : {false, true}) {
        ZR_VID_PROPS props = _record;
        NormalizeProps(&props, bKeepOwnSize);
        DetectFormat(&props, bKeepOwnSize);
        PictureBytes(props);
        for (int32_t nLevel = 0; nLevel < 4; ++nLevel)
            Require(SameProps(&_record, &props, nLevel) == SameProps(&props, &_record, nLevel));
    }
    // Two rates of up to 309 digits never meet in one text.
    Require(VideoTechnicalText(&_record).size() < 512);
    Require(VideoListText(&_record, true).size() < 512 && VideoListText(&_record, false).size() < 512);
    Require(VidPropsLine(_record).size() < 512);
    FrameDurationOfRate(_record.dblRate);
}

// The texts are the lines of the input, one an attribute.
void CheckTexts(std::u16string_view _text, ZR_VID_PROPS _record) {
    static constexpr const char16_t* arrNames[] = {u"video_format", u"width",      u"height",       u"rate",
                                                   u"pixel_format", u"colorspace", u"aspect_ratio", u"aspect-ratio",
                                                   u"interlace",    u"scale_type", u"keep-aspect",  u"format_3d"};
    std::array<std::u16string_view, std::size(arrNames)> arrValues;
    size_t nLines = 0;
    for (; nLines < arrValues.size() && !_text.empty(); ++nLines) {
        const size_t nEnd = _text.find(u'\n');
        arrValues[nLines] = _text.substr(0, nEnd);
        _text = nEnd == std::u16string_view::npos ? std::u16string_view() : _text.substr(nEnd + 1);
        ParsePixelFormat(arrValues[nLines]);
        ParseFormatName(arrValues[nLines], eZrVF_Custom);
        const ChannelList tracks = ParseTrackSplit(arrValues[nLines]);
        for (const int32_t nChannel : ParseChannelList(arrValues[nLines])) Require(nChannel >= 0);
        TracksOfSplitBits(_record.nWidth, SplitBitsOfTracks(tracks));
    }
    ReadVidProps(
        [&](const char16_t* _szName, std::u16string_view& _value) {
            for (size_t i = 0; i < nLines; ++i) {
                if (std::u16string_view(_szName) != arrNames[i] || arrValues[i].empty()) continue;
                _value = arrValues[i];
                return true;
            }
            return false;
        },
        &_record);
    CheckRecord(_record);
}

}  // namespace
}  // namespace zr

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    zr::ZR_VID_PROPS record;
    const size_t cbRecord = _cb < sizeof(record) ? _cb : sizeof(record);
    std::memcpy(static_cast<void*>(&record), _pData, cbRecord);
    zr::CheckRecord(record);
    zr::TimeText(static_cast<int64_t>(record.nWidth) << 32 | static_cast<uint32_t>(record.nHeight));
    const std::u16string text(_pData + cbRecord, _pData + _cb);
    zr::CheckTexts(text, record);
    return 0;
}
