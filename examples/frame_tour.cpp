// Frames through the calls that a host makes: in broadcast formats, cut and shared without a copy, saved and loaded,
// with their sound in a WAV file; and what each step costs.

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "zr/module.h"
#include "zr/zr.h"

namespace {

using zr::Failed;
using Frame = zr::ZrPtr<zr::IZrFFrame>;

struct FAILURE {
    const char* szWhat;
    zr::HRESULT hr;
};

void Check(zr::HRESULT _hr, const char* _szWhat) {
    if (Failed(_hr)) throw FAILURE{_szWhat, _hr};
}

// Runs a step over and over for about a tenth of a second and prints what one run costs.
template <class Step>
void Measure(const char* _szName, const Step& _step) {
    using Clock = std::chrono::steady_clock;
    for (int i = 0; i < 100; ++i) _step();  // fills the pools
    int64_t nRuns = 0;
    const auto tStart = Clock::now();
    auto tNow = tStart;
    for (; tNow - tStart < std::chrono::milliseconds(100); tNow = Clock::now())
        for (int i = 0; i < 64; ++i, ++nRuns) _step();
    const double dblNs = std::chrono::duration<double, std::nano>(tNow - tStart).count() / static_cast<double>(nRuns);
    std::printf("  %-58s %10.2f %s\n", _szName, dblNs < 10000 ? dblNs : dblNs / 1000, dblNs < 10000 ? "ns" : "us");
}

Frame MakeFrame(zr::IZrFFactory& _factory, zr::eZrVideoFormat _eFormat, zr::eZrFCC _fcc) {
    zr::ZR_AV_PROPS props{};
    props.vidProps.eVideoFormat = _eFormat;
    props.vidProps.fccType = _fcc;
    Frame pFrame;
    Check(_factory.ZrFFrameCreateFromMem(&props, 0, 0, 0, pFrame.Out(), nullptr), "make a frame");
    return pFrame;
}

// A second of a 997 Hz tone, two channels of 16 bits at 48 kHz, 20 dB below full scale.
std::vector<int16_t> Tone() {
    constexpr int kRate = 48000;
    std::vector<int16_t> samples;
    for (int i = 0; i < kRate; ++i) {
        const auto nSample = static_cast<int16_t>(std::lround(3276.7 * std::sin(2 * M_PI * 997 * i / kRate)));
        samples.insert(samples.end(), {nSample, nSample});
    }
    return samples;
}

void ShowFormats(zr::IZrFFactory& _factory) {
    struct FORMAT {
        const char* szName;
        zr::eZrVideoFormat eFormat;
        zr::eZrFCC fcc;
    };
    constexpr FORMAT arrFormats[] = {
        {"PAL, UYVY", zr::eZrVF_PAL, zr::eZrFCC_UYVY},
        {"HD1080-50i, HDYC", zr::eZrVF_HD1080_50i, zr::eZrFCC_HDYC},
        {"HD1080-29p, v210", zr::eZrVF_HD1080_2997p, zr::eZrFCC_v210},
        {"4K-UHD-50p, ARGB32", zr::eZrVF_4K_UHD_50p, zr::eZrFCC_ARGB32},
    };
    std::printf("Frames of named formats:\n");
    for (const FORMAT& format : arrFormats) {
        zr::ZR_AV_PROPS props{};
        int32_t nSamples = 0;
        Check(MakeFrame(_factory, format.eFormat, format.fcc)->ZrFAVPropsGet(&props, &nSamples),
              "read a frame's format");
        std::printf("  %-20s %4d x %4d, %5d bytes a row, %.3f frames a second\n", format.szName, props.vidProps.nWidth,
                    std::abs(props.vidProps.nHeight), props.vidProps.nRowBytes, props.vidProps.dblRate);
    }
}

void ShowCosts(zr::IZrFFactory& _factory) {
    std::printf("\nWhat a step costs, on a 1920 x 1080 HDYC frame of 4147200 bytes:\n");
    const Frame pFrame = MakeFrame(_factory, zr::eZrVF_HD1080_50i, zr::eZrFCC_HDYC);
    Measure("empty frame from the pool and back", [&] {
        Frame p;
        Check(_factory.ZrFFrameCreatePlain(4147200, p.Out()), "make a plain frame");
    });
    Measure("reference that shares the picture", [&] {
        Frame p;
        Check(pFrame->ZrFClone(p.Out(), zr::eZrFC_Reference, zr::eZrFCC_Default), "refer to a frame");
    });
    const zr::tagRECT rcQuarter{480, 270, 1440, 810};
    Measure("cut of the middle quarter, no copy", [&] {
        Frame p;
        Check(pFrame->ZrFCut(0, &rcQuarter, p.Out()), "cut a frame");
    });
    Measure("view of one field, no copy", [&] {
        Frame p;
        Check(pFrame->ZrFCut(1, nullptr, p.Out()), "cut a field");
    });
    Measure("full copy of the picture", [&] {
        Frame p;
        Check(pFrame->ZrFClone(p.Out(), zr::eZrFC_Full, zr::eZrFCC_Default), "copy a frame");
    });
}

void ShowFiles(zr::IZrFFactory& _factory) {
    const Frame pFrame = MakeFrame(_factory, zr::eZrVF_HD1080_25p, zr::eZrFCC_UYVY);
    const std::vector<int16_t> tone = Tone();
    const zr::ZR_AUD_PROPS audio{2, 48000, 16, 0};
    Check(pFrame->ZrFAudioSet(&audio, static_cast<int32_t>(tone.size() * sizeof(int16_t)),
                              reinterpret_cast<int64_t>(tone.data())),
          "give a frame its sound");
    Check(pFrame->ZrFStrSet(u"title", u"tour"), "attach a text");

    const std::string strPath = (std::filesystem::temp_directory_path() / "zrmixer-tour.wav").string();
    const std::u16string strWide = zr::ToUtf16(strPath);
    Check(pFrame->ZrFAudioSaveToFile(strWide.c_str(), 0), "save the sound");
    Frame pLoaded;
    Check(_factory.ZrFFrameCreatePlain(0, pLoaded.Out()), "make a plain frame");
    Check(pLoaded->ZrFAudioLoadFromFile(strWide.c_str(), 0, 0), "load the sound");
    int32_t cbLoaded = 0;
    int64_t lpLoaded = 0;
    Check(pLoaded->ZrFAudioGetBytes(&cbLoaded, &lpLoaded), "read the sound");
    const bool bSame =
        static_cast<size_t>(cbLoaded) == tone.size() * sizeof(int16_t) &&
        std::memcmp(reinterpret_cast<const void*>(lpLoaded), tone.data(), static_cast<size_t>(cbLoaded)) == 0;
    std::printf("\nA second of tone went into %s and came back %s.\n", strPath.c_str(), bSame ? "the same" : "CHANGED");

    uint32_t cbSaved = 0;
    uint8_t* pSaved = nullptr;
    Check(pFrame->ZrFSave(&cbSaved, &pSaved, zr::eZrFC_Full), "save a frame");
    Frame pCopy;
    Check(_factory.ZrFFrameCreatePlain(0, pCopy.Out()), "make a plain frame");
    const zr::HRESULT hr = pCopy->ZrFLoad(cbSaved, pSaved, zr::eZrFC_Full);
    zr::CoTaskMemFree(pSaved);
    Check(hr, "load a frame");
    std::string strTitle;
    Check(zr::GetText([&](zr::BSTR* _pbs) { return pCopy->ZrFStrGet(u"title", _pbs); }, strTitle), "read the text");
    std::printf("The whole frame saved to %u bytes and loaded again, its title \"%s\" with it.\n", cbSaved,
                strTitle.c_str());
    if (!bSame || strTitle != "tour") throw FAILURE{"compare what came back", zr::E_FAIL};
}

}  // namespace

int main() {
    try {
        zr::ZrPtr<zr::IZrFFactory> pFactory;
        Check(zr::ZrCreateInstance(zr::kClsidZrFrameFactory, pFactory), "find the maker of frames");
        ShowFormats(*pFactory);
        ShowCosts(*pFactory);
        ShowFiles(*pFactory);
        return 0;
    } catch (const FAILURE& failure) {
        std::fprintf(stderr, "frame_tour: cannot %s: %s\n", failure.szWhat, zr::StatusText(failure.hr).c_str());
        return 1;
    }
}
