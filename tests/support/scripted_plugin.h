#pragma once
// A plug-in that a test decides, and that counts its calls.

#include <atomic>
#include <functional>

#include "platform/unknown.h"
#include "zr/plugins.h"

namespace zr {

class ScriptedPlugin final : public UnknownImpl<IZrPlugin> {
public:
    using Receive = std::function<HRESULT(int64_t _llUserData, IZrFrame* _pFrame, IZrFrame** _ppFrameRes)>;
    explicit ScriptedPlugin(Receive _receive) : receive(std::move(_receive)) {}
    static ZrPtr<ScriptedPlugin> Make(Receive _receive) {
        return ZrPtr<ScriptedPlugin>::Attach(new ScriptedPlugin(std::move(_receive)));
    }

    HRESULT OnMediaReceive(int64_t _llUserData, IUnknown*, IZrFrame* _pFrame, IZrFrame** _ppFrameRes) override {
        nFrames.fetch_add(1);
        return receive(_llUserData, _pFrame, _ppFrameRes);
    }
    HRESULT OnMediaEnd(int64_t, IUnknown*, uint32_t) override { return nEnds.fetch_add(1), S_OK; }
    HRESULT OnMediaFlush(int64_t, IUnknown*, uint32_t) override { return nFlushes.fetch_add(1), S_OK; }

    std::atomic<int32_t> nFrames{0}, nEnds{0}, nFlushes{0};

private:
    const Receive receive;
};

}  // namespace zr
