#include "video/number_list.h"

#include "platform/wide_text.h"

namespace zr {

size_t ReadNumberList(std::u16string_view _text, int _nBase, int32_t* _pnNumbers, size_t _nMost) {
    size_t nCount = 0;
    while (nCount < _nMost) {
        const size_t nStart = _text.find_first_of(u"+-0123456789");
        if (nStart == std::u16string_view::npos) break;
        _text.remove_prefix(nStart);
        size_t nUsed = 0;
        const int32_t n = ParseInt32(_text, _nBase, &nUsed);
        if (nUsed > 0) _pnNumbers[nCount++] = n;
        _text.remove_prefix(nUsed > 0 ? nUsed : 1);
    }
    return nCount;
}

}  // namespace zr
