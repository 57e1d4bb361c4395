#pragma once
// Writes what a mixer sends, and waits until there is as much as was wanted.

#include <cstdint>
#include <string>

#include "apps/zrmix/progress.h"
#include "zr/zr.h"

namespace zrmix {

struct WRITER_OPTIONS {
    std::string output;
    std::string videoCodec, audioCodec, videoBitrate, audioBitrate, container;
};

class WriterRun {
public:
    // _nFrames: how many are written. Each throws RunError with what the writer says.
    WriterRun(const WRITER_OPTIONS& _options, double _dblRate, int64_t _nFrames);
    void Open(zr::IUnknown* _pMixer);
    // Until all are written or *_pbInterrupted is set.
    void Wait(Progress& _progress, const volatile int* _pbInterrupted);
    RUN_FIGURES Finish();

private:
    void CheckWriter(zr::HRESULT _hr);
    zr::ZR_WRITER_STATE State();
    RUN_FIGURES Figures();

    const WRITER_OPTIONS options;
    const double dblRate;
    const int64_t nFrames;
    zr::ZrPtr<zr::IZrWriter> pWriter;
};

}  // namespace zrmix
