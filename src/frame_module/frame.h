#pragma once
// The frame object: one content, three faces.

#include "frame_module/frame_content.h"
#include "media/frame_interfaces.h"
#include "platform/unknown.h"

namespace zr {

struct OVERLAY_PLACE;

// IZrFFrame, IZrFrame and IZrFrame_I. Released frames wait in a pool and come back as new, so a steady show makes none.
// The operations of IZrFrame are those of IZrFFrame under other names.
class CZrFrame final : public UnknownImpl<IZrFFrame, IZrFrame_I> {
public:
    // A frame as new, empty when memory is out.
    static ZrPtr<CZrFrame> Make();
    // A frame whose properties and time are undefined, for a maker that sets both at once.
    static ZrPtr<CZrFrame> MakeUnset();

    FrameContent& Content() { return content; }
    const FrameContent& Content() const { return content; }
    // The reference of a holder goes to an out argument.
    static void HandOut(ZrPtr<CZrFrame> _pFrame, IZrFFrame** _pp) { *_pp = _pFrame.Detach(); }
    static void HandOut(ZrPtr<CZrFrame> _pFrame, IZrFrame** _pp) { *_pp = _pFrame.Detach(); }

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override;

    // IZrFFrame: frame.cpp
    HRESULT ZrFGetProcessID(uint32_t* _pdwProcessID) override;
    HRESULT ZrFAVPropsGet(ZR_AV_PROPS* _pProps, int32_t* _plAudioSamples) override;
    HRESULT ZrFAVPropsSet(const ZR_AV_PROPS* _pProps, const char16_t* _bsChannelsRemap) override;
    HRESULT ZrFTimeGet(ZR_TIME* _pTime) override;
    HRESULT ZrFTimeSet(const ZR_TIME* _pTime) override;
    HRESULT ZrFFlagCheck(eZrFrameFlags _eFlagCheck, int32_t* _pnRes) override;
    HRESULT ZrFAllGet(ZRF_FRAME_INFO* _pFrameInfo) override;
    HRESULT ZrFVideoGetBytes(int32_t* _pcbSize, int64_t* _ppbVideo) override;
    HRESULT ZrFVideoGetBytesEx(ZRF_VID_PTR* _pVideoPtr) override;
    HRESULT ZrFCut(int32_t _nField, const tagRECT* _pRect, IZrFFrame** _ppFrameRes) override;
    HRESULT ZrFClone(IZrFFrame** _ppCloneFrame, eZrFrameClone _eCloneType, eZrFCC _fccPixelFormat) override;

    // frame_audio_operations.cpp
    HRESULT ZrFAudioGetBytes(int32_t* _pcbSize, int64_t* _ppbAudio) override;
    HRESULT ZrFAudioChannelGetBytes(int32_t _nChannel, int32_t _bCreateNewChannels, int32_t* _pcbSize,
                                    int64_t* _ppbAudio) override;
    HRESULT ZrFAudioChannelsUpdate() override;
    HRESULT ZrFAudioAlloc(const ZR_AUD_PROPS* _pAudProps, int32_t _lSamples) override;
    HRESULT ZrFAudioSet(const ZR_AUD_PROPS* _pAudProps, int32_t _cbSize, int64_t _pbAudio) override;
    HRESULT ZrFAudioSaveToFile(const char16_t* _bsFileName, int32_t _bAppend) override;
    HRESULT ZrFAudioLoadFromFile(const char16_t* _bsFileName, int64_t _llSamplesOffset, int32_t _lSamplesLoad) override;

