#pragma once
// One stream of a mixer: where a source's frames come in, and what the mix cycle finds of them.

#include <atomic>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "attributes/named_list.h"
#include "framework/lock_order.h"
#include "framework/statistics_sink.h"
#include "media/av_format.h"
#include "media/frame_interfaces.h"
#include "mixer/rate_meter.h"
#include "mixer/stream_audio.h"
#include "mixer/stream_captions.h"
#include "mixer/stream_mix.h"
#include "mixer/stream_rate.h"
#include "mixer/video_block.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/ref_object.h"

namespace zr {

class ZrMixerStream;
using MixerStreamPtr = CAutoObj<ZrMixerStream>;

// The names under which an item keeps its stream, and an element the stream that it shows; both as
// ObjectVal<MixerStreamPtr>.
inline const NameKey kMixStreamKey{u"mix_stream"};
inline const NameKey kMixerStreamKey{u"mixer_stream"};

// The data of a frame that carries its captions, and the one that says its source has no signal.
inline constexpr const char16_t* kCaptionsId = u"C608";
inline constexpr const char16_t* kNoSignalId = u"NVSG";

// What all puts of a cycle go by. Outlives the put.
struct STREAM_PUT {
    AV_FORMAT output;             // of the mixer; without video or audio where the input gives none
    int32_t nScalingQuality = 2;  // key scaling_quality.blocks
    bool bForceMaster = false;    // key locked.force_master
    bool bSync = true;            // the mixer pulls, and waits for the end of the put
    bool bSkipped = false;        // the frame comes without the picture that it had
    bool bMakeLater = false;      // pictures are made when they are drawn, not by the put
    bool bShowLastFrame = true;   // key elements.show_last_frame: of a stream that has no picture any more
    Waitable* pAbort = nullptr;   // ends the waits of the put
};

// The producer puts, one frame at a time, on any thread. The mix thread looks at the events, draws from the blocks and
// marks as consumed. Control calls come from any thread.
class ZrMixerStream final : public AutoObjBase<ZrMixerStream> {
public:
    enum : int32_t { kUnknown = -1, kMustWait = 0, kLive = 1 };  // wait states
    static constexpr int32_t kKeepWaitState = std::numeric_limits<int32_t>::min();
    static constexpr int64_t kStalledAfter = 250 * kTicksPerMs;  // without a frame, a source that is pushed counts so

    // Both outlive its use. _blocks: those of the scene that is on.
    ZrMixerStream(std::u16string_view _id, IStatisticsSink& _statistics, BlockSet& _blocks);

    // The place in the table that it belongs to; statistics carry it. Never changes.
    const std::u16string& Id() const { return id; }

    // --- Producer

    // Takes a frame, by reference: sound into the ring, picture into the blocks that show the stream. S_FALSE: lost,
    // as the stream is paused or waits for a break, or as no block took it. ZR_E_NOT_RUNNING: the stream is not open,
    // or was closed during the put. E_ABORT: pAbort.
    HRESULT PutMedia(IZrFFrame* _pFrame, const STREAM_PUT& _put);
    // How long the last put of a whole frame took, in ticks; 0 after one whose picture was left out.
    int64_t LastPutTime() const { return rtLastPut.load(std::memory_order_relaxed); }
    // The same without the pictures that were made later.
    int64_t LastPutAlone() const { return rtLastPutAlone.load(std::memory_order_relaxed); }
    // Publishes how long a put took.
    void NotePut(double _dblMs, bool _bSkipped);
    // Publishes how long the plug-ins of its item had a frame.
    void NotePlugins(double _dblMs) { statistics.SetValue(counters.nPlugins, _dblMs); }
    // A picture of that put was made later, in so many ticks.
    void NotePicture(int64_t _rtTime) {
        if (LastPutTime() > 0) rtLastPut.fetch_add(_rtTime, std::memory_order_relaxed);
    }
    // Of a source that is pushed: whether it gives frames at all, and whether it has any at this moment.
    void NoteSource(bool _bFed, bool _bHasFrames) {
        bFed.store(_bFed, std::memory_order_relaxed);
        bNoFrames.store(!_bHasFrames, std::memory_order_relaxed);
    }
    // And since when it is asked for one; kNever: it is not.
    void NoteAsk(int64_t _rtSince) { rtAskedSince.store(_rtSince, std::memory_order_relaxed); }
    // The stream has left the table for good: its numbers go.
    void ReleaseNumbers();
    void CountSkipped() { statistics.AddCount(counters.nSkipped, 1); }

