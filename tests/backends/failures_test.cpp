// Broken input, unwritable output: one clear sentence, the right status, and what can be saved is saved.

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "backends/clip_support.h"

namespace zr {
namespace {

class Failures : public ClipTest {
protected:
    // Frames that a worker gives; *_phrEnd: what came behind them. Their numbers count up; the last one may stand
    // for as long as there is sound, and before it some may be missing that it was needed for.
    static int Count(IZrFileWorker_I& _worker, HRESULT* _phrEnd) {
        int nLast = -1;
        for (int nFrames = 0;; ++nFrames) {
            ZrPtr<IZrFFrame> pFrame;
            *_phrEnd = _worker.WorkerFrameGet(10 * kTicksPerSecond, pFrame.Out());
            if (Failed(*_phrEnd)) return nFrames;
            const int nNumber = NumberOf(*pFrame);
            EXPECT_LE((nNumber - nLast) & 255, 3) << nNumber << " behind " << nLast;
            nLast = nNumber;
        }
    }
};

TEST_F(Failures, WhatCannotBePlayedIsSaid) {
    WriteFile(folder / "text.mp4", "This is no film.\n");
    WriteFile(folder / "notes.txt", "Nor is this.\n");
    WriteFile(folder / "empty.mp4", "");
    WriteClip(Path("whole.mp4"), {}, 50);
    std::filesystem::copy(Path("whole.mp4"), Path("no_index.mp4"));
    std::filesystem::resize_file(Path("no_index.mp4"), std::filesystem::file_size(Path("whole.mp4")) / 2);
    const struct {
        const char* szName;
        HRESULT hr;
        const char* szSays;
    } arrCases[] = {
        {"missing.mp4", ZR_E_NOT_FOUND_FILE, "no such file"},
        {"text.mp4", ZR_E_INVALID_DATA, "no media"},
        {"notes.txt", ZR_E_INVALID_DATA, "no media"},
        {"empty.mp4", ZR_E_INVALID_DATA, "empty"},
        {"", ZR_E_INVALID_DATA, "directory"},
        {"no_index.mp4", ZR_E_INVALID_DATA, "damaged"},
        {"a:b/c.mp4", ZR_E_NOT_FOUND_FILE, "no such file"},
        {"text.mp4/x.mp4", ZR_E_NOT_FOUND_FILE, "no such file"},
    };
    const ZrPtr<IZrFileWorker_I> pWorker = NewWorker();
    for (const auto& bad : arrCases) {
        SCOPED_TRACE(bad.szName);
        EXPECT_EQ(Open(*pWorker, Path(bad.szName)), bad.hr);
        const std::string strError = ErrorOf(*pWorker, &IZrFileWorker_I::WorkerErrorGet);
        EXPECT_NE(strError.find(bad.szSays), std::string::npos) << strError;
        EXPECT_NE(strError.find(Path(bad.szName)), std::string::npos) << strError;
        ZrPtr<IZrFFrame> pFrame;
        EXPECT_EQ(pWorker->WorkerFrameGet(0, pFrame.Out()), ZR_E_NOT_RUNNING);
    }
    EXPECT_EQ(Open(*pWorker, Path("whole.mp4")), S_OK);  // the worker is as good as new
}

TEST_F(Failures, DamagedFilesPlayAsFarAsTheyGo) {
    WriteClip(Path("cut.ts"), {}, 100);
    std::filesystem::resize_file(Path("cut.ts"), std::filesystem::file_size(Path("cut.ts")) * 6 / 10);
    const ZrPtr<IZrFileWorker_I> pWorker = NewWorker();
    ASSERT_EQ(Open(*pWorker, Path("cut.ts")), S_OK);
    HRESULT hr = S_OK;
    const int nPlayed = Count(*pWorker, &hr);
    EXPECT_EQ(hr, kMediaEnded);
    EXPECT_GT(nPlayed, 40);
    EXPECT_LT(nPlayed, 80);

    // A hole in the midst: what is behind it plays, at its time.
    WriteClip(Path("hole.mkv"), {}, 100, u"video.options='g=10'");
    std::fstream hole(Path("hole.mkv"), std::ios::in | std::ios::out | std::ios::binary);
    hole.seekp(static_cast<std::streamoff>(std::filesystem::file_size(Path("hole.mkv")) / 2));
    hole << std::string(3000, '\xA5');
    hole.close();
    ASSERT_EQ(Open(*pWorker, Path("hole.mkv")), S_OK);
    ZR_TIME time;
    int64_t rtEnd = 0;
    for (;;) {
        ZrPtr<IZrFFrame> pFrame;
        hr = pWorker->WorkerFrameGet(10 * kTicksPerSecond, pFrame.Out());
        if (Failed(hr)) break;
        pFrame->ZrFTimeGet(&time);
        EXPECT_EQ(time.rtStartTime, rtEnd);
        rtEnd = time.rtEndTime;
        int32_t cb = 0;
        int64_t lp = 0;
        pFrame->ZrFAudioGetBytes(&cb, &lp);
        EXPECT_EQ(cb / 4, (time.rtEndTime - time.rtStartTime) * 48 / 10000);
    }
    EXPECT_EQ(hr, kMediaEnded);
    EXPECT_EQ(rtEnd, FrameStart({25, 1}, 100));
}

TEST_F(Failures, WaitsEnd) {
    const ZrPtr<IZrFileWorker_I> pWorker = NewWorker();
    const std::u16string strNobody =  // nobody will call
        ToUtf16("tcp://127.0.0.1:" + std::to_string(30000 + ClockNow() % 20000) + "?listen=1");
    EXPECT_EQ(pWorker->WorkerOpen(strNobody.c_str(), nullptr, 100 * kTicksPerMs), ZR_E_TIMEOUT);
    EXPECT_NE(ErrorOf(*pWorker, &IZrFileWorker_I::WorkerErrorGet).find("time ran out"), std::string::npos);
    for (const bool bClose : {false, true}) {
        std::atomic<HRESULT> hr{S_OK};
        std::thread opener([&] { hr = pWorker->WorkerOpen(strNobody.c_str(), nullptr, -1); });
        while (hr == S_OK) {  // a call before the wait began ends nothing
            SleepFor(10 * kTicksPerMs);
            bClose ? pWorker->WorkerClose() : pWorker->WorkerRelease();
            if (hr != S_OK) break;
        }
        opener.join();
        EXPECT_EQ(hr.load(), E_ABORT);
    }
}

// The thread, the reader and two meddlers: no deadlock, no race, and each call does what it says.
TEST_F(Failures, CallsFromAnywhere) {
    WriteClip(Path("a.mkv"), {}, 60);
    const ZrPtr<IZrFileWorker_I> pWorker = NewWorker();
    std::atomic<bool> bStop{false};
    std::thread meddlers[2];
    for (int i = 0; i < 2; ++i)
        meddlers[i] = std::thread([&, i] {
            for (int n = 0; !bStop; ++n) {
                int32_t bFlag = 0;
                pWorker->WorkerCheck(nullptr, &bFlag);
                ZR_FILE_INFO info;
                pWorker->WorkerInfoGet(&info, nullptr);
                if (n % 5 == 0) pWorker->WorkerRelease();
                if (i == 1 && n % 40 == 39) pWorker->WorkerClose();
                SleepFor(kTicksPerMs);
            }
        });
    for (int n = 0; n < 400; ++n) {
        ZrPtr<IZrFFrame> pFrame;
        const HRESULT hr = pWorker->WorkerFrameGet(kTicksPerSecond, pFrame.Out());
        if (hr == ZR_E_NOT_RUNNING) Open(*pWorker, Path("a.mkv"));
        if (n % 29 == 28) pWorker->WorkerSeek(n % 60 / 25.0, 0);
        if (n % 97 == 96) pWorker->WorkerReset();
        EXPECT_TRUE(hr == S_OK || hr == ZR_E_NOT_RUNNING || hr == E_ABORT || hr == kMediaEnded) << std::hex << hr;
    }
    bStop = true;
    for (std::thread& meddler : meddlers) meddler.join();
    // Whatever happened, it plays.
    ASSERT_EQ(Open(*pWorker, Path("a.mkv")), S_OK);
    HRESULT hr = S_OK;
    EXPECT_EQ(Count(*pWorker, &hr), 60);
    EXPECT_EQ(hr, kMediaEnded);
}

TEST_F(Failures, WhatCannotBeWrittenIsSaid) {
    std::filesystem::create_directory(Path("folder.mp4"));
    const struct {
        std::string strName;
        const char16_t* szParam;
        HRESULT hr;
        const char* szSays;
    } arrCases[] = {
        {Path("none/a.mp4"), nullptr, ZR_E_NOT_FOUND_FILE, "no folder"},
        {Path("folder.mp4"), nullptr, E_ACCESSDENIED, "directory"},
        {Path("a.xyz"), nullptr, E_INVALIDARG, "ending"},
        {Path("a.mp4"), u"format=xyz", E_INVALIDARG, "xyz"},
        {Path("a.mp4"), u"speed=3", E_INVALIDARG, "speed"},
        {Path("a.mp4"), u"video.codec=xyz", E_INVALIDARG, "xyz"},
        {Path("a.mp4"), u"video.bitrate=fast", E_INVALIDARG, "video bit rate"},
        {Path("a.mp4"), u"audio.bitrate=nan", E_INVALIDARG, "audio bit rate"},
        {Path("a.mp4"), u"audio.bitrate=128kb", E_INVALIDARG, "audio bit rate"},
        {Path("a.mp4"), u"video.codec=rawvideo", E_INVALIDARG, "rawvideo"},
        {Path("a.mp4"), u"video.options='sped=3'", E_INVALIDARG, "sped"},
        {Path("a.mp4"), u"video.options='pix_fmt=xyz'", E_INVALIDARG, "xyz"},
        {Path("a.mp4"), u"audio.codec=h264", E_INVALIDARG, "h264"},
        {Path("a.mp4"), u"format.options='fast=1'", E_INVALIDARG, "fast"},
        {"/dev/full", u"format=mpegts", Win32Error(112), "disk is full"},
    };
    for (const auto& bad : arrCases) {
        SCOPED_TRACE(bad.strName + " " + (bad.szParam ? ToUtf8(bad.szParam) : ""));
        const ZrPtr<IZrWriter> pWriter = NewWriter();
        HRESULT hr = pWriter->WriterOpen(ToUtf16(bad.strName).c_str(), bad.szParam);
        // Encoders are made with the first frame.
        for (int i = 0; i < 20 && hr == S_OK; ++i)
            pWriter.As<IZrReceiver_I>()->MediaReceive(u"c", nullptr, MakeClipFrame({}, i).Get());
        if (hr == S_OK) hr = pWriter->WriterStop();
        EXPECT_EQ(hr, bad.hr);
        const std::string strError = ErrorOf(*pWriter, &IZrWriter::WriterErrorGet);
        EXPECT_NE(strError.find(bad.szSays), std::string::npos) << strError;
    }
}

// The disk gives no more: the sender is told, and what was written plays.
TEST_F(Failures, FullDiskLeavesAPlayableFile) {
    const std::string strDisk = Path("disk");
    std::filesystem::create_directory(strDisk);
    if (std::system(("mount -t tmpfs -o size=2m tmpfs " + strDisk + " 2>/dev/null").c_str()) != 0)
        GTEST_SKIP() << "a small disk cannot be mounted here";
    CLIP_FORMAT format;
    format.nChannels = 8;
    for (const char* szName : {"/a.mp4", "/a.mkv", "/a.mov"}) {
        SCOPED_TRACE(szName);
        const ZrPtr<IZrWriter> pWriter = NewWriter();
        ASSERT_EQ(pWriter->WriterOpen(ToUtf16(strDisk + szName).c_str(),
                                      szName[4] == 'p' ? nullptr : u"audio.codec=pcm_s16le"),
                  S_OK);
        HRESULT hr = S_OK;
        int nSent = 0;
        for (; hr == S_OK && nSent < 3000; ++nSent)
            hr = pWriter.As<IZrReceiver_I>()->MediaReceive(u"c", nullptr, MakeClipFrame(format, nSent % 256).Get());
        EXPECT_EQ(hr, kMediaEnded);
        EXPECT_EQ(pWriter->WriterStop(), Win32Error(112));
        const std::string strError = ErrorOf(*pWriter, &IZrWriter::WriterErrorGet);
        EXPECT_NE(strError.find("disk is full"), std::string::npos) << strError;

        const ZrPtr<IZrFileWorker_I> pWorker = NewWorker();
        EXPECT_EQ(Open(*pWorker, strDisk + szName), S_OK);
        const int nPlayed = Count(*pWorker, &hr);
        EXPECT_EQ(hr, kMediaEnded);
        EXPECT_GT(nPlayed, 20);
        EXPECT_LE(nPlayed, nSent);
        pWorker->WorkerClose();
        std::filesystem::remove(strDisk + szName);
    }
    EXPECT_EQ(std::system(("umount " + strDisk).c_str()), 0);
}

}  // namespace
}  // namespace zr
