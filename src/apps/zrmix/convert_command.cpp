#include <cstdio>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/run_error.h"
#include "zr/class_ids.h"
#include "zr/frame_factory.h"
#include "zr/module.h"
#include "zr/utf8.h"

namespace zrmix {

using namespace zr;

namespace {

struct CONVERT_OPTIONS {
    std::string strIn;
    std::string strOut;
    std::string strSize;
    std::string strQuality;
    std::string strPixelFormat;
    std::string strScaleType;
    std::string strCrop;
    std::string strRotate;
    std::string strMirror;
    std::string strProps;
};

constexpr HRESULT kNoConversion = static_cast<HRESULT>(0x80040201u);

const std::map<std::string, eZrFCC> mapPixelFormats = {
    {"v210", eZrFCC_v210},   {"i420", eZrFCC_I420},   {"yv12", eZrFCC_YV12},     {"nv12", eZrFCC_NV12},
    {"yuy2", eZrFCC_YUY2},   {"hdyc", eZrFCC_HDYC},   {"yvyu", eZrFCC_YVYU},     {"uyvy", eZrFCC_UYVY},
    {"rgb24", eZrFCC_RGB24}, {"rgb32", eZrFCC_RGB32}, {"argb32", eZrFCC_ARGB32},
};

const std::map<std::string, eZrScaleType> mapScaleTypes = {
    {"ignore-ar", eZrST_IgnoreAR},
    {"letterbox", eZrST_LetterBox},
    {"crop", eZrST_Crop},
    {"no-scale", eZrST_NoScale},
};

template <class Value>
std::vector<std::string> Names(const std::map<std::string, Value>& _map) {
    std::vector<std::string> arrNames;
    for (const auto& entry : _map) arrNames.push_back(entry.first);
    return arrNames;
}

// "1280x720"; an empty text, or the reason why it is no size.
std::string ReadSize(const std::string& _strSize, int32_t* _pnWidth, int32_t* _pnHeight) {
    int nEnd = 0;
    const bool bRead = std::sscanf(_strSize.c_str(), "%5dx%5d%n", _pnWidth, _pnHeight, &nEnd) == 2;
    const bool bWhole = bRead && static_cast<size_t>(nEnd) == _strSize.size();
    return bWhole && *_pnWidth > 0 && *_pnHeight > 0 ? std::string() : "a size is written as in 1280x720";
}

void AddAttribute(std::string* _pstrLine, const char* _szName, const std::string& _strValue) {
    if (_strValue.empty()) return;
    if (!_pstrLine->empty()) *_pstrLine += ' ';
    *_pstrLine += std::string(_szName) + "='" + _strValue + "'";
}

std::string PropsLine(const CONVERT_OPTIONS& _options) {
    std::string strLine = _options.strProps;
    AddAttribute(&strLine, "scaling_quality", _options.strQuality);
    AddAttribute(&strLine, "crop", _options.strCrop);
    AddAttribute(&strLine, "rotate", _options.strRotate);
    AddAttribute(&strLine, "mirror", _options.strMirror);
    return strLine;
}

// The reasons that people know by other words.
void CheckFile(HRESULT _hr, const std::string& _strWhat) {
    if (_strWhat.empty()) throw UsageError("a picture has no name");
    if (_hr == ZR_E_NOT_FOUND_FILE) throw RunError(_strWhat + ": There is no such file or folder.");
    if (_hr == ZR_E_INVALID_DATA) throw RunError(_strWhat + ": It is damaged, or not what its name says.");
    if (_hr == ZR_E_NOT_SUPPORTED) throw RunError(_strWhat + ": Its type is not known here.");
    Check(_hr, _strWhat);
}

// Some pairs of formats have no way from one to the other but over 4:2:2.
HRESULT ConvertFrame(ZrPtr<IZrFrame>* _ppFrame, const ZR_VID_PROPS& _wanted, const std::string& _strLine) {
    ZrPtr<IZrFrame> pConverted;
    HRESULT hr = (*_ppFrame)->FrameConvert(&_wanted, pConverted.Out(), Text(_strLine).Get());
    if (hr == E_FAIL || hr == kNoConversion) {
        ZR_VID_PROPS between = _wanted;
        between.fccType = eZrFCC_UYVY;
        ZrPtr<IZrFrame> pBetween;
        hr = (*_ppFrame)->FrameConvert(&between, pBetween.Out(), Text(_strLine).Get());
        if (Succeeded(hr)) hr = pBetween->FrameConvert(&_wanted, pConverted.Out(), nullptr);
    }
    if (Succeeded(hr)) *_ppFrame = pConverted;
    return hr;
}

void Convert(const CONVERT_OPTIONS& _options) {
    ZrPtr<IZrFrames> pFrames;
    Check(ZrCreateInstance(kClsidZrFrameFactory, pFrames), "maker of frames");
    ZrPtr<IZrFrame> pFrame;
    CheckFile(pFrames->FramesCreateFromFile(Text(_options.strIn).Get(), pFrame.Out(), nullptr), _options.strIn);

    const std::string strLine = PropsLine(_options);
    if (!_options.strSize.empty() || !_options.strPixelFormat.empty() || !strLine.empty()) {
        ZR_AV_PROPS props;
        Check(pFrame->FrameAVPropsGet(&props), _options.strIn);
        ZR_VID_PROPS wanted;
        wanted.nWidth = props.vidProps.nWidth;
        wanted.nHeight = props.vidProps.nHeight;
        if (!_options.strRotate.empty()) std::swap(wanted.nWidth, wanted.nHeight);
        if (!_options.strSize.empty()) ReadSize(_options.strSize, &wanted.nWidth, &wanted.nHeight);
        wanted.fccType =
            _options.strPixelFormat.empty() ? props.vidProps.fccType : mapPixelFormats.at(_options.strPixelFormat);
        if (!_options.strScaleType.empty()) wanted.eScaleType = mapScaleTypes.at(_options.strScaleType);
        Check(ConvertFrame(&pFrame, wanted, strLine), _options.strIn);
    }
    SavePicture(pFrame.Get(), _options.strOut);
}

}  // namespace

void SavePicture(IZrFrame* _pFrame, const std::string& _file) {
    CheckFile(_pFrame->FrameVideoSaveToFile(Text(std::string_view(_file)).Get()), _file);
}

void AddConvert(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("convert", "Convert a picture file: size, pixel format, crop, turn");
    const auto pOptions = std::make_shared<CONVERT_OPTIONS>();
    pCommand->add_option("in", pOptions->strIn, "Picture to read: png, jpg, bmp, tga, tiff")->required();
    pCommand->add_option("out", pOptions->strOut, "Picture to write; its ending names the type")->required();
    pCommand->add_option("--size", pOptions->strSize, "Size in pixels, as in 1280x720")
        ->check([](const std::string& _str) {
            int32_t nWidth = 0, nHeight = 0;
            return ReadSize(_str, &nWidth, &nHeight);
        });
    pCommand->add_option("--quality", pOptions->strQuality, "Scaling quality; 0 or \"auto\" chooses by the sizes");
    pCommand->add_option("--pixel-format", pOptions->strPixelFormat, "Pixel format that the picture passes through")
        ->transform(CLI::IsMember(Names(mapPixelFormats), CLI::ignore_case));
    pCommand->add_option("--scale-type", pOptions->strScaleType, "How a picture of another shape is fitted")
        ->check(CLI::IsMember(Names(mapScaleTypes)));
    pCommand->add_option("--crop", pOptions->strCrop, "Part of the picture that is left off, as in 10% or 8,4,8,4");
    pCommand->add_option("--rotate", pOptions->strRotate, "Turn by 90 degrees")
        ->check(CLI::IsMember({"left", "right"}));
    pCommand->add_option("--mirror", pOptions->strMirror, "Mirror")->check(CLI::IsMember({"horz", "vert", "both"}));
    pCommand->add_option("--props", pOptions->strProps, "More attributes for the converter, as in \"sharpen=2\"");
    pCommand->callback([pOptions] { Convert(*pOptions); });
}

}  // namespace zrmix
