#pragma once
// Frames from object to object: pulling them from a source, connecting a receiver to senders, finding senders.

#include <cstdint>

#include "zr/frame.h"
#include "zr/records.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// The pull door. Every reader has a slot of one frame: who is slower than the source loses frames, and the first one
// after the gap has the break flag; who is faster waits. Any thread; a reader is used by one at a time.
struct IZrSource : IUnknown {
    static constexpr GUID kIid = GuidOf("6E2CD4ED-677D-42F7-8452-F95D62293486");

    // The next frame of the one reader that all callers without an id share. See SourceFrameGetEx.
    virtual HRESULT SourceFrameGet(int64_t _rtMaxWait, IZrFrame** _ppFrame, int32_t _nFlags) = 0;
    // The next frame, which the caller releases; a new reader sees the last frame at once. *_pllReaderID: 0 makes a
    // reader and returns its id; a null _ppFrame does only that. _rtMaxWait in 100 ns: 0 a look without waiting,
    // negative one second. _nFlags: 0, or -1 to remove the reader. One that misses 100 frames in a row goes by itself.
    // ZR_E_TIMEOUT: none came. ZR_E_NOT_FOUND: no reader of that id. E_ABORT: the source was stopped or flushed.
    // Win32Error(1100): the media has ended.
    virtual HRESULT SourceFrameGetEx(int64_t* _pllReaderID, int64_t _rtMaxWait, IZrFrame** _ppFrame,
                                     int32_t _nFlags) = 0;

protected:
    ~IZrSource() = default;
};

// The inputs of an object: channels, each tied to one sender. Any thread. Channel ids go in and out: on entry the
// wished id, a BSTR that the call frees, or null for one of its making; on return the id in use, which the caller
// frees. Parameters are attribute lines; "transition_time" is in seconds.
struct IZrReceiver : IUnknown {
    static constexpr GUID kIid = GuidOf("2F6F80D7-F19D-4DF0-B896-A4E5A949FE9D");

    // Connects a sender, or gives a channel another one, with a transition where the parameters name one.
    // E_NOINTERFACE: not a sender. 0x80040204: the object takes one sender only and has another.
    // 0x80040231: the two have no way to connect.
    virtual HRESULT ReceiverChannelAdd(IUnknown* _pSender, BSTR* _pbsChannelID, const char16_t* _bsXMLParam) = 0;
    // The same with a sender found by its name among all of this machine (IZrSenders).
    virtual HRESULT ReceiverChannelAddByName(const char16_t* _bsSenderName, BSTR* _pbsChannelID,
                                             const char16_t* _bsXMLParam) = 0;
    // ZR_E_NOT_FOUND_FILE: no such channel.
    virtual HRESULT ReceiverChannelRemove(const char16_t* _bsChannelID) = 0;
    // E_POINTER: _pnCount is null.
    virtual HRESULT ReceiverChannelGetCount(int32_t* _pnCount) = 0;
    // One channel, 0 first: its id, its sender's name, the transition that runs, its parameters. The caller frees the
    // texts. ZR_E_BAD_INDEX: no such place.
    virtual HRESULT ReceiverChannelGetByIndex(int32_t _nIndex, BSTR* _pbsChannelID, BSTR* _pbsSenderName,
                                              BSTR* _pbsTransName, BSTR* _pbsXMLParam) = 0;
    // Hands a frame in by hand, without a sender. It may hold the caller up until there is room. The frame is not to be
    // written to afterwards.
    virtual HRESULT ReceiverPutFrame(const char16_t* _bsChannelID, IZrFrame* _pFrame) = 0;
    // The time line breaks off here: what is held back is dropped.
    virtual HRESULT ReceiverPutFlush(const char16_t* _bsChannelID) = 0;
    // The media ends here. _bRemoveChannel: not 0 removes the channel as well.
    virtual HRESULT ReceiverPutEOS(const char16_t* _bsChannelID, int32_t _bRemoveChannel) = 0;

protected:
    ~IZrReceiver() = default;
};

// The senders of this machine, this process and others, that show themselves (key "external_access"). Each count makes
// a new scan; the positions hold until the next.
struct IZrSenders : IUnknown {
    static constexpr GUID kIid = GuidOf("9DD33763-54DC-4A03-A4FA-EEAABC985CE0");

    // E_POINTER: _pnCount is null.
    virtual HRESULT SendersGetCount(int32_t* _pnCount) = 0;
    // Name, which the caller frees, and formats of one, 0 first. ZR_E_BAD_INDEX: no such place.
    virtual HRESULT SendersGetByIndex(int32_t _nIndex, BSTR* _pbsName, ZR_VID_PROPS* _pVidProps,
                                      ZR_AUD_PROPS* _pAudProps) = 0;
    // A sender by name; the caller releases it.
    virtual HRESULT SendersGet(const char16_t* _bsName, IUnknown** _ppSender) = 0;

protected:
    ~IZrSenders() = default;
};

}  // namespace zr
