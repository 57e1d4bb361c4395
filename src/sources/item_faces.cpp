// What an item has of its own: type, times, command, breaks.

#include <algorithm>

#include "attributes/interface_call.h"
#include "platform/clock.h"
#include "platform/wide_text.h"
#include "sources/co_zr_item.h"

namespace zr {
namespace {

constexpr double kNoEnd = 1e10;  // seconds: three hundred years

}  // namespace

// --- IZrItem

HRESULT CCoZrItem::ItemTypeGet(eZrItemType* _peType) {
    if (!_peType) return E_POINTER;
    *_peType = bCommand ? eZrPIT_Command : pFile && bOwnsSource ? eZrPIT_File : eZrPIT_Live;
    return S_OK;
}

HRESULT CCoZrItem::ItemStartTimeSet(const ZR_DATETIME* _pStartTime, eZrStartType _eStartType) {
    if (_eStartType < eZrST_Off || _eStartType > eZrST_Specified) return E_INVALIDARG;
    ITEM_START next{_eStartType, {}};
    if (_eStartType == eZrST_Specified) {
        if (!_pStartTime) return E_POINTER;
        if (!IsDateTime(*_pStartTime)) return E_INVALIDARG;
        next.time = *_pStartTime;
    }
    MutexLock lock(mtx);
    start = next;
    return S_OK;
}

ITEM_START CCoZrItem::Start() const {
    MutexLock lock(mtx);
    return start;
}

HRESULT CCoZrItem::ItemTimesGet(ZR_DATETIME* _pStartTime, ZR_DATETIME* _pStopTime, eZrStartType* _peStartType) {
    const ITEM_START now = Start();
    if (_pStartTime) *_pStartTime = now.time;
    if (_peStartType) *_peStartType = now.eType;
    if (!_pStopTime) return S_OK;
    double dblSeconds = 0;
    *_pStopTime = now.time;
    if (now.eType == eZrST_Specified && Succeeded(ItemPlayTimeGet(&dblSeconds)))
        *_pStopTime = DateTimeAfter(now.time, dblSeconds);
    return S_OK;
}

// Of the whole file. False: it has no end.
bool CCoZrItem::Duration(double* _pdblSeconds) {
    for (const char16_t* szKey : {u"file::duration", u"duration"}) {
        BSTR bs = nullptr;
        if (Failed(PropsGet(szKey, &bs))) continue;
        *_pdblSeconds = ParseDouble(TextArgument(bs));
        SysFreeString(bs);
        if (*_pdblSeconds > 0) return true;
    }
    double dblIn = 0, dblOut = 0;
    return pFile && Succeeded(pFile->FileInOutGet(&dblIn, &dblOut, _pdblSeconds)) && *_pdblSeconds > 0;
}

PLAY_RANGE CCoZrItem::Range() {
    PLAY_RANGE range;
    double dblAll = 0;
    const double dblEnd = Duration(&dblAll) ? dblAll : kNoEnd;
    if (pFile) pFile->FileInOutGet(&range.dblIn, &range.dblOut, &dblAll);  // no out point: below the in point
    range.dblIn = std::clamp(range.dblIn, 0.0, dblEnd);
    range.dblOut = range.dblOut > range.dblIn ? std::min(range.dblOut, dblEnd) : dblEnd;
    return range;
}

HRESULT CCoZrItem::ItemPlayTimeGet(double* _pdblPlayTime) {
    if (!_pdblPlayTime) return E_POINTER;
    *_pdblPlayTime = 0;
    if (bCommand) return S_OK;
    const PLAY_RANGE range = Range();
    if (range.dblOut >= kNoEnd) return pFile ? S_FALSE : E_NOINTERFACE;
    int32_t nCount = 0;
    double dblBreaks = 0;
    const HRESULT hr = BreaksGetCount(&nCount, &dblBreaks);
    *_pdblPlayTime = range.dblOut - range.dblIn + dblBreaks;
    return hr;
}

HRESULT CCoZrItem::ItemCommandSet(const char16_t* _bsCommand, const char16_t* _bsParam, IUnknown* _pTargetObject) {
    if (!bCommand) return E_UNEXPECTED;
    if (TextArgument(_bsCommand).empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        std::u16string strNext(_bsCommand), strNextParam(TextArgument(_bsParam));
        ZrPtr<IUnknown> pNext(_pTargetObject);  // receives the old one, which goes behind the lock
        MutexLock lock(mtx);
        strCommand.swap(strNext);
        strParam.swap(strNextParam);
        std::swap(pTarget, pNext);
        return S_OK;
    });
}

HRESULT CCoZrItem::ItemCommandGet(BSTR* _pbsCommand, BSTR* _pbsParam, IUnknown** _ppTargetObject) {
    if (_pbsCommand) *_pbsCommand = nullptr;
    if (_pbsParam) *_pbsParam = nullptr;
    if (_ppTargetObject) *_ppTargetObject = nullptr;
    if (!bCommand) return E_UNEXPECTED;
    MutexLock lock(mtx);
    HRESULT hr = S_OK;
    if (_pbsCommand) hr = GiveText(strCommand, _pbsCommand);
    if (Succeeded(hr) && _pbsParam) hr = GiveText(strParam, _pbsParam);
    if (Succeeded(hr) && _ppTargetObject) pTarget.CopyTo(_ppTargetObject);
    return hr;
}

HRESULT CCoZrItem::ItemInnerGet(IUnknown** _ppInnerObject) { return pSource.CopyTo(_ppInnerObject); }

