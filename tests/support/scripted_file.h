#pragma once
// A source without frames that plays and stops like a file; a test says what playing takes.

#include <atomic>

#include "one_reader_source.h"
#include "zr/file.h"

namespace zr {

class ScriptedFile : public OneReaderSource, public IZrFile {
public:
    std::atomic<eZrState> eState{eZrS_Stopped};
    std::atomic<int> nGets{0};

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override {
        if (_iid != IZrFile::kIid) return OneReaderSource::QueryInterface(_iid, _ppv);
        *_ppv = static_cast<IZrFile*>(this);
        AddRef();
        return S_OK;
    }
    uint32_t AddRef() override { return OneReaderSource::AddRef(); }
    uint32_t Release() override { return OneReaderSource::Release(); }

    HRESULT NextFrame(int64_t, IZrFFrame**) override {
        ++nGets;
        return ZR_E_EMPTY;
    }
    HRESULT FilePlayStart() override { return E_NOTIMPL; }
    HRESULT FilePlayStop(double) override {
        eState = eZrS_Stopped;
        return S_OK;
    }
    HRESULT FileStateGet(eZrState* _peState, double*) override {
        *_peState = eState;
        return S_OK;
    }
    HRESULT FileNameSet(const char16_t*, const char16_t*) override { return E_NOTIMPL; }
    HRESULT FileNameGet(BSTR*) override { return E_NOTIMPL; }
    HRESULT FileInOutSet(double, double) override { return E_NOTIMPL; }
    HRESULT FileInOutGet(double*, double*, double*) override { return E_NOTIMPL; }
    HRESULT FilePosSet(double, double) override { return E_NOTIMPL; }
    HRESULT FilePosGet(double*) override { return E_NOTIMPL; }
    HRESULT FilePlayPause(double) override { return E_NOTIMPL; }
    HRESULT FileRateSet(double) override { return E_NOTIMPL; }
    HRESULT FileRateGet(double*) override { return E_NOTIMPL; }
    HRESULT FileFrameGet(double, double, IZrFrame**) override { return E_NOTIMPL; }
    HRESULT FileInOutSetTC(const ZR_TIMECODE*, const ZR_TIMECODE*) override { return E_NOTIMPL; }
    HRESULT FileInOutGetTC(ZR_TIMECODE*, ZR_TIMECODE*, int32_t*) override { return E_NOTIMPL; }
    HRESULT FilePosSetTC(const ZR_TIMECODE*) override { return E_NOTIMPL; }
    HRESULT FilePosGetTC(ZR_TIMECODE*) override { return E_NOTIMPL; }
    HRESULT FileFrameGetByTC(const ZR_TIMECODE*, IZrFrame**) override { return E_NOTIMPL; }
};

}  // namespace zr
