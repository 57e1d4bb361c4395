// The sound of whole shows, on the virtual clock: every sample where it belongs, and no click whatever streams do.

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>

#include "mixer_fixture.h"
#include "support/paced_source.h"

namespace zr {
namespace {

constexpr double kTurn = 6.283185307179586;
constexpr double kNtsc = 30000.0 / 1001;
constexpr int32_t kRate = 48000;
constexpr int32_t kChannels = 4;  // each stream has its own
constexpr int16_t kPeriod = 30011;
constexpr double kToneHz = 1000, kToneLevel = 10000;

// Keeps what Check makes of each frame's sound; on the thread of the mix.
class SoundChecker final : public UnknownImpl<IZrReceiver_I> {
public:
    std::function<void(const int16_t*, int64_t, const ZRF_FRAME_INFO&)> Check;
    HRESULT MediaReceive(const char16_t*, IUnknown*, IZrFFrame* _pFrame) override {
        ZRF_FRAME_INFO info;
        if (Succeeded(_pFrame->ZrFAllGet(&info)))
            Check(reinterpret_cast<const int16_t*>(info.lpAudio), info.cbAudio / (2 * kChannels), info);
        return S_OK;
    }
    HRESULT MediaEnd(const char16_t*, IUnknown*, int32_t) override { return S_OK; }
    HRESULT MediaFlush(const char16_t*, IUnknown*, int32_t) override { return S_OK; }
};

class SoundShowTest : public MixerTest, public ::testing::WithParamInterface<bool> {
protected:
    void MakeShow(double _dblRate) {
        Make(_dblRate);
        pStreams = pMixer.As<IZrStreams>();
        pStreams->StreamsBackgroundSet(nullptr, nullptr, nullptr, nullptr, 0);
        pProps->PropsSet(u"object::background", u"");
        pProps->PropsSet(u"object::sync_mode", GetParam() ? u"true" : u"false");
        const ZR_AUD_PROPS audio{kChannels, kRate, 16, 0};
        pMixer.As<IZrFormat>()->FormatAudioSet(eZrFT_Convert, &audio);
        const auto pScenes = pMixer.As<IZrScenes>();
        BSTR bs = nullptr;
        const char16_t* const szScene =
            u"<zr_scene><foreground><video id='a' stream_id='a' w='0.5' h='0.5' audio_gain='0'/>"
            u"<video id='b' stream_id='b' x='0.5' w='0.5' h='0.5' audio_gain='0'/>"
            u"<video id='c' stream_id='c' y='0.5' w='0.5' h='0.5' audio_gain='0'/>"
            u"<video id='d' stream_id='d' x='0.5' y='0.5' w='0.5' h='0.5' audio_gain='0'/></foreground></zr_scene>";
        ASSERT_EQ(pScenes->ScenesAdd(szScene, &bs, nullptr), S_OK);
        ASSERT_EQ(pScenes->ScenesActiveSet(bs, nullptr), S_OK);
        SysFreeString(bs);
        pChecker = ZrPtr<SoundChecker>::Attach(new SoundChecker);
        ASSERT_EQ(pMixer.As<IZrSender_I>()->SenderConnect(pChecker.Get(), u"check", u"rate_control=0", nullptr), S_OK);
    }
    // A source whose frames follow its line of time to the sample; _sample gives sample n. Its luma tells the frame.
    static ZrPtr<PacedSource> Source(double _dblFps, int32_t _nRate, int32_t _nChannel, bool _bLive,
                                     std::function<int16_t(int64_t)> _sample) {
        const auto p = PacedSource::Make(SmallPicture(_dblFps), _bLive);
        const bool bNtsc = _dblFps == kNtsc;
        p->Furnish = [=](int64_t _n, IZrFFrame& _frame) {
            const auto Begin = [&](int64_t n) {
                return bNtsc ? n * _nRate * 1001 / 30000 : n * _nRate / std::lrint(_dblFps);
            };
            const ZR_AUD_PROPS props{kChannels, _nRate, 16, 0};
            std::vector<int16_t> sound(static_cast<size_t>((Begin(_n + 1) - Begin(_n)) * kChannels));
            for (int64_t i = Begin(_n); i < Begin(_n + 1); ++i)
                sound[static_cast<size_t>((i - Begin(_n)) * kChannels + _nChannel)] = _sample(i);
            _frame.ZrFAudioSet(&props, static_cast<int32_t>(2 * sound.size()), reinterpret_cast<int64_t>(sound.data()));
            ZRF_FRAME_INFO info;
            _frame.ZrFAllGet(&info);
            std::memset(reinterpret_cast<void*>(info.lpVideo), static_cast<int>(_n % 200 + 20),
                        static_cast<size_t>(info.cbVideo));
        };
        return p;
    }
    static int16_t Count(int64_t _n) { return static_cast<int16_t>(_n % kPeriod + 1); }
    static std::function<int16_t(int64_t)> Tone(int32_t _nRate) {
        return [_nRate](int64_t _n) {
            const auto nPhase = static_cast<double>(_n % _nRate) / _nRate;
            return static_cast<int16_t>(std::lrint(kToneLevel * std::sin(kTurn * kToneHz * nPhase)));
        };
    }
    HRESULT Add(const std::u16string& _id, IUnknown* _pSource, ZrPtr<IZrItem>* _ppItem = nullptr) {
        ZrPtr<IZrItem> pItem;
        const HRESULT hr = pStreams->StreamsAdd(_id.c_str(), _pSource, nullptr, nullptr, pItem.Out(), 0);
        if (_ppItem) *_ppItem = pItem;
        return hr;
    }

