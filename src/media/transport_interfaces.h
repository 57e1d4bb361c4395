#pragma once
// How frames go from object to object inside the library: pushed through channels, and pulled by readers.

#include <cstdint>

#include "media/frame_interfaces.h"
#include "platform/event.h"
#include "zr/frame.h"
#include "zr/records.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// What a sender calls. One channel's calls come one after another, from any thread, with no lock held. _pSender: who
// sends; it shows IZrSender_I. Null in the MediaEnd of a sender that is going.
struct IZrReceiver_I : IUnknown {
    static constexpr GUID kIid = GuidOf("3B1B0E53-5A0C-4F3E-9A67-1C8D7A90E2B4");

    // A frame of the receiver's own: a reference that shares picture and sound with other receivers. The sender is held
    // until this returns. Win32Error(1100): the receiver has ended, and the channel goes. 0x00040258: taken, but not
    // the sound.
    virtual HRESULT MediaReceive(const char16_t* _bsChannelID, IUnknown* _pSender, IZrFFrame* _pFrame) = 0;
    // No more frames come. _nParam above 0: the channel goes as well.
    virtual HRESULT MediaEnd(const char16_t* _bsChannelID, IUnknown* _pSender, int32_t _nParam) = 0;
    // The time line breaks off: what is held back is dropped.
    virtual HRESULT MediaFlush(const char16_t* _bsChannelID, IUnknown* _pSender, int32_t _nParam) = 0;

protected:
    ~IZrReceiver_I() = default;
};

// What the receiver of the channel "_preview_" shows as well when it does not always want frames.
struct IZrFramesWanted_I : IUnknown {
    static constexpr GUID kIid = GuidOf("D2A4F1C7-8B36-4E0D-9C51-7A3E60B8F294");

    // S_FALSE: no frames now. Any thread; waits for nothing.
    virtual HRESULT FramesWanted() = 0;

protected:
    ~IZrFramesWanted_I() = default;
};

// A frame on its way through a sender: it may be replaced. Called on the sending thread, with no lock held.
struct IZrFrameFilter_I : IUnknown {
    static constexpr GUID kIid = GuidOf("7F6A1A0C-40E2-4C27-8B7A-52C9E3D81F05");

    // *_ppReplacement: null keeps the frame. A result other than 0 ends the send with it.
    virtual HRESULT Filter(int64_t _llUserValue, IUnknown* _pSender, IZrFFrame* _pFrame,
                           IZrFFrame** _ppReplacement) = 0;
    virtual HRESULT FilterEnd(int64_t _llUserValue, IUnknown* _pSender, int32_t _bRemove) = 0;

protected:
    ~IZrFrameFilter_I() = default;
};

// The sending side of an object. Any thread.
struct IZrSender_I : IUnknown {
    static constexpr GUID kIid = GuidOf("C1F7B0A9-6D5E-4B13-8F42-90A7D2E6B318");

    // Gives the channel its receiver; parameters are an attribute line or XML: "video", "audio", "rate_control",
    // "disconnect-type", each 1 unless given. *_pbSending (may be null): whether frames flow now.
    // E_NOINTERFACE: not a receiver.
    virtual HRESULT SenderConnect(IUnknown* _pReceiver, const char16_t* _bsChannelID, const char16_t* _bsXMLParam,
                                  int32_t* _pbSending) = 0;
    // ZR_E_NOT_FOUND_FILE: no such channel. The receiver is not called any more when this returns.
    virtual HRESULT SenderDisconnect(const char16_t* _bsChannelID) = 0;
    virtual HRESULT SenderGetCount(int32_t* _pnCount) = 0;
    // E_INVALIDARG: no such place. The caller frees the texts.
    virtual HRESULT SenderGetByIndex(int32_t _nIndex, BSTR* _pbsChannelID, BSTR* _pbsXMLParam) = 0;
    virtual HRESULT SenderNameGet(BSTR* _pbsName) = 0;
    // The format of what is sent.
    virtual HRESULT SenderFormatGet(ZR_VID_PROPS* _pVidProps, ZR_AUD_PROPS* _pAudProps) = 0;
    virtual HRESULT SenderFilterAdd(IZrFrameFilter_I* _pFilter, int64_t _llUserValue) = 0;
    // ZR_E_NOT_FOUND_FILE: it was not there.
    virtual HRESULT SenderFilterRemove(IZrFrameFilter_I* _pFilter) = 0;
    // S_OK: this sender is the object, or stands before it. S_FALSE: it does not.
    virtual HRESULT SenderIsObject(IUnknown* _pObject) = 0;
    // Claims a name that is unique on this machine; *_pbsName: the wish, a BSTR that the call frees, or null; on return
    // the name in use. _bExact: that one or none. Win32Error(80): it is taken.
    virtual HRESULT SenderNameSet(BSTR* _pbsName, int32_t _bExact) = 0;
    // Shows the object to other processes, or hides it; _bsName (may be null) is claimed first.
    virtual HRESULT SenderExternalAccess(int32_t _bEnable, const char16_t* _bsName) = 0;

protected:
    ~IZrSender_I() = default;
};

// The pull door of an object; see IZrSource for the waits and results. Any thread.
struct IZrSource_I : IUnknown {
    static constexpr GUID kIid = GuidOf("4E8C5A6D-02B7-47D9-A1F3-6B0D9C27E581");

    // _szParam (may be null): u"remove_reader" removes the reader instead; anything else goes to the object's start
    // hook. A null _ppFrame makes the reader and gets nothing.
    virtual HRESULT SourceFrameGet_I(int64_t _rtMaxWait, IZrFFrame** _ppFrame, const char16_t* _szParam) = 0;
    virtual HRESULT SourceFrameGetEx_I(uint64_t* _pllReaderID, int64_t _rtMaxWait, IZrFFrame** _ppFrame,
                                       const char16_t* _szParam) = 0;
    // The reader stays however many frames it misses.
    virtual HRESULT ReaderKeep(uint64_t _llReaderID) = 0;
    // ZR_E_NOT_FOUND: no such reader. 0 means the reader of callers without an id.
    virtual HRESULT ReaderRemove(uint64_t _llReaderID) = 0;
    virtual HRESULT ProcessAdd(uint32_t _nProcessId) = 0;
    virtual HRESULT ProcessRemove(uint32_t _nProcessId) = 0;
    // S_OK: processes remain, and *_ppGone is set when the last one has gone; it lives as long as the source.
    virtual HRESULT ProcessCheck(Waitable** _ppGone) = 0;
    // A reference to the newest frame. ZR_E_EMPTY: none, or the lock could not be had at once.
    virtual HRESULT LastFrameGet(IZrFFrame** _ppFrame) = 0;

protected:
    ~IZrSource_I() = default;
};

}  // namespace zr
