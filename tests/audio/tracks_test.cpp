#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <numbers>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

#include "attributes/co_xml_node.h"
#include "audio/audio_tracks.h"
#include "platform/clock.h"
#include "support/allocation_count.h"
#include "zr/utf8.h"

namespace zr {
namespace {

using TrackPtr = ZrPtr<IZrAudioTrack>;

// Blocks of a sound that is told from channel and sample alone.
struct Show {
    explicit Show(int32_t _nChannels, int32_t _nBits = -32, int32_t _nSplit = 0)
        : props{_nChannels, 48000, _nBits, _nSplit} {}

    // The next block through the tracks, as numbers of full scale 1 (16-bit: as they are), channel by channel.
    std::vector<std::vector<double>> Next(int64_t _nSamples) {
        const auto nChannels = static_cast<size_t>(props.nChannels);
        arrBytes.resize(static_cast<size_t>(AudBlockBytes(props) * _nSamples));
        for (size_t i = 0; i < static_cast<size_t>(_nSamples); ++i)
            for (size_t c = 0; c < nChannels; ++c) Put(i * nChannels + c, Source(static_cast<int64_t>(i) + nAt, c));
        nAt += _nSamples;
        block = {props, arrBytes.data(), _nSamples};
        tracks.Process(&block);
        std::vector<std::vector<double>> arrOut(block.p ? static_cast<size_t>(block.props.nChannels) : 0);
        for (size_t c = 0; c < arrOut.size(); ++c)
            for (size_t i = 0; i < static_cast<size_t>(block.nSamples); ++i)
                arrOut[c].push_back(Get(i * arrOut.size() + c));
        return arrOut;
    }
    double Source(int64_t _nSample, size_t _nChannel) const {
        if (Wave) return Wave(_nSample, _nChannel);
        return static_cast<double>((_nSample * 37 + static_cast<int64_t>(_nChannel) * 1009) % 2000 - 1000) *
               (props.nBitsPerSample == 16 ? 16 : 0x1p-11);
    }
    bool IsInPlace() const { return block.p == arrBytes.data(); }
    TrackPtr Track(int32_t _nIndex) {
        TrackPtr p;
        EXPECT_EQ(tracks.AudioTrackGetByIndex_I(_nIndex, nullptr, p.Out()), S_OK) << _nIndex;
        return p;
    }

