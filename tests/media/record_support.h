#pragma once
// Picture records for the tests of this folder.

#include <cstdint>
#include <initializer_list>
#include <random>
#include <tuple>
#include <vector>

#include "media/pixel_format.h"
#include "zr/records.h"

namespace zr {

constexpr eZrVideoFormat Format(int32_t _n) { return static_cast<eZrVideoFormat>(_n); }

// All fields, for comparing and printing.
inline auto Fields(const ZR_VID_PROPS& _p) {
    return std::make_tuple(static_cast<int32_t>(_p.eVideoFormat), static_cast<uint32_t>(_p.fccType), _p.nWidth,
                           _p.nHeight, _p.nRowBytes, static_cast<int32_t>(_p.eInterlace), _p.nAspectX, _p.nAspectY,
                           _p.dblRate, static_cast<int32_t>(_p.eScaleType), static_cast<uint32_t>(_p.e3DFormat));
}

// Every format that builds a picture: the 2D ones and the stereoscopic ones that the enumeration names.
inline std::vector<eZrVideoFormat> NamedFormats() {
    std::vector<eZrVideoFormat> formats;
    for (int32_t i = eZrVF_NTSC; i < eZrVF_Disabled; ++i) formats.push_back(Format(i));
    for (int32_t i = eZrVF_HD720_50p; i <= eZrVF_HD1080_60p; ++i) {
        const bool bInterlaced = i >= eZrVF_HD1080_50i && i <= eZrVF_HD1080_60i;
        formats.push_back(Format(i + 0x200));
        if (!bInterlaced) formats.push_back(Format(i + 0x400));
        if (i <= eZrVF_HD1080_60i) formats.insert(formats.end(), {Format(i + 0x1200), Format(i + 0x1400)});
    }
    return formats;
}

// Records around every number that decides something, the same ones in each run.
class RandomRecords {
public:
    ZR_VID_PROPS Next() {
        ZR_VID_PROPS props;
        const int32_t nLayout = random() % 4 == 0 ? Pick({0x200, 0x400, 0x1200, 0x1400, 0x600, 0x800}) : 0;
        if (random() % 4 != 0) props.eVideoFormat = Format(static_cast<int32_t>(random() % 49) | nLayout);
        props.fccType = Pick({eZrFCC_Default, eZrFCC_UYVY, eZrFCC_HDYC, eZrFCC_RGB32, eZrFCC_RGB24, eZrFCC_I420,
                              eZrFCC_v210, kFCC_r210, kFCC_RGB565, kFCC_MJPG});
        props.nWidth = Pick({0, 1, 720, 721, 1280, 1920, 1921, 2048, 2560, 3840, 4096, -720, INT32_MIN, INT32_MAX});
        props.nHeight = Pick({0,    1,    -1,    2,    480,  -480, 486,  525,  576,   -576,      616,       720, 750,
                              1080, 1081, -1081, 1125, 1126, 1440, 1441, 1556, -2160, INT32_MIN, INT32_MAX, 2160});
        props.nRowBytes = Pick({0, 0, -5, 1440, 7680, 15360, 100000});
        props.eInterlace = static_cast<eZrInterlace>(Pick({0, 1, 2, 3, 4, 5, 256, -1}));
        props.nAspectX = static_cast<int16_t>(Pick({0, 4, 16, 16, -1}));
        props.nAspectY = static_cast<int16_t>(Pick({0, 3, 9, 9, -1}));
        props.dblRate = Pick({0.0, 25.0, 29.97, 50.0, 59.94, 60.0, 24.0, 23.976, 12.0, -1.0, 1e300});
        props.eScaleType = static_cast<eZrScaleType>(Pick({0, 0, 1, 2}));
        props.e3DFormat = static_cast<eZr3DFormat>(Pick({0, 0, 1, 0x200, 0x1400, 0x600}));
        return props;
    }

private:
    template <class T>
    T Pick(std::initializer_list<T> _list) {
        return *(_list.begin() + random() % _list.size());
    }
    std::mt19937 random{20240613};
};

}  // namespace zr
