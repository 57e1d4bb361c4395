#pragma once
// Gives an object T its face as a sender; the work is Sender's, which T has and shows by Sender_I().

#include "attributes/interface_call.h"
#include "media/transport_interfaces.h"
#include "transport/sender.h"

namespace zr {

// Beside Sender_I() T has SenderStandsBefore(IUnknown*): whether that object is further down the way of its frames.
template <class T>
class IZrSenderImpl : public IZrSender_I {
public:
    HRESULT SenderConnect(IUnknown* _pReceiver, const char16_t* _bsChannelID, const char16_t* _bsXMLParam,
                          int32_t* _pbSending) override {
        return InterfaceCall([&] { return S().SenderConnect(_pReceiver, _bsChannelID, _bsXMLParam, _pbSending); });
    }
    HRESULT SenderDisconnect(const char16_t* _bsChannelID) override {
        return InterfaceCall([&] { return S().SenderDisconnect(_bsChannelID); });
    }
    HRESULT SenderGetCount(int32_t* _pnCount) override { return S().SenderGetCount(_pnCount); }
    HRESULT SenderGetByIndex(int32_t _nIndex, BSTR* _pbsChannelID, BSTR* _pbsXMLParam) override {
        return InterfaceCall([&] { return S().SenderGetByIndex(_nIndex, _pbsChannelID, _pbsXMLParam); });
    }
    HRESULT SenderNameGet(BSTR* _pbsName) override { return S().SenderNameGet(_pbsName); }
    HRESULT SenderFormatGet(ZR_VID_PROPS* _pVidProps, ZR_AUD_PROPS* _pAudProps) override {
        return InterfaceCall([&] { return S().SenderFormatGet(_pVidProps, _pAudProps); });
    }
    HRESULT SenderFilterAdd(IZrFrameFilter_I* _pFilter, int64_t _llUserValue) override {
        return InterfaceCall([&] { return S().SenderFilterAdd(_pFilter, _llUserValue); });
    }
    HRESULT SenderFilterRemove(IZrFrameFilter_I* _pFilter) override { return S().SenderFilterRemove(_pFilter); }
    HRESULT SenderIsObject(IUnknown* _pObject) override {
        if (!_pObject) return E_POINTER;
        T& object = *static_cast<T*>(this);
        const auto pThis = QueryAs<IUnknown>(static_cast<IZrSender_I*>(this));
        return QueryAs<IUnknown>(_pObject) == pThis || object.SenderStandsBefore(_pObject) ? S_OK : S_FALSE;
    }
    HRESULT SenderNameSet(BSTR* _pbsName, int32_t _bExact) override {
        return InterfaceCall([&] { return S().SenderNameSet(_pbsName, _bExact); });
    }
    HRESULT SenderExternalAccess(int32_t _bEnable, const char16_t* _bsName) override {
        return InterfaceCall([&] { return S().SenderExternalAccess(_bEnable, _bsName); });
    }

protected:
    ~IZrSenderImpl() = default;

private:
    Sender& S() { return static_cast<T*>(this)->Sender_I(); }
};

}  // namespace zr
