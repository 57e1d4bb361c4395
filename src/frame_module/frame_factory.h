#pragma once
// The maker of frames. Found by kClsidZrFrameFactory; other folders of the library reach it through
// framework/frame_factory_access.h.

#include "media/frame_interfaces.h"
#include "platform/unknown.h"

namespace zr {

// IZrFFactory, IZrFrames, ZrFrameFactory_I. One object for the process, without state: any thread.
class CZrFrameFactory final : public UnknownImpl<IZrFFactory, ZrFrameFactory_I> {
public:
    static CZrFrameFactory& Shared();

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override;

    HRESULT FramesMakeLocal(IZrFrame* _pFrame, IZrFrame** _ppFrameLocal, int32_t _bMakeRef) override;
    HRESULT FramesCreate(int32_t _cbVideoSize, const char16_t* _bsProps, IZrFrame** _ppFrame) override;
    HRESULT FramesCreateFromMem(const ZR_VID_PROPS* _pVidProps, int64_t _pbVideo, IZrFrame** _ppFrame,
                                const char16_t* _bsPropsList) override;
    HRESULT FramesCreateFromFile(const char16_t* _bsFileName, IZrFrame** _ppFrame,
                                 const char16_t* _bsPropsList) override;
    HRESULT FramesCreateFromHBITMAP(int64_t _hBitmap, IZrFrame** _ppFrame, const char16_t* _bsPropsList) override;
    HRESULT FramesCreateFromSurface(IUnknown* _pSurface, IZrFrame** _ppFrame, const char16_t* _bsPropsList) override;

    HRESULT FrameCreateSized(uint32_t _cbVideo, uint32_t _cbAudio, uint32_t _nReserved, IZrFrame** _ppFrame) override;
    HRESULT FrameCloneEx(IUnknown* _pFrame, IZrFrame** _ppClone, eZrFrameClone _eCloneType,
                         eZrFCC _fccPixelFormat) override;
    HRESULT FrameConvertEx(IZrFrame* _pFrame, uint32_t _nReserved, const ZR_VID_PROPS* _pVidProps, IZrFrame** _ppFrame,
                           const char16_t* _bsPropsList) override;
    HRESULT FrameCreateBorrowed(const ZR_VID_PROPS* _pVidProps, const ZRF_VID_PTR* _pPlanes, IUnknown* _pOwner,
                                IZrFrame** _ppFrame) override;

    HRESULT ZrFFrameMakeLocal(IUnknown* _pZrFFrame, IZrFFrame** _ppFrameLocal, int32_t _bAlwaysClone) override;
    HRESULT ZrFFrameClone(IUnknown* _pZrFFrame, IZrFFrame** _ppFrameClone, eZrFrameClone _eCloneType,
                          eZrFCC _fccPixelFormat) override;
    HRESULT ZrFFrameCreateFromMem(const ZR_AV_PROPS* _pAVProps, int64_t _lpVideo, int32_t _lAudioSamples,
                                  int64_t _lpAudio, IZrFFrame** _ppFrame, const char16_t* _bsPropsList) override;
    HRESULT ZrFFrameCreateFromFile(const char16_t* _bsFileName, IZrFFrame** _ppFrame,
                                   const char16_t* _bsPropsList) override;
    HRESULT ZrFFrameCreateFromHBITMAP(int64_t _hBitmap, IZrFFrame** _ppFrame, const char16_t* _bsPropsList) override;
    HRESULT ZrFFrameCreateWrapper(const ZR_VID_PROPS* _pVidProps, uint32_t _cbVideo, int64_t _lpVideo,
                                  IUnknown* _pObject, IZrFFrame** _ppFrame) override;
    HRESULT ZrFFrameCreatePlain(int32_t _cbVideoSize, IZrFFrame** _ppFrame) override;
    HRESULT ZrFFrameCreateFromMemEx(const ZR_AV_PROPS* _pAVProps, const ZRF_VID_PTR* _pVideoPtr, int32_t _lAudioSamples,
                                    int64_t _lpAudio, IZrFFrame** _ppFrame, const char16_t* _bsPropsList) override;

private:
    CZrFrameFactory() = default;
};

// The factory is registered when the library is loaded. A program that is linked with the archive of the library's
// objects calls this once, anywhere, so that the linker does not leave the frames out.
void LinkFrameModule();

}  // namespace zr
