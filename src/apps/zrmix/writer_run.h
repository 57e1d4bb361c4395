#pragma once
// Writes what a mixer sends, and waits until there is as much as was wanted.

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <string>

#include "apps/zrmix/progress.h"
#include "zr/zr.h"

namespace zrmix {

struct WRITER_OPTIONS {
    std::string output;
    std::string videoCodec, audioCodec, videoBitrate, audioBitrate, container;
};

// The options of a command that say what is written.
void AddWriterOptions(CLI::App& _command, WRITER_OPTIONS& _options);
// The output format of that name, as "zrmix formats" lists it. Throws UsageError.
zr::ZR_VID_PROPS FindFormat(zr::IZrFormat* _pFormat, const std::string& _name);

class WriterRun {
public:
    // _nFrames: how many are written; 0: as many as come. Each operation throws RunError with what the writer says.
    WriterRun(const WRITER_OPTIONS& _options, double _dblRate, int64_t _nFrames);
    void Open(zr::IUnknown* _pMixer);
    // Until all are written, the writer fails, *_pbInterrupted is set, or _hasEnded (may be empty) says so.
    void Wait(Progress& _progress, const volatile int* _pbInterrupted, const std::function<bool()>& _hasEnded = {});
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
