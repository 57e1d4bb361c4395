#pragma once
// The file source as its hosts know it: the faces around the parts.

#include "attributes/props_impl.h"
#include "audio/audio_impl.h"
#include "framework/events.h"
#include "framework/object_format.h"
#include "framework/object_impl.h"
#include "output/plugins_impl.h"
#include "platform/unknown.h"
#include "sources/file_control.h"
#include "transport/sender_impl.h"
#include "transport/source_impl.h"
#include "zr/file.h"

namespace zr {

class CCoZrFile final : public IZrObjectImpl<CCoZrFile>,
                        public IZrFile,
                        public IZrPropsImpl<CCoZrFile>,
                        public IZrAudioImpl<CCoZrFile>,
                        public IZrFormatImpl<CCoZrFile>,
                        public IZrPluginsImpl<CCoZrFile>,
                        public IZrSourceImpl<CCoZrFile>,
                        public IZrSource_IImpl<CCoZrFile>,
                        public IZrSenderImpl<CCoZrFile>,
                        public IZrEventsImpl<CCoZrFile>,
                        private IPropsHost,
                        private ISourceHost,
                        private ISenderHost {
public:
    CCoZrFile();

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override {
        return QueryFaces<IZrObject, IZrFile, IZrProps, IZrFormat, IZrPlugins, IZrAudio, IZrAllTracks, IZrSource,
                          IZrSource_I, IZrSender_I, IZrEventsAdvise>(this, _iid, _ppv);
    }
    uint32_t AddRef() override { return references.Add(); }
    uint32_t Release() override;
    SourceReaders& Readers_I() { return readers; }
    Sender& Sender_I() { return sender; }
    AudioTracks& Tracks_I() { return tracks; }
    PluginList& Plugins_I() { return plugins; }
    ObjectEvents& Events_I() { return events; }
    bool SenderStandsBefore(IUnknown*) const { return false; }

    ObjectName& Name_I() { return name; }
    LastFrame& LastFrame_I() { return lastFrame; }
    eZrState State_I() const { return control.State(); }
    HRESULT Start_I() { return control.ObjectStart(); }
    HRESULT Close_I() { return control.ObjectClose(); }

    // --- IZrFile

    HRESULT FileNameSet(const char16_t* _bsFile, const char16_t* _bsParam) override;
    HRESULT FileNameGet(BSTR* _pbsFile) override;
    HRESULT FileInOutSet(double _dblIn, double _dblOut) override;
    HRESULT FileInOutGet(double* _pdblIn, double* _pdblOut, double* _pdblDuration) override;
    HRESULT FilePosSet(double _dblPos, double _dblPreroll) override;
    HRESULT FilePosGet(double* _pdblFilePos) override;
    HRESULT FilePlayStart() override;
    HRESULT FilePlayPause(double _dblSeconds) override;
    HRESULT FilePlayStop(double _dblSeconds) override;
    HRESULT FileStateGet(eZrState* _peState, double* _pdblTimeRemain) override;
    HRESULT FileRateSet(double _dblRate) override;
    HRESULT FileRateGet(double* _pdblRate) override;
    HRESULT FileFrameGet(double _dblPos, double _dblPreroll, IZrFrame** _ppFrame) override;
    HRESULT FileInOutSetTC(const ZR_TIMECODE* _pTCIn, const ZR_TIMECODE* _pTCOut) override;
    HRESULT FileInOutGetTC(ZR_TIMECODE* _pTCIn, ZR_TIMECODE* _pTCOut, int32_t* _pbOutSpecified) override;
    HRESULT FilePosSetTC(const ZR_TIMECODE* _pTC) override;
    HRESULT FilePosGetTC(ZR_TIMECODE* _pTC) override;
    HRESULT FileFrameGetByTC(const ZR_TIMECODE* _pTC, IZrFrame** _ppFrame) override;

private:
    ~CCoZrFile() = default;

    // IPropsHost
    void OnName(std::u16string_view _name, std::u16string_view _configFile) override;
    void OnAudioSetUp(CoXMLNode& _audio, int32_t _nTracks, int32_t _nChannelsPerTrack) override {
        tracks.SetUp(_audio, _nTracks, _nChannelsPerTrack);
    }
    void OnThreadPriority(std::u16string_view _priority) override;
    void OnKeyChanged(std::u16string_view _name, std::u16string_view _value, const std::u16string* _pOld) override;
    // ISenderHost
    HRESULT OnSenderFormat(ZR_VID_PROPS* _pVidProps, ZR_AUD_PROPS* _pAudProps) override;
    Waitable* SenderStopEvent() override { return &control.Pump().CancelEvent(); }

    ReferenceCount references;
    ObjectName name;
    LastFrame lastFrame;
    SourceReaders readers;
    Sender sender;
    ObjectEvents events;
    AudioTracks tracks{AudioTracks::Levels::kOnDemand};
    PluginList plugins;
    FileControl control;
};

// Does nothing. A program that links the library statically calls it from somewhere, so that the class, which is only
// found by its id, is in it.
void LinkFileSource();

}  // namespace zr
