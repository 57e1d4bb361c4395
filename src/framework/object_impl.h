#pragma once
// Gives an object T its face as an object that starts and closes, has a name and tells what happens.

#include "attributes/interface_call.h"
#include "framework/events.h"
#include "framework/last_frame.h"
#include "framework/object_commands.h"
#include "framework/object_name.h"
#include "zr/object.h"

namespace zr {

// T gives its parts and what it does:
//     ObjectName& Name_I(); LastFrame& LastFrame_I(); ObjectEvents& Events_I();
//     eZrState State_I(); HRESULT Start_I(); HRESULT Close_I();
template <class T>
class IZrObjectImpl : public IZrObject {
public:
    HRESULT ObjectNameSet(const char16_t* _bsName) override {
        return InterfaceCall([&] {
            Object_I().Name_I().Set(TextArgument(_bsName));
            return S_OK;
        });
    }
    HRESULT ObjectNameGet(BSTR* _pbsName) override {
        return InterfaceCall([&] { return GiveText(*Object_I().Name_I().Get(), _pbsName); });
    }
    HRESULT ObjectStart(IUnknown*) override {
        return InterfaceCall([&] { return Object_I().Start_I(); });
    }
    // Nobody is told of anything any more when it has closed.
    HRESULT ObjectClose() override {
        return InterfaceCall([&] {
            const HRESULT hr = Object_I().Close_I();
            if (Succeeded(hr)) Object_I().Events_I().Close();
            return hr;
        });
    }
    HRESULT ObjectStateGet(eZrState* _peState) override {
        if (!_peState) return E_POINTER;
        *_peState = Object_I().State_I();
        return S_OK;
    }
    HRESULT ObjectCallbackSet(IZrCallback* _pCallback, int64_t _llCallbackUserData) override {
        return Object_I().Events_I().SetCallback(_pCallback, _llCallbackUserData);
    }
    HRESULT ObjectCallbackSetFunc(int64_t _lpPFOnEvent, int64_t _lpPFOnFrame, int64_t _llCallbackUserData) override {
        return Object_I().Events_I().SetFunctions(reinterpret_cast<PFOnEvent>(_lpPFOnEvent),
                                                  reinterpret_cast<PFOnFrame>(_lpPFOnFrame), _llCallbackUserData);
    }
    HRESULT ObjectCommandExecute(const char16_t* _bsCommand, const char16_t* _bsParam, IUnknown*,
                                 BSTR* _pbsReturn) override {
        if (_pbsReturn) *_pbsReturn = nullptr;
        if (TextArgument(_bsCommand).empty()) return E_INVALIDARG;
        Object_I().Events_I().RaiseEvent(u"command-execute", _bsCommand, _bsParam, nullptr);
        return ExecuteObjectCommand(static_cast<IZrObject*>(this), _bsCommand, _bsParam, _pbsReturn);
    }
    HRESULT ObjectVirtualSourceCreate(int32_t, const char16_t*, const char16_t*) override { return E_NOTIMPL; }
    HRESULT ObjectFrameGet(IZrFrame** _ppFrame, const char16_t* _bsParam) override {
        return Object_I().LastFrame_I().Get(_ppFrame, _bsParam);
    }
    HRESULT ObjectGetInternal(const char16_t*, IUnknown** _ppObject) override {
        if (!_ppObject) return E_POINTER;
        *_ppObject = nullptr;
        return E_NOTIMPL;
    }

protected:
    ~IZrObjectImpl() = default;

private:
    T& Object_I() { return *static_cast<T*>(this); }
};

}  // namespace zr
