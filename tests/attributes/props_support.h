#pragma once
// An object with properties whose parts only note what is asked of them.

#include <map>
#include <string>
#include <vector>

#include "attributes/faces.h"
#include "attributes/props_impl.h"
#include "platform/unknown.h"

namespace zr {

// Properties of a hosted object: notes what it is given, answers what it was given, knows only keys of one prefix.
class HostedProps final : public UnknownImpl<IZrProps> {
public:
    explicit HostedProps(std::string _strPrefix = {}, HRESULT _hr = S_OK) : strPrefix(std::move(_strPrefix)), hr(_hr) {}

    HRESULT PropsSet(const char16_t* _bsName, const char16_t* _bsValue) override {
        const std::string strName = ToUtf8(_bsName);
        if (strName.rfind(strPrefix, 0) != 0) return ZR_E_RETRY;
        mapValues[strName] = ToUtf8(_bsValue);
        arrSet.push_back(strName + "=" + ToUtf8(_bsValue));
        return hr;
    }
    HRESULT PropsGet(const char16_t* _bsName, BSTR* _pbsValue) override {
        const auto it = mapValues.find(ToUtf8(_bsName));
        if (it == mapValues.end()) return S_FALSE;
        *_pbsValue = Text(it->second).Detach();
        return S_OK;
    }
    HRESULT PropsGetCount(const char16_t*, int32_t*) override { return E_NOTIMPL; }
    HRESULT PropsGetByIndex(const char16_t*, int32_t, BSTR*, BSTR*, int32_t*) override { return E_NOTIMPL; }
    HRESULT PropsRemove(const char16_t*) override { return E_NOTIMPL; }
    HRESULT PropsInfoGet(const char16_t*, eZrInfoType, BSTR*) override { return E_NOTIMPL; }
    HRESULT PropsOptionGetCount(const char16_t*, int32_t*) override { return E_NOTIMPL; }
    HRESULT PropsOptionGetByIndex(const char16_t*, int32_t, BSTR*, BSTR*) override { return E_NOTIMPL; }
    HRESULT PropsOptionSetByIndex(const char16_t*, int32_t) override { return E_NOTIMPL; }
    HRESULT PropsOptionGet(const char16_t*, int32_t*, BSTR*, BSTR*) override { return E_NOTIMPL; }

    std::vector<std::string> arrSet;
    std::map<std::string, std::string> mapValues;

private:
    const std::string strPrefix;
    const HRESULT hr;
};

// Notes every call as one text.
class NotingHost : public IPropsHost {
public:
    HRESULT OnHostedSet(std::u16string_view _name, std::u16string_view _value) override {
        if (_name != u"hosted") return ZR_E_RETRY;
        Note("hosted " + ToUtf8(_value));
        return S_FALSE;
    }
    HRESULT OnHostedGet(std::u16string_view _name, BSTR* _pbs) override {
        if (_name != u"object::zrdelay.available") return ZR_E_RETRY;
        *_pbs = Text(std::string_view(pDelay ? "true" : "false")).Detach();
        return S_OK;
    }
    ZrPtr<IZrProps> PropsOfDelayLine() override { return pDelay; }
    ZrPtr<IZrProps> PropsOfPreview() override { return pPreview; }
    void OnFrameRateConversion(int32_t _nActiveFrc) override { Note("frc " + std::to_string(_nActiveFrc)); }
    void OnOutputBuffers(int32_t _nMin, int32_t _nMax) override {
        Note("buffers " + std::to_string(_nMin) + " " + std::to_string(_nMax));
    }
    void OnThreadPriority(std::u16string_view _priority) override { Note("priority " + ToUtf8(_priority)); }
    void OnKeyChanged(std::u16string_view _name, std::u16string_view _value, const std::u16string* _pOld) override {
        if (bNoteKeys)
            Note(ToUtf8(_name) + " " + (_pOld ? ToUtf8(*_pOld) : std::string("<null>")) + "->" + ToUtf8(_value));
    }
    void OnName(std::u16string_view _name, std::u16string_view _configFile) override {
        Note("name " + ToUtf8(_name) + " " + ToUtf8(_configFile));
    }
    void OnPreviewCreate() override {
        Note("preview");
        pPreview = ZrPtr<IZrProps>::Attach(pPreviewProps = new HostedProps());
    }
    void OnAudioSetUp(CoXMLNode& _audio, int32_t _nTracks, int32_t _nChannels) override {
        Note(ToUtf8(_audio.Name()) + " " + std::to_string(_nTracks) + " " + std::to_string(_nChannels));
    }
    void OnSceneLoad(std::u16string_view _path, std::u16string_view _name) override {
        Note("scene " + ToUtf8(_path) + " as " + ToUtf8(_name));
        bScene = true;
    }
    bool HasScene() override { return bScene; }
    void OnSceneAddEmpty() override { Note("empty scene"); }

    std::vector<std::string> Notes() { return std::exchange(arrNotes, {}); }
    void Note(std::string _str) { arrNotes.push_back(std::move(_str)); }

    ZrPtr<IZrProps> pDelay, pPreview;
    HostedProps* pPreviewProps = nullptr;  // of pPreview, made by the host
    bool bScene = false;
    bool bNoteKeys = false;
    std::vector<std::string> arrNotes;
};

// The object itself.
class PropsObject final : public NotingHost, public IZrPropsImpl<PropsObject> {
public:
    explicit PropsObject(const PROPS_PROFILE& _profile) : IZrPropsImpl(_profile, *this) {}
    explicit PropsObject(XMLNodePtr _pRoot) : IZrPropsImpl(std::move(_pRoot), *this) {}

    HRESULT QueryInterface(const GUID&, void** _ppv) override {
        *_ppv = nullptr;
        return E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 2; }  // lives on the stack
    uint32_t Release() override { return 1; }

    HRESULT Start() { return props.Start_I(); }
    ZrPropsHW& Props() { return props; }

    HRESULT Set(std::string_view _name, std::string_view _value) {
        return PropsSet(Wide(_name).c_str(), Wide(_value).c_str());
    }
    // The value with the result code in front unless it is S_OK.
    std::string Get(std::string_view _name) {
        Text value;
        const HRESULT hr = PropsGet(Wide(_name).c_str(), value.Out());
        return (hr == S_OK ? "" : hr == S_FALSE ? "S_FALSE " : "failed ") + Shown(value);
    }
};

}  // namespace zr