    // --- Mix thread

    // Before the elements are walked: what they add to the gains of this cycle begins at zero.
    void ResetGains();
    // A block that shows the stream: its visible share, or its own gain.
    void AddGains(double _dblVisible, double _dblAudio);
    double VisibleGain() const { return dblVisibleGain.load(std::memory_order_relaxed); }
    double AudioGain() const { return dblAudioGain.load(std::memory_order_relaxed); }
    // The cycle has drawn: the producer may put the next frame. _rtFrame: how long a frame lasts that does not say so
    // itself; pauses are counted in frames. _pTime (may be null): that of the frame which the blocks have.
    void MarkConsumed(int32_t _nWaitState, int64_t _rtFrame, ZR_TIME* _pTime);
    // The oldest caption bytes that wait, 608 pairs, onto a frame. False: there are none.
    bool TakeCaptions(IZrFFrame* _pFrame);
    int32_t CaptionLevel() const { return nCaptionLevel.load(std::memory_order_relaxed); }

    // --- Blocks

    // The stream ends: its blocks forget their frames, and it takes none until it is connected and a break comes.
    void ClearBlocks();
    // Some block in the scene is visible, or has a gain of its own.
    bool IsShown() const { return blocks.IsWanted(this); }
    // The last picture is not to stay.
    void DropPictures() { blocks.Clear(this, true); }
    // The picture format of the last frame.
    ZR_VID_PROPS LastVideoProps() const;
    // The frame that the blocks have, null before the first and after the stream was closed. One that waits to be shown
    // is not it.
    CAutoObj<IZrFFrame> LastFrame() const;
    // Frames that came per second, over the last 30.
    double Rate() const;
    // Blocks that the last frame was offered to.
    int32_t VisibleBlocks() const { return nBlocks.load(std::memory_order_relaxed); }

    // --- Control

    void Connect();
    // Below 0 the stream goes on; else it is paused for so many seconds of frames, 0 without end.
    void Pause(double _dblSeconds);
    // true ends the stream, unless it is held in a transition; false makes a stream that was ended ready again.
    void Close(bool _bClose);
    bool IsOpen() const { return bOpen.load(std::memory_order_acquire); }
    bool IsPaused() const { return !evRunning.IsSet(); }
    void HoldForTransition(bool _bHold);

    // --- What the cycle waits for

    ManualEvent& ReadyEvent() { return evReady; }
    ManualEvent& TakeEvent() { return evTake; }
    int32_t WaitState() const { return nWaitState.load(std::memory_order_relaxed); }
    bool IsLocked() const { return bLocked.load(std::memory_order_relaxed); }
    // Its source is there and has not ended.
    bool IsFed() const { return bFed.load(std::memory_order_relaxed); }
    // The source has stalled, hangs in a call so long, or says that it has no signal: it is not waited for.
    bool IsDropping() const {
        return bNoFrames.load(std::memory_order_relaxed) || bNoSignal.load(std::memory_order_relaxed) || HangsInAsk();
    }
    StreamAudio& Audio() { return audio; }
    StreamMix mix;  // of the mix thread: how its sound is taken

private:
    struct COUNTERS {
        IStatisticsSink::Handle nDups, nPauses, nBreaks, nUserBreaks, nSkipped, nPutFrame, nPlugins;
    };
    struct INCOMING;

    ~ZrMixerStream() override = default;
    friend class UnknownImpl<IUnknown>;

