// What is heard of a mixer: streams of several tracks, their keys, the tracks of the output.

#include <atomic>
#include <cmath>
#include <random>

#include "mixer_fixture.h"
#include "platform/thread.h"
#include "support/stress.h"
#include "zr/audio.h"
#include "zr/utf8.h"

namespace zr {
namespace {

using Levels = std::vector<int>;

// Sound alone, of sources whose channels each have one level, so that a level says where it comes from.
class SoundTest : public MixerTest, public ::testing::WithParamInterface<bool> {
protected:
    // A track of 2 channels and one of 4.
    void MakeSound() {
        Make(25, true);
        pProps->PropsSet(u"object::sync_mode", GetParam() ? u"true" : u"false");
        pProps->PropsSet(u"object::background", u"");
        pStreams = pMixer.As<IZrStreams>();
        pStreams->StreamsBackgroundSet(nullptr, nullptr, nullptr, nullptr, 0);
        ZR_VID_PROPS none{};
        none.eVideoFormat = eZrVF_Disabled;
        none.dblRate = 25;
        pMixer.As<IZrFormat>()->FormatVideoSet(eZrFT_Convert, &none);
        const ZR_AUD_PROPS props{6, 48000, 16, 0x22};
        ASSERT_EQ(pMixer.As<IZrFormat>()->FormatAudioSet(eZrFT_Convert, &props), S_OK);
        // One track; one of two channels and one of one.
        pA = Add(u"a", ScriptedSource::Make({}, 1920, {1000, 2000}).Get());
        pB = Add(u"b", ScriptedSource::Make({}, 1920, {100, 200, 300}, 0x6).Get());
    }
    ZrPtr<IZrItem> Add(const char16_t* _szId, IUnknown* _pSource) {
        ZrPtr<IZrItem> pItem;
        EXPECT_EQ(pStreams->StreamsAdd(_szId, _pSource, nullptr, nullptr, pItem.Out(), 0), S_OK);
        return pItem;
    }
    // The levels of the last sample when all that was on its way has settled.
    Levels Heard() {
        SleepFor(kTicksPerSecond);
        const auto arrFrames = pCollector->Frames();
        Levels arr;
        ZRF_FRAME_INFO info;
        if (arrFrames.empty() || Failed(arrFrames.back().pFrame->ZrFAllGet(&info)) || info.lAudioSamples == 0)
            return arr;
        const auto* const p = reinterpret_cast<const int16_t*>(info.lpAudio);
        const auto nChannels = static_cast<size_t>(info.avProps.audProps.nChannels);
        for (size_t c = 0; c < nChannels; ++c)
            arr.push_back(p[static_cast<size_t>(info.lAudioSamples - 1) * nChannels + c]);
        return arr;
    }
    HRESULT Command(const char16_t* _szCommand, const char16_t* _szParam) {
        return pMixer->ObjectCommandExecute(_szCommand, _szParam, nullptr, nullptr);
    }

