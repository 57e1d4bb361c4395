#include "output/audio_overlay.h"

#include <algorithm>
#include <cmath>

#include "audio/sample_convert.h"
#include "video/borders.h"

namespace zr {
namespace {

constexpr int32_t kColumns = 6;  // edges stand between whole groups of every pixel format
constexpr int32_t kRows = 2;
constexpr double kFloorDb = -60;
constexpr uint32_t kGroundWeight = 128;  // of 256: half of the picture shows through

struct ZONE {
    double dblFromDb, dblToDb;
    FILL_COLOUR colour;
};

int32_t Down(double _dbl, int32_t _nStep) {
    const auto n = static_cast<int32_t>(_dbl);
    return n - n % _nStep;
}

// Where something of _nSize begins.
int32_t PlaceOf(double _dblPos, int32_t _nWhole, int32_t _nSize, int32_t _nStep) {
    if (!(std::abs(_dblPos) <= 1)) _dblPos = 0;
    const double dbl = (_dblPos < 0 ? 1 + _dblPos : _dblPos) * _nWhole;
    return Down(std::round(std::clamp(dbl, 0.0, static_cast<double>(std::max(_nWhole - _nSize, 0)))), _nStep);
}

HRESULT PictureIn(IZrFFrame& _frame, PICTURE& _picture) {
    ZR_AV_PROPS props;
    ZRF_VID_PTR planes;
    HRESULT hr = _frame.ZrFAVPropsGet(&props, nullptr);
    if (Succeeded(hr)) hr = _frame.ZrFVideoGetBytesEx(&planes);
    return Succeeded(hr) ? PictureOfPlanes(planes, props.vidProps, _picture) : hr;
}

// As much of the rectangle as is inside.
bool Cut(const PICTURE& _picture, tagRECT _rect, PICTURE& _part) {
    _rect.right = std::min(_rect.right, _picture.Width());
    _rect.bottom = std::min(_rect.bottom, _picture.Height());
    if (_rect.left >= _rect.right || _rect.top >= _rect.bottom) return false;
    _part = CutPicture(_picture, _rect);
    return true;
}

HRESULT Fill(const PICTURE& _picture, const tagRECT& _rect, const FILL_COLOUR& _colour) {
    PICTURE part;
    return Cut(_picture, _rect, part) ? FillColour(part, _colour) : S_OK;
}

// What cannot be mixed is filled.
HRESULT DrawGround(const PICTURE& _picture, const tagRECT& _rect) {
    PICTURE part;
    if (!Cut(_picture, _rect, part)) return S_OK;
    return Succeeded(MixColour(part, kFillBlack, kGroundWeight)) ? S_OK : FillColour(part, kFillBlack);
}

}  // namespace

bool AudioOverlay::Listen(IZrFFrame& _frame) {
    PICTURE picture;
    sound = SoundOf(_frame);
    return sound.p && sound.nSamples > 0 && Succeeded(PictureIn(_frame, picture));
}

HRESULT AudioOverlay::DrawMeters(IZrFFrame& _frame, double _dblPos, const FILL_COLOUR& _colour) {
    PICTURE picture;
    HRESULT hr = PictureIn(_frame, picture);
    if (Succeeded(hr)) hr = meters.Measure(sound.props, sound.p, static_cast<size_t>(sound.nSamples));
    if (Failed(hr)) return hr;
    ZR_AUDIO_TRACK_LOUDNESS levels{};
    meters.Read(&levels);

    const ZONE arrZones[] = {
        {kFloorDb, -20, _colour}, {-20, -9, FILL_COLOUR::Rgb(255, 255, 0)}, {-9, 0, FILL_COLOUR::Rgb(255, 0, 0)}};
    const int32_t nBar = std::max(Down(picture.Width() / 100.0, kColumns), kColumns);
    const int32_t nWidth = levels.nValidChannels * (nBar + kColumns) + kColumns;
    const int32_t nLeft = PlaceOf(_dblPos, picture.Width(), nWidth, kColumns);
    const int32_t nTop = Down(picture.Height() * 0.1, kRows), nBottom = Down(picture.Height() * 0.9, kRows);
    const auto RowOf = [&](double _dblDb) {
        const double dblShare = std::clamp((_dblDb - kFloorDb) / -kFloorDb, 0.0, 1.0);
        return nBottom - Down((nBottom - nTop) * dblShare, kRows);
    };
    hr = DrawGround(picture, {nLeft, nTop, nLeft + nWidth, nBottom});
    for (int32_t c = 0; c < levels.nValidChannels && Succeeded(hr); ++c) {
        const int32_t x = nLeft + kColumns + c * (nBar + kColumns);
        for (const ZONE& zone : arrZones) {
            const double dblTo = std::min<double>(levels.arrRMS[c], zone.dblToDb);
            if (dblTo > zone.dblFromDb) Fill(picture, {x, RowOf(dblTo), x + nBar, RowOf(zone.dblFromDb)}, zone.colour);
        }
    }
    return hr;
}

AudioOverlay::RANGE AudioOverlay::RangeOf(int64_t _nFirst, int64_t _nEnd) const {
    RANGE range{1, -1};
    for (auto i = static_cast<size_t>(_nFirst * sound.props.nChannels);
         i < static_cast<size_t>(_nEnd * sound.props.nChannels); ++i) {
        if (arrSamples[i] < range.fLeast) range.fLeast = std::max(arrSamples[i], -1.0f);
        if (arrSamples[i] > range.fMost) range.fMost = std::min(arrSamples[i], 1.0f);
    }
    return range.fLeast <= range.fMost ? range : RANGE{0, 0};  // samples that are no numbers count as silence
}

HRESULT AudioOverlay::DrawWaveform(IZrFFrame& _frame, double _dblPos) {
    PICTURE picture;
    HRESULT hr = PictureIn(_frame, picture);
    if (Failed(hr)) return hr;
    arrSamples.resize(static_cast<size_t>(sound.nSamples * sound.props.nChannels));
    hr = ConvertSamples(sound.props.nBitsPerSample, sound.p, -32, reinterpret_cast<uint8_t*>(arrSamples.data()),
                        arrSamples.size());
    const int32_t nLeft = Down(picture.Width() * 0.1, kColumns);
    const int32_t nColumns = std::max(Down(picture.Width() * 0.8, kColumns) / kColumns, 1);
    const int32_t nHeight = std::max(Down(picture.Height() * 0.2, 2 * kRows), 2 * kRows);
    const int32_t nTop = PlaceOf(_dblPos, picture.Height(), nHeight, kRows);
    if (Succeeded(hr)) hr = DrawGround(picture, {nLeft, nTop, nLeft + nColumns * kColumns, nTop + nHeight});
    const int32_t nHalf = nHeight / 2;
    for (int32_t i = 0; i < nColumns && Succeeded(hr); ++i) {
        const int64_t nFirst = sound.nSamples * i / nColumns;
        const RANGE range = RangeOf(nFirst, std::max(sound.nSamples * (i + 1) / nColumns, nFirst + 1));
        const int32_t y = std::min(Down(nHalf * (1.0 - range.fMost), kRows), nHeight - kRows);
        const int32_t yEnd = std::max(Down(nHalf * (1.0 - range.fLeast) + kRows - 1, kRows), y + kRows);
        const int32_t x = nLeft + i * kColumns;
        Fill(picture, {x, nTop + y, x + kColumns, nTop + yEnd}, FILL_COLOUR::Rgb(255, 255, 255));
    }
    return hr;
}

}  // namespace zr
