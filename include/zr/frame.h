#pragma once
// Frames: one picture, the audio that belongs to it, its time and flags, and named attachments. One object shows two
// faces: IZrFrame, the short one, and IZrFFrame, the full one.
//
// A frame has one writer until it is handed on; from then on it is read by anyone and written by nobody. Its operations
// take no lock, so the writer calls them from one thread at a time. Frames that hang together (references, cuts) share
// the picture: writing into one shows in the others.
//
// Memory that an operation gives by address belongs to the frame: it stays valid until the frame's last reference goes,
// FrameRelease is called, or that part of the frame (audio, or the data of that id) is set again. Nobody frees it.
// Every out frame comes with a reference that the caller releases; on failure it is null. Out arguments must not be
// null (E_POINTER) unless they say so. A picture, and the audio of a frame, has at most 2 GiB.

#include <cstdint>

#include "zr/enums.h"
#include "zr/records.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

struct IZrFrame : IUnknown {
    static constexpr GUID kIid = GuidOf("3B9CB057-F507-4DDF-AD77-27C3AD87BCED");

    // The format of picture and audio, the level block and the lock flag. E_POINTER: _pProps is null.
    virtual HRESULT FrameAVPropsGet(ZR_AV_PROPS* _pProps) = 0;
    // Restates the format over the same bytes: interlace, aspect, scale type, rate, or a smaller picture, of which the
    // upper left part stays. It converts nothing. Over memory without a format it takes any that fits. E_INVALIDARG: a
    // larger picture, other row bytes, or another layout of pixels or samples than the frame has; nothing is changed.
    virtual HRESULT FrameAVPropsSet(const ZR_AV_PROPS* _pProps) = 0;
    // Start and end in 100 ns, time code and flags.
    virtual HRESULT FrameTimeGet(ZR_TIME* _pTime) = 0;
    virtual HRESULT FrameTimeSet(const ZR_TIME* _pTime) = 0;
    // The interleaved samples. _pcbSize: bytes; _ppbAudio: address, 0 with size 0 when the frame has no audio.
    virtual HRESULT FrameAudioGetBytes(int32_t* _pcbSize, int64_t* _ppbAudio) = 0;
    // The picture's first row in memory. _pcbSize: bytes of all planes; 0 and address 0 when there is no picture. What
    // is written there shows in all frames that share the picture. A picture that is still a decoder's moves to memory
    // of its own first. E_OUTOFMEMORY.
    virtual HRESULT FrameVideoGetBytes(int32_t* _pcbSize, int64_t* _ppbVideo) = 0;
    // A bitmap handle of the window system. E_NOTIMPL and 0 where the system has none, as on Linux.
    virtual HRESULT FrameVideoGetHbitmap(int64_t* _pllHBitmap) = 0;
    // Writes the picture to a file whose extension picks the type: png, jpg, bmp, tga, tiff; with its alpha, but for
    // jpg, which gets it over black.
    // ZR_E_NOT_SUPPORTED: an extension that no registered writer knows. ZR_E_EMPTY: the frame has no picture.
    virtual HRESULT FrameVideoSaveToFile(const char16_t* _bsFileName) = 0;
    // Writes the audio to a wav file. _bAppend other than 0: behind what an existing file holds, whose format is taken
    // to be the frame's. ZR_E_EMPTY: the frame has no audio.
    virtual HRESULT FrameAudioSaveToFile(const char16_t* _bsFileName, int32_t _bAppend) = 0;
    // Attached data by position, 0 first. _pnDataFCC: its id as a four-character code, first character in the low byte,
    // 0 for an id that is not four characters. ZR_E_BAD_INDEX: no such position.
    virtual HRESULT FrameDataGetByIndex(int32_t _nIndex, int32_t* _pnDataFCC, int32_t* _pcbANCData,
                                        int64_t* _ppbANCData) = 0;
    // Attached data by four-character code, such as 'C608'; the list is the one ZrFDataGet reads by text id.
    // ZR_E_NOT_FOUND: nothing under that code, size and address are 0. E_INVALIDARG: a code with a zero byte.
    virtual HRESULT FrameDataGet(int32_t _nDataFCC, int32_t* _pcbANCData, int64_t* _ppbANCData) = 0;
    // Copies _cbANCData bytes from address _pbANCData under that code, in place of what was there. Size 0 removes it;
    // S_FALSE: nothing was there. E_INVALIDARG: a negative size, or a code with a zero byte.
    virtual HRESULT FrameDataSet(int32_t _nDataFCC, int32_t _cbANCData, int64_t _pbANCData) = 0;
    // Another frame with the parts that _eCloneType names; time and properties always go along, texts with the data,
    // and audio is copied even for a reference. A pixel format other than eZrFCC_Default and than the frame's own makes
    // a converted copy, even of a reference. The clone of a frame of another process lives there too: see
    // FramesMakeLocal.
    virtual HRESULT FrameClone(IZrFrame** _ppCloneFrame, eZrFrameClone _eCloneType, eZrFCC _fccPixelFormat) = 0;
    // A window onto this picture, without a copy; of the rest only time and properties go along. _nField: 0 or less
    // both fields, 1 the first, 2 the second; a field is progressive, with half the height and twice the row bytes.
    // _pRect in pixels of the frame, null for the whole picture; edges go down to even columns in 4:2:2 formats, even
    // rows too in 4:2:0. With both, the field is one of the rectangle: its first field begins with its first line.
    // E_INVALIDARG: the rectangle is empty or leaves the picture. ZR_E_EMPTY: there is no picture.
    virtual HRESULT FrameCut(int32_t _nField, const tagRECT* _pRect, IZrFrame** _ppFrameRes) = 0;
    // A new frame in another format or size; time, flags and audio go along. _bsPropsList: attributes such as
    // "scaling_quality=8 crop=10", may be null. E_FAIL, 0x80040201: no way from one pixel format to the other.
    virtual HRESULT FrameConvert(const ZR_VID_PROPS* _pVidPropsDest, IZrFrame** _ppFrameRes,
                                 const char16_t* _bsPropsList) = 0;
    // Lays _pFrameOver over this picture, its top left corner at the position in pixels, which may be negative; in
    // 4:2:2 formats the horizontal one goes down to even. _dblAlpha: 0.0 nothing shows, 1.0 solid. ARGB32 is laid over
    // by its alpha, its colours being multiplied by it already; other formats are converted into this frame's, which is
    // one of UYVY, HDYC, YUY2, RGB24, RGB32, ARGB32. The change shows in all frames that share this picture.
    // _bsPropsList (may be null): "mixing.threads=4" divides the rows between so many workers.
    // S_FALSE: the overlay is outside. ZR_E_EMPTY: a frame without a picture. E_INVALIDARG: another format of this
    // frame. 0x80040201: an overlay of a format that cannot be converted. This picture is unchanged then.
    virtual HRESULT FrameOverlay(IZrFrame* _pFrameOver, int32_t _nPosX, int32_t _nPosY, double _dblAlpha,
                                 const char16_t* _bsPropsList) = 0;
    // Gives the frame's hold on its memory back now, whoever still has references to the frame: for hosts whose own
    // collector releases late. Frames that share the picture keep it. The frame is empty afterwards.
    virtual HRESULT FrameRelease() = 0;

protected:
    ~IZrFrame() = default;
};