    static std::function<int16_t(int64_t)> Level(int16_t _n) {
        return [_n](int64_t) { return _n; };
    }
    HRESULT Background(IUnknown* _pSource) { return pStreams->StreamsBackgroundSet(_pSource, u"", u"", nullptr, 0); }
    void Remove(const char16_t* _szId) {
        ZrPtr<IZrItem> pItem;
        pStreams->StreamsGet(_szId, nullptr, pItem.Out());
        pStreams->StreamsRemove(pItem.Get(), 0);
    }
    // From one sample of a channel to the next.
    struct STEPS {
        int nLargest = 0, nHeard = 0;
        int64_t nFrames = 0;
        int16_t arrLast[kChannels] = {};
    };
    void Watch(STEPS& _steps) {
        pChecker->Check = [&_steps](const int16_t* _p, int64_t _n, const ZRF_FRAME_INFO& _info) {
            ++_steps.nFrames;
            const int32_t nChannels = std::min(_info.avProps.audProps.nChannels, kChannels);
            for (int64_t i = 0; i < _n * nChannels; ++i) {
                int16_t& nLast = _steps.arrLast[i % nChannels];
                _steps.nLargest = std::max(_steps.nLargest, std::abs(_p[i] - nLast));
                _steps.nHeard += _p[i] > kLevel / 2;
                nLast = _p[i];
            }
            std::fill(_steps.arrLast + nChannels, std::end(_steps.arrLast), int16_t{0});
        };
    }

    static constexpr int16_t kLevel = 8000;
    static constexpr int kLargestStep = kLevel / 240 * 2 + 4;  // of two ramps of 5 ms

