#pragma once
// What the properties of an object ask of the object, whose parts they do not know.

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/status.h"
#include "zr/props.h"
#include "zr/ptr.h"

namespace zr {

class CoXMLNode;

// Every call has the answer of an object that has nothing of the kind. The lock of the properties is held in each, so
// none may wait for another thread that uses them: shared while a key is read, by any number of threads at once, else
// by one thread alone.
class IPropsHost {
public:
    // The first word on a key, before the tree is asked. ZR_E_RETRY: not mine; anything else is the result.
    virtual HRESULT OnHostedSet(std::u16string_view /*_name*/, std::u16string_view /*_value*/) { return ZR_E_RETRY; }
    virtual HRESULT OnHostedGet(std::u16string_view /*_name*/, BSTR* /*_pbsValue*/) { return ZR_E_RETRY; }
    // The objects that keys are passed on to, empty when there are none now.
    virtual ZrPtr<IZrProps> PropsOfDelayLine() { return {}; }
    virtual ZrPtr<IZrProps> PropsOfPreview() { return {}; }

    // --- Settings that the object keeps outside the tree

    virtual void OnFrameRateConversion(int32_t /*_nActiveFrc*/) {}
    // Bounds of the output queue; a most of 0 means no queue.
    virtual void OnOutputBuffers(int32_t /*_nMin*/, int32_t /*_nMax*/) {}
    // _priority: the text of the key.
    virtual void OnThreadPriority(std::u16string_view /*_priority*/) {}
    // Any key that is none of the above and was not passed on. _pOld: what it was before, null when it was not set. An
    // empty name: any number of keys, or one that was removed.
    virtual void OnKeyChanged(std::u16string_view /*_name*/, std::u16string_view /*_value*/,
                              const std::u16string* /*_pOld*/) {}

    // --- Start-up only, in this order

    virtual void OnName(std::u16string_view /*_name*/, std::u16string_view /*_configFile*/) {}
    // Time to make the preview, which then gets its keys.
    virtual void OnPreviewCreate() {}
    // The node `audio` is there; the tracks are made by it.
    virtual void OnAudioSetUp(CoXMLNode& /*_audio*/, int32_t /*_nTracks*/, int32_t /*_nChannelsPerTrack*/) {}
    // Adds the scene file that was saved last under a name.
    virtual void OnSceneLoad(std::u16string_view /*_path*/, std::u16string_view /*_name*/) {}
    virtual bool HasScene() { return true; }
    virtual void OnSceneAddEmpty() {}

protected:
    ~IPropsHost() = default;
};

}  // namespace zr
