#include "sources/co_zr_file.h"

#include "attributes/file_keys.h"
#include "attributes/interface_call.h"
#include "platform/class_registry.h"
#include "zr/class_ids.h"

namespace zr {
namespace {

const ClassRegistrar registrarFile(kClsidZrFile, &MakeObject<CCoZrFile>);

HRESULT GiveFrame(HRESULT _hr, const ZrPtr<IZrFFrame>& _pFrame, IZrFrame** _ppFrame) {
    if (Failed(_hr)) return _hr;
    *_ppFrame = _pFrame.As<IZrFrame>().Detach();
    return *_ppFrame ? _hr : E_NOINTERFACE;
}

}  // namespace

void LinkFileSource() {}

CCoZrFile::CCoZrFile()
    : IZrPropsImpl<CCoZrFile>(FileProfile(), *this, lock_order::kProperties),
      readers(props.Root(), props.Object(), *this),
      sender(props.Object(), *static_cast<IZrObject*>(this), readers, *this, &references),
      events(props.Object()),
      plugins(props.Object(), *static_cast<IZrObject*>(this)),
      control({props, format, readers, sender, lastFrame, name, tracks, plugins, events}) {
    props.Start_I();
}

uint32_t CCoZrFile::Release() {
    const uint32_t nLeft = references.Drop();
    if (nLeft == 0) {
        sender.Access().Leave();
        references.Add();  // whoever is told of the end may take a reference and give it back
        ObjectClose();
        delete this;
    }
    return nLeft;
}

void CCoZrFile::OnName(std::u16string_view _name, std::u16string_view) { name.Set(_name); }

void CCoZrFile::OnThreadPriority(std::u16string_view _priority) {
    control.Pump().SetPriority(ThreadPriorityFromText(_priority));
}

void CCoZrFile::OnKeyChanged(std::u16string_view _name, std::u16string_view, const std::u16string*) {
    tracks.OnKey(_name, *props.Object());
    plugins.OnKeys();
    control.Pump().OnKeys();
    if (ExternalAccess::IsKey(_name)) sender.Access().OnKeys();
}

HRESULT CCoZrFile::OnSenderFormat(ZR_VID_PROPS* _pVidProps, ZR_AUD_PROPS* _pAudProps) {
    HRESULT hr = S_OK;
    if (_pVidProps) hr = format.VideoGet(eZrFT_Output, _pVidProps, nullptr, nullptr);
    if (_pAudProps && Succeeded(hr)) hr = format.AudioGet(eZrFT_Output, _pAudProps, nullptr, nullptr);
    return hr;
}

// --- IZrFile

HRESULT CCoZrFile::FileNameSet(const char16_t* _bsFile, const char16_t* _bsParam) {
    return InterfaceCall([&] { return control.FileNameSet(_bsFile, _bsParam); });
}

HRESULT CCoZrFile::FileNameGet(BSTR* _pbsFile) {
    return InterfaceCall([&] { return GiveText(control.FileName(), _pbsFile); });
}

HRESULT CCoZrFile::FileInOutSet(double _dblIn, double _dblOut) {
    return InterfaceCall([&] { return control.FileInOutSet(_dblIn, _dblOut); });
}

HRESULT CCoZrFile::FileInOutGet(double* _pdblIn, double* _pdblOut, double* _pdblDuration) {
    return InterfaceCall([&] { return control.FileInOutGet(_pdblIn, _pdblOut, _pdblDuration); });
}

HRESULT CCoZrFile::FilePosSet(double _dblPos, double _dblPreroll) {
    return InterfaceCall([&] { return control.FilePosSet(_dblPos, _dblPreroll); });
}

HRESULT CCoZrFile::FilePosGet(double* _pdblFilePos) { return control.FilePosGet(_pdblFilePos); }

HRESULT CCoZrFile::FilePlayStart() {
    return InterfaceCall([&] { return control.FilePlayStart(); });
}

HRESULT CCoZrFile::FilePlayPause(double _dblSeconds) {
    return InterfaceCall([&] { return control.FilePlayPause(_dblSeconds); });
}

HRESULT CCoZrFile::FilePlayStop(double _dblSeconds) {
    return InterfaceCall([&] { return control.FilePlayStop(_dblSeconds); });
}

HRESULT CCoZrFile::FileStateGet(eZrState* _peState, double* _pdblTimeRemain) {
    return control.FileStateGet(_peState, _pdblTimeRemain);
}

HRESULT CCoZrFile::FileRateSet(double _dblRate) {
    return InterfaceCall([&] { return control.FileRateSet(_dblRate); });
}

HRESULT CCoZrFile::FileRateGet(double* _pdblRate) {
    if (!_pdblRate) return E_POINTER;
    *_pdblRate = control.Pump().Speed();
    return S_OK;
}

HRESULT CCoZrFile::FileFrameGet(double _dblPos, double _dblPreroll, IZrFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    return InterfaceCall([&] {
        ZrPtr<IZrFFrame> pFrame;
        const HRESULT hr = control.FileFrameGet(_dblPos, _dblPreroll, &pFrame);
        return GiveFrame(hr, pFrame, _ppFrame);
    });
}

HRESULT CCoZrFile::FileInOutSetTC(const ZR_TIMECODE* _pTCIn, const ZR_TIMECODE* _pTCOut) {
    return InterfaceCall([&] { return control.FileInOutSetTC(_pTCIn, _pTCOut); });
}

HRESULT CCoZrFile::FileInOutGetTC(ZR_TIMECODE* _pTCIn, ZR_TIMECODE* _pTCOut, int32_t* _pbOutSpecified) {
    return InterfaceCall([&] { return control.FileInOutGetTC(_pTCIn, _pTCOut, _pbOutSpecified); });
}

HRESULT CCoZrFile::FilePosSetTC(const ZR_TIMECODE* _pTC) {
    return InterfaceCall([&] { return control.FilePosSetTC(_pTC); });
}

HRESULT CCoZrFile::FilePosGetTC(ZR_TIMECODE* _pTC) {
    return InterfaceCall([&] { return control.FilePosGetTC(_pTC); });
}

HRESULT CCoZrFile::FileFrameGetByTC(const ZR_TIMECODE* _pTC, IZrFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    return InterfaceCall([&] {
        ZrPtr<IZrFFrame> pFrame;
        const HRESULT hr = control.FileFrameGetByTC(_pTC, &pFrame);
        return GiveFrame(hr, pFrame, _ppFrame);
    });
}

}  // namespace zr