HRESULT CCoZrItem::ItemCommandExecute(IUnknown* _pSourceObject) {
    if (!bCommand) return E_UNEXPECTED;
    return InterfaceCall([&] {
        std::u16string strNow, strNowParam;
        ZrPtr<IUnknown> pNow;
        {
            MutexLock lock(mtx);
            strNow = strCommand;
            strNowParam = strParam;
            pNow = pTarget;
        }
        if (!pNow) pNow = ZrPtr<IUnknown>(_pSourceObject);
        if (!pNow) return E_POINTER;
        const ZrPtr<IZrObject> pOn = pNow.As<IZrObject>();
        if (!pOn) return E_NOINTERFACE;
        return pOn->ObjectCommandExecute(strNow.c_str(), strNowParam.c_str(), nullptr, nullptr);
    });
}

HRESULT CCoZrItem::ItemPosGet(double* _pdblPlayPos, int32_t* _pnPlaylistIndex) {
    if (_pnPlaylistIndex) *_pnPlaylistIndex = nListIndex.load(std::memory_order_relaxed);
    if (!_pdblPlayPos) return _pnPlaylistIndex ? S_OK : E_POINTER;
    *_pdblPlayPos = 0;
    return FilePosGet(_pdblPlayPos);
}

// --- IZrBreaks

HRESULT CCoZrItem::BreaksGetCount(int32_t* _pnCount, double* _pdblTotalDuration) {
    if (!_pnCount) return E_POINTER;
    return InterfaceCall([&] {
        const std::vector<BREAK_ENTRY> arrBreaks = breaks.All();
        *_pnCount = static_cast<int32_t>(arrBreaks.size());
        if (!_pdblTotalDuration) return S_OK;
        *_pdblTotalDuration = 0;
        for (const BREAK_ENTRY& entry : arrBreaks) {
            double dblSeconds = 0;
            if (Succeeded(entry.pItem->ItemPlayTimeGet(&dblSeconds))) *_pdblTotalDuration += dblSeconds;
        }
        return S_OK;
    });
}

HRESULT CCoZrItem::BreaksGetByIndex(int32_t _nIndex, double* _pdblBreakTime, BSTR* _pbsPath, IZrItem** _ppBreakItem) {
    if (_pbsPath) *_pbsPath = nullptr;
    if (_ppBreakItem) *_ppBreakItem = nullptr;
    BREAK_ENTRY entry;
    HRESULT hr = breaks.At(_nIndex, &entry);
    if (Failed(hr)) return hr;
    if (_pdblBreakTime)
        *_pdblBreakTime = static_cast<double>(entry.rtTime) / static_cast<double>(kTicksPerSecond) - Range().dblIn;
    if (_pbsPath) hr = GiveText(entry.pItem->Path(), _pbsPath);
    if (Succeeded(hr) && _ppBreakItem) {
        entry.pItem->AddRef();
        *_ppBreakItem = entry.pItem.Get();
    }
    return hr;
}

HRESULT CCoZrItem::AddBreak(double _dblTime, ZrPtr<CCoZrItem> _pItem, IZrItem** _ppBreakItem) {
    breaks.Add(_pItem, {_dblTime, false, {}}, Range());
    if (_ppBreakItem) *_ppBreakItem = _pItem.Detach();
    return S_OK;
}

HRESULT CCoZrItem::BreaksAdd(double _dblTime, IUnknown* _pExternOrRef, const char16_t* _bsPath,
                             const char16_t* _bsParam, IZrItem** _ppBreakItem) {
    if (_ppBreakItem) *_ppBreakItem = nullptr;
    const std::u16string_view breakPath = TextArgument(_bsPath);
    if (bCommand || (!_pExternOrRef && breakPath.empty())) return E_INVALIDARG;
    return InterfaceCall([&] {
        ZrPtr<CCoZrItem> pItem;
        if (_pExternOrRef) {
            pItem = Make(_pExternOrRef, breakPath, {}, ItemPlace::kList);
            if (!pItem) return E_OUTOFMEMORY;
        } else if (const HRESULT hr = MakeFile(breakPath, TextArgument(_bsParam), {}, pItem, ItemPlace::kList);
                   Failed(hr)) {
            return hr;
        }
        return AddBreak(_dblTime, std::move(pItem), _ppBreakItem);
    });
}

HRESULT CCoZrItem::BreaksCommandAdd(double _dblTime, const char16_t* _bsCommand, const char16_t* _bsParam,
                                    IUnknown* _pTargetObject, IZrItem** _ppBreakItem) {
    if (_ppBreakItem) *_ppBreakItem = nullptr;
    if (bCommand) return E_INVALIDARG;
    return InterfaceCall([&] {
        ZrPtr<CCoZrItem> pItem;
        const HRESULT hr = MakeCommand(TextArgument(_bsCommand), TextArgument(_bsParam), _pTargetObject, pItem);
        return Failed(hr) ? hr : AddBreak(_dblTime, std::move(pItem), _ppBreakItem);
    });
}

HRESULT CCoZrItem::BreaksRemove(IZrItem* _pBreakItem) {
    if (!_pBreakItem) return E_POINTER;
    return breaks.Remove(_pBreakItem);
}

HRESULT CCoZrItem::BreaksRemoveByIndex(int32_t _nIndex, int32_t _nExtraRemove) {
    return InterfaceCall([&] { return breaks.RemoveRange(_nIndex, _nExtraRemove); });
}

HRESULT CCoZrItem::BreaksTimeSet(int32_t _nIndex, double _dblNewTime) {
    return breaks.Move(_nIndex, _dblNewTime, Range());
}

}  // namespace zr
