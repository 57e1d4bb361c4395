#pragma once
// The thread of a file source: takes frames from the file, holds them, and sends them at the pace of whoever sets it.

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "attributes/props.h"
#include "audio/audio_tracks.h"
#include "audio/frame_audio_keys.h"
#include "framework/base_thread.h"
#include "framework/event_sink.h"
#include "framework/last_frame.h"
#include "framework/lock_order.h"
#include "framework/object_format.h"
#include "framework/object_name.h"
#include "output/plugin_list.h"
#include "sources/file_player.h"
#include "transport/sender.h"
#include "transport/source_readers.h"

namespace zr {

// What the pump works with; all outlive it.
struct FILE_PARTS {
    const ZrPropsHW& props;
    ObjectFormat& format;
    SourceReaders& readers;
    Sender& sender;
    LastFrame& lastFrame;
    ObjectName& name;
    AudioTracks& tracks;
    PluginList& plugins;
    IEventSink& events;
};

// Any thread; the calls that change how it plays return when frames from before are out of the way of the next one.
// Events go out and plug-ins are called on the pump's thread with no lock held.
class FilePump {
public:
    using PlayerPtr = std::shared_ptr<FilePlayer>;

    explicit FilePump(const FILE_PARTS& _parts) : parts(_parts) {}
    FilePump(const FilePump&) = delete;
    FilePump& operator=(const FilePump&) = delete;

    // Makes the thread, if it is not there.
    HRESULT Start();
    // Ends thread and playing, and lets go of the file.
    void Stop();
    // A key has changed that says how frames go out.
    void OnKeys() { evKeys.Set(); }
    void SetPriority(int32_t _nPriority) { thread.SetPriority(_nPriority); }

    // Plays another file from now on, in the state that is. Returns the one before.
    PlayerPtr Exchange(PlayerPtr _pPlayer);
    PlayerPtr Player();
    // What a picture is asked to be where the object's format says nothing.
    void HintSet(const ZR_VID_PROPS& _props);

    // Plays; a file that has ended begins again. S_FALSE: it plays already. ZR_E_EMPTY: there is no file.
    HRESULT Play();
    // Holds for that many ticks, 0 until Play. A held file shows its next frame.
    HRESULT Pause(int64_t _rtTicks);
    // Ends playing; after _rtTicks above 0 it plays again. S_FALSE: it was not playing.
    HRESULT Halt(int64_t _rtTicks);
    HRESULT Seek(double _dblPos, double _dblPreroll);

    // Stopped, paused or running.
    eZrState State() const { return eState.load(std::memory_order_acquire); }
    int64_t PauseRemainder() const { return rtPauseShown.load(std::memory_order_relaxed); }
    // Seconds: of the last frame sent.
    double Position() const { return dblPosition.load(std::memory_order_relaxed); }
    double Speed() const { return dblSpeed.load(std::memory_order_relaxed); }
    void SpeedSet(double _dblSpeed) { dblSpeed.store(_dblSpeed, std::memory_order_relaxed); }

    // The settings of now, from the keys.
    PLAY_SETTINGS Settings() const;
    // Ends what the file waits for.
    void Interrupt();
    // Ends the waits of a send: the frame is not wanted any more.
    Waitable& CancelEvent() { return evCancel; }

private:
    // A frame on its way out.
    struct OUT_FRAME {
        ZrPtr<IZrFFrame> pFrame;
        double dblPosition = 0;
    };
    struct EVENT {
        const char16_t* szEvent;
        std::u16string strParam;
    };
    class ControlScope;

    void Run(ThreadRun& _run);
    int64_t MakeFrame(OUT_FRAME* _pOut) ZR_EXCLUDES(mtxPlay);
    int64_t MakeWhileStopped() ZR_REQUIRES(mtxPlay);
    int64_t MakeWhilePaused(ZrPtr<IZrFFrame>* _ppFrame) ZR_REQUIRES(mtxPlay);
    int64_t MakeNext(ZrPtr<IZrFFrame>* _ppFrame) ZR_REQUIRES(mtxPlay);
    static void FitTo(const ZR_VID_PROPS& _wanted, ZrPtr<IZrFFrame>* _ppFrame);
    int64_t OnEnd(HRESULT _hr) ZR_REQUIRES(mtxPlay);
    HRESULT Hold(eZrFrameFlags _eFlags, ZrPtr<IZrFFrame>* _ppFrame) ZR_REQUIRES(mtxPlay);
    AV_FORMAT Wanted() const ZR_REQUIRES(mtxPlay);
    int32_t WantedFields() const ZR_REQUIRES(mtxPlay);
    void CountPause(IZrFFrame& _frame) ZR_REQUIRES(mtxPlay);
    void Change_I() ZR_REQUIRES(mtxPlay);
    void Raise(const char16_t* _szEvent, std::u16string_view _param) ZR_REQUIRES(mtxPlay);
    void FireEvents() ZR_EXCLUDES(mtxPlay);

    void Deliver(const OUT_FRAME& _out);
    ZrPtr<IZrFFrame> ShapeSound(const ZrPtr<IZrFFrame>& _pFrame);
    bool WaitForPull();
    bool IsPulled() const;
    void NoteFormats(IZrFFrame& _frame);
    void WaitIdle();

    const FILE_PARTS parts;
    FrameAudioKeys audioKeys;  // the pump's thread only
    std::atomic<eZrState> eState{eZrS_Stopped};
    std::atomic<int64_t> rtPauseShown{0};
    std::atomic<double> dblPosition{0};
    std::atomic<double> dblSpeed{1.0};

    // Held through everything that plays: a worker is asked by one thread at a time. The pump lets go of it every 20 ms
    // and lets those that count in nWaiting go first.
    Mutex mtxPlay{lock_order::kFilePlay};
    std::atomic<int32_t> nWaiting{0};
    PlayerPtr pPlayer ZR_GUARDED_BY(mtxPlay);
    bool bPlaying ZR_GUARDED_BY(mtxPlay) = false;  // running or paused
    bool bPaused ZR_GUARDED_BY(mtxPlay) = false;
    bool bEnded ZR_GUARDED_BY(mtxPlay) = false;      // the last frame is shown
    bool bBreakNext ZR_GUARDED_BY(mtxPlay) = false;  // the time line of the output has been cut
    int32_t nSteps ZR_GUARDED_BY(mtxPlay) = 0;       // frames to show while paused
    int64_t rtPauseLeft ZR_GUARDED_BY(mtxPlay) = 0;  // 0: without end
    int64_t rtPlayAgain ZR_GUARDED_BY(mtxPlay) = kNever;
    ZrPtr<IZrFFrame> pHeld ZR_GUARDED_BY(mtxPlay);  // the last frame made
    ZR_VID_PROPS propsHint ZR_GUARDED_BY(mtxPlay);
    std::vector<EVENT> arrEvents ZR_GUARDED_BY(mtxPlay);
    bool bEndReaders ZR_GUARDED_BY(mtxPlay) = false;
    bool bFlushPlugins ZR_GUARDED_BY(mtxPlay) = false;

    ManualEvent evCancel;  // how it plays has changed: the frame on its way is not wanted any more
    AutoEvent evKeys;
    ManualEvent evIdle{true};  // no frame is on its way
    std::atomic<uint32_t> idThread{0};
    ZR_VID_PROPS propsNoted;  // pump only
    ZR_AUD_PROPS audioNoted;

    mutable Mutex mtxPlayer;
    PlayerPtr pInterruptible ZR_GUARDED_BY(mtxPlayer);  // the same player, for those that cannot wait for mtxPlay

    CBaseThread thread{"FilePump"};
};

}  // namespace zr
