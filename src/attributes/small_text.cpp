#include "attributes/small_text.h"

#include <algorithm>
#include <limits>
#include <new>

namespace zr {

void SmallText::Grow(size_t _nMore) {
    constexpr size_t kMax = std::numeric_limits<uint32_t>::max() / 2;
    if (_nMore > kMax - nLength) throw std::bad_alloc();
    const size_t nWanted = std::min(kMax, std::max<size_t>(nLength + _nMore, size_t{nCapacity} * 3 / 2));
    auto* pNew = static_cast<char16_t*>(::operator new(nWanted * sizeof(char16_t)));
    std::memcpy(pNew, Data(), nLength * sizeof(char16_t));
    if (nCapacity > kInline) Free();
    pOwn = pNew;
    nCapacity = static_cast<uint32_t>(nWanted);
}

void SmallText::Free() { ::operator delete(pOwn); }

}  // namespace zr
