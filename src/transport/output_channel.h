#pragma once
// One receiver of a sender, with the thread that gives it its frames.

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "framework/lock_order.h"
#include "media/transport_interfaces.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/ref_object.h"
#include "platform/thread.h"

namespace zr {

// The channel to which a preview is connected; its rules differ in several places.
inline constexpr std::u16string_view kPreviewChannel = u"_preview_";
// A receiver's answer: taken, but not the sound.
inline constexpr HRESULT kTakenWithoutAudio = 0x00040258;

// What a frame brings, and what a channel is to be shown as new.
enum MEDIA_KIND : uint32_t { kMediaVideo = 1, kMediaAudio = 2 };

// The settings that come with a connect call, an attribute line or XML.
struct CHANNEL_KEYS {
    explicit CHANNEL_KEYS(std::u16string_view _param = {});

    uint32_t nKinds = kMediaVideo | kMediaAudio;  // by the keys "video" and "audio"
    int32_t nDisconnectType = 1;
    bool bRateControl = true;  // the receiver sets the pace
};

// Who is behind a channel.
struct CHANNEL_RECEIVER {
    // Asks the object for the faces that count. E_NOINTERFACE: it is no receiver. Calls the object.
    HRESULT Init(IUnknown* _pReceiver);

    ZrPtr<IZrReceiver_I> pReceiver;
    ZrPtr<IZrFramesWanted_I> pWanted;  // of a preview, may be empty
    bool bGpu = false;                 // it takes pictures on the graphics card
};

// Any thread; frames are sent by one at a time. The receiver is called by one thread at a time, with no lock held; a
// receiver may call the sender from within, and that call does not wait for itself.
class COutputChannel final : public AutoObjBase<COutputChannel> {
public:
    explicit COutputChannel(std::u16string_view _id) : id(_id) {}
    ~COutputChannel() override;

    const std::u16string& Id() const { return id; }
    bool IsPreview() const { return id == kPreviewChannel; }

    // Puts another receiver and its settings in place; what it gets first is a break. Returns the one that has been
    // replaced, empty if it is the same.
    ZrPtr<IZrReceiver_I> Connect(CHANNEL_RECEIVER _receiver, std::u16string_view _param);
    // Ends the thread after the call that is under way; nothing is sent any more. Before the last reference goes.
    void Close();

    CHANNEL_KEYS Keys() const;
    std::u16string Param() const;
    bool IsGpu() const;
    // Whether the receiver wants frames at all.
    bool WantsFrames() const;
    // The kinds of media whose next frame has to be a break for the receiver.
    uint32_t FirstMask() const { return nFirstMask.load(std::memory_order_relaxed); }

    // Hands a frame of its own to the receiver on the channel's thread. _nKinds: what it is to the receiver.
    // E_UNEXPECTED: the last one is still under way. E_NOINTERFACE: the channel is closed. Else the thread could not be
    // started.
    HRESULT OutputChannelSendAsync(IUnknown* _pSender, ZrPtr<IZrFFrame> _pFrame, uint32_t _nKinds);
    // Waits for that; the receiver's answer. E_FAIL: nothing was ever sent. ZR_E_TIMEOUT: it goes on. E_ABORT: the
    // channel was closed before.
    HRESULT OutputChannelWaitSent(int64_t _rtTimeout);
    // The present receiver has answered a frame with one of the codes of those that have gone.
    bool IsDead() const;

    // Tells the receiver, after the frame that is under way.
    void TellEnd(IUnknown* _pSender, int32_t _nParam);
    void TellFlush(IUnknown* _pSender, int32_t _nParam);
    // The same for a receiver that was replaced or whose channel is closed.
    void TellEnd(IZrReceiver_I& _receiver, IUnknown* _pSender, int32_t _nParam);
    ZrPtr<IZrReceiver_I> Receiver() const;

private:
    using ReceiverCall = HRESULT (IZrReceiver_I::*)(const char16_t*, IUnknown*, int32_t);

    void Tell(ReceiverCall _pCall, IUnknown* _pSender, int32_t _nParam, IZrReceiver_I* _pReceiver);
    // Waits until nobody calls the receiver, unless the caller is in that call itself: false.
    bool LockIdle() ZR_ACQUIRE(mtx);
    void DropPending();
    void Run(ManualEvent& _evStop);
    void Serve();

    const std::u16string id;
    std::atomic<uint32_t> nFirstMask{kMediaVideo | kMediaAudio};  // changed under mtx
    AutoEvent evWake;
    ManualEvent evDone{true};  // clear while a frame is under way or the receiver is being called; changed under mtx

    mutable Mutex mtx{lock_order::kSenderChannel};
    CHANNEL_RECEIVER receiver ZR_GUARDED_BY(mtx);
    CHANNEL_KEYS keys ZR_GUARDED_BY(mtx);
    std::u16string strParam ZR_GUARDED_BY(mtx);
    ZrPtr<IZrFFrame> pFrame ZR_GUARDED_BY(mtx);  // the thread is to take it
    ZrPtr<IUnknown> pSender ZR_GUARDED_BY(mtx);
    uint32_t nKinds ZR_GUARDED_BY(mtx) = 0;  // of that frame
    HRESULT hrSent ZR_GUARDED_BY(mtx) = S_FALSE;
    uint32_t idCaller ZR_GUARDED_BY(mtx) = 0;  // the thread that is calling the receiver
    bool bSent ZR_GUARDED_BY(mtx) = false;     // a frame was sent some time
    bool bDead ZR_GUARDED_BY(mtx) = false;
    bool bClosed ZR_GUARDED_BY(mtx) = false;

    Thread thread;  // started under mtx; last: it goes first
};

}  // namespace zr
