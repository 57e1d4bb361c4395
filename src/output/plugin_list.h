#pragma once
// The plug-ins of an object or of an item, and the way of a frame through them.

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "attributes/co_xml_node.h"
#include "output/audio_overlay.h"
#include "platform/rw_lock.h"
#include "zr/plugins.h"

namespace zr {

// Any thread edits; frames come one at a time. Plug-ins are called with no lock held, on a copy of the list: an edit
// from within a call holds for the next frame.
class PluginList {
public:
    // Keys are read from _pKeys. _self: the object or item that plug-ins are called by, not counted. Both outlive the
    // list.
    PluginList(const XMLNodePtr& _pKeys, IUnknown& _self)
        : pKeys(_pKeys), self(_self), pEntries(std::make_shared<const Entries>()) {}
    PluginList(const PluginList&) = delete;
    PluginList& operator=(const PluginList&) = delete;

    // --- The list; results as of IZrPlugins

    HRESULT GetCount(int32_t* _pnCount) const;
    HRESULT GetByIndex(int32_t _nIndex, IUnknown** _ppPlugin, int64_t* _pllUserData) const;
    HRESULT Add(IUnknown* _pPlugin, int64_t _llUserData);
    HRESULT Remove(IUnknown* _pPlugin);
    HRESULT Reorder(IUnknown* _pPlugin, int32_t _nOrderChange);
    // A key has been set.
    void OnKeys() { bKeysSet.store(true, std::memory_order_release); }

    // --- Frames

    // Whether frames pass as they are.
    bool IsIdle() const {
        return nCount.load(std::memory_order_acquire) == 0 && !bOverlays && !bKeysSet.load(std::memory_order_acquire);
    }
    // The overlays that the keys ask for, then all plug-ins, the last first. The frame is not changed, but by plug-ins
    // that have it as the object's own. *_ppFrame: what came of it, with a reference; it may be the frame itself.
    // E_NOINTERFACE: a plug-in gave back what is no frame.
    HRESULT ProcessFrame(IUnknown* _pSender, IZrFFrame* _pFrame, IZrFFrame** _ppFrame);
    // The frame that goes on: what comes of it, or the frame where nothing does.
    ZrPtr<IZrFFrame> Pass(ZrPtr<IZrFFrame> _pFrame) {
        ZrPtr<IZrFFrame> pResult;
        if (IsIdle() || Failed(ProcessFrame(&self, _pFrame.Get(), pResult.Out()))) return _pFrame;
        return pResult;
    }

    // The time line breaks off. Goes to plug-ins that have been given frames.
    void MediaFlush();
    // No more frames for now: once behind the last one.
    void MediaEnd();

private:
    struct ENTRY {
        ZrPtr<IUnknown> pPlugin;  // its IUnknown, so that two of them can be compared
        ZrPtr<IZrPlugin> pFace;   // null: it is passed over
        int64_t llUserData = 0;
    };
    using Entries = std::vector<ENTRY>;
    using EntriesPtr = std::shared_ptr<const Entries>;

    template <class Change>
    HRESULT ChangeEntries(Change _change);
    EntriesPtr Now() const;
    void ReadKeys();
    void DrawOverlays(IZrFFrame& _frame, ZrPtr<IZrFFrame>& _pWork);
    void CallPlugins(IUnknown* _pSender, bool _bInput, ZrPtr<IZrFrame>& _pWork);
    template <class Call>
    void TellPlugins(Call _call) const;

    const XMLNodePtr pKeys;
    IUnknown& self;
    std::atomic<bool> bKeysSet{true};
    std::atomic<size_t> nCount{0};            // of the entries
    std::atomic<bool> bGiven{false};          // plug-ins have been given frames since the last end
    mutable CRWSynchroLiteRW lock;            // unranked leaf; nothing is released under it
    EntriesPtr pEntries ZR_GUARDED_BY(lock);  // never changed once it is in use

    // Of the thread that brings the frames, as the keys have them.
    bool bOptimization = true;
    bool bMeters = false, bWaveform = false;
    bool bOverlays = false;  // one of them
    double dblMetersPos = 0, dblWaveformPos = 0;
    FILL_COLOUR colour;
    AudioOverlay overlay;
};

}  // namespace zr
