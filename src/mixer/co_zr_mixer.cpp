#include "mixer/co_zr_mixer.h"

#include "attributes/interface_call.h"
#include "attributes/mixer_keys.h"
#include "mixer/config_info.h"
#include "platform/class_registry.h"
#include "platform/wide_text.h"
#include "zr/class_ids.h"

namespace zr {
namespace {

const ClassRegistrar registrarMixer(kClsidZrMixer, &MakeObject<CCoZrMixer>);

}  // namespace

CCoZrMixer::CCoZrMixer()
    : IZrPropsImpl<CCoZrMixer>(MixerProfile(), *this, lock_order::kProperties),
      events(props.Object()),
      readers(props.Root(), props.Object(), *this),
      sender(props.Object(), *static_cast<IZrObject*>(this), readers, *this, &references),
      plugins(props.Object(), *static_cast<IZrObject*>(this)),
      core(props, format, readers, sender, plugins, events, *static_cast<IZrObject*>(this)),
      pItemHost(
          ZrPtr<MixerItemHost>::Attach(new MixerItemHost(*static_cast<IZrObject*>(this), references, core.control))) {
    core.maker.SetHost(pItemHost);
    props.Start_I();
}

HRESULT CCoZrMixer::QueryInterface(const GUID& _iid, void** _ppv) {
    return QueryFaces<IZrObject, IZrFile, IZrStreams, IZrScenes, IZrElements, IZrPersist, IZrPersistInfo, IZrProps,
                      IZrFormat, IZrPlugins, IZrAudio, IZrAllTracks, IZrSource, IZrSource_I, IZrSender_I,
                      IZrEventsAdvise>(this, _iid, _ppv);
}

uint32_t CCoZrMixer::Release() {
    const uint32_t nLeft = references.Drop();
    if (nLeft == 0) {
        pItemHost->Detach();
        sender.Access().Leave();
        references.Add();  // whoever is told of the end may take a reference and give it back
        ObjectClose();
        delete this;
    }
    return nLeft;
}

void CCoZrMixer::OnSceneLoad(std::u16string_view _path, std::u16string_view _name) {
    PersistLoad(std::u16string(_name).c_str(), std::u16string(_path).c_str(), nullptr);
}

void CCoZrMixer::OnName(std::u16string_view _name, std::u16string_view) { core.state.name.Set(_name); }

void CCoZrMixer::OnOutputBuffers(int32_t _nMin, int32_t) {
    // By the way that the mixer works, which is not always what the key says.
    const int32_t nMax = props.Object()->AttributeOr(u"output.max_buffers", 0);
    core.output.SetBounds(_nMin, nMax, core.cycle.IsSynchronous(0));
}

void CCoZrMixer::OnAudioSetUp(CoXMLNode& _audio, int32_t _nTracks, int32_t _nChannelsPerTrack) {
    core.tracks.SetUp(_audio, _nTracks, _nChannelsPerTrack);
}

void CCoZrMixer::OnKeyChanged(std::u16string_view _name, std::u16string_view, const std::u16string*) {
    core.tracks.OnKey(_name, *props.Object());
    plugins.OnKeys();
    if (StreamMix::IsKey(_name)) core.cycle.OnKeys();
    if (ExternalAccess::IsKey(_name)) sender.Access().OnKeys();
}

HRESULT CCoZrMixer::OnSenderFormat(ZR_VID_PROPS* _pVidProps, ZR_AUD_PROPS* _pAudProps) {
    if (!_pVidProps && !_pAudProps) return E_POINTER;
    HRESULT hr = _pVidProps ? format.VideoGet(eZrFT_Output, _pVidProps, nullptr, nullptr) : S_OK;
    if (Succeeded(hr) && _pAudProps) hr = format.AudioGet(eZrFT_Output, _pAudProps, nullptr, nullptr);
    return hr;
}

// A mixer that its readers paced goes on by itself when the last one has left.
void CCoZrMixer::OnReaderCount(size_t _nReaders) {
    constexpr int32_t kByReaders = 4;
    if (_nReaders == 0 && props.Object()->AttributeOr(u"rate_control", 3) == kByReaders) {
        props.Object()->SetAttribute(u"rate_control", int32_t{3});
    }
}

HRESULT CCoZrMixer::Close_I() {
    const HRESULT hr = core.control.ObjectClose();
    if (Succeeded(hr)) SaveLastScene();
    return hr;
}

void CCoZrMixer::SaveLastScene() {
    const XMLNodePtr& pRoot = props.Root();
    const std::u16string strPath = pRoot->AttributeOr(u"last_scene.path", std::u16string_view());
    if (pRoot->AttributeOr(u"last_scene.save", int32_t{0}) <= 0 || strPath.empty()) return;
    const bool bUnicode = props.Object()->AttributeOr(u"last_scene.unicode", false);
    PersistSaveToFile(u"scenes", strPath.c_str(), bUnicode ? u"unicode=true" : u"");
}

// --- IZrStreams

HRESULT CCoZrMixer::StreamsGetByIndex(int32_t _nIndex, BSTR* _pbsStreamID, IZrItem** _ppStream) {
    return core.inputs.GetByIndex(_nIndex, _pbsStreamID, _ppStream);
}
HRESULT CCoZrMixer::StreamsGet(const char16_t* _bsStreamID, int32_t* _pnIndex, IZrItem** _ppStream) {
    return core.inputs.Get(TextArgument(_bsStreamID), _pnIndex, _ppStream);
}
HRESULT CCoZrMixer::StreamsAdd(const char16_t* _bsStreamID, IUnknown* _pExternOrRef, const char16_t* _bsPath,
                               const char16_t* _bsParam, IZrItem** _ppItem, double _dblTimeForChange) {
    return InterfaceCall([&] {
        return core.inputs.Add(TextArgument(_bsStreamID), _pExternOrRef, TextArgument(_bsPath), TextArgument(_bsParam),
                               _ppItem, _dblTimeForChange);
    });
}
HRESULT CCoZrMixer::StreamsRemove(IZrItem* _pStream, double _dblTimeForChange) {
    return InterfaceCall([&] { return core.inputs.Remove(_pStream, _dblTimeForChange); });
}
HRESULT CCoZrMixer::StreamsRemoveByIndex(int32_t _nIndex, int32_t _nExtraRemove, double _dblTimeForChange) {
    return InterfaceCall([&] { return core.inputs.RemoveByIndex(_nIndex, _nExtraRemove, _dblTimeForChange); });
}
HRESULT CCoZrMixer::StreamsReorder(IZrItem* _pStream, int32_t _nIndexAdd, double _dblTimeForChange) {
    return core.inputs.Reorder(_pStream, _nIndexAdd, _dblTimeForChange);
}
HRESULT CCoZrMixer::StreamsBackgroundSet(IUnknown* _pExternOrRef, const char16_t* _bsPath, const char16_t* _bsParam,
                                         IZrItem** _ppItem, double) {
    return InterfaceCall(
        [&] { return core.background.Set(_pExternOrRef, TextArgument(_bsPath), TextArgument(_bsParam), _ppItem); });
}
HRESULT CCoZrMixer::StreamsBackgroundGet(BSTR* _pbsPath, IZrItem** _ppItem) {
    return core.background.Get(_pbsPath, _ppItem);
}

HRESULT CCoZrMixer::PersistInfoGet(BSTR* _pbsXMLInfo) {
    if (!_pbsXMLInfo) return E_POINTER;
    *_pbsXMLInfo = nullptr;
    return InterfaceCall([&] { return GiveText(ConfigInfoXml(), _pbsXMLInfo); });
}

}  // namespace zr