    ZrPtr<IZrStreams> pStreams;
    ZrPtr<SoundChecker> pChecker;
};

class PushedSoundTest : public SoundShowTest {};

// Two minutes; ZR_SHOW_MINUTES=60 for the hour. Two streams count, of the two others, which are resampled, the phase of
// a tone says where they are.
TEST_P(SoundShowTest, EverySampleOfAnNtscShowIsWhereItBelongs) {
    const char* const sz = std::getenv("ZR_SHOW_MINUTES");
    const int64_t nSeconds = 60 * (sz ? std::atoi(sz) : 2);
    constexpr int64_t kSettled = 10;  // frames
    MakeShow(kNtsc);
    const double dblOther = GetParam() ? kNtsc : 25;  // who is asked for frames gives them at the rate of the output
    Add(u"a", Source(kNtsc, 48000, 0, false, Count).Get());
    Add(u"b", Source(dblOther, 48000, 1, false, Count).Get());
    Add(u"c", Source(kNtsc, 44100, 2, false, Tone(44100)).Get());
    Add(u"d", Source(dblOther, 32000, 3, false, Tone(32000)).Get());

    int64_t nFrames = 0, nSamples = 0, nWrong = 0, nUneven = 0, nPicture = 0;
    int nLumaBefore = 0;
    int16_t arrLast[2] = {};
    double arrPhase[2] = {}, dblFarthest = 0, dblDrift = 0, dblOffset = 0, dblOffsetMoved = 0;
    pChecker->Check = [&](const int16_t* _p, int64_t _n, const ZRF_FRAME_INFO& _info) {
        const bool bSettled = nFrames >= kSettled;
        for (int64_t i = 0; i < _n; ++i)
            for (int c = 0; c < 2; ++c) {
                const int16_t n = _p[i * kChannels + c];
                nWrong += bSettled && n != arrLast[c] % kPeriod + 1;
                arrLast[c] = n;
            }
        for (int c = 2; c < kChannels; ++c) {
            double dblSin = 0, dblCos = 0;
            const auto Angle = [&](int64_t i) {
                return kTurn * kToneHz * static_cast<double>((nSamples + i) % kRate) / kRate;
            };
            constexpr int64_t kFit = 1584;  // whole turns
            for (int64_t i = 0; i < kFit; ++i) {
                dblSin += _p[i * kChannels + c] * std::sin(Angle(i));
                dblCos += _p[i * kChannels + c] * std::cos(Angle(i));
            }
            double& dblPhase = arrPhase[c - 2];
            const double dblNow = std::atan2(dblCos, dblSin);
            if (!bSettled) dblPhase = dblNow;
            dblDrift = std::max(dblDrift, std::fabs(std::remainder(dblNow - dblPhase, kTurn)));
            for (int64_t i = 0; bSettled && i < _n; ++i) {
                const double dblWanted = kToneLevel * std::sin(Angle(i) + dblPhase);
                dblFarthest = std::max(dblFarthest, std::fabs(_p[i * kChannels + c] - dblWanted));
            }
        }
        // Samples count on from frame to frame, so the picture's frame must.
        const int nLuma = *(reinterpret_cast<const uint8_t*>(_info.lpVideo) + 2 * 16 + 1);
        nPicture += (nLuma - nLumaBefore + 200) % 200;
        nLumaBefore = nLuma;
        const double dblNow = static_cast<double>(nSamples) - static_cast<double>(nPicture) * kRate / kNtsc;
        if (!bSettled) dblOffset = dblNow;
        dblOffsetMoved = std::max(dblOffsetMoved, std::fabs(dblNow - dblOffset));
        ++nFrames;
        nSamples += _n;
        const double dblIdeal = static_cast<double>(nFrames) * kRate * 1001 / 30000;
        nUneven += std::fabs(static_cast<double>(nSamples) - dblIdeal) > 1;
    };
    pMixer->ObjectStart(nullptr);
    SleepFor(nSeconds * kTicksPerSecond);
    pMixer->ObjectClose();
    EXPECT_NEAR(static_cast<double>(nFrames), static_cast<double>(nSeconds) * kNtsc, 5);
    EXPECT_EQ(nUneven, 0);
    EXPECT_EQ(nWrong, 0);
    EXPECT_LT(dblDrift, 0.002);    // radians: a sample is 0.13
    EXPECT_LT(dblFarthest, 4);     // of 32768: roundings of two conversions
    EXPECT_LT(dblOffsetMoved, 2);  // samples
    RecordProperty("samples", std::to_string(nSamples));
}

// Streams come, pause, end, are replaced and jump, while they sound at full strength.
TEST_P(SoundShowTest, NothingThatStreamsDoClicks) {
    MakeShow(25);
    // Each has its channel, so that steps do not add up.
    STEPS steps;
    Watch(steps);
    pMixer->ObjectStart(nullptr);
    std::mt19937 random(7);
    const auto Roll = [&](int _n) { return static_cast<int>(random() % static_cast<unsigned>(_n)); };
    ASSERT_EQ(Add(u"d", Source(25, 48000, 3, false, Level(0)).Get()), S_OK);
    for (int nTry = 0; nTry < 300; ++nTry) {
        const int nChannel = Roll(3);
        const std::u16string id(1, static_cast<char16_t>(u'a' + nChannel));
        ZrPtr<IZrItem> pItem;
        pStreams->StreamsGet(id.c_str(), nullptr, pItem.Out());
        switch (Roll(5)) {
            case 0:
            case 1: {
                const auto pLoud = Source(25, Roll(2) ? 48000 : 44100, nChannel, false, Level(kLevel));
                ASSERT_EQ(Add(id, pLoud.Get()), S_OK);
                break;
            }
            case 2: pStreams->StreamsRemove(pItem.Get(), 0); break;
            case 3:
                if (pItem) pItem.As<IZrFile>()->FilePlayPause(0.1);
                break;
            default:
                if (pItem) pItem.As<IZrFile>()->FilePlayStart();
                break;
        }
        SleepFor(Roll(300) * kTicksPerMs);
    }
    pMixer->ObjectClose();
    EXPECT_LE(steps.nLargest, kLargestStep);
    EXPECT_GT(steps.nHeard, 48000 * 10);
}

// What was heard before a stop, or while there still were streams, is past.
TEST_P(SoundShowTest, NoOldSoundComesBack) {
    MakeShow(25);
    STEPS steps;
    Watch(steps);
    const auto nLevel = std::make_shared<std::atomic<int16_t>>(kLevel);
    ASSERT_EQ(Add(u"a", Source(25, 48000, 0, false, [nLevel](int64_t) { return nLevel->load(); }).Get()), S_OK);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    EXPECT_GT(steps.nHeard, 0);
    pMixer.As<IZrFile>()->FilePlayStop(0);
    SleepFor(kTicksPerSecond);
    nLevel->store(0);
    steps = {};
    pMixer.As<IZrFile>()->FilePlayStart();
    SleepFor(kTicksPerSecond);
    EXPECT_GT(steps.nFrames, 10);
    EXPECT_EQ(steps.nLargest, 0) << "at the next start";

    nLevel->store(kLevel);
    SleepFor(kTicksPerSecond);
    EXPECT_GT(steps.nHeard, 0);
    Remove(u"a");
    SleepFor(kTicksPerSecond);
    steps = {};
    ASSERT_EQ(Add(u"b", Source(25, 48000, 1, false, Level(0)).Get()), S_OK);
    SleepFor(kTicksPerSecond);
    pMixer->ObjectClose();
    EXPECT_GT(steps.nFrames, 10);
    EXPECT_EQ(steps.nLargest, 0) << "with another stream";
}

// The background, too, begins, is replaced, pauses and ends at full strength.
TEST_P(SoundShowTest, NothingThatTheBackgroundDoesClicks) {
    MakeShow(25);
    STEPS steps;
    Watch(steps);
    ASSERT_EQ(Add(u"b", Source(25, 48000, 1, false, Level(0)).Get()), S_OK);
    pMixer->ObjectStart(nullptr);
    const auto pPlay = pMixer.As<IZrFile>();
    const auto Play = [&](const char* _szWhat, bool _bHeard, const std::function<void()>& _do) {
        SCOPED_TRACE(_szWhat);
        _do();
        SleepFor(kTicksPerSecond / 2);
        EXPECT_LE(steps.nLargest, kLargestStep);
        if (_bHeard) {
            EXPECT_GT(std::abs(steps.arrLast[0]), kLevel / 2);
        }
        steps.nLargest = 0;
    };
    Play("begins", true, [&] { Background(Source(25, 48000, 0, false, Level(kLevel)).Get()); });
    Play("is replaced", true, [&] { Background(Source(25, 48000, 0, false, Level(-kLevel)).Get()); });
    Play("is replaced by one of another rate", true,
         [&] { Background(Source(25, 44100, 0, false, Level(kLevel)).Get()); });
    Play("pauses", false, [&] { pPlay->FilePlayPause(0); });
    Play("goes on", true, [&] { pPlay->FilePlayStart(); });
    Play("ends", false, [&] { pStreams->StreamsBackgroundSet(nullptr, nullptr, nullptr, nullptr, 0); });
    Play("begins again", true, [&] { Background(Source(25, 48000, 0, false, Level(kLevel)).Get()); });
    pMixer->ObjectClose();
}

// A source of another rate stalls and comes back.
TEST_P(SoundShowTest, AStallDoesNotClick) {
    MakeShow(25);
    STEPS steps;
    Watch(steps);
    ASSERT_EQ(Add(u"d", Source(25, 48000, 3, false, Level(0)).Get()), S_OK);
    const auto p = Source(25, 44100, 0, true, Level(kLevel));
    ASSERT_EQ(Add(u"a", p.Get()), S_OK);
    pMixer->ObjectStart(nullptr);
    for (int n = 0; n < 20; ++n) {
        p->bStalls = n % 2;
        SleepFor((n % 2 ? 70 + 30 * n : 600) * kTicksPerMs);
    }
    pMixer->ObjectClose();
    EXPECT_LE(steps.nLargest, kLargestStep);
    EXPECT_GT(steps.nHeard, kRate);
}

// The formats of a stream and of the output, the way through the tracks, and the end of all streams, with the sound at
// full strength and without a sample that is missing.
TEST_P(SoundShowTest, NothingThatChangesOnAirClicks) {
    MakeShow(25);
    STEPS steps;
    Watch(steps);
    const auto pFormat = std::make_shared<std::atomic<int32_t>>(kChannels * 100'000 + kRate);
    const auto p = PacedSource::Make(SmallPicture(25), false);
    p->Furnish = [pFormat](int64_t, IZrFFrame& _frame) {
        const int32_t n = pFormat->load();
        const ZR_AUD_PROPS props{n / 100'000, n % 100'000, 16, 0};
        std::vector<int16_t> sound(static_cast<size_t>(props.nSamplesPerSec / 25 * props.nChannels));
        for (size_t i = 0; i < sound.size(); i += static_cast<size_t>(props.nChannels)) sound[i] = kLevel;
        _frame.ZrFAudioSet(&props, static_cast<int32_t>(2 * sound.size()), reinterpret_cast<int64_t>(sound.data()));
    };
    ZrPtr<IZrItem> pItem;
    ZrPtr<IZrAudioTrack> pTrack, pOut;
    ASSERT_EQ(Add(u"a", p.Get(), &pItem), S_OK);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond / 2);
    const auto Change = [&](const char* _szWhat, int _nLevel, const std::function<void()>& _do) {
        SCOPED_TRACE(_szWhat);
        const int64_t nMissing = Counter(u"audio.a.not_enough") + Counter(u"audio.a.silence");
        steps.nLargest = 0;
        _do();
        SleepFor(kTicksPerSecond / 2);
        // What waits of other channels is smoothed on both sides, so that ramps add up.
        EXPECT_LE(steps.nLargest, kLargestStep * 3 / 2);
        EXPECT_NEAR(steps.arrLast[0], _nLevel, _nLevel / 20);
        EXPECT_LE(Counter(u"audio.a.not_enough") + Counter(u"audio.a.silence"), nMissing);
    };
    const auto Source = [&](int32_t _nChannels, int32_t _nRate) { pFormat->store(_nChannels * 100'000 + _nRate); };
    const auto Output = [&](int32_t _nRate) {
        const ZR_AUD_PROPS audio{kChannels, _nRate, 16, 0};
        pMixer.As<IZrFormat>()->FormatAudioSet(eZrFT_Convert, &audio);
    };
    Change("one channel", kLevel, [&] { Source(1, 48000); });
    Change("six channels", kLevel, [&] { Source(6, 48000); });
    Change("two channels of another rate", kLevel, [&] { Source(2, 44100); });
    Change("a lower rate", kLevel, [&] { Source(2, 8000); });
    Change("a higher rate", kLevel, [&] { Source(2, 96000); });
    Change("the rate of the output", kLevel, [&] { Source(2, 48000); });
    Change("an output of another rate", kLevel, [&] { Output(44100); });
    Change("and back", kLevel, [&] { Output(48000); });
    Change("other channels", 0, [&] { pProps->PropsSet(u"object::a.audio_channels", u"1,1"); });
    Change("all channels", kLevel, [&] { pProps->PropsSet(u"object::a.audio_channels", u""); });
    Change("other channels of the output", 0, [&] { pProps->PropsSet(u"object::audio_channels", u"1,1"); });
    Change("another number of them", kLevel, [&] { pProps->PropsSet(u"object::audio_channels", u"0"); });
    Change("all of them", kLevel, [&] { pProps->PropsRemove(u"object::audio_channels"); });
    ASSERT_EQ(pItem.As<IZrAudio>()->AudioTrackGetByIndex(0, nullptr, pTrack.Out()), S_OK);
    Change("a track switched off", 0, [&] { pTrack->TrackModeSet(eZrAT_Disabled, 0, 0); });
    Change("on", kLevel, [&] { pTrack->TrackModeSet(eZrAT_Enabled, 0, 0); });
    Change("another order of the stream", 0, [&] { pTrack->TrackChannelOrderSet(1, 0, 1); });
    Change("its own order", kLevel, [&] { pTrack->TrackChannelOrderSet(1, 0, 0); });
    ASSERT_EQ(pMixer.As<IZrAudio>()->AudioTrackGetByIndex(0, nullptr, pOut.Out()), S_OK);
    Change("another order of the output", 0, [&] { pOut->TrackChannelOrderSet(1, 0, 1); });
    Change("its own", kLevel, [&] { pOut->TrackChannelOrderSet(1, 0, 0); });
    pOut->TrackMuteSet(-1, 1, 0.1);
    SleepFor(kTicksPerSecond / 2);
    Change("past the muted track", kLevel, [&] { pProps->PropsSet(u"object::izraudio.enabled", u"false"); });
    Change("through it", 0, [&] { pProps->PropsSet(u"object::izraudio.enabled", u"true"); });
    pOut->TrackMuteSet(-1, 0, 0.1);
    const auto pKeys = pOut.As<IZrProps>();
    pKeys->PropsSet(u"compressor::threshold_db", u"-40");
    pKeys->PropsSet(u"compressor::ratio", u"20");
    Change("compressed", 277, [&] { pKeys->PropsSet(u"compressor::enabled", u"true"); });
    Change("not compressed", kLevel, [&] { pKeys->PropsSet(u"compressor::enabled", u"false"); });
    const int64_t nFrames = steps.nFrames;
    Change("the last stream goes", 0, [&] { Remove(u"a"); });
    EXPECT_LE(steps.nFrames, nFrames + (GetParam() ? 3 : 100));
    pMixer->ObjectClose();
}

// Frames that are left out, as something in them appears that is not ready, take their sound along.
TEST_P(SoundShowTest, SkippedFramesLeaveSoundAndPictureTogether) {
    MakeShow(25);
    pProps->PropsSet(u"object::output.skip_if_not_ready", u"true");
    ASSERT_EQ(Add(u"a", Source(25, 48000, 0, false, Count).Get()), S_OK);
    ASSERT_EQ(Add(u"b", Source(25, 48000, 1, false, Level(0)).Get()), S_OK);
    int64_t nPicture = 0, nBreaks = 0;
    int nLuma = 0;
    std::vector<int64_t> arrOffsets;
    pChecker->Check = [&](const int16_t* _p, int64_t _n, const ZRF_FRAME_INFO& _info) {
        const int nNow = *(reinterpret_cast<const uint8_t*>(_info.lpVideo) + 18 * 128 + 2 * 20 + 1);
        nPicture += (nNow - nLuma + 200) % 200;
        nLuma = nNow;
        nBreaks += (_info.mTime.eFFlags & eZrFF_Break) != 0;
        if (_n > 0)
            arrOffsets.push_back((_p[(_n - 1) * kChannels] - nPicture * 1920 % kPeriod + 2 * kPeriod) % kPeriod);
    };
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    const int64_t nOffset = arrOffsets.back(), nBreaksBefore = nBreaks;
    ZrPtr<IZrElements> pScene;
    ZrPtr<IZrElement> pForeground, pVideo;
    ASSERT_EQ(pMixer.As<IZrScenes>()->ScenesActiveGet(nullptr, nullptr, pScene.Out()), S_OK);
    ASSERT_EQ(pScene->ElementsGetByID(u"foreground", pForeground.Out()), S_OK);
    ASSERT_EQ(pForeground.As<IZrElements>()->ElementsGetByID(u"b", pVideo.Out()), S_OK);
    for (int i = 0; i < 10; ++i) {
        pVideo->ElementDoubleSet(u"show", i % 2, 0.1);
        SleepFor(kTicksPerSecond / 2);
    }
    pMixer->ObjectClose();
    EXPECT_GE(nBreaks - nBreaksBefore, 5);
    EXPECT_EQ(arrOffsets.back(), nOffset);
}

// Fifty frames a second in an output of 25: sound and picture stay together to the sample, whether every other frame is
// left out or two are woven.
TEST_P(PushedSoundTest, FieldsLeaveSoundAndPictureTogether) {
    int64_t arrOffsets[2] = {};
    for (const bool bFields : {false, true}) {
        MakeShow(25);
        ZR_VID_PROPS props = SmallPicture(25);
        if (bFields) props.eInterlace = eZrI_Field1First;
        ASSERT_EQ(pMixer.As<IZrFormat>()->FormatVideoSet(eZrFT_Convert, &props), S_OK);
        Add(u"a", Source(50, kRate, 0, false, Count).Get());
        int64_t nFrames = 0, nWrong = 0, nMoved = 0, nPicture = 0, nSample = 0;
        int nLumaBefore = 0;
        pChecker->Check = [&](const int16_t* _p, int64_t _n, const ZRF_FRAME_INFO& _info) {
            const auto* const pb = reinterpret_cast<const uint8_t*>(_info.lpVideo) + 18 * 128 + 2 * 20 + 1;
            const bool bSettled = ++nFrames > 10;
            nWrong += bSettled && (pb[128] != pb[0] + bFields || _p[0] != (nSample + 1920) % kPeriod + 1);
            nSample = _p[0] - 1;
            nPicture += (*pb - nLumaBefore + 200) % 200;
            nLumaBefore = *pb;
            const int64_t nOffset = ((nSample - nPicture * 960) % kPeriod + kPeriod) % kPeriod;
            nMoved += bSettled && nOffset != arrOffsets[bFields];
            arrOffsets[bFields] = nOffset;
            EXPECT_EQ(_n, 1920);
        };
        pMixer->ObjectStart(nullptr);
        SleepFor(10 * kTicksPerSecond);
        pMixer->ObjectClose();
        EXPECT_NEAR(static_cast<double>(nFrames), 250, 4);
        EXPECT_EQ(nWrong, 0) << bFields;
        EXPECT_EQ(nMoved, 0) << bFields;
    }
    constexpr int64_t kTogether = kPeriod - 20 * 960;  // luma counts from 20
    EXPECT_NEAR(static_cast<double>(arrOffsets[0]), kTogether - 960, 4);
    EXPECT_NEAR(static_cast<double>(arrOffsets[1]), kTogether, 4);
}

INSTANTIATE_TEST_SUITE_P(Async, PushedSoundTest, ::testing::Values(false));

INSTANTIATE_TEST_SUITE_P(BothWays, SoundShowTest, ::testing::Bool(),
                         [](const auto& _info) { return _info.param ? "Sync" : "Async"; });

}  // namespace
}  // namespace zr
