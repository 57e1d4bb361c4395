#include <chrono>
#include <cmath>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/interrupt.h"
#include "apps/zrmix/run_error.h"
#include "apps/zrmix/run_output.h"
#include "apps/zrmix/script_player.h"
#include "apps/zrmix/seconds_option.h"
#include "apps/zrmix/show.h"

namespace zrmix {
namespace {

struct SNAPSHOT_OPTIONS {
    SHOW_OPTIONS show;
    double dblAt = 0;  // seconds
    std::string script;
    std::string output;
};

// Keeps one frame of those that a mixer sends. The mixer's sending thread comes in, the command waits. Outlives its use
// by the mixer, which therefore need not keep it alive.
class FrameCatcher final : public zr::IZrCallback {
public:
    explicit FrameCatcher(int64_t _nWanted) : nWanted(_nWanted) {}

    zr::HRESULT QueryInterface(const zr::GUID& _iid, void** _ppv) override {
        *_ppv = _iid == zr::IZrCallback::kIid || _iid == zr::IUnknown::kIid ? this : nullptr;
        return *_ppv ? zr::S_OK : zr::E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    zr::HRESULT OnEvent(int64_t, const char16_t*, const char16_t*, const char16_t*, zr::IUnknown*) override {
        return zr::S_OK;
    }
    zr::HRESULT OnFrame(int64_t, const char16_t*, zr::IUnknown* _pFrame) override {
        Take(_pFrame);
        return zr::S_OK;
    }
    // Null: a signal came first.
    zr::ZrPtr<zr::IZrFrame> Wait() {
        std::unique_lock lock(mtx);
        while (!pFrame && !*InterruptFlag()) evTaken.wait_for(lock, std::chrono::milliseconds(50));
        return pFrame;
    }

private:
    void Take(zr::IUnknown* _pFrame) {
        const std::lock_guard lock(mtx);
        if (nCount++ != nWanted) return;
        pFrame = zr::QueryAs<zr::IZrFrame>(_pFrame);
        evTaken.notify_all();
    }

    const int64_t nWanted;
    std::mutex mtx;  // guards what follows
    std::condition_variable evTaken;
    int64_t nCount = 0;
    zr::ZrPtr<zr::IZrFrame> pFrame;
};

void Snapshot(const SNAPSHOT_OPTIONS& _options) {
    const Show show(_options.show, true);
    CheckOutput(_options.output, show.Files());
    CheckOutput(_options.output, {_options.script});
    std::optional<ScriptPlayer> script;
    if (!_options.script.empty()) script.emplace(show, _options.script);
    const double dblQuit = script ? script->QuitTime() : -1;
    if (dblQuit >= 0 && std::llround(_options.dblAt * show.Rate()) >= std::llround(dblQuit * show.Rate()))
        throw UsageError("--at: " + _options.script + " ends the run before that");
    FrameCatcher catcher(std::llround(_options.dblAt * show.Rate()));
    show.As<zr::IZrProps>()->PropsSet(u"object::on_frame.sync", u"true");
    if (script) script->Start();
    show.Mixer()->ObjectCallbackSet(&catcher, 0);
    Check(show.Mixer()->ObjectStart(nullptr), "mixer");
    const zr::ZrPtr<zr::IZrFrame> pFrame = catcher.Wait();
    if (script) script->Stop();
    show.Mixer()->ObjectClose();
    show.Mixer()->ObjectCallbackSet(nullptr, 0);
    if (!pFrame) throw RunError(_options.show.file + ": interrupted before the frame came");
    SavePicture(pFrame.Get(), _options.output);
}

}  // namespace

void AddSnapshot(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("snapshot", "Write one frame of a show as a picture.");
    const auto pOptions = std::make_shared<SNAPSHOT_OPTIONS>();
    SNAPSHOT_OPTIONS& o = *pOptions;
    pCommand->add_option("SHOW", o.show.file, "The show, an XML file.")->required();
    pCommand->add_option("--at", o.dblAt, "When, in seconds from the start.")->check(IsTime());
    pCommand->add_option("-o,--output", o.output, "The picture; its ending names the type: png, jpg, bmp, tga.")
        ->required();
    pCommand->add_option("--format", o.show.format, "Output format by name; without it that of the show.");
    pCommand->add_option("--set", o.show.arrSet, "As of \"run\".");
    pCommand->add_option("--script", o.script, "As of \"run\".");
    pCommand->callback([pOptions] {
        CatchInterrupts();
        Snapshot(*pOptions);
    });
}

}  // namespace zrmix
