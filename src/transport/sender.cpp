#include "transport/sender.h"

#include <algorithm>
#include <utility>

#include "attributes/interface_call.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr std::u16string_view kDefaultName = u"ZrObject";

// Names are one when they differ in case, or in the kind of their slashes.
std::u16string ClaimText(std::u16string_view _name) {
    std::u16string text(_name);
    for (char16_t& c : text) {
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + (u'a' - u'A'));
        if (c == u'\\' || c == u'/') c = u'|';
    }
    return text;
}

}  // namespace

Sender::Sender(const XMLNodePtr& _pObject, IUnknown& _self, SourceReaders& _readers, ISenderHost& _host,
               ReferenceCount* _pReferences)
    : pObject(_pObject), self(_self), readers(_readers), host(_host), access(_pObject, _self, _pReferences) {}

Sender::~Sender() {
    ChannelMap map;
    {
        CRWWriteScope lock(lockChannels, "~Sender");
        map.swap(mapChannels);
    }
    for (auto it = map.rbegin(); it != map.rend(); ++it) {
        const ZrPtr<IZrReceiver_I> pReceiver = it->second->Receiver();
        it->second->Close();
        if (pReceiver) it->second->TellEnd(*pReceiver, nullptr, 1);
    }
}

// --- Channels

HRESULT Sender::SenderConnect(IUnknown* _pReceiver, const char16_t* _bsChannelID, const char16_t* _bsXMLParam,
                              int32_t* _pbSending) {
    if (_pbSending) *_pbSending = 0;
    if (!_pReceiver) return E_POINTER;
    const HRESULT hr = ConnectReceiver(_pReceiver, TextArgument(_bsChannelID), TextArgument(_bsXMLParam));
    if (Succeeded(hr) && _pbSending) *_pbSending = bSending ? 1 : 0;
    return hr;
}

HRESULT Sender::ConnectReceiver(IUnknown* _pReceiver, std::u16string_view _id, std::u16string_view _param) {
    CHANNEL_RECEIVER receiver;
    if (const HRESULT hr = receiver.Init(_pReceiver); Failed(hr)) return hr;
    ChannelPtr pChannel;
    ZrPtr<IZrReceiver_I> pOld;
    {
        CRWWriteScope lock(lockChannels, "SenderConnect");
        if (const auto it = mapChannels.find(_id); it != mapChannels.end()) {
            pChannel = it->second;
        } else {
            pChannel = COutputChannel::Make(_id);
            if (!pChannel) return E_OUTOFMEMORY;
            mapChannels.emplace(_id, pChannel);
        }
        pOld = pChannel->Connect(std::move(receiver), _param);
        if (pChannel->Keys().bRateControl) evRateChannels.Set();
    }
    if (pOld) pChannel->TellEnd(*pOld, &self, pChannel->Keys().nDisconnectType);
    return S_OK;
}

HRESULT Sender::SenderDisconnect(const char16_t* _bsChannelID) {
    ChannelPtr pChannel;
    {
        CRWWriteScope lock(lockChannels, "SenderDisconnect");
        const auto it = mapChannels.find(TextArgument(_bsChannelID));
        if (it == mapChannels.end()) return ZR_E_NOT_FOUND_FILE;
        pChannel = it->second;
        mapChannels.erase(it);
        FindRateChannels();
    }
    pChannel->Close();
    return S_OK;
}

// Unless somebody has connected to the channel anew.
void Sender::RemoveDead(const ChannelPtr& _pChannel) {
    {
        CRWWriteScope lock(lockChannels, "Sender_SendMedia");
        const auto it = mapChannels.find(_pChannel->Id());
        if (it == mapChannels.end() || it->second != _pChannel || !_pChannel->IsDead()) return;
        mapChannels.erase(it);
        FindRateChannels();
    }
    _pChannel->Close();
}

void Sender::FindRateChannels() {
    const auto isRate = [](const auto& _entry) { return _entry.second->Keys().bRateControl; };
    if (std::any_of(mapChannels.begin(), mapChannels.end(), isRate)) {
        evRateChannels.Set();
    } else {
        evRateChannels.Reset();
    }
}

HRESULT Sender::SenderGetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    CRWReadScope lock(lockChannels);
    *_pnCount = static_cast<int32_t>(mapChannels.size());
    return S_OK;
}