    ZR_AUD_PROPS props;
    AudioTracks tracks{AudioTracks::Levels::kAlways};
    std::function<double(int64_t, size_t)> Wave;
    SOUND_BLOCK block;
    int64_t nAt = 0;

private:
    void Put(size_t _i, double _dbl) {
        const auto f = static_cast<float>(_dbl);
        const auto n = static_cast<int16_t>(_dbl);
        if (props.nBitsPerSample == 16)
            std::memcpy(arrBytes.data() + _i * 2, &n, 2);
        else
            std::memcpy(arrBytes.data() + _i * 4, &f, 4);
    }
    double Get(size_t _i) const {
        float f;
        int16_t n;
        if (props.nBitsPerSample == 16) {
            std::memcpy(&n, block.p + _i * 2, 2);
            return n;
        }
        std::memcpy(&f, block.p + _i * 4, 4);
        return f;
    }
    std::vector<uint8_t> arrBytes;
};

TEST(TrackGain, RampsAsTheFormulasSay) {
    struct STEP {
        int nBlock;  // before which it is done
        enum { kGain, kMute, kOpen } eWhat;
        double dblDb, dblSeconds;
    };
    const double dblHalf = 20 * std::log10(0.5);
    // nSamples: of a block; arrGains: at the begin of each block
    const std::tuple<const char*, int32_t, std::vector<STEP>, std::vector<double>> arrCases[] = {
        {"at_once", 800, {{0, STEP::kGain, -6, 0}}, {0.5011872336272722, 0.5011872336272722}},
        {"minus_60_is_heard", 800, {{0, STEP::kGain, -60, -1}}, {0.001, 0.001}},
        // 4800 samples: the sixth block lands.
        {"six_blocks", 800, {{0, STEP::kGain, dblHalf, 0.1}}, {1, 11. / 12, 10. / 12, 9. / 12, 8. / 12, 7. / 12, 0.5}},
        // 4800 samples in blocks of 1000: the last one is stretched.
        {"lands_at_the_end",
         1000,
         {{0, STEP::kGain, dblHalf, 0.1}},
         {1, 1 - 5. / 48, 1 - 10. / 48, 1 - 15. / 48, 1 - 20. / 48, 0.5}},
        {"turned_on_the_way",
         800,
         {{0, STEP::kGain, dblHalf, 0.1}, {3, STEP::kGain, 0, 0.05}},
         {1, 11. / 12, 10. / 12, 9. / 12, 10. / 12, 11. / 12, 1, 1}},
        {"muted_gain_waits",
         800,
         {{0, STEP::kMute, 0, 0}, {1, STEP::kGain, dblHalf, 0}, {3, STEP::kOpen, 0, 1. / 30}},
         {0, 0, 0, 0, 0.25, 0.5, 0.5}},
        {"less_than_a_sample", 800, {{0, STEP::kGain, dblHalf, 1e-6}}, {0.5, 0.5}},
    };
    for (const auto& [szName, nSamples, arrSteps, arrGains] : arrCases) {
        SCOPED_TRACE(szName);
        Show show(2);
        show.Wave = [](int64_t, size_t) { return 1.0; };
        show.tracks.AudioTracksSetCount_I(1);
        const TrackPtr pTrack = show.Track(0);
        for (size_t b = 0; b + 1 < arrGains.size(); ++b) {
            for (const STEP& step : arrSteps) {
                if (step.nBlock != static_cast<int>(b)) continue;
                const HRESULT hr = step.eWhat == STEP::kGain
                                       ? pTrack->TrackGainSet(0, step.dblDb, step.dblSeconds)
                                       : pTrack->TrackMuteSet(0, step.eWhat == STEP::kMute, step.dblSeconds);
                EXPECT_EQ(hr, S_OK);
            }
            const auto arrOut = show.Next(nSamples);
            for (size_t i = 0; i < arrOut[0].size(); ++i) {
                const double dblAt = static_cast<double>(i) / nSamples;
                EXPECT_NEAR(arrOut[0][i], arrGains[b] + (arrGains[b + 1] - arrGains[b]) * dblAt, 1e-7) << b << i;
                ASSERT_EQ(arrOut[1][i], 1.0f) << "the other channel";
            }
        }
        EXPECT_EQ(show.Next(5)[0][0], static_cast<float>(arrGains.back())) << "landed exactly";
    }
}

// One track of a configuration, as the slow twin computes it.
struct TRACK {
    std::vector<int> arrFrom;  // channels of the input
    eZrAudioTrackMode eMode = eZrAT_Enabled;
    int nAddTo = -1;
    double dblAddDb = 0;
    double dblDb = 0;
    int nMuted = -1;
};

// Tracks that go out, one after the other, of the whole input.
std::vector<std::vector<double>> SlowMix(const Show& _show, const std::vector<TRACK>& _arr, int64_t _nFrom, int64_t _n,
                                         const std::vector<size_t>& _arrOut) {
    const auto Full = [&](double _dbl) {
        return _show.props.nBitsPerSample == 16 ? std::clamp(std::nearbyint(_dbl), -32768., 32767.) : _dbl;
    };
    const auto Gained = [&](double _dbl, double _dblDb) {
        return Full(static_cast<double>(static_cast<float>(_dbl) * static_cast<float>(std::pow(10.0, _dblDb / 20))));
    };
    std::vector<std::vector<std::vector<double>>> arrTracks;
    for (const TRACK& track : _arr) {
        auto& rows = arrTracks.emplace_back();
        for (size_t c = 0; c < track.arrFrom.size(); ++c) {
            auto& row = rows.emplace_back();
            for (int64_t i = _nFrom; i < _nFrom + _n; ++i) {
                const double dbl = _show.Source(i, static_cast<size_t>(track.arrFrom[c]));
                row.push_back(static_cast<int>(c) == track.nMuted ? 0 : Gained(dbl, track.dblDb));
            }
        }
    }
    for (size_t t = 0; t < _arr.size(); ++t) {
        if (_arr[t].nAddTo < 0) continue;
        auto& to = arrTracks[static_cast<size_t>(_arr[t].nAddTo)];
        for (size_t c = 0; c < std::min(to.size(), arrTracks[t].size()); ++c)
            for (size_t i = 0; i < to[c].size(); ++i) {
                const double dbl = to[c][i] + Gained(arrTracks[t][c][i], _arr[t].dblAddDb);
                to[c][i] = _show.props.nBitsPerSample == 16 ? Full(dbl) : std::clamp(dbl, -1., 1.);
            }
    }
    std::vector<std::vector<double>> arrOut;
    for (const size_t t : _arrOut) arrOut.insert(arrOut.end(), arrTracks[t].begin(), arrTracks[t].end());
    return arrOut;
}

TEST(TrackModes, WhatGoesOut) {
    const std::vector<int> arrA{0, 1}, arrB{2, 3, 4, 5, 6, 7}, arrC{8};
    // nSplit: of what goes out
    const std::tuple<const char*, std::vector<TRACK>, std::vector<size_t>, int32_t> arrCases[] = {
        {"all", {{arrA}, {arrB}, {arrC}}, {0, 1, 2}, 0x182},
        {"gains_and_mutes",
         {{arrA, eZrAT_Enabled, -1, 0, -6}, {arrB, eZrAT_Enabled, -1, 0, 12, 3}, {arrC, eZrAT_Enabled, -1, 0, 0, 0}},
         {0, 1, 2},
         0x182},
        {"one_disabled", {{arrA}, {arrB, eZrAT_Disabled}, {arrC}}, {0, 2}, 0x6},
        {"exclusive", {{arrA}, {arrB, eZrAT_Exclusive}, {arrC}}, {1}, 0x20},
        {"stereo_into_surround", {{arrA, eZrAT_Disabled_AddTo, 1, -6}, {arrB}, {arrC}}, {1, 2}, 0x60},
        {"surround_into_stereo_and_out", {{arrA}, {arrB, eZrAT_Enabled_AddTo, 0, 3, -3}, {arrC}}, {0, 1, 2}, 0x182},
        {"into_one_another",
         {{arrA, eZrAT_Enabled_AddTo, 2, 0}, {arrB}, {arrC, eZrAT_Disabled_AddTo, 1, -12}},
         {0, 1},
         0x82},
        {"none", {{arrA, eZrAT_Disabled}, {arrB, eZrAT_Disabled}, {arrC, eZrAT_Disabled}}, {}, 0},
    };
    for (const auto& [szName, arrTracks, arrOut, nSplit] : arrCases) {
        for (const int32_t nBits : {16, -32}) {
            SCOPED_TRACE(std::string(szName) + " " + std::to_string(nBits));
            Show show(9, nBits, 0x182);
            show.tracks.AudioTracksSetCount_I(3);
            for (int32_t t = 0; t < 3; ++t) {
                const TRACK& track = arrTracks[static_cast<size_t>(t)];
                const TrackPtr p = show.Track(t);
                p->TrackModeSet(track.eMode, track.nAddTo, track.dblAddDb);
                p->TrackGainSet(-1, track.dblDb, 0);
                if (track.nMuted >= 0) p->TrackMuteSet(track.nMuted, 1, 0);
            }
            for (const int64_t nSamples : {801, 800}) {
                const int64_t nFrom = show.nAt;
                const auto arrGot = show.Next(nSamples);
                const auto arrWanted = SlowMix(show, arrTracks, nFrom, nSamples, arrOut);
                ASSERT_EQ(arrGot.size(), arrWanted.size());
                EXPECT_EQ(show.block.props.nTrackSplitBits, nSplit);
                for (size_t n = 0; n < arrGot.size(); ++n)
                    for (size_t i = 0; i < arrGot[n].size(); ++i)
                        ASSERT_NEAR(arrGot[n][i], arrWanted[n][i], nBits == 16 ? 0 : 1e-6) << n << " " << i;
            }
        }
    }
}

TEST(Tracks, OrdersAddedTracksAndChannelCounts) {
    Show show(6, 16, 0x2);  // a track of 2 and one of 4
    show.Wave = [](int64_t, size_t _c) { return 100. * (static_cast<double>(_c) + 1); };
    const auto Row = [&] {
        std::vector<int> arr;
        for (const auto& row : show.Next(10)) arr.push_back(static_cast<int>(row[9]));
        return arr;
    };
    using Values = std::vector<int>;
    EXPECT_EQ(Row(), (Values{100, 200, 300, 400, 500, 600}));
    show.Track(0)->TrackGainSet(-1, 20 * std::log10(0.5), 0);
    EXPECT_EQ(Row(), (Values{50, 100, 300, 400, 500, 600}));
    EXPECT_TRUE(show.IsInPlace());
    show.Track(0)->TrackGainSet(-1, 0, 0);
    EXPECT_EQ(Row(), (Values{100, 200, 300, 400, 500, 600}));
    show.Track(1)->TrackOrderSet(0);
    EXPECT_EQ(Row(), (Values{300, 400, 500, 600, 100, 200}));
    int32_t nIn = 0, nFirst = 0, nOut = 0;
    EXPECT_EQ(show.Track(0)->TrackChannelsGet(&nIn, &nFirst, &nOut), S_OK);
    EXPECT_EQ(nIn * 100 + nFirst * 10 + nOut, 242);
    // Left and right exchanged on the way in, and back on the way out; gains go by the channels of the input.
    const TrackPtr pFirst = show.Track(0);
    pFirst->TrackChannelOrderSet(1, 0, 1);
    pFirst->TrackChannelOrderSet(1, 1, 0);
    pFirst->TrackGainSet(0, 20 * std::log10(0.5), 0);
    EXPECT_EQ(Row(), (Values{300, 400, 500, 600, 200, 50}));
    pFirst->TrackChannelOrderSet(0, 0, 1);
    pFirst->TrackChannelOrderSet(0, 1, 0);
    EXPECT_EQ(Row(), (Values{300, 400, 500, 600, 50, 200}));
    // Four to one are summed; a number of the track's own comes before that of the object.
    show.tracks.AudioChannelsPerTrackSet_I(1);
    pFirst->TrackChannelsSet(2);
    EXPECT_EQ(Row(), (Values{1800, 50, 200}));
    show.tracks.AudioChannelsPerTrackSet_I(0);
    // A track of some channels of another takes them before its gains, and one of a track that is not there is silent.
    TrackPtr pAdded, pSilent;
    EXPECT_EQ(show.tracks.AudioTrackAdd_I(0, u"1", u"Right", pAdded.Out()), S_OK);
    EXPECT_EQ(show.tracks.AudioTrackAdd_I(7, u"0, 1", nullptr, pSilent.Out()), S_OK);
    EXPECT_EQ(Row(), (Values{300, 400, 500, 600, 50, 200, 200, 0, 0}));
    EXPECT_EQ(show.tracks.AudioTrackRemove_I(pSilent.Get()), S_OK);
    EXPECT_EQ(show.tracks.AudioTrackRemove_I(pFirst.Get()), E_INVALIDARG);
    EXPECT_EQ(show.tracks.AudioTrackRemove_I(pSilent.Get()), E_INVALIDARG);
    // Another split than the source says; the tracks that were there keep what is set.
    EXPECT_EQ(show.tracks.AudioSplitStringSet_I(u"1,1"), S_OK);
    EXPECT_EQ(show.tracks.AudioTrackRemove_I(pAdded.Get()), S_OK);
    pFirst->TrackChannelsSet(0);
    BSTR bsSplit = nullptr;
    EXPECT_EQ(show.tracks.AudioSplitStringGet_I(&bsSplit, nullptr), S_OK);
    EXPECT_STREQ(ToUtf8(bsSplit).c_str(), "1,1,4") << "at once";
    SysFreeString(bsSplit);
    EXPECT_EQ(Row(), (Values{200, 0, 300, 400, 500, 600}));

    int32_t nOrder = 0;
    EXPECT_EQ(pFirst->TrackGainSet(32, 0, 0), ZR_E_BAD_INDEX);
    EXPECT_EQ(pFirst->TrackMuteSet(-2, 1, 0), ZR_E_BAD_INDEX);
    EXPECT_EQ(pFirst->TrackChannelOrderSet(0, 0, 32), ZR_E_BAD_INDEX);
    EXPECT_EQ(pFirst->TrackChannelOrderGet(1, 32, &nOrder), ZR_E_BAD_INDEX);
    EXPECT_EQ(show.tracks.AudioTrackGetByIndex_I(3, nullptr, pAdded.Out()), ZR_E_BAD_INDEX);
}

// A gain or a mute of all channels counts for those that come later too, also of tracks that were saved; one of a
// single channel does not.
TEST(Tracks, WhatIsSetForAllCountsForChannelsToCome) {
    for (const bool bSaved : {false, true}) {
        Show show(1, 16), again(1, 16);
        Show& heard = bSaved ? again : show;
        show.Wave = again.Wave = [](int64_t, size_t) { return 1000.; };
        show.Next(10);
        const TrackPtr pTrack = show.Track(0);
        const auto Level = [&](int32_t _nChannels) {
            heard.props.nChannels = _nChannels;
            return heard.Next(10).back()[9];
        };
        const auto Save = [&] {
            const XMLNodePtr pNode = CoXMLNode::Create(u"audio");
            show.tracks.Save(*pNode);
            again.tracks.Load(*pNode);
        };
        pTrack->TrackGainSet(-1, -20, 0);
        pTrack->TrackGainSet(0, 0, 0);
        if (bSaved) Save();
        EXPECT_EQ(Level(1), 1000);
        EXPECT_EQ(Level(6), 100);
        heard.Track(0)->TrackMuteSet(-1, 1, 0);
        EXPECT_EQ(Level(8), 0);
        heard.Track(0)->TrackMuteSet(-1, 0, 0);
        EXPECT_EQ(Level(9), 100);
    }
}

// A sine through changes of everything that has a ramp never steps further than sine and ramp do.
TEST(Tracks, NoClick) {
    constexpr double kRamp = 0.02;  // seconds
    constexpr int64_t kBlock = 960;
    Show show(4, -32, 0x2);
    const double dblSine = 2 * std::numbers::pi * 200 / 48000 * 0.25;
    show.Wave = [&](int64_t _n, size_t) { return 0.25 * std::sin(dblSine * 4 * static_cast<double>(_n)); };
    show.tracks.AudioTracksSetCount_I(2);
    const TrackPtr pA = show.Track(0), pB = show.Track(1);
    pB->TrackModeSet(eZrAT_Disabled, 0, 0);
    const auto arrFirst = show.Next(kBlock);
    std::vector<double> arrLast{arrFirst[0].back(), arrFirst[1].back()};
    // Added sound moves within a block, gains and mutes within kRamp; each by 1 of 0.25 at most.
    const double dblMost = 2 * dblSine + 2 * 0.25 / static_cast<double>(kBlock) + 2 * 0.25 / (kRamp * 48000);
    std::mt19937 random(5);
    for (int n = 0; n < 400; ++n) {
        const double dblDb = -static_cast<double>(random() % 40);
        switch (random() % 5) {
            case 0: pA->TrackGainSet(static_cast<int32_t>(random() % 3) - 1, dblDb, kRamp); break;
            case 1: pA->TrackMuteSet(-1, random() % 2, kRamp); break;
            case 2: pB->TrackModeSet(eZrAT_Disabled_AddTo, 0, dblDb); break;
            case 3: pB->TrackModeSet(eZrAT_Disabled, 0, 0); break;
            default: pB->TrackModeSet(eZrAT_Disabled_AddTo, 7, 0); break;
        }
        const auto arrOut = show.Next(kBlock);
        ASSERT_EQ(arrOut.size(), 2u);
        for (size_t c = 0; c < 2; ++c) {
            for (const double dbl : arrOut[c]) {
                ASSERT_LE(std::fabs(dbl - arrLast[c]), dblMost) << "change " << n;
                arrLast[c] = dbl;
            }
        }
    }
}

TEST(Tracks, SavedAndLoadedTheySoundTheSame) {
    Show one(8, 16, 0x82), two(8, 16, 0x82);
    one.tracks.AudioTracksSetCount_I(2);
    TrackPtr pAdded;
    one.tracks.AudioTrackAdd_I(0, u"1,0", u"Swapped & more", pAdded.Out());
    one.tracks.AudioSplitStringSet_I(u"2,6");
    const TrackPtr pA = one.Track(0), pB = one.Track(1);
    pA->TrackGainSet(0, -7.3, 0);
    pA->TrackMuteSet(1, 1, 0);
    pB->TrackGainSet(-1, -3.21, 0);
    pB->TrackChannelsSet(2);
    pA->TrackOrderSet(0);
    pB->TrackOrderSet(0);
    pB->TrackChannelOrderSet(0, 0, 1);
    pB->TrackChannelOrderSet(1, 2, 5);
    pAdded->TrackModeSet(eZrAT_Enabled_AddTo, 1, -2.5);
    ZrPtr<IZrProps> pProps = QueryAs<IZrProps>(pA.Get());
    ASSERT_TRUE(pProps);
    pProps->PropsSet(u"compressor::enabled", u"true");
    pProps->PropsSet(u"compressor::threshold_db", u"-30");
    const XMLNodePtr pNode = CoXMLNode::Create(u"audio");
    one.tracks.Save(*pNode);
    std::u16string xml;
    pNode->Write(xml);
    const XMLNodePtr pAgain = CoXMLNode::Create(u"audio");
    ASSERT_EQ(pAgain->Parse(xml), S_OK);
    // What was set there before does not stay, not even where it is now as in a new track.
    for (int32_t i = 0; i < 2; ++i) {
        two.tracks.AudioTracksSetCount_I(2);
        const TrackPtr pTrack = two.Track(i);
        pTrack->TrackGainSet(-1, -20, 0);
        pTrack->TrackMuteSet(2, 1, 0);
        pTrack->TrackModeSet(eZrAT_Exclusive, 0, 0);
        pTrack->TrackChannelOrderSet(0, 1, 0);
        QueryAs<IZrProps>(pTrack.Get())->PropsSet(u"dyn_amplify::enabled", u"true");
    }
    two.tracks.Load(*pAgain);
    EXPECT_EQ(one.Next(960), two.Next(960));
    const auto arrOne = one.Next(960), arrTwo = two.Next(960);
    EXPECT_EQ(arrOne, arrTwo);
    ASSERT_EQ(arrOne.size(), 6u);
    EXPECT_LT(std::fabs(arrOne[2][400]), std::fabs(one.Source(960 + 400, 0)) * 0.3) << "the compressor is on";
}

TEST(Tracks, LevelsAroundTheGains) {
    Show show(2);
    show.Wave = [](int64_t _n, size_t _c) {
        return _c == 0 ? std::sin(2 * std::numbers::pi * static_cast<double>(_n) / 48) : 0.0;
    };
    show.tracks.AudioTracksSetCount_I(1);
    const TrackPtr pTrack = show.Track(0);
    pTrack->TrackGainSet(-1, -20, 0);
    EXPECT_EQ(pTrack->TrackGainSet(-1, 0, INFINITY), E_INVALIDARG) << "a ramp without an end is none";
    show.Next(960);
    ZR_AUDIO_TRACK_LOUDNESS in, out;
    ASSERT_EQ(pTrack->TrackLoudnessGet(&in, &out), S_OK);
    EXPECT_EQ(in.nValidChannels, 2);
    EXPECT_NEAR(in.arrRMS[0], 0, 0.01);
    EXPECT_NEAR(out.arrRMS[0], -20, 0.01);
    EXPECT_TRUE(std::isinf(out.arrRMS[1]));
    // Other orders than natural ones go another way to the same levels.
    pTrack->TrackChannelOrderSet(0, 0, 1);
    pTrack->TrackChannelOrderSet(0, 1, 0);
    show.Next(960);
    ASSERT_EQ(pTrack->TrackLoudnessGet(&in, &out), S_OK);
    EXPECT_NEAR(in.arrRMS[0], 0, 0.01);
    EXPECT_NEAR(out.arrRMS[1], -20, 0.01);
    EXPECT_EQ(out.arrEBUMode_I, ZR_AUDIO_TRACK_LOUDNESS().arrEBUMode_I) << "not asked for";
    // A stream that ends holds for its last few samples too what is set, and its levels fall as in silence; those of a
    // track that is gone are silent at once.
    pTrack->TrackMuteSet(-1, 1, 0);
    EXPECT_EQ(show.Next(3), (std::vector<std::vector<double>>(2, {0, 0, 0})));
    show.tracks.ProcessSilence(kTicksPerSecond / 10);
    pTrack->TrackLoudnessGet(&in, &out);
    EXPECT_TRUE(std::isinf(in.arrRMS[0]));
    EXPECT_TRUE(in.arrVUMeter[0] < -1 && std::isfinite(in.arrVUMeter[0])) << in.arrVUMeter[0];
    show.props.nTrackSplitBits = 0x1;
    show.Next(960);
    const TrackPtr pSecond = show.Track(1);
    pSecond->TrackLoudnessGet(&in, nullptr);
    EXPECT_EQ(in.nValidChannels, 1);
    show.props.nTrackSplitBits = 0;
    show.Next(960);
    pSecond->TrackLoudnessGet(&in, nullptr);
    EXPECT_EQ(in.nValidChannels, 0);
    pTrack->TrackMuteSet(-1, 0, 0);
    pTrack->TrackChannelOrderSet(0, 0, 0);
    // With loudness tracks are measured whoever looks at them.
    AudioTracks quiet(AudioTracks::Levels::kOnDemand);
    quiet.LoudnessSet(true);
    EXPECT_FALSE(quiet.IsIdle());
    for (int n = 0; n < 50; ++n) {
        show.Next(960);
        quiet.Process(&show.block);
    }
    TrackPtr pQuiet;
    ASSERT_EQ(quiet.AudioTrackGetByIndex_I(0, nullptr, pQuiet.Out()), S_OK);
    pQuiet->TrackLoudnessGet(nullptr, &out);
    EXPECT_NEAR(out.arrEBUMode_I, -23, 0.1);  // a tone of 1 kHz on one channel, 20 dB below full scale
}

TEST(Tracks, SteadySoundAllocatesNothing) {
    Show show(8, 16, 0x82);
    std::vector<uint8_t> arr(size_t{1920 * 16});
    TrackPtr pAdded;
    show.tracks.AudioTrackAdd_I(1, u"0,1", u"", pAdded.Out());
    const auto Run = [&] {
        SOUND_BLOCK block{show.props, arr.data(), 1920};
        show.tracks.Process(&block);
    };
    Run();
    const TrackPtr pTrack = show.Track(0);
    pTrack->TrackGainSet(0, -1, 0);
    Run();
    const int64_t nBefore = AllocationCount();
    for (int n = 0; n < 50; ++n) {
        pTrack->TrackGainSet(0, -n, 0.1);
        Run();
    }
    EXPECT_EQ(AllocationCount(), nBefore);
}

// Hosts set, add, remove and look while the sound goes through.
TEST(Tracks, ChangedWhileTheyRun) {
    Show show(4, 16, 0x2);
    show.Next(100);
    std::atomic<bool> bEnd{false};
    std::vector<std::thread> arrThreads;
    for (unsigned t = 0; t < 3; ++t) {
        arrThreads.emplace_back([&, t] {
            std::mt19937 random(t);
            while (!bEnd) {
                TrackPtr pAdded, pTrack;
                show.tracks.AudioTrackAdd_I(static_cast<int32_t>(random() % 3), u"1", u"x", pAdded.Out());
                if (show.tracks.AudioTrackGetByIndex_I(static_cast<int32_t>(random() % 4), nullptr, pTrack.Out()) ==
                    S_OK) {
                    pTrack->TrackModeSet(static_cast<eZrAudioTrackMode>(random() % 6),
                                         static_cast<int32_t>(random() % 4), -3);
                    pTrack->TrackGainSet(-1, -static_cast<double>(random() % 20), 0.01);
                    pTrack->TrackMuteSet(0, random() % 2, 0.01);
                    pTrack->TrackOrderSet(static_cast<int32_t>(random() % 4));
                    pTrack->TrackChannelOrderSet(random() % 2, static_cast<int32_t>(random() % 4),
                                                 static_cast<int32_t>(random() % 4));
                    pTrack->TrackChannelsSet(static_cast<int32_t>(random() % 4));
                    ZR_AUDIO_TRACK_LOUDNESS levels;
                    pTrack->TrackLoudnessGet(nullptr, &levels);
                    if (const ZrPtr<IZrProps> pProps = QueryAs<IZrProps>(pTrack.Get()))
                        pProps->PropsSet(u"compressor::enabled", random() % 2 ? u"true" : u"false");
                }
                if (random() % 8 == 0) show.tracks.AudioSplitStringSet_I(random() % 2 ? u"1,3" : u"");
                const XMLNodePtr pNode = CoXMLNode::Create(u"audio");
                if (random() % 8 == 0) show.tracks.Save(*pNode);
                show.tracks.AudioTrackRemove_I(pAdded.Get());
            }
        });
    }
    for (int n = 0; n < 300; ++n) {
        show.props.nChannels = 4 + n / 50 % 2;
        const auto arrOut = show.Next(200 + n % 7);
        ASSERT_LE(arrOut.size(), 128u);
    }
    bEnd = true;
    for (std::thread& thread : arrThreads) thread.join();
}

}  // namespace
}  // namespace zr
