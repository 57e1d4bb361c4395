// What a changed key sets in motion, and the keys that belong to the objects that this one hosts.

#include <algorithm>

#include "attributes/interface_call.h"
#include "attributes/key_lists.h"
#include "attributes/props.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

bool IsOneOf(std::u16string_view _name, std::initializer_list<std::u16string_view> _arrNames) {
    return std::any_of(_arrNames.begin(), _arrNames.end(),
                       [&](std::u16string_view name) { return EqualNoCase(name, _name); });
}

HRESULT SetOn(IZrProps& _props, std::u16string_view _name, std::u16string_view _value) {
    return _props.PropsSet(std::u16string(_name).c_str(), std::u16string(_value).c_str());
}

// S_OK when the hosted object has a value for the key; otherwise ZR_E_RETRY and no text.
HRESULT GetFrom(const ZrPtr<IZrProps>& _pProps, std::u16string_view _name, BSTR* _pbs) {
    if (!_pProps) return ZR_E_RETRY;
    const HRESULT hr = _pProps->PropsGet(std::u16string(_name).c_str(), _pbs);
    if (Succeeded(hr) && *_pbs) return S_OK;
    SysFreeString(std::exchange(*_pbs, nullptr));
    return ZR_E_RETRY;
}

}  // namespace

HRESULT ZrPropsHW::OnChanged(std::u16string_view _name, std::u16string_view _value, const std::u16string* _pOld) {
    if (const std::u16string_view delayKey = DelayKeyOf(_name); !delayKey.empty())
        if (const ZrPtr<IZrProps> pDelay = host.PropsOfDelayLine())
            if (const HRESULT hr = SetOn(*pDelay, delayKey, _value); hr != ZR_E_RETRY) return hr;

    if (IsOneOf(_name, {u"active_frc"})) {
        host.OnFrameRateConversion(pRoot->AttributeOr(u"active_frc", int32_t{0}));
    } else if (IsOneOf(_name, {u"object::output.min_buffers", u"object::output.max_buffers", u"object::sync_mode"})) {
        ApplyOutputBuffers();
    } else if (IsOneOf(_name, {u"object::threads.priority_max"})) {
        ApplyThreadPriority();
    } else if (IsPreviewKey(_name)) {
        const ZrPtr<IZrProps> pPreview = host.PropsOfPreview();
        return pPreview ? SetOn(*pPreview, _name, _value) : S_OK;
    } else {
        host.OnKeyChanged(_name, _value, _pOld);
    }
    return S_OK;
}

void ZrPropsHW::OnAllChanged() {
    PassAllToPreview();
    host.OnFrameRateConversion(pRoot->AttributeOr(u"active_frc", int32_t{0}));
    host.OnKeyChanged({}, {}, nullptr);
}

HRESULT ZrPropsHW::GetHosted(std::u16string_view _name, BSTR* _pbsPropValue) const {
    if (const HRESULT hr = host.OnHostedGet(_name, _pbsPropValue); hr != ZR_E_RETRY) return hr;
    if (const std::u16string_view delayKey = DelayKeyOf(_name); !delayKey.empty())
        return GetFrom(host.PropsOfDelayLine(), delayKey, _pbsPropValue);
    if (IsPreviewKey(_name)) return GetFrom(host.PropsOfPreview(), _name, _pbsPropValue);
    return ZR_E_RETRY;
}

void ZrPropsHW::PassAllToPreview() {
    const ZrPtr<IZrProps> pPreview = host.PropsOfPreview();
    if (!pPreview) return;
    std::u16string strValue;
    for (const std::u16string_view name : PreviewKeyNames())
        if (pRoot->GetAttribute(name, strValue)) SetOn(*pPreview, name, strValue);
}

void ZrPropsHW::ApplyOutputBuffers() {
    const int32_t nMin = pObject->AttributeOr(u"output.min_buffers", int32_t{0});
    const int32_t nMax = pObject->AttributeOr(u"output.max_buffers", int32_t{0});
    host.OnOutputBuffers(nMin, IsSynchronous() ? std::max(nMax, 1) : nMax);
}

void ZrPropsHW::ApplyThreadPriority() {
    host.OnThreadPriority(pObject->AttributeOr(u"threads.priority_max", std::u16string_view(u"15")));
}

}  // namespace zr
