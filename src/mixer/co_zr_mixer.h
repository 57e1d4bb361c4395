#pragma once
// The mixer as its hosts know it: the faces around the parts.

#include "attributes/persist_impl.h"
#include "attributes/props_impl.h"
#include "audio/audio_impl.h"
#include "framework/events.h"
#include "framework/object_format.h"
#include "framework/object_impl.h"
#include "mixer/feedback.h"
#include "mixer/mixer_core.h"
#include "mixer/mixer_item_host.h"
#include "output/plugins_impl.h"
#include "platform/unknown.h"
#include "scenes/scenes_impl.h"
#include "sources/file_forward.h"
#include "transport/sender_impl.h"
#include "transport/source_impl.h"
#include "zr/streams.h"

namespace zr {

class CCoZrMixer final : public IZrObjectImpl<CCoZrMixer>,
                         public IZrFileForward<CCoZrMixer>,
                         public IZrStreams,
                         public IZrScenesImpl<CCoZrMixer>,
                         public IZrPersistImpl<CCoZrMixer, ElementPtr>,
                         public IZrPersistInfo,
                         public IZrPropsImpl<CCoZrMixer>,
                         public IZrAudioImpl<CCoZrMixer>,
                         public IZrFormatImpl<CCoZrMixer>,
                         public IZrPluginsImpl<CCoZrMixer>,
                         public IZrSourceImpl<CCoZrMixer>,
                         public IZrSource_IImpl<CCoZrMixer>,
                         public IZrSenderImpl<CCoZrMixer>,
                         public IZrEventsImpl<CCoZrMixer>,
                         private IPropsHost,
                         private ISenderHost,
                         private ISourceHost {
public:
    CCoZrMixer();

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override;
    uint32_t AddRef() override { return references.Add(); }
    uint32_t Release() override;

    // For the templates of its faces.
    SourceReaders& Readers_I() { return readers; }
    Sender& Sender_I() { return sender; }
    AudioTracks& Tracks_I() { return core.tracks; }
    PluginList& Plugins_I() { return plugins; }
    ObjectEvents& Events_I() { return events; }
    ScenesSet& Scenes_I() { return core.scenes; }
    ElementPtr NewTree_I() { return CoElement::CreateTop(u"zr_config"); }
    HRESULT Save_I(std::u16string_view _object, const ElementPtr& _pTop, const PERSIST_PARAM& _param) {
        return core.persist.Save(_object, *_pTop, _param);
    }
    HRESULT Load_I(std::u16string_view _object, const ElementPtr& _pTree, const PERSIST_PARAM& _param) {
        return core.persist.Load(_object, *_pTree, _param);
    }
    bool SenderStandsBefore(IUnknown* _pObject) { return Shows(_pObject, *static_cast<IZrObject*>(this)); }

    ObjectName& Name_I() { return core.state.name; }
    LastFrame& LastFrame_I() { return core.lastFrame; }
    eZrState State_I() const { return core.state.Get(); }
    HRESULT Start_I() { return core.control.ObjectStart(); }
    HRESULT Close_I();

    // --- IZrFile: playing is the mixer's own, the file is the background's

    static constexpr HRESULT kNoFile = ZR_E_EMPTY;
    ZrPtr<IZrFile> File_I() const { return Background(); }
    HRESULT FilePlayStart() override { return core.control.FilePlay(-1.0); }
    // Below 0: as FilePlayStart.
    HRESULT FilePlayPause(double _dblSeconds) override { return core.control.FilePlay(_dblSeconds); }
    HRESULT FilePlayStop(double _dblSeconds) override { return core.control.FilePlayStop(_dblSeconds); }
    HRESULT FileStateGet(eZrState* _peState, double* _pdblTimeRemain) override {
        return core.control.FileStateGet(_peState, _pdblTimeRemain);
    }

    // --- IZrStreams

    HRESULT StreamsGetCount(int32_t* _pnCount) override { return core.inputs.GetCount(_pnCount); }
    HRESULT StreamsGetByIndex(int32_t _nIndex, BSTR* _pbsStreamID, IZrItem** _ppStream) override;
    HRESULT StreamsGet(const char16_t* _bsStreamID, int32_t* _pnIndex, IZrItem** _ppStream) override;
    HRESULT StreamsAdd(const char16_t* _bsStreamID, IUnknown* _pExternOrRef, const char16_t* _bsPath,
                       const char16_t* _bsParam, IZrItem** _ppItem, double _dblTimeForChange) override;
    HRESULT StreamsRemove(IZrItem* _pStream, double _dblTimeForChange) override;
    HRESULT StreamsRemoveByIndex(int32_t _nIndex, int32_t _nExtraRemove, double _dblTimeForChange) override;
    HRESULT StreamsReorder(IZrItem* _pStream, int32_t _nIndexAdd, double _dblTimeForChange) override;
    HRESULT StreamsBackgroundSet(IUnknown* _pExternOrRef, const char16_t* _bsPath, const char16_t* _bsParam,
                                 IZrItem** _ppItem, double _dblTimeForChange) override;
    HRESULT StreamsBackgroundGet(BSTR* _pbsPath, IZrItem** _ppItem) override;

    // --- IZrPersistInfo

    HRESULT PersistInfoGet(BSTR* _pbsXMLInfo) override;

private:
    ~CCoZrMixer() = default;
    void SaveLastScene();
    ZrPtr<CCoZrItem> Background() const { return core.streams.Background(); }

    void OnSceneLoad(std::u16string_view _path, std::u16string_view _name) override;
    void OnName(std::u16string_view _name, std::u16string_view _configFile) override;
    void OnOutputBuffers(int32_t _nMin, int32_t _nMax) override;
    void OnAudioSetUp(CoXMLNode& _audio, int32_t _nTracks, int32_t _nChannelsPerTrack) override;
    void OnKeyChanged(std::u16string_view _name, std::u16string_view _value, const std::u16string* _pOld) override;

    HRESULT OnSenderFormat(ZR_VID_PROPS* _pVidProps, ZR_AUD_PROPS* _pAudProps) override;
    Waitable* SenderStopEvent() override { return &core.cycle.StopEvent(); }
    void OnReaderCount(size_t _nReaders) override;

    ReferenceCount references;
    ObjectEvents events;
    SourceReaders readers;
    Sender sender;
    PluginList plugins;
    MixerCore core;
    const ZrPtr<MixerItemHost> pItemHost;
};

}  // namespace zr