    // frame_attachments.cpp
    HRESULT ZrFDataGetByIndex(int32_t _nIndex, BSTR* _pbsDataID, int32_t* _pcbANCData, int64_t* _ppbANCData) override;
    HRESULT ZrFDataGet(const char16_t* _bsDataID, int32_t* _pcbANCData, int64_t* _ppbANCData) override;
    HRESULT ZrFDataSet(const char16_t* _bsDataID, int32_t _cbANCData, int64_t _pbANCData) override;
    HRESULT ZrFObjGetByIndex(int32_t _nIndex, BSTR* _pbsObjID, IUnknown** _ppObj, int32_t _bMakeFrameLocal) override;
    HRESULT ZrFObjGet(const char16_t* _bsObjID, IUnknown** _ppObj, int32_t _bMakeFrameLocal) override;
    HRESULT ZrFObjSet(const char16_t* _bsObjID, IUnknown* _pObj) override;
    HRESULT ZrFStrGetByIndex(int32_t _nIndex, BSTR* _pbsStrID, BSTR* _pbsString) override;
    HRESULT ZrFStrGet(const char16_t* _bsStrID, BSTR* _pbsString) override;
    HRESULT ZrFStrSet(const char16_t* _bsStrID, const char16_t* _bsString) override;

    // frame_transfer.cpp
    HRESULT ZrFSave(uint32_t* _pcbData, uint8_t** _ppData, eZrFrameClone _eSaveType) override;
    HRESULT ZrFLoad(uint32_t _cbData, const uint8_t* _pbData, eZrFrameClone _eLoadType) override;
    HRESULT ZrFSaveToStream(IStream** _ppStream, eZrFrameClone _eSaveType) override;
    HRESULT ZrFAddToStream(IStream* _pStream, eZrFrameClone _eSaveType) override;
    HRESULT ZrFLoadFromStream(IStream* _pStream, eZrFrameClone _eLoadType) override;

    // frame_convert.cpp, FrameConvert too
    HRESULT ZrFConvert(const ZR_AV_PROPS* _pPropsDest, IZrFFrame** _ppFrameRes, int32_t* _pnFrameRest,
                       const char16_t* _bsPropsList, const char16_t* _bsConverterID) override;
    HRESULT ZrFResize(eZrFCC _fccOutput, int32_t _nWidth, int32_t _nHeight, int32_t _nResizeField,
                      IZrFFrame** _ppFrameRes, const char16_t* _bsPropsList, const char16_t* _bsConverterID) override;

    // frame_processing.cpp, frame_sound.cpp, frame_overlay.cpp
    HRESULT ZrFVideoGetHbitmap(int64_t* _pllHBitmap) override;
    HRESULT ZrFVideoSaveToFile(const char16_t* _bsFileName) override;
    HRESULT ZrFAudioMixDirect(int32_t* _plAudioOffsetSrc, IZrFFrame* _pFrameMixFrom, int32_t* _plAudioOffsetMix,
                              int32_t _lSamplesMixMax, double _dblGainStartDb, double _dblGainEndDb,
                              int32_t _bSymmetricGain) override;
    HRESULT ZrFAudioMix(IZrFFrame* _pFrameMixFrom, double _dblGainStartDb, double _dblGainEndDb,
                        int32_t _bSymmetricGain, const char16_t* _bsAudioBufferID) override;
    HRESULT ZrFAudioCopyTo(const char16_t* _bsChannelsList, IZrFFrame* _pFrameTo) override;
    HRESULT ZrFAudioGain(const char16_t* _bsChannelsList, double _dblGainStartDb, double _dblGainEndDb) override;
    HRESULT ZrFOverlay(IZrFFrame* _pFrameOverlay, IZrFFrame* _pFrameMask, int32_t _nPosX, int32_t _nPosY,
                       double _dblAlpha, const char16_t* _bsPropsList, const char16_t* _bsAudioBufferID) override;
    HRESULT ZrFTransition(IZrFFrame* _pFrameFrom, IZrFFrame** _ppFrameRes, double _dblPos,
                          const char16_t* _bsTransition, const char16_t* _bsPropsList,
                          const char16_t* _bsConverterID) override;
    HRESULT ZrFWaitAsync() override;
    HRESULT ZrFPrint(const char16_t* _bsText, double _dblTextSize, const ZRF_RECT* _pRect, eZrFTextFlags _eZrFTextFlags,
                     const char16_t* _bsExtraParam) override;
    HRESULT ZrFOverlayRect(IZrFFrame* _pFrameOverlay, IZrFFrame* _pFrameMask, const ZRF_RECT* _pRect,
                           eZrFOverlayFlags _eZrFOverlayFlags, double _dblAlpha, const char16_t* _bsPropsList,
                           const char16_t* _bsAudioBufferID) override;