HRESULT Sender::SenderGetByIndex(int32_t _nIndex, BSTR* _pbsChannelID, BSTR* _pbsXMLParam) const {
    if (_pbsChannelID) *_pbsChannelID = nullptr;
    if (_pbsXMLParam) *_pbsXMLParam = nullptr;
    CRWReadScope lock(lockChannels);
    if (_nIndex < 0 || static_cast<size_t>(_nIndex) >= mapChannels.size()) return E_INVALIDARG;
    const COutputChannel& channel = *std::next(mapChannels.begin(), _nIndex)->second;
    HRESULT hr = _pbsChannelID ? GiveText(channel.Id(), _pbsChannelID) : S_OK;
    if (Succeeded(hr) && _pbsXMLParam) hr = GiveText(channel.Param(), _pbsXMLParam);
    if (Succeeded(hr) || !_pbsChannelID) return hr;
    SysFreeString(std::exchange(*_pbsChannelID, nullptr));
    return hr;
}

// In the order in which frames are sent.
void Sender::AddChannels(Round& _round) const {
    for (auto it = mapChannels.rbegin(); it != mapChannels.rend(); ++it) _round.push_back({it->second});
}

// --- Filters

HRESULT Sender::SenderFilterAdd(IZrFrameFilter_I* _pFilter, int64_t _llUserValue) {
    if (!_pFilter) return E_POINTER;
    CRWWriteScope lock(lockFilters, "SenderFilterAdd");
    for (FILTER& filter : arrFilters) {
        if (filter.pFilter.Get() != _pFilter) continue;
        filter.llUserValue = _llUserValue;
        return S_OK;
    }
    arrFilters.push_back({ZrPtr<IZrFrameFilter_I>(_pFilter), _llUserValue});
    return S_OK;
}

HRESULT Sender::SenderFilterRemove(IZrFrameFilter_I* _pFilter) {
    FILTER removed;  // ends without the lock
    CRWWriteScope lock(lockFilters, "SenderFilterRemove");
    const auto isIt = [_pFilter](const FILTER& _filter) { return _filter.pFilter.Get() == _pFilter; };
    const auto it = std::find_if(arrFilters.begin(), arrFilters.end(), isIt);
    if (it == arrFilters.end()) return ZR_E_NOT_FOUND_FILE;
    removed = std::move(*it);
    arrFilters.erase(it);
    return S_OK;
}

bool Sender::FilterAt(size_t _i, FILTER& _filter) const {
    FILTER old = std::exchange(_filter, {});
    CRWReadScope lock(lockFilters);
    if (_i >= arrFilters.size()) return false;
    _filter = arrFilters[_i];
    return true;
}

// --- Name

HRESULT Sender::SenderNameGet(BSTR* _pbsName) const {
    MutexLock lock(mtxName);
    return GiveText(strName, _pbsName);
}

HRESULT Sender::SenderNameSet(BSTR* _pbsName, int32_t _bExact) {
    const std::u16string wish(TextArgument(_pbsName ? *_pbsName : nullptr));
    if (_pbsName) SysFreeString(std::exchange(*_pbsName, nullptr));
    MutexLock lock(mtxName);
    const HRESULT hr = NameClaim(wish.empty() ? kDefaultName : wish, _bExact != 0);
    return _pbsName && Succeeded(hr) ? GiveText(strName, _pbsName) : hr;
}

// Tries the name, then the name with -001, -002 and so on. The name from before is free in any case.
HRESULT Sender::NameClaim(std::u16string_view _wish, bool _bExact) {
    claim.Release();
    bNamedByStart = false;
    std::u16string candidate(_wish);
    for (uint32_t n = 1;; ++n) {
        const HRESULT hr = claim.Claim(ClaimText(candidate));
        if (Succeeded(hr)) {
            strName = std::move(candidate);
            return S_OK;
        }
        if (hr != ZR_E_EXISTS || _bExact) return Win32Error(80);
        candidate.assign(_wish).push_back(u'-');
        AppendPadded(candidate, n, 3);
    }
}

HRESULT Sender::SenderExternalAccess(int32_t _bEnable, const char16_t* _bsName) {
    if (!TextArgument(_bsName).empty()) {
        MutexLock lock(mtxName);
        if (const HRESULT hr = NameClaim(TextArgument(_bsName), false); Failed(hr)) return hr;
    }
    return access.Enable(_bEnable != 0);
}

void Sender::Show(std::u16string_view _name) {
    if (!_name.empty()) {
        MutexLock lock(mtxName);
        if (!claim.IsHeld()) bNamedByStart = Succeeded(NameClaim(_name, false));
    }
    access.Show();
}

void Sender::Hide() {
    access.Hide();
    MutexLock lock(mtxName);
    if (!bNamedByStart) return;
    claim.Release();
    strName.clear();
    bNamedByStart = false;
}

}  // namespace zr