    void Look(IZrFFrame* _pFrame, const STREAM_PUT& _put, INCOMING& _in);
    int32_t WaitStateOf(const INCOMING& _in, const STREAM_PUT& _put) const;
    bool HangsInAsk() const;
    HRESULT WaitRunning(const INCOMING& _in, const STREAM_PUT& _put);
    bool Admit(INCOMING& _in, IZrFFrame* _pFrame);
    void Count(INCOMING& _in);
    void PutSound(INCOMING& _in, const STREAM_PUT& _put);
    HRESULT PutSlots(IZrFFrame* _pFrame, INCOMING& _in, const STREAM_PUT& _put);
    CAutoObj<IZrFFrame> Kept() const;
    void Keep(CAutoObj<IZrFFrame> _pFrame);
    HRESULT WaitHeard(INCOMING& _in, const STREAM_PUT& _put);
    HRESULT PutMedia_I(IZrFFrame* _pFrame, const INCOMING& _in, const STREAM_PUT& _put);
    HRESULT WaitTaken(const INCOMING& _in, const STREAM_PUT& _put);
    void NoteShown(IZrFFrame* _pFrame, const ZR_TIME& _time);
    bool PutToBlocks(IZrFFrame* _pFrame, const INCOMING& _in, const STREAM_PUT& _put);

    const std::u16string id;
    IStatisticsSink& statistics;
    BlockSet& blocks;
    const COUNTERS counters;

    ManualEvent evReady;          // the cycle can take a new state
    ManualEvent evStop;           // the stream is to end
    ManualEvent evRunning{true};  // clear in a pause
    ManualEvent evTake{true};     // the cycle has taken the last frame: the next may come

    std::atomic<bool> bOpen{false};
    std::atomic<bool> bLocked{false};
    std::atomic<bool> bNoSignal{false};
    std::atomic<bool> bFed{false};
    std::atomic<bool> bNoFrames{false};
    std::atomic<int64_t> rtAskedSince{kNever};
    std::atomic<bool> bUserBreak{false};  // a frame was lost in a pause: the next one carries a break
    std::atomic<int32_t> nWaitState{kUnknown};
    std::atomic<int32_t> nCaptionLevel{0};  // 0 none, 1 the stream has captions, 2 a block wants them
    std::atomic<int32_t> nBlocks{0};        // that the last frame went through
    std::atomic<int64_t> rtLastPut{0};
    std::atomic<int64_t> rtLastPutAlone{0};
    std::atomic<double> dblVisibleGain{0};
    std::atomic<double> dblAudioGain{0};

    StreamAudio audio;

    mutable Mutex mtxFrame{lock_order::kStreamFrame};
    ZR_VID_PROPS vidProps ZR_GUARDED_BY(mtxFrame);
    CAutoObj<IZrFFrame> pLastFrame ZR_GUARDED_BY(mtxFrame);  // that the blocks have been given
    CAutoObj<IZrFFrame> pKept ZR_GUARDED_BY(mtxFrame);       // the first field of a slot that is not filled yet
    ZR_TIME lastTime ZR_GUARDED_BY(mtxFrame);                // of the frame that they show
    int64_t rtPauseRemainder ZR_GUARDED_BY(mtxFrame) = 0;
    RateMeter rateMeter ZR_GUARDED_BY(mtxFrame);
    double dblRate ZR_GUARDED_BY(mtxFrame) = 0;
    StreamCaptions captions ZR_GUARDED_BY(mtxFrame);
    bool bWaitBreak ZR_GUARDED_BY(mtxFrame) = false;
    bool bTransitionHold ZR_GUARDED_BY(mtxFrame) = false;

    // Producer only.
    std::vector<BlockPtr> arrPutTo;  // the blocks of the put under way
    StreamRate rate;
    std::vector<RATE_SLOT> arrSlots;  // of the put under way: when its frame is shown, and how
};

}  // namespace zr
