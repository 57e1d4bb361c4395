#pragma once
// A file source around scripted workers, with all that it raises noted.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "attributes/file_keys.h"
#include "frame_module/frame_builders.h"
#include "platform/class_registry.h"
#include "platform/thread.h"
#include "sources/file_control.h"
#include "support/scripted_worker.h"
#include "support/temp_folder.h"
#include "zr/utf8.h"

namespace zr {

constexpr int64_t kMs = kTicksPerMs;
constexpr int64_t kFrame25 = 40 * kMs;

// Files by name: what each plays. Workers made for them stay for a look.
class ScriptedFiles {
public:
    ScriptedFiles() { pThis = this; }
    ~ScriptedFiles() { pThis = nullptr; }
    std::map<std::u16string, MEDIA_SCRIPT> mapScripts;

private:
    // Becomes the scripted worker of the name that it opens.
    class Worker final : public UnknownImpl<IZrFileWorker_I> {
    public:
        HRESULT WorkerCheck(IUnknown* _p, int32_t* _pb) override {
            return pInner ? pInner->WorkerCheck(_p, _pb) : E_ABORT;
        }
        HRESULT WorkerRelease() override {
            return With([](ScriptedWorker& _w) { return _w.WorkerRelease(); });
        }
        HRESULT WorkerReset() override { return S_OK; }
        HRESULT WorkerClose() override {
            return With([](ScriptedWorker& _w) { return _w.WorkerClose(); });
        }
        HRESULT WorkerOpen(const char16_t* _bsFile, const char16_t* _bsParam, int64_t _rtMaxWait) override {
            const auto it = pThis->mapScripts.find(_bsFile);
            if (it == pThis->mapScripts.end()) return ZR_E_NOT_FOUND_FILE;
            const auto pNew = ZrPtr<ScriptedWorker>::Attach(new ScriptedWorker(it->second));
            {
                MutexLock lock(mtx);
                pInner = pNew;
            }
            return pNew->WorkerOpen(_bsFile, _bsParam, _rtMaxWait);
        }
        HRESULT WorkerInfoGet(ZR_FILE_INFO* _pInfo, BSTR* _pbs) override { return pInner->WorkerInfoGet(_pInfo, _pbs); }
        HRESULT WorkerFrameGet(int64_t _rt, IZrFFrame** _pp) override { return pInner->WorkerFrameGet(_rt, _pp); }
        HRESULT WorkerSeek(double _dbl, double _dblPreroll) override { return pInner->WorkerSeek(_dbl, _dblPreroll); }
        HRESULT WorkerErrorGet(BSTR* _pbs) override {
            *_pbs = SysAllocString(pInner ? u"The script says no." : u"There is no such file.");
            return S_OK;
        }

    private:
        template <class F>
        HRESULT With(F _f) {
            ZrPtr<ScriptedWorker> p;
            {
                MutexLock lock(mtx);
                p = pInner;
            }
            return p ? _f(*p) : S_OK;
        }
        Mutex mtx;
        ZrPtr<ScriptedWorker> pInner;  // written under mtx by the thread that reads it
    };

    static inline ScriptedFiles* pThis = nullptr;
    ClassRegistrar registrar{kClsidFileWorkerFFmpeg, &MakeObject<Worker>};
};

struct FileRig final : IPropsHost, ISourceHost, ISenderHost, IEventSink {
    FileRig() {
        props.Start_I();
        name.Set(u"clip");
    }
    ~FileRig() { control.ObjectClose(); }

    HRESULT OnSenderFormat(ZR_VID_PROPS*, ZR_AUD_PROPS*) override { return E_NOTIMPL; }
    Waitable* SenderStopEvent() override { return &control.Pump().CancelEvent(); }
    void OnKeyChanged(std::u16string_view, std::u16string_view, const std::u16string*) override {
        control.Pump().OnKeys();
    }
    void RaiseEvent(const char16_t*, const char16_t* _szEvent, const char16_t* _szParam, IUnknown*) override {
        MutexLock lock(mtx);
        const auto Narrow = [](std::u16string_view _sv) { return std::string(_sv.begin(), _sv.end()); };
        strEvents += Narrow(_szEvent) + "(" + Narrow(_szParam) + ") ";
    }
    void RaiseFrame(const char16_t*, IZrFFrame*) override { nFrames.fetch_add(1); }
    // What was raised since the last look.
    std::string Events() {
        MutexLock lock(mtx);
        return std::exchange(strEvents, {});
    }

    void Set(const char16_t* _szKey, const char16_t* _szValue) { EXPECT_EQ(props.PropsSet_I(_szKey, _szValue), S_OK); }
    std::u16string Key(const char16_t* _szKey) {
        Text text;
        props.PropsGet_I(_szKey, text.Out());
        return std::u16string(text.View());
    }
    // As a mixer does before it fetches frames.
    void BePulled(double _dblRate = 0) {
        Set(u"object::rate_control", u"0");
        ZR_VID_PROPS vidProps{.dblRate = _dblRate};
        EXPECT_EQ(format.VideoSet(eZrFT_Convert, &vidProps), S_OK);
    }
    void Play(const char16_t* _szName, const char16_t* _szParam = nullptr, double _dblRate = 0) {
        BePulled(_dblRate);
        ASSERT_EQ(control.FileNameSet(_szName, _szParam), S_OK);
        ASSERT_EQ(control.FilePlayStart(), S_OK);
    }
    HRESULT Get(ZrPtr<IZrFFrame>* _ppFrame, int64_t _rtMaxWait = kTicksPerSecond) {
        return readers.SourceFrameGetEx_I(&llReader, _rtMaxWait, _ppFrame->Out(), nullptr);
    }
    SCRIPT_FRAME Fetch() {
        ZrPtr<IZrFFrame> pFrame;
        const HRESULT hr = Get(&pFrame);
        EXPECT_EQ(hr, S_OK);
        if (hr != S_OK) pFrame = MEDIA_SCRIPT().Make(0, eZrFF_None);
        return SCRIPT_FRAME(*pFrame);
    }

    Mutex mtx;
    std::string strEvents;
    std::atomic<int32_t> nFrames{0};
    uint64_t llReader = 0;

    OwnConfig config;
    ZrPropsHW props{FileProfile(), *this};
    ObjectFormat format;
    ObjectName name;
    LastFrame lastFrame;
    SourceReaders readers{props.Root(), props.Object(), *this};
    ZrPtr<IUnknown> pSelf = QueryAs<IUnknown>(static_cast<IZrFFactory*>(&CZrFrameFactory::Shared()));
    Sender sender{props.Object(), *pSelf, readers, *this};
    AudioTracks tracks{AudioTracks::Levels::kOnDemand};
    struct Self final : UnknownImpl<IUnknown> {
    } self;
    PluginList plugins{props.Object(), self};
    FileControl control{{props, format, readers, sender, lastFrame, name, tracks, plugins, *this}};
};

// Two files: a "clip" of 100 frames, and a "film" of another rate than any output.
class FileControlTest : public testing::Test {
protected:
    FileControlTest() {
        files.mapScripts[u"clip"] = {};
        files.mapScripts[u"film"] = {};
        files.mapScripts[u"film"].nRateNum = 24000;
        files.mapScripts[u"film"].nRateDen = 1001;
        files.mapScripts[u"film"].nFrames = 500;
    }
    VirtualClock clock;
    ScriptedFiles files;
};

}  // namespace zr
