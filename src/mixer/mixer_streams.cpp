#include "mixer/mixer_streams.h"

#include <algorithm>
#include <cstdio>

#include "attributes/interface_call.h"
#include "mixer/source_keys.h"

namespace zr {
namespace {

// "stream-000"
std::u16string CountedId(uint32_t _n) {
    char sz[24];
    std::snprintf(sz, sizeof(sz), "stream-%03u", _n);
    const std::string_view str(sz);
    return {str.begin(), str.end()};
}

// What an item of the table knows of its place; empty when it leaves.
void SetPlace(CCoZrItem& _item, const MixerStreamPtr& _pStream) {
    _item.Node()->SetAttribute(u"stream_id", _pStream ? std::u16string_view(_pStream->Id()) : std::u16string_view());
    if (_pStream) {
        _item.Node()->SetObject(kMixStreamKey, ObjectVal<MixerStreamPtr>::Make(_pStream));
    } else {
        _item.Node()->RemoveObject(kMixStreamKey);
    }
}

HRESULT GiveEntry(const CInputStream& _entry, BSTR* _pbsStreamID, IZrItem** _ppStream) {
    if (_pbsStreamID) {
        if (const HRESULT hr = GiveText(_entry.pStream->Id(), _pbsStreamID); Failed(hr)) return hr;
    }
    if (_ppStream) ZrPtr<IZrItem>(_entry.pItem).CopyTo(_ppStream);
    return S_OK;
}

}  // namespace

HRESULT MixerStreams::GetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    *_pnCount = parts.links.streams.Count();
    return S_OK;
}

HRESULT MixerStreams::GetByIndex(int32_t _nIndex, BSTR* _pbsStreamID, IZrItem** _ppStream) const {
    if (_pbsStreamID) *_pbsStreamID = nullptr;
    if (_ppStream) *_ppStream = nullptr;
    CInputStream entry;
    if (!parts.links.streams.At(_nIndex, entry)) return ZR_E_BAD_INDEX;
    return GiveEntry(entry, _pbsStreamID, _ppStream);
}

HRESULT MixerStreams::Get(std::u16string_view _id, int32_t* _pnIndex, IZrItem** _ppStream) const {
    if (_ppStream) *_ppStream = nullptr;
    CInputStream entry;
    const int32_t nIndex = parts.links.streams.Find(_id, &entry);
    if (_pnIndex) *_pnIndex = nIndex;
    return nIndex < 0 ? ZR_E_NOT_FOUND_FILE : GiveEntry(entry, nullptr, _ppStream);
}

HRESULT MixerStreams::Add(std::u16string_view _id, IUnknown* _pExternOrRef, std::u16string_view _path,
                          std::u16string_view _param, IZrItem** _ppItem, double) {
    if (_ppItem) *_ppItem = nullptr;
    ZrPtr<CCoZrItem> pItem;
    if (const HRESULT hr = parts.maker.Make(_pExternOrRef, _path, _param, pItem); Failed(hr)) return hr;
    if (!pItem->OwnsSource() && !parts.links.streams.Uses(pItem->Source()))
        SetSourcePriority(*parts.props.Object(), *pItem, SourcePlace::Waiting);
    if (const HRESULT hr = AddItem(_id, pItem); Failed(hr)) return hr;
    if (_ppItem) ZrPtr<IZrItem>(pItem).CopyTo(_ppItem);
    return S_OK;
}

HRESULT MixerStreams::AddItem(std::u16string_view _id, const ZrPtr<CCoZrItem>& _pItem) {
    ZrPtr<CCoZrItem> pOld;
    LinkEvents events(parts.links, parts.events);
    const HRESULT hr = Place(_id, _pItem, pOld, events);
    if (Failed(hr)) {
        _pItem->Close();
        return hr;
    }
    parts.cycle.producers.Update();
    if (pOld && !parts.links.streams.Uses(pOld->Source())) pOld->Close();
    parts.cycle.Wake();
    return S_OK;
}

HRESULT MixerStreams::Place(std::u16string_view _id, const ZrPtr<CCoZrItem>& _pItem, ZrPtr<CCoZrItem>& _pOld,
                            LinkEvents& _events) {
    MutexLock lockChange(parts.links.streams.mtxChange);
    MutexLock lockCycle(parts.cycle.mtxCycle);
    std::u16string id(_id);
    CInputStream present;
    const int32_t nIndex = id.empty() ? -1 : parts.links.streams.Find(id, &present);
    if (nIndex >= 0 && present.pItem->Source() == _pItem->Source()) return ZR_E_EXISTS;
    if (parts.cycle.HasOnePlace() && parts.links.streams.Uses(_pItem->Source())) return ZR_E_EXISTS;
    if (id.empty()) {
        uint32_t n = 0;
        do {
            id = CountedId(n++);
        } while (parts.links.streams.Find(id, nullptr) >= 0);
        PlaceNew(std::move(id), _pItem, _events);
        return S_OK;
    }
    if (nIndex < 0) {
        PlaceNew(std::move(id), _pItem, _events);
        return S_OK;
    }
    _pOld = PlaceInstead(nIndex, present, _pItem, _events);
    return S_OK;
}

