#include "frame_module/attachments.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace zr {

const Attachment* AttachmentList::At(int32_t _nIndex) const {
    if (_nIndex < 0 || static_cast<size_t>(_nIndex) >= arrItems.size()) return nullptr;
    return &arrItems[static_cast<size_t>(_nIndex)];
}

const Attachment* AttachmentList::Find(std::u16string_view _svID) const {
    const auto it =
        std::find_if(arrItems.begin(), arrItems.end(), [&](const auto& item) { return item.ID() == _svID; });
    return it == arrItems.end() ? nullptr : &*it;
}

HRESULT AttachmentList::Set(std::u16string_view _svID, const void* _pv, uint32_t _cb) {
    const size_t nIDOffset = (size_t{_cb} + 1) & ~size_t{1};
    Attachment item;
    item.pBlock = BufferPool::Shared().Get(nIDOffset + _svID.size() * sizeof(char16_t));
    if (!item.pBlock) return E_OUTOFMEMORY;
    item.cbData = _cb;
    item.nIDOffset = static_cast<uint32_t>(nIDOffset);
    item.nIDLength = static_cast<uint32_t>(_svID.size());
    if (_cb > 0) std::memcpy(item.pBlock->Data(), _pv, _cb);
    std::memcpy(item.pBlock->Data() + nIDOffset, _svID.data(), _svID.size() * sizeof(char16_t));
    return Put(std::move(item));
}

HRESULT AttachmentList::SetObject(std::u16string_view _svID, IUnknown* _pObject) {
    Attachment item;
    item.pBlock = BufferPool::Shared().Get(_svID.size() * sizeof(char16_t));
    if (!item.pBlock) return E_OUTOFMEMORY;
    item.nIDLength = static_cast<uint32_t>(_svID.size());
    std::memcpy(item.pBlock->Data(), _svID.data(), _svID.size() * sizeof(char16_t));
    item.pObject = _pObject;
    return Put(std::move(item));
}

HRESULT AttachmentList::Put(Attachment _item) {
    if (const Attachment* pOld = Find(_item.ID())) {
        arrItems[static_cast<size_t>(pOld - arrItems.data())] = std::move(_item);
        return S_OK;
    }
    try {
        arrItems.push_back(std::move(_item));
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

HRESULT AttachmentList::Share(const AttachmentList& _from) {
    if (_from.arrItems.empty()) {
        arrItems.clear();
        return S_OK;
    }
    try {
        arrItems = _from.arrItems;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

bool AttachmentList::Remove(std::u16string_view _svID) {
    const Attachment* pOld = Find(_svID);
    if (!pOld) return false;
    arrItems.erase(arrItems.begin() + (pOld - arrItems.data()));
    return true;
}

}  // namespace zr
