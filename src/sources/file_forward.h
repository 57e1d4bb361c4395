#pragma once
// IZrFile of what stands for a file that plays elsewhere.

#include <type_traits>

#include "platform/unknown.h"
#include "zr/file.h"

namespace zr {

// Every operation goes on to the file that T::File_I gives; without one it is T::kNoFile. T overrides what is its own.
template <class T>
class IZrFileForward : public IZrFile {
public:
    HRESULT FileNameSet(const char16_t* _bsFile, const char16_t* _bsParam) override {
        return Forward(&IZrFile::FileNameSet, _bsFile, _bsParam);
    }
    HRESULT FileNameGet(BSTR* _pbsFile) override {
        if (_pbsFile) *_pbsFile = nullptr;
        return Forward(&IZrFile::FileNameGet, _pbsFile);
    }
    HRESULT FileInOutSet(double _dblIn, double _dblOut) override {
        return Forward(&IZrFile::FileInOutSet, _dblIn, _dblOut);
    }
    HRESULT FileInOutGet(double* _pdblIn, double* _pdblOut, double* _pdblDuration) override {
        return Forward(&IZrFile::FileInOutGet, _pdblIn, _pdblOut, _pdblDuration);
    }
    HRESULT FilePosSet(double _dblPos, double _dblPreroll) override {
        return Forward(&IZrFile::FilePosSet, _dblPos, _dblPreroll);
    }
    HRESULT FilePosGet(double* _pdblFilePos) override { return Forward(&IZrFile::FilePosGet, _pdblFilePos); }
    HRESULT FilePlayStart() override { return Forward(&IZrFile::FilePlayStart); }
    HRESULT FilePlayPause(double _dblSeconds) override { return Forward(&IZrFile::FilePlayPause, _dblSeconds); }
    HRESULT FilePlayStop(double _dblSeconds) override { return Forward(&IZrFile::FilePlayStop, _dblSeconds); }
    HRESULT FileStateGet(eZrState* _peState, double* _pdblTimeRemain) override {
        return Forward(&IZrFile::FileStateGet, _peState, _pdblTimeRemain);
    }
    HRESULT FileRateSet(double _dblRate) override { return Forward(&IZrFile::FileRateSet, _dblRate); }
    HRESULT FileRateGet(double* _pdblRate) override { return Forward(&IZrFile::FileRateGet, _pdblRate); }
    HRESULT FileFrameGet(double _dblPos, double _dblPreroll, IZrFrame** _ppFrame) override {
        return Forward(&IZrFile::FileFrameGet, _dblPos, _dblPreroll, _ppFrame);
    }
    HRESULT FileInOutSetTC(const ZR_TIMECODE* _pTCIn, const ZR_TIMECODE* _pTCOut) override {
        return Forward(&IZrFile::FileInOutSetTC, _pTCIn, _pTCOut);
    }
    HRESULT FileInOutGetTC(ZR_TIMECODE* _pTCIn, ZR_TIMECODE* _pTCOut, int32_t* _pbOutSpecified) override {
        return Forward(&IZrFile::FileInOutGetTC, _pTCIn, _pTCOut, _pbOutSpecified);
    }
    HRESULT FilePosSetTC(const ZR_TIMECODE* _pTC) override { return Forward(&IZrFile::FilePosSetTC, _pTC); }
    HRESULT FilePosGetTC(ZR_TIMECODE* _pTC) override { return Forward(&IZrFile::FilePosGetTC, _pTC); }
    HRESULT FileFrameGetByTC(const ZR_TIMECODE* _pTC, IZrFrame** _ppFrame) override {
        return Forward(&IZrFile::FileFrameGetByTC, _pTC, _ppFrame);
    }

private:
    template <class... Arguments>
    HRESULT Forward(HRESULT (IZrFile::*_pOperation)(Arguments...), std::type_identity_t<Arguments>... _arguments) {
        const ZrPtr<IZrFile> pFile = static_cast<T*>(this)->File_I();
        return pFile ? (pFile.Get()->*_pOperation)(_arguments...) : T::kNoFile;
    }
};

}  // namespace zr