struct IZrFFrame : IUnknown {
    static constexpr GUID kIid = GuidOf("25E9D9F1-95E7-41A8-961E-4FFBC24EA76F");

    // The process that the frame's memory lives in.
    virtual HRESULT ZrFGetProcessID(uint32_t* _pdwProcessID) = 0;
    // As FrameAVPropsGet. _plAudioSamples (may be null): samples of each channel.
    virtual HRESULT ZrFAVPropsGet(ZR_AV_PROPS* _pProps, int32_t* _plAudioSamples) = 0;
    // As FrameAVPropsSet. _bsChannelsRemap (may be null): the new channel order by 0-based indices, as in "1,0"; a
    // channel that it leaves out is dropped. With one, _pProps may be null. The indices count the channels before the
    // call, or those of _pProps when the frame has no audio format yet. On a frame without audio only the count of
    // channels follows. ZR_E_BAD_INDEX: no such channel; nothing is changed then, as by any failure.
    virtual HRESULT ZrFAVPropsSet(const ZR_AV_PROPS* _pProps, const char16_t* _bsChannelsRemap) = 0;
    // Start and end in 100 ns, time code and flags.
    virtual HRESULT ZrFTimeGet(ZR_TIME* _pTime) = 0;
    virtual HRESULT ZrFTimeSet(const ZR_TIME* _pTime) = 0;
    // _pnRes: the bits of _eFlagCheck that the frame has set, 0 for none.
    virtual HRESULT ZrFFlagCheck(eZrFrameFlags _eFlagCheck, int32_t* _pnRes) = 0;
    // Time, format, sizes, addresses and counts of attachments in one call. The address of the picture is one to read
    // from: see ZrFVideoGetBytes, and for where further planes are ZrFVideoGetBytesEx.
    virtual HRESULT ZrFAllGet(ZRF_FRAME_INFO* _pFrameInfo) = 0;
    // As FrameAudioGetBytes.
    virtual HRESULT ZrFAudioGetBytes(int32_t* _pcbSize, int64_t* _ppbAudio) = 0;
    // One channel's samples in a row, 16-bit as they are, all wider ones as 32-bit float of full scale 1.0.
    // _bCreateNewChannels other than 0: an index past the last adds silent channels up to it. What is written there
    // reaches the frame's audio only by ZrFAudioChannelsUpdate. ZR_E_BAD_INDEX: no such channel, or one past 128.
    // ZR_E_EMPTY: the frame has no audio.
    virtual HRESULT ZrFAudioChannelGetBytes(int32_t _nChannel, int32_t _bCreateNewChannels, int32_t* _pcbSize,
                                            int64_t* _ppbAudio) = 0;
    // Puts the channels given out by ZrFAudioChannelGetBytes since the last update back into the interleaved audio, new
    // ones included. What is written into such a channel afterwards counts only when it is asked for again, which gives
    // the same address with what the audio has now. S_FALSE: none was given out.
    virtual HRESULT ZrFAudioChannelsUpdate() = 0;
    // Replaces the audio by _lSamples samples of silence in a format. E_INVALIDARG: a format without channels, rate or
    // bits, or a negative count. E_OUTOFMEMORY: the old audio is kept.
    virtual HRESULT ZrFAudioAlloc(const ZR_AUD_PROPS* _pAudProps, int32_t _lSamples) = 0;
    // Replaces the audio by a copy of _cbSize bytes at address _pbAudio, or by silence for 0. E_INVALIDARG: a format
    // without channels, rate or bits, or not a whole number of samples of all channels.
    virtual HRESULT ZrFAudioSet(const ZR_AUD_PROPS* _pAudProps, int32_t _cbSize, int64_t _pbAudio) = 0;
    // Adds samples of another frame of the same rate, with saturation. The two offsets say where to start in this frame
    // and in the other, in samples of a channel, and come back advanced by what was mixed; _lSamplesMixMax bounds that.
    // The gain runs linearly from start to end, in dB. _bSymmetricGain other than 0: this frame's own audio gets the
    // complement, so the two cross-fade. E_INVALIDARG: rates differ, or an offset lies outside.
    virtual HRESULT ZrFAudioMixDirect(int32_t* _plAudioOffsetSrc, IZrFFrame* _pFrameMixFrom, int32_t* _plAudioOffsetMix,
                                      int32_t _lSamplesMixMax, double _dblGainStartDb, double _dblGainEndDb,
                                      int32_t _bSymmetricGain) = 0;
    // Adds another frame's audio, converted to this frame's format. Samples that do not fit this frame wait in a buffer
    // named _bsAudioBufferID for the next frame that is mixed under the name; null or empty: no buffer, they are lost.
    virtual HRESULT ZrFAudioMix(IZrFFrame* _pFrameMixFrom, double _dblGainStartDb, double _dblGainEndDb,
                                int32_t _bSymmetricGain, const char16_t* _bsAudioBufferID) = 0;
    // Copies channels, picked and ordered by 0-based indices as in "1,3" (null or empty: all), into _pFrameTo, in the
    // bits that frame's audio has, or this frame's when it has none.
    virtual HRESULT ZrFAudioCopyTo(const char16_t* _bsChannelsList, IZrFFrame* _pFrameTo) = 0;
    // As FrameAudioSaveToFile.
    virtual HRESULT ZrFAudioSaveToFile(const char16_t* _bsFileName, int32_t _bAppend) = 0;
    // Replaces the audio by up to _lSamplesLoad samples (0 or less: all) of a wav file from sample _llSamplesOffset on.
    // S_FALSE: the file ended first. ZR_E_NOT_FOUND_FILE: no such file. ZR_E_INVALID_DATA: it is no wav file.
    // 0x80040248: a coding that is not read here. On failure the old audio is kept.
    virtual HRESULT ZrFAudioLoadFromFile(const char16_t* _bsFileName, int64_t _llSamplesOffset,
                                         int32_t _lSamplesLoad) = 0;
    // Multiplies the listed channels (as in "0,1"; null or empty: all) by a gain that runs linearly in amplitude from
    // start to end, both in dB, with saturation.
    virtual HRESULT ZrFAudioGain(const char16_t* _bsChannelsList, double _dblGainStartDb, double _dblGainEndDb) = 0;
    // As FrameVideoGetBytes.
    virtual HRESULT ZrFVideoGetBytes(int32_t* _pcbSize, int64_t* _ppbVideo) = 0;
    // As FrameVideoGetHbitmap.
    virtual HRESULT ZrFVideoGetHbitmap(int64_t* _pllHBitmap) = 0;
    // As FrameVideoSaveToFile.
    virtual HRESULT ZrFVideoSaveToFile(const char16_t* _bsFileName) = 0;
    // As FrameCut.
    virtual HRESULT ZrFCut(int32_t _nField, const tagRECT* _pRect, IZrFFrame** _ppFrameRes) = 0;
    // As FrameClone.
    virtual HRESULT ZrFClone(IZrFFrame** _ppCloneFrame, eZrFrameClone _eCloneType, eZrFCC _fccPixelFormat) = 0;
    // Lays a picture over this one as FrameOverlay does. _pFrameMask (may be null): RGB8, 255 solid, or the alpha of
    // ARGB32; of the overlay's size. An overlay of ARGB32 does not look at it. RGB32 and RGB24 must be multiplied by
    // the mask already; YCbCr is multiplied here, or is multiplied around black already with "premultiplied=true" in
    // _bsPropsList. E_INVALIDARG also: a mask of another format, or smaller than what it lies on.
    // _bsAudioBufferID other than null: the overlay's audio is mixed in too, by ZrFAudioMix under that name.
    virtual HRESULT ZrFOverlay(IZrFFrame* _pFrameOverlay, IZrFFrame* _pFrameMask, int32_t _nPosX, int32_t _nPosY,
                               double _dblAlpha, const char16_t* _bsPropsList, const char16_t* _bsAudioBufferID) = 0;
    // A new frame in another format of picture and audio, frame rate included. Converters keep their filters and their
    // remainders under _bsConverterID; a stream of frames uses one name. _pnFrameRest: frames that the rate conversion
    // still owes for this input: call again with the same frame until it is 0. S_FALSE and null: the input is dropped.
    virtual HRESULT ZrFConvert(const ZR_AV_PROPS* _pPropsDest, IZrFFrame** _ppFrameRes, int32_t* _pnFrameRest,
                               const char16_t* _bsPropsList, const char16_t* _bsConverterID) = 0;
    // A new frame of another size in pixels, and pixel format when that is not eZrFCC_Default. _nResizeField: 0 or less
    // the whole picture, 1 or 2 that field of it only.
    virtual HRESULT ZrFResize(eZrFCC _fccOutput, int32_t _nWidth, int32_t _nHeight, int32_t _nResizeField,
                              IZrFFrame** _ppFrameRes, const char16_t* _bsPropsList,
                              const char16_t* _bsConverterID) = 0;
    // The picture on the way from _pFrameFrom to this frame. _dblPos: 0.0 all of the former, 1.0 all of this one.
    // _bsTransition: "fade", or an effect. The result keeps this frame's time, audio and interlace. E_NOTIMPL so far.
    virtual HRESULT ZrFTransition(IZrFFrame* _pFrameFrom, IZrFFrame** _ppFrameRes, double _dblPos,
                                  const char16_t* _bsTransition, const char16_t* _bsPropsList,
                                  const char16_t* _bsConverterID) = 0;
    // Attached data by position, 0 first. The caller frees the id. ZR_E_BAD_INDEX: no such position.
    virtual HRESULT ZrFDataGetByIndex(int32_t _nIndex, BSTR* _pbsDataID, int32_t* _pcbANCData,
                                      int64_t* _ppbANCData) = 0;
    // Attached data by id. ZR_E_NOT_FOUND: nothing under that id, size and address are 0. In all operations with an id
    // a null one is E_POINTER and an empty one E_INVALIDARG; ids are told apart by case.
    virtual HRESULT ZrFDataGet(const char16_t* _bsDataID, int32_t* _pcbANCData, int64_t* _ppbANCData) = 0;
    // Copies _cbANCData bytes from address _pbANCData under that id, in place of what was there. Size 0 removes it;
    // S_FALSE: nothing was there.
    virtual HRESULT ZrFDataSet(const char16_t* _bsDataID, int32_t _cbANCData, int64_t _pbANCData) = 0;
    // Attached object by position, with a reference that the caller releases; the caller frees the id.
    // _bMakeFrameLocal other than 0: a frame of another process is brought here first. ZR_E_BAD_INDEX.
    virtual HRESULT ZrFObjGetByIndex(int32_t _nIndex, BSTR* _pbsObjID, IUnknown** _ppObj, int32_t _bMakeFrameLocal) = 0;
    // Attached object by id. ZR_E_NOT_FOUND: nothing under that id.
    virtual HRESULT ZrFObjGet(const char16_t* _bsObjID, IUnknown** _ppObj, int32_t _bMakeFrameLocal) = 0;
    // Attaches an object, in place of the one under that id; the frame takes its own reference. Null removes it;
    // S_FALSE: nothing was there. E_INVALIDARG: the frame itself.
    virtual HRESULT ZrFObjSet(const char16_t* _bsObjID, IUnknown* _pObj) = 0;
    // Attached text by position; the caller frees both texts. ZR_E_BAD_INDEX: no such position.
    virtual HRESULT ZrFStrGetByIndex(int32_t _nIndex, BSTR* _pbsStrID, BSTR* _pbsString) = 0;
    // Attached text by id. ZR_E_NOT_FOUND: nothing under that id.
    virtual HRESULT ZrFStrGet(const char16_t* _bsStrID, BSTR* _pbsString) = 0;
    // Attaches a text, in place of the one under that id. Null removes it; S_FALSE: nothing was there.
    virtual HRESULT ZrFStrSet(const char16_t* _bsStrID, const char16_t* _bsString) = 0;
    // The parts that _eSaveType names as one block of bytes, which the caller frees by CoTaskMemFree (zr/memory.h).
    // For the way to another process of this machine: numbers are in the machine's own order. Attached objects do not
    // travel. ZR_E_NOT_SUPPORTED: more than 4 GiB.
    virtual HRESULT ZrFSave(uint32_t* _pcbData, uint8_t** _ppData, eZrFrameClone _eSaveType) = 0;
    // Becomes the clone of that kind of the frame in such a block: parts that are not named, or not in the block, are
    // empty afterwards. ZR_E_INVALID_DATA: the block contradicts itself; the frame is unchanged.
    virtual HRESULT ZrFLoad(uint32_t _cbData, const uint8_t* _pbData, eZrFrameClone _eLoadType) = 0;
    // Waits until a conversion of this frame that still runs has ended, and returns its result.
    virtual HRESULT ZrFWaitAsync() = 0;
    // Draws text into the picture. _dblTextSize: height of a line, in pixels or as a share of the picture by the kind
    // of _pRect (null: all). _bsExtraParam: attributes of colour and font, may be null. E_NOTIMPL so far.
    virtual HRESULT ZrFPrint(const char16_t* _bsText, double _dblTextSize, const ZRF_RECT* _pRect,
                             eZrFTextFlags _eZrFTextFlags, const char16_t* _bsExtraParam) = 0;
    // As ZrFOverlay, into a rectangle. _pRect null: the whole picture; its units are pixels, shares of the picture, or
    // cells: 15 rows of 32 columns, or 14 to 40 rows of square cells. The flags say how: eZrFOF_NoScale puts it into
    // the upper left corner and cuts what is larger than the rectangle, eZrFOF_LetterBox fits it in, eZrFOF_Crop fills
    // the rectangle and cuts the rest, eZrFOF_NoAR stretches it. eZrFOF_FirstField or eZrFOF_SecondField: only the
    // lines of that field change; of an interlaced overlay they show the same field. A mask is scaled with its overlay,
    // by the "scaling_quality" of _bsPropsList (default 2). E_INVALIDARG also: flags that contradict each other.
    virtual HRESULT ZrFOverlayRect(IZrFFrame* _pFrameOverlay, IZrFFrame* _pFrameMask, const ZRF_RECT* _pRect,
                                   eZrFOverlayFlags _eZrFOverlayFlags, double _dblAlpha, const char16_t* _bsPropsList,
                                   const char16_t* _bsAudioBufferID) = 0;
    // The picture by planes: address, size in pixels and row bytes (negative for a picture stored bottom-up) of each;
    // planes that the format does not have are 0. As for ZrFVideoGetBytes, the addresses are those of the frame's own
    // memory.
    virtual HRESULT ZrFVideoGetBytesEx(ZRF_VID_PTR* _pVideoPtr) = 0;
    // A new stream in memory that holds what ZrFSave gives, position at its start. The caller releases it.
    virtual HRESULT ZrFSaveToStream(IStream** _ppStream, eZrFrameClone _eSaveType) = 0;
    // Writes the same into a stream at its position, so that one stream can hold many frames.
    virtual HRESULT ZrFAddToStream(IStream* _pStream, eZrFrameClone _eSaveType) = 0;
    // Takes the named parts from a stream at its position and leaves the position behind them. ZR_E_EMPTY: the stream
    // was at its end. ZR_E_INVALID_DATA: what is there is no frame; this one is unchanged.
    virtual HRESULT ZrFLoadFromStream(IStream* _pStream, eZrFrameClone _eLoadType) = 0;

protected:
    ~IZrFFrame() = default;
};

}  // namespace zr
