#pragma once
// One frame's work of a synchronous mixer: which sources were asked, and what is to be done with what they gave.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media/av_format.h"
#include "media/transport_interfaces.h"
#include "mixer/mixer_stream.h"
#include "mixer/source_start.h"
#include "mixer/stream_table.h"

namespace zr {

using FramePtr = ZrPtr<IZrFFrame>;

inline constexpr const char16_t* kBackgroundName = u"_mixer_background_";

// One input's share of a cycle: from the frame that its source gave to the frame that is composed.
struct RequestStep {
    MIX_INPUT input;
    STREAM_PUT put;          // the output of the cycle, without video or audio where the input gives none
    FramePtr pFetched;       // what the source gave; null: nothing is put
    FramePtr pSourceFrame;   // the step's own clone of it
    FramePtr pResult;        // of the background
    bool bAsItIs = false;    // the background's frame is left in its own format
    bool bMustCopy = false;  // somebody else holds the result's picture: it is not to be drawn on

    bool IsBackground() const { return input.nIndex < 0; }
};

// A source that inputs of the mixer use. Mix thread only, but for the gets, which one thread at a time does.
struct SyncSource {
    ZrPtr<CCoZrItem> pItem;               // any of those that use it
    std::atomic<uint64_t> llReaderID{0};  // at the source
    std::shared_ptr<SourceStart> pStart;  // null: it was not started
    std::u16string name;
    bool bPaceTaken = false;             // it is to run at the mixer's pace, and had another before
    std::u16string rateControl;          // of the source before that
    int32_t nTimeouts = 0;               // see SyncMixer::Accept
    int64_t rtLastGet = 0;               // ticks that the last get took
    double dblRateAsked = 0;             // frames a second that the source was asked for
    int32_t nFieldsAsked = 0;            // and of which kind, as of InterlaceClass
    bool bMaster = false;                // a stream that uses it has the key `master`
    bool bWanted = false;                // somebody who is not paused uses it
    bool bHeld = false;                  // it was not asked this time
    FramePtr pFrame;                     // of this cycle
    FramePtr pLastFrame;                 // the last one that came
    std::vector<RequestStep*> arrSteps;  // who wants this cycle's frame

    // It is not asked before it has started.
    bool IsStarting() const { return pStart && !pStart->evEnded.IsSet(); }
};

// What Sync_Request found, for the puts and the frame of that cycle. Kept and used again: nothing is allocated in a
// steady show.
class SyncRequest {
public:
    SyncRequest() = default;
    SyncRequest(const SyncRequest&) = delete;
    SyncRequest& operator=(const SyncRequest&) = delete;
    ~SyncRequest() { Release(); }

    AV_FORMAT props;         // the output of the cycle
    bool bMaySkip = false;   // the output is paced: a stream that is late may lose its picture
    bool bStraight = false;  // the background's frame is the output as it is
    RequestStep& Add() {
        if (nSteps == arrSteps.size()) arrSteps.push_back(std::make_unique<RequestStep>());
        return *arrSteps[nSteps++];
    }
    size_t Count() const { return nSteps; }
    RequestStep& operator[](size_t _i) const { return *arrSteps[_i]; }
    // Lets go of frames and items; the memory of the steps stays.
    void Release() {
        for (size_t i = 0; i < nSteps; ++i) {
            RequestStep& step = *arrSteps[i];
            step.input = {};
            step.pFetched.Reset();
            step.pSourceFrame.Reset();
            step.pResult.Reset();
        }
        nSteps = 0;
    }

private:
    std::vector<std::unique_ptr<RequestStep>> arrSteps;
    size_t nSteps = 0;
};

}  // namespace zr
