#include "attributes/tree_text.h"

#include <algorithm>
#include <limits>
#include <new>

namespace zr {

TreeSource::TreeSource(std::u16string_view _text)
    : pText(std::make_unique_for_overwrite<char16_t[]>(_text.size())), nLength(_text.size()) {
    std::memcpy(pText.get(), _text.data(), nLength * sizeof(char16_t));
}

void* TreeSource::Allocate(size_t _cb) {
    constexpr size_t cbAlign = alignof(std::max_align_t);
    _cb = (_cb + cbAlign - 1) / cbAlign * cbAlign;
    if (_cb > cbFree) {
        cbNext = std::max({_cb, std::min<size_t>(nLength, 65536), std::min<size_t>(cbNext * 2, 65536)});
        arrBlocks.push_back(std::make_unique_for_overwrite<std::byte[]>(cbNext));
        pFree = arrBlocks.back().get();
        cbFree = cbNext;
    }
    cbFree -= _cb;
    return std::exchange(pFree, pFree + _cb);
}

void TreeText::Grow(size_t _nLength) {
    constexpr size_t kMax = std::numeric_limits<uint32_t>::max();
    if (_nLength > kMax) throw std::bad_alloc();
    const size_t nWanted = std::min(kMax, std::max<size_t>({_nLength, size_t{nCapacity} * 3 / 2, 12}));
    auto* pNew = static_cast<char16_t*>(::operator new(nWanted * sizeof(char16_t)));
    if (nLength > 0) std::memcpy(pNew, pText, nLength * sizeof(char16_t));
    if (nCapacity > 0) Free();
    pText = pNew;
    nCapacity = static_cast<uint32_t>(nWanted);
}

void TreeText::Free() { ::operator delete(pText); }

}  // namespace zr