    // IZrFrame and IZrFrame_I: frame_short_face.cpp
    HRESULT FrameAVPropsGet(ZR_AV_PROPS* _pProps) override;
    HRESULT FrameAVPropsSet(const ZR_AV_PROPS* _pProps) override;
    HRESULT FrameTimeGet(ZR_TIME* _pTime) override;
    HRESULT FrameTimeSet(const ZR_TIME* _pTime) override;
    HRESULT FrameAudioGetBytes(int32_t* _pcbSize, int64_t* _ppbAudio) override;
    HRESULT FrameVideoGetBytes(int32_t* _pcbSize, int64_t* _ppbVideo) override;
    HRESULT FrameVideoGetHbitmap(int64_t* _pllHBitmap) override;
    HRESULT FrameVideoSaveToFile(const char16_t* _bsFileName) override;
    HRESULT FrameAudioSaveToFile(const char16_t* _bsFileName, int32_t _bAppend) override;
    HRESULT FrameDataGetByIndex(int32_t _nIndex, int32_t* _pnDataFCC, int32_t* _pcbANCData,
                                int64_t* _ppbANCData) override;
    HRESULT FrameDataGet(int32_t _nDataFCC, int32_t* _pcbANCData, int64_t* _ppbANCData) override;
    HRESULT FrameDataSet(int32_t _nDataFCC, int32_t _cbANCData, int64_t _pbANCData) override;
    HRESULT FrameClone(IZrFrame** _ppCloneFrame, eZrFrameClone _eCloneType, eZrFCC _fccPixelFormat) override;
    HRESULT FrameCut(int32_t _nField, const tagRECT* _pRect, IZrFrame** _ppFrameRes) override;
    HRESULT FrameConvert(const ZR_VID_PROPS* _pVidPropsDest, IZrFrame** _ppFrameRes,
                         const char16_t* _bsPropsList) override;
    HRESULT FrameOverlay(IZrFrame* _pFrameOver, int32_t _nPosX, int32_t _nPosY, double _dblAlpha,
                         const char16_t* _bsPropsList) override;
    HRESULT FrameRelease() override;
    HRESULT FrameAllGet(ZR_TIME* _pTime, ZR_AV_PROPS* _pProps, int32_t* _pcbAudio, uint8_t** _ppAudio,
                        int32_t* _pcbVideo, uint8_t** _ppVideo) override;
    HRESULT FramePictureTake(IUnknown* _pFrom) override;
    HRESULT FramePlanesGet(ZRF_VID_PTR* _pVideoPtr) override;

    // The two that make frames, for both faces.
    HRESULT Clone_I(eZrFrameClone _eCloneType, eZrFCC _fccPixelFormat, ZrPtr<CZrFrame>* _ppClone) const;
    HRESULT Cut_I(int32_t _nField, const tagRECT* _pRect, ZrPtr<CZrFrame>* _ppCut) const;

private:
    CZrFrame() = default;
    ~CZrFrame() override = default;
    void OnLastRelease() override;

    HRESULT FrameOverlay_I(IUnknown* _pOverlay, IUnknown* _pMask, int32_t _nPosX, int32_t _nPosY, double _dblAlpha,
                           const char16_t* _szPropsList);
    HRESULT Overlay_I(IUnknown* _pOverlay, IUnknown* _pMask, const OVERLAY_PLACE& _place, double _dblAlpha,
                      const char16_t* _szPropsList);
    HRESULT Data_I(int32_t _nIndex, std::u16string_view* _psvID, int32_t* _pcb, int64_t* _pp);
    HRESULT PlanesSet_I(int32_t _cb, int64_t _pb);
    // Before an address to write to is given away, and before a write.
    HRESULT OwnPicture();
    // By reference, while others may ask for its address.
    Picture SharedPicture() const;

    FrameContent content;
};

// A frame of this process: _pFrame itself (or, when _bAlwaysClone is set, a reference of it) if it is one, else a copy.
// E_NOINTERFACE: it is no frame.
HRESULT MakeFrameLocal(IUnknown* _pFrame, bool _bAlwaysClone, ZrPtr<IZrFFrame>* _ppLocal);

}  // namespace zr
