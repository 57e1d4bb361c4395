#include "attributes/tree_text.h"

#include <algorithm>
#include <limits>
#include <new>

namespace zr {

namespace {
constexpr size_t cbLine = 64;
constexpr size_t cbBlockMost = 65536;
}  // namespace

// Looks for the zero and copies block by block, so that what is looked at is still near when it is copied.
TreeSource::TreeSource(std::u16string_view _text)
    : pText(std::make_unique_for_overwrite<char16_t[]>(_text.size())), nLength(0) {
    constexpr size_t kBlock = 64;
    while (nLength < _text.size()) {
        const char16_t* const p = _text.data() + nLength;
        const size_t nCount = std::min(kBlock, _text.size() - nLength);
        uint32_t nZeros = 0;
        for (size_t i = 0; i < nCount; ++i) nZeros |= p[i] == 0;
        std::memcpy(pText.get() + nLength, p, nCount * sizeof(char16_t));
        if (nZeros > 0) {
            nLength += static_cast<size_t>(std::find(p, p + nCount, u'\0') - p);
            return;
        }
        nLength += nCount;
    }
}

TreeSource::~TreeSource() {
    for (void* p : arrBlocks) ::operator delete (p, std::align_val_t{cbLine});
}

void* TreeSource::Allocate(size_t _cb) {
    _cb = (_cb + cbLine - 1) / cbLine * cbLine;
    if (_cb > cbFree) {
        cbNext = std::max(_cb, std::min(std::max(nLength, cbNext * 2), cbBlockMost));
        arrBlocks.push_back(nullptr);  // first, as it may throw
        arrBlocks.back() = ::operator new (cbNext, std::align_val_t{cbLine});
        pFree = static_cast<std::byte*>(arrBlocks.back());
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
