#include <chrono>
#include <cmath>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/interrupt.h"
#include "apps/zrmix/run_error.h"
#include "apps/zrmix/show.h"

namespace zrmix {
namespace {

struct SNAPSHOT_OPTIONS {
    SHOW_OPTIONS show;
    double dblAt = 0;  // seconds
    std::string output;
};

// Keeps one frame of those that a mixer sends. The mixer's sending thread comes in, the command waits.
class FrameCatcher {
public:
    explicit FrameCatcher(int64_t _nWanted) : nWanted(_nWanted) {}

    static zr::HRESULT OnFrame(int64_t _llUser, const char16_t*, zr::IUnknown* _pFrame) {
        reinterpret_cast<FrameCatcher*>(_llUser)->Take(_pFrame);
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
    FrameCatcher catcher(std::llround(_options.dblAt * show.Rate()));
    show.As<zr::IZrProps>()->PropsSet(u"object::on_frame.sync", u"true");
    show.Mixer()->ObjectCallbackSetFunc(0, reinterpret_cast<int64_t>(&FrameCatcher::OnFrame),
                                        reinterpret_cast<int64_t>(&catcher));
    Check(show.Mixer()->ObjectStart(nullptr), "mixer");
    const zr::ZrPtr<zr::IZrFrame> pFrame = catcher.Wait();
    show.Mixer()->ObjectClose();
    show.Mixer()->ObjectCallbackSetFunc(0, 0, 0);
    if (!pFrame) throw RunError(_options.show.file + ": interrupted before the frame came");
    SavePicture(pFrame.Get(), _options.output);
}

}  // namespace

void AddSnapshot(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("snapshot", "Write one frame of a show as a picture.");
    const auto pOptions = std::make_shared<SNAPSHOT_OPTIONS>();
    SNAPSHOT_OPTIONS& o = *pOptions;
    pCommand->add_option("SHOW", o.show.file, "The show, an XML file.")->required();
    pCommand->add_option("--at", o.dblAt, "When, in seconds from the start.")->check(CLI::NonNegativeNumber);
    pCommand->add_option("-o,--output", o.output, "The picture; its ending names the type: png, jpg, bmp, tga.")
        ->required();
    pCommand->add_option("--format", o.show.format, "Output format by name; without it that of the show.");
    pCommand->add_option("--set", o.show.arrSet, "As of \"run\".");
    pCommand->callback([pOptions] {
        CatchInterrupts();
        Snapshot(*pOptions);
    });
}

}  // namespace zrmix