void MixerStreams::PlaceNew(std::u16string _id, const ZrPtr<CCoZrItem>& _pItem, LinkEvents& _events) {
    const MixerStreamPtr pStream = MixerStreamPtr::Attach(new ZrMixerStream(_id, parts.statistics, parts.blocks));
    const CInputStream entry{_pItem, pStream};
    SetPlace(*_pItem, pStream);
    parts.links.streams.Append(entry);
    parts.links.ConnectNew(entry, _events);
}

// The new item takes over the stream, and with it the elements that show it; it is paused if the old one was.
ZrPtr<CCoZrItem> MixerStreams::PlaceInstead(int32_t _nIndex, const CInputStream& _old, const ZrPtr<CCoZrItem>& _pItem,
                                            LinkEvents& _events) {
    const bool bOpen = _old.pStream->IsOpen();
    const bool bPaused = bOpen && _old.pStream->IsPaused();
    SetPlace(*_pItem, _old.pStream);
    ZrPtr<CCoZrItem> pOld = parts.links.streams.Replace(_nIndex, _pItem);
    if (bOpen) {
        parts.links.DisconnectOld(_old, _events);
        parts.links.Connect({_pItem, _old.pStream}, bPaused ? 0.0 : -1.0, _events);
    }
    SetPlace(*pOld, {});
    return pOld;
}

HRESULT MixerStreams::Remove(IZrItem* _pStream, double) {
    std::vector<CInputStream> arrGone;
    LinkEvents events(parts.links, parts.events);
    {
        MutexLock lock(parts.links.streams.mtxChange);
        if (parts.links.streams.Count() == 0) return ZR_E_EMPTY;
        const int32_t nIndex = parts.links.streams.Find(_pStream, nullptr);
        if (nIndex < 0) return ZR_E_NOT_FOUND_FILE;
        arrGone = TakeOut(nIndex, nIndex + 1, events);
    }
    End(arrGone);
    return S_OK;
}

HRESULT MixerStreams::RemoveByIndex(int32_t _nIndex, int32_t _nExtraRemove, double) {
    std::vector<CInputStream> arrGone;
    LinkEvents events(parts.links, parts.events);
    {
        MutexLock lock(parts.links.streams.mtxChange);
        const int64_t nCount = parts.links.streams.Count();
        if (nCount == 0) return ZR_E_EMPTY;
        const int64_t nIndex = _nIndex < 0 ? _nIndex + nCount : int64_t{_nIndex};
        if (nIndex < 0 || nIndex >= nCount) return ZR_E_BAD_INDEX;
        const int64_t nFirst = std::max<int64_t>(std::min<int64_t>(nIndex, nIndex + _nExtraRemove), 0);
        const int64_t nLast = std::min<int64_t>(std::max<int64_t>(nIndex, nIndex + _nExtraRemove), nCount - 1);
        arrGone = TakeOut(static_cast<int32_t>(nFirst), static_cast<int32_t>(nLast + 1), events);
    }
    End(arrGone);
    return S_OK;
}

std::vector<CInputStream> MixerStreams::TakeOut(int32_t _nFirst, int32_t _nEnd, LinkEvents& _events) {
    std::vector<CInputStream> arrGone = parts.links.streams.Remove(_nFirst, _nEnd);
    for (const CInputStream& gone : arrGone) parts.links.DisconnectOld(gone, _events);
    return arrGone;
}

void MixerStreams::End(const std::vector<CInputStream>& _arrGone) {
    const bool bShowLast = parts.props.Object()->AttributeOr(u"elements.show_last_frame", true);
    for (const CInputStream& gone : _arrGone) {
        gone.pStream->Close(true);
        if (!bShowLast) gone.pStream->DropPictures();
        SetPlace(*gone.pItem, {});
    }
    parts.cycle.producers.Update();
    for (const CInputStream& gone : _arrGone) {
        gone.pStream->ReleaseNumbers();
        if (!parts.links.streams.Uses(gone.pItem->Source())) gone.pItem->Close();
    }
    parts.cycle.Wake();
}

HRESULT MixerStreams::Reorder(IZrItem* _pStream, int32_t _nIndexAdd, double) {
    MutexLock lockChange(parts.links.streams.mtxChange);
    MutexLock lockCycle(parts.cycle.mtxCycle);
    const int32_t nIndex = parts.links.streams.Find(_pStream, nullptr);
    if (nIndex < 0) return E_INVALIDARG;
    return parts.links.streams.Move(nIndex, _nIndexAdd) == 0 ? S_FALSE : S_OK;
}

void MixerStreams::Close() {
    std::vector<CInputStream> arrGone;
    LinkEvents events(parts.links, parts.events);
    {
        MutexLock lock(parts.links.streams.mtxChange);
        arrGone = TakeOut(0, parts.links.streams.Count(), events);
    }
    End(arrGone);
}

}  // namespace zr
