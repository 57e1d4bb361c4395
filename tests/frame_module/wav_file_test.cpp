#include "frame_module/wav_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "frame_module/frame_builders.h"
#include "media/aud_props.h"
#include "support/temp_folder.h"

namespace zr {
namespace {

class WavFileTest : public testing::Test {
protected:
    std::string Bytes() const { return BytesOfFile(path); }
    void Put(const std::string& _s) const { WriteFile(path, _s); }

    const TempFolder folder;
    const std::filesystem::path path = folder.path / "a.wav";
    const std::u16string sName = path.u16string();
};

std::string U16(uint32_t _n) { return {static_cast<char>(_n), static_cast<char>(_n >> 8)}; }
std::string U32(uint32_t _n) { return U16(_n) + U16(_n >> 16); }
std::string Chunk(const char* _szKind, const std::string& _s) {
    return _szKind + U32(static_cast<uint32_t>(_s.size())) + _s + std::string(_s.size() % 2, '\0');
}
std::string Riff(const std::string& _s) { return "RIFF" + U32(static_cast<uint32_t>(_s.size() + 4)) + "WAVE" + _s; }
std::string Wav(const std::string& _sFormat, const std::string& _sSamples) {
    return Riff(Chunk("fmt ", _sFormat) + Chunk("data", _sSamples));
}
std::string Format(uint32_t _nCoding, uint32_t _nChannels, uint32_t _nBits, uint32_t _cbSample) {
    return U16(_nCoding) + U16(_nChannels) + U32(48000) + U32(48000 * _nChannels * _cbSample) +
           U16(_nChannels * _cbSample) + U16(_nBits);
}
std::string LongFormat(uint32_t _nCoding, uint32_t _nChannels, uint32_t _nBits, uint32_t _nValid) {
    return Format(0xFFFE, _nChannels, _nBits, _nBits / 8) + U16(22) + U16(_nValid) + U32(3) + U16(_nCoding) +
           std::string("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14);
}

std::string AudioText(IZrFFrame& _frame) {
    const auto audio = AudioOf(_frame);
    return {audio.begin(), audio.end()};
}

TEST_F(WavFileTest, FilesAreWhatOtherReadersExpect) {
    const std::string s = "abcdefghijkl";
    const std::tuple<ZR_AUD_PROPS, std::string> arrCases[] = {
        {{2, 48000, 16, 0}, Wav(Format(1, 2, 16, 2), s)},
        {{1, 48000, 24, 0}, Wav(Format(1, 1, 24, 3), s)},
        {{2, 48000, 20, 0},
         Wav(Format(0xFFFE, 2, 24, 3) + U16(22) + U16(20) + U32(0) + U16(1) +
                 std::string("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14),
             s)},
        {{3, 48000, 32, 0}, Wav(Format(1, 3, 32, 4), s)},
        {{1, 48000, -32, 0},
         Riff(Chunk("fmt ", Format(3, 1, 32, 4) + U16(0)) + Chunk("fact", U32(3)) + Chunk("data", s))},
    };
    for (const auto& [propsGiven, sFile] : arrCases) {
        SCOPED_TRACE(propsGiven.nBitsPerSample);
        Put("something longer than any header that stood there before, to be replaced as a whole, with nothing left");
        const ZrPtr<IZrFFrame> p = FrameOfSound(propsGiven, s);
        ASSERT_EQ(p->ZrFAudioSaveToFile(sName.c_str(), 0), S_OK);
        EXPECT_EQ(Bytes(), sFile);
        const ZrPtr<IZrFFrame> pLoaded = EmptyFrame();
        ASSERT_EQ(pLoaded->ZrFAudioLoadFromFile(sName.c_str(), 0, 0), S_OK);
        EXPECT_EQ(AudioText(*pLoaded), s);
        const ZR_AUD_PROPS props = PropsOf(*pLoaded).audProps;
        EXPECT_EQ(std::memcmp(&props, &propsGiven, sizeof(props)), 0);
    }
}

TEST_F(WavFileTest, AppendGrowsTheSamplesAndKeepsTheRest) {
    const std::string sFormat = Chunk("fmt ", Format(1, 1, 24, 3)), sList = Chunk("LIST", "notes");
    const std::tuple<const char*, std::string, HRESULT, std::string> arrCases[] = {
        {"odd_becomes_even", Riff(sFormat + Chunk("data", "123")), S_OK, Riff(sFormat + Chunk("data", "123abc"))},
        {"even_becomes_odd", Riff(sFormat + Chunk("data", "123456")), S_OK, Riff(sFormat + Chunk("data", "123456abc"))},
        {"chunk_behind", Riff(sFormat + Chunk("data", "123") + sList), S_OK,
         Riff(sFormat + Chunk("data", "123abc") + sList)},
        {"chunk_in_front", Riff(sList + sFormat + Chunk("data", "")), S_OK,
         Riff(sList + sFormat + Chunk("data", "abc"))},
        {"no_wav_file", "just a text that nobody wants to lose", ZR_E_INVALID_DATA, ""},
        {"empty_file", "", ZR_E_INVALID_DATA, ""},
        {"other_riff", "RIFF" + U32(100) + "AVI LIST", ZR_E_INVALID_DATA, ""},
        {"compressed", Wav(Format(2, 1, 4, 1), "123"), kUnsupportedAudio, ""},
        {"never_finished", "RIFF" + U32(0xFFFFFFFF) + "WAVE" + sFormat + "data" + U32(0xFFFFFFFF) + "1234567", S_OK,
         Riff(sFormat + Chunk("data", "123456abc"))},
    };
    const ZrPtr<IZrFFrame> p = FrameOfSound({1, 48000, 24, 0}, std::string("abc"));
    for (const auto& [szName, sBefore, hr, sAfter] : arrCases) {
        SCOPED_TRACE(szName);
        Put(sBefore);
        EXPECT_EQ(p->ZrFAudioSaveToFile(sName.c_str(), 1), hr);
        EXPECT_EQ(Bytes(), Failed(hr) ? sBefore : sAfter);
    }
    std::filesystem::remove(path);
    const ZrPtr<IZrFFrame> pFloat = FrameOfSound({1, 48000, -32, 0}, std::string("abcd"));
    EXPECT_EQ(pFloat->ZrFAudioSaveToFile(sName.c_str(), 1), S_OK);  // made when it is not there
    EXPECT_EQ(pFloat.As<IZrFrame>()->FrameAudioSaveToFile(sName.c_str(), 1), S_OK);
    EXPECT_EQ(Bytes(),
              Riff(Chunk("fmt ", Format(3, 1, 32, 4) + U16(0)) + Chunk("fact", U32(2)) + Chunk("data", "abcdabcd")));
    EXPECT_EQ(EmptyFrame()->ZrFAudioSaveToFile(sName.c_str(), 1), ZR_E_EMPTY);
}

TEST_F(WavFileTest, NothingIsAddedBeyondFourGigabytes) {
    const std::string sFormat = Chunk("fmt ", Format(1, 1, 16, 2));
    Put("RIFF" + U32(0xFFFFFFFE) + "WAVE" + sFormat + "data" + U32(0xFFFFFFFE - 36));
    std::filesystem::resize_file(path, 0x100000006);  // a hole: two bytes below the limit
    const ZrPtr<IZrFFrame> p = FrameOfSound({1, 48000, 16, 0}, std::string("ab"));
    EXPECT_EQ(p->ZrFAudioSaveToFile(sName.c_str(), 1), kFileTooLarge);
    EXPECT_EQ(std::filesystem::file_size(path), 0x100000006u);
    const ZrPtr<IZrFFrame> pLoaded = EmptyFrame();
    EXPECT_EQ(pLoaded->ZrFAudioLoadFromFile(sName.c_str(), 0x7FFFFFFF - 36 / 2 - 5, 3), S_OK);
    EXPECT_EQ(InfoOf(*pLoaded).lAudioSamples, 3);
    EXPECT_EQ(pLoaded->ZrFAudioLoadFromFile(sName.c_str(), 0, 0), E_INVALIDARG);  // more than a frame can hold
    EXPECT_EQ(InfoOf(*pLoaded).lAudioSamples, 3);
}

TEST_F(WavFileTest, OffsetsAndCountsPickSamples) {
    Put(Wav(Format(1, 2, 16, 2), "0123abcdefghijkl"));
    const std::tuple<int64_t, int32_t, HRESULT, const char*> arrCases[] = {
        {0, 0, S_OK, "0123abcdefghijkl"}, {1, 2, S_OK, "abcdefgh"}, {3, -5, S_OK, "ijkl"}, {3, 1, S_OK, "ijkl"},
        {2, 3, S_FALSE, "efghijkl"},      {4, 1, S_FALSE, ""},      {4, 0, S_OK, ""},      {INT64_MAX, 1, S_FALSE, ""},
        {-1, 1, E_INVALIDARG, "old!"},
    };
    for (const auto& [llOffset, lCount, hr, szSamples] : arrCases) {
        SCOPED_TRACE(testing::Message() << llOffset << " " << lCount);
        const ZrPtr<IZrFFrame> p = FrameOfSound({1, 44100, 32, 0}, std::string("old!"));
        EXPECT_EQ(p->ZrFAudioLoadFromFile(sName.c_str(), llOffset, lCount), hr);
        EXPECT_EQ(AudioText(*p), szSamples);
        EXPECT_EQ(PropsOf(*p).audProps.nSamplesPerSec, Failed(hr) ? 44100 : 48000);
    }
    EXPECT_EQ(EmptyFrame()->ZrFAudioLoadFromFile(u"/nowhere/at/all.wav", 0, 0), ZR_E_NOT_FOUND_FILE);
}

TEST_F(WavFileTest, FormatsOfFilesFromOutside) {
    const std::string sData = "12345678";
    std::string sOddTail = Wav(Format(1, 1, 24, 3), sData);
    const std::tuple<const char*, std::string, HRESULT, int32_t, std::string> arrCases[] = {
        {"bytes_become_16", Wav(Format(1, 2, 8, 1), "\x80\xFF\x01\x80"), S_OK, 16,
         std::string("\0\0\0\x7F\0\x81\0\0", 8)},
        {"long_24", Wav(LongFormat(1, 1, 24, 24), sData), S_OK, 24, "123456"},
        {"long_20_in_24", Wav(LongFormat(1, 1, 24, 20), sData), S_OK, 20, "123456"},
        {"long_24_in_32", Wav(LongFormat(1, 1, 32, 24), sData), S_OK, 32, "12345678"},
        {"long_float", Wav(LongFormat(3, 2, 32, 32), sData), S_OK, -32, "12345678"},
        {"12_bits_in_16", Wav(Format(1, 1, 12, 2), sData), S_OK, 16, "12345678"},
        {"format_behind_data", Riff(Chunk("data", sData) + Chunk("fmt ", Format(1, 1, 16, 2))), S_OK, 16, "12345678"},
        {"part_of_a_sample", sOddTail, S_OK, 24, "123456"},
        {"data_beyond_the_file",
         "RIFF" + U32(4) + "WAVE" + Chunk("fmt ", Format(1, 1, 16, 2)) + "data" + U32(9000) + "1234", S_OK, 16, "1234"},
        {"float_64", Wav(Format(3, 1, 64, 8), sData), kUnsupportedAudio, 0, ""},
        {"coding_unknown", Wav(LongFormat(0x55, 1, 16, 16), sData), kUnsupportedAudio, 0, ""},
        {"many_channels", Wav(Format(1, 129, 16, 2), sData), kUnsupportedAudio, 0, ""},
        {"no_channels", Wav(Format(1, 0, 16, 2), sData), ZR_E_INVALID_DATA, 0, ""},
        {"block_too_small", Wav(Format(1, 1, 24, 2), sData), ZR_E_INVALID_DATA, 0, ""},
        {"valid_bits_beyond", Wav(LongFormat(1, 1, 16, 17), sData), ZR_E_INVALID_DATA, 0, ""},
        {"format_too_short", Wav(Format(1, 1, 16, 2).substr(0, 15), sData), ZR_E_INVALID_DATA, 0, ""},
        {"long_form_too_short", Wav(LongFormat(1, 1, 16, 16).substr(0, 39), sData), ZR_E_INVALID_DATA, 0, ""},
        {"no_data", Riff(Chunk("fmt ", Format(1, 1, 16, 2))), ZR_E_INVALID_DATA, 0, ""},
        {"no_format", Riff(Chunk("data", sData)), ZR_E_INVALID_DATA, 0, ""},
        {"nothing_but_chunks",
         Riff(
             [] {
                 std::string s;
                 for (int i = 0; i < 5000; ++i) s += Chunk("junk", "");
                 return s;
             }() +
             Chunk("fmt ", Format(1, 1, 16, 2)) + Chunk("data", sData)),
         ZR_E_INVALID_DATA, 0, ""},
    };
    for (const auto& [szName, sFile, hr, nBits, sSamples] : arrCases) {
        SCOPED_TRACE(szName);
        Put(sFile);
        const ZrPtr<IZrFFrame> p = EmptyFrame();
        EXPECT_EQ(p->ZrFAudioLoadFromFile(sName.c_str(), 0, 0), hr);
        EXPECT_EQ(PropsOf(*p).audProps.nBitsPerSample, nBits);
        EXPECT_EQ(AudioText(*p), sSamples);
    }
}

}  // namespace
}  // namespace zr