    ZrPtr<IZrStreams> pStreams;
    ZrPtr<IZrItem> pA, pB;
};

TEST_P(SoundTest, TrackGoesToTrack) {
    MakeSound();
    pMixer->ObjectStart(nullptr);
    // The track of one channel is repeated on the four of the second track; the first stream has no second track.
    EXPECT_EQ(Heard(), (Levels{1100, 2200, 300, 300, 300, 300}));
    // Keys of a stream: on the item, on the mixer under its name, for one track, and one that names another key.
    const auto pPropsB = pB.As<IZrProps>();
    pPropsB->PropsSet(u"audio_gain", u"6.0206");
    EXPECT_EQ(Heard(), (Levels{1200, 2400, 300, 300, 300, 300})) << "one number is for the first track";
    pPropsB->PropsSet(u"audio_gain.1", u"-6.0206");
    pProps->PropsSet(u"object::a.audio_channels", u"1, 0");
    EXPECT_EQ(Heard(), (Levels{2200, 1400, 150, 150, 150, 150}));
    pPropsB->PropsSet(u"loud", u"20, 20");
    pPropsB->PropsSet(u"audio_gain", u"loud");
    pPropsB->PropsRemove(u"audio_gain.1");
    EXPECT_EQ(Heard(), (Levels{3000, 3000, 3000, 3000, 3000, 3000}));
    pPropsB->PropsSet(u"audio_gain", u"");
    pProps->PropsSet(u"object::a.audio_channels", u"");
    EXPECT_EQ(Heard(), (Levels{1100, 2200, 300, 300, 300, 300}));
    // The tracks of one place.
    const auto pAudio = pA.As<IZrAudio>();
    ZrPtr<IZrAudioTrack> pTrack;
    ASSERT_TRUE(pAudio);
    ASSERT_EQ(pAudio->AudioTrackGetByIndex(0, nullptr, pTrack.Out()), S_OK);
    pTrack->TrackMuteSet(1, 1, 0.2);
    EXPECT_EQ(Heard(), (Levels{1100, 200, 300, 300, 300, 300}));
    ZR_AUDIO_TRACK_LOUDNESS in, out;
    pTrack->TrackLoudnessGet(&in, &out);
    EXPECT_EQ(in.nValidChannels, 2);
    EXPECT_NEAR(in.arrRMS[1], 20 * std::log10(2000.0 / 32767) + 3.01, 0.01);
    EXPECT_TRUE(std::isinf(out.arrRMS[1]));
}

TEST_P(SoundTest, OutputTracksAreCommandedSavedAndLoaded) {
    MakeSound();
    pMixer->ObjectStart(nullptr);
    EXPECT_EQ(Heard(), (Levels{1100, 2200, 300, 300, 300, 300}));
    EXPECT_EQ(Command(u"audio", u"gain=-20 track=1 channel=0 ramp=0.3"), S_OK);
    EXPECT_EQ(Command(u"audio gain=20 track=1 channel=1", u""), S_OK);
    EXPECT_EQ(Command(u"mute", u"track=0 channel=0"), S_OK);
    EXPECT_EQ(Heard(), (Levels{0, 2200, 30, 3000, 300, 300}));
    EXPECT_EQ(Command(u"mute", u"false"), S_OK);
    EXPECT_EQ(Command(u"audio-track", u"track=1 mode=disabled-addto add-to=0 add-gain=0"), S_OK);
    for (const char16_t* const sz : {u"gain=-6 track=1e99", u"gain=-6 track=-1e99", u"gain=-6 channel=1e99"})
        EXPECT_EQ(Command(u"audio", sz), ZR_E_BAD_INDEX) << ToUtf8(sz);
    EXPECT_EQ(Heard(), (Levels{1130, 5200}));
    EXPECT_EQ(Command(u"gain", u"-20"), S_OK);
    EXPECT_EQ(Command(u"gain", u"track=7"), ZR_E_BAD_INDEX);
    EXPECT_EQ(Command(u"audio-track", u"track=0 mode=louder"), E_INVALIDARG);
    const Levels arrKept = Heard();
    EXPECT_EQ(arrKept, (Levels{140, 250}));

    BSTR bs = nullptr;
    ASSERT_EQ(pMixer.As<IZrPersist>()->PersistSaveToString(nullptr, &bs, nullptr), S_OK);
    EXPECT_EQ(Command(u"audio-track", u"track=1 mode=enabled"), S_OK);
    EXPECT_EQ(Command(u"gain", u"0"), S_OK);
    EXPECT_EQ(Heard(), (Levels{1100, 2200, 300, 300, 300, 300}));
    const std::u16string xml = bs;
    SysFreeString(bs);
    const size_t nAudio = xml.find(u"<audio"), nEnd = xml.find(u"</audio>");
    ASSERT_NE(nEnd, xml.npos);
    const std::u16string tracks = u"<zr_config>" + xml.substr(nAudio, nEnd + 8 - nAudio) + u"</zr_config>";
    ASSERT_EQ(pMixer.As<IZrPersist>()->PersistLoad(nullptr, tracks.c_str(), nullptr), S_OK);
    EXPECT_EQ(Heard(), arrKept);

    // The frame says what came in and what went out.
    ZR_AV_PROPS props;
    pCollector->Frames().back().pFrame->ZrFAVPropsGet(&props, nullptr);
    EXPECT_EQ(props.ancData.audOriginal.nValidChannels, 6);
    EXPECT_EQ(props.ancData.audOutput.nValidChannels, 2);
    EXPECT_NEAR(props.ancData.audOriginal.arrRMS[1], 20 * std::log10(2200.0 / 32767) + 3.01, 0.01);
    EXPECT_NEAR(props.ancData.audOutput.arrRMS[1], 20 * std::log10(250.0 / 32767) + 3.01, 0.01);
    // Channels of a choice are no tracks.
    pProps->PropsSet(u"object::audio_channels", u"1,0,1");
    EXPECT_EQ(Heard(), (Levels{arrKept[1], arrKept[0], arrKept[1]}));
    pCollector->Frames().back().pFrame->ZrFAVPropsGet(&props, nullptr);
    EXPECT_EQ(props.audProps.nTrackSplitBits, 0);
    pProps->PropsRemove(u"object::audio_channels");
    // Without the engine the mix goes out as it is.
    pProps->PropsSet(u"object::izraudio.enabled", u"false");
    pProps->PropsSet(u"object::audio_gain", u"-20");
    EXPECT_EQ(Heard(), (Levels{110, 220, 30, 30, 30, 30}));
}

// Hosts route the output and a stream anew, and streams come and go, while the mix runs. When they are through and all
// is set back, it sounds as before.
TEST_P(SoundTest, TracksAreReroutedDuringTheMix) {
    MakeSound();
    pMixer->ObjectStart(nullptr);
    const Levels arrBefore = Heard();
    const auto pOfOutput = pMixer.As<IZrAudio>(), pOfA = pA.As<IZrAudio>();
    std::atomic<int> nAdded{0}, nNotRemoved{0};
    const auto Route = [&](IZrAudio& _audio, unsigned _nSeed) {
        std::mt19937 random(_nSeed);
        const auto Roll = [&](int _n) { return static_cast<int>(random() % static_cast<unsigned>(_n)); };
        std::vector<ZrPtr<IZrAudioTrack>> arrAdded;
        const auto RemoveLast = [&] {
            nNotRemoved += _audio.AudioTrackRemove(arrAdded.back().Get()) != S_OK;
            arrAdded.pop_back();
        };
        const std::u16string own(1, static_cast<char16_t>(u'k' + _nSeed));
        for (int n = 0; n < StressRounds(4000); ++n) {
            ZrPtr<IZrAudioTrack> pTrack;
            if (Failed(_audio.AudioTrackGetByIndex(Roll(4), nullptr, pTrack.Out())) || Roll(8) == 0)
                SleepFor(Roll(20) * kTicksPerMs);
            if (!pTrack) continue;
            switch (Roll(12)) {
                case 0:
                    if (arrAdded.size() < 4 &&
                        Succeeded(_audio.AudioTrackAdd(Roll(3), Roll(2) ? u"1,0" : nullptr, nullptr, pTrack.Out()))) {
                        arrAdded.push_back(pTrack);
                        ++nAdded;
                    }
                    break;
                case 1:
                    if (!arrAdded.empty()) RemoveLast();
                    break;
                case 2:
                case 3: pTrack->TrackModeSet(static_cast<eZrAudioTrackMode>(Roll(6)), Roll(5), -Roll(20)); break;
                case 4: pTrack->TrackOrderSet(Roll(4)); break;
                case 5: pTrack->TrackChannelOrderSet(Roll(2), Roll(4), Roll(4)); break;
                case 6: pTrack->TrackGainSet(Roll(5) - 1, -Roll(20), Roll(3) * 0.05); break;
                case 7: pTrack->TrackMuteSet(Roll(5) - 1, Roll(2), Roll(3) * 0.05); break;
                case 8: pTrack->TrackChannelsSet(Roll(5)); break;
                case 9: _audio.AudioSplitStringSet(Roll(2) ? u"1,1" : nullptr); break;
                case 10:
                    if (ZR_AUDIO_TRACK_LOUDNESS in, out; Roll(2))
                        pTrack->TrackLoudnessGet(&in, &out);
                    else if (BSTR bs = nullptr;
                             pMixer.As<IZrPersist>()->PersistSaveToString(nullptr, &bs, nullptr) == S_OK)
                        SysFreeString(bs);
                    break;
                default:
                    if (ZrPtr<IZrItem> pOwn; pStreams->StreamsGet(own.c_str(), nullptr, pOwn.Out()) == S_OK)
                        pStreams->StreamsRemove(pOwn.Get(), 0);
                    else
                        Add(own.c_str(), ScriptedSource::Make({}, 1920, {1, 2, 3, 4}, Roll(2) ? 0x2 : 0).Get());
                    break;
            }
        }
        while (!arrAdded.empty()) RemoveLast();
    };
    Thread arrThreads[4];
    for (unsigned i = 0; i < 4; ++i)
        arrThreads[i].Start("routes", [&, i](ManualEvent&) { Route(i % 2 ? *pOfA : *pOfOutput, i); });
    for (Thread& thread : arrThreads) thread.Join();
    EXPECT_EQ(nNotRemoved, 0);
    EXPECT_GT(nAdded, 20);
    for (char16_t c = u'k'; c < u'k' + 4; ++c) {
        ZrPtr<IZrItem> pItem;
        if (pStreams->StreamsGet(std::u16string(1, c).c_str(), nullptr, pItem.Out()) == S_OK)
            pStreams->StreamsRemove(pItem.Get(), 0);
    }
    for (const auto& pAudio : {pOfOutput, pOfA}) {
        pAudio->AudioSplitStringSet(nullptr);
        ZrPtr<IZrAudioTrack> pTrack;
        for (int32_t i = 0; pAudio->AudioTrackGetByIndex(i, nullptr, pTrack.Out()) == S_OK; ++i) {
            pTrack->TrackModeSet(eZrAT_Enabled, 0, 0);
            pTrack->TrackOrderSet(i);
            pTrack->TrackChannelsSet(0);
            pTrack->TrackMuteSet(-1, 0, 0);
            pTrack->TrackGainSet(-1, 0, 0);
            for (int32_t c = 0; c < 4; ++c)
                for (const int32_t bInput : {0, 1}) pTrack->TrackChannelOrderSet(bInput, c, c);
        }
    }
    EXPECT_EQ(Heard(), arrBefore);
    const auto arrFrames = pCollector->Frames();
    for (size_t i = 1; i < arrFrames.size(); ++i) {
        ASSERT_EQ(arrFrames[i].time.rtStartTime, arrFrames[i - 1].time.rtEndTime) << i;
        const int32_t n = arrFrames[i].nSamples;
        ASSERT_TRUE(n == 0 || n == 1601 || n == 1602) << n << " in " << i;  // none when no track goes out
    }
}

// As those of a stream.
TEST_P(SoundTest, TheBackgroundHasTracksToo) {
    MakeSound();
    for (const char16_t* const sz : {u"a", u"b"}) {
        ZrPtr<IZrItem> pGone;
        pStreams->StreamsGet(sz, nullptr, pGone.Out());
        pStreams->StreamsRemove(pGone.Get(), 0);
    }
    ZrPtr<IZrItem> pItem;
    ASSERT_EQ(pStreams->StreamsBackgroundSet(ScriptedSource::Make({}, 1920, {1000, 2000, 4000}, 0x6).Get(), nullptr,
                                             nullptr, pItem.Out(), 0),
              S_OK);
    pMixer->ObjectStart(nullptr);
    // Fewer channels than the output has come again in turn.
    EXPECT_EQ(Heard(), (Levels{1000, 2000, 4000, 1000, 2000, 4000}));
    ZrPtr<IZrAudioTrack> pTrack;
    ASSERT_EQ(pItem.As<IZrAudio>()->AudioTrackGetByIndex(0, nullptr, pTrack.Out()), S_OK);
    pTrack->TrackGainSet(0, -6.0205999132796239, 0);
    EXPECT_EQ(Heard(), (Levels{500, 2000, 4000, 500, 2000, 4000}));
    pTrack->TrackMuteSet(-1, 1, 0.1);
    EXPECT_EQ(Heard(), (Levels{0, 0, 4000, 0, 0, 4000}));
    pTrack->TrackMuteSet(-1, 0, 0);
    pItem.As<IZrProps>()->PropsSet(u"audio_channels", u"2,1,0");
    EXPECT_EQ(Heard(), (Levels{2000, 2000, 1000, 2000, 2000, 1000}));
    pMixer->ObjectClose();
}

INSTANTIATE_TEST_SUITE_P(Ways, SoundTest, ::testing::Bool(),
                         [](const auto& _info) { return _info.param ? "Sync" : "Async"; });

}  // namespace
}  // namespace zr
