#include "attributes/text_decoder.h"

#include <algorithm>

#include "attributes/char_class.h"
#include "attributes/number_text.h"

namespace zr {

namespace {

struct ENTITY {
    std::u16string_view prefix;  // what is compared
    bool bLastLowByte;           // of the last character of it only the low byte
    size_t nLength;              // what is skipped
    char16_t chMeaning;
};

constexpr ENTITY arrEntities[] = {
    {u"&l", false, 4, u'<'},  {u"&g", false, 4, u'>'},       {u"&am", true, 5, u'&'},      {u"&ap", false, 6, u'\''},
    {u"&nb", false, 6, u' '}, {u"&co", false, 6, u'\u00A9'}, {u"&re", true, 5, u'\u00AE'}, {u"&qu", false, 6, u'"'},
};
constexpr const ENTITY& entNbsp = arrEntities[4];

bool Begins(std::u16string_view _text, const ENTITY& _entity) {
    const size_t n = _entity.prefix.size();
    if (_text.size() < n) return false;
    if (!_entity.bLastLowByte) return _text.starts_with(_entity.prefix);
    return _text.starts_with(_entity.prefix.substr(0, n - 1)) && (_text[n - 1] & 0xFF) == _entity.prefix[n - 1];
}

// Writes a character given by its number, as two where it takes two.
char16_t* WriteCharacter(uint64_t _nCode, char16_t* _pOut) {
    if (_nCode > 0xFFFF && _nCode <= 0x10FFFF) {
        *_pOut++ = static_cast<char16_t>(0xD800 + ((_nCode - 0x10000) >> 10));
        _nCode = 0xDC00 + (_nCode & 0x3FF);
    }
    *_pOut++ = static_cast<char16_t>(_nCode);
    return _pOut;
}

// What "&#" begins, with whatever ends the number. nUsed 0: no number follows.
INTEGER_TEXT ReadCharacterNumber(std::u16string_view _text) {
    const bool bHex = _text.size() > 2 && _text[2] == u'x';
    const size_t nFirst = bHex ? 3 : 2;
    const auto isDigit = [&](char16_t _ch) {
        return (_ch >= u'0' && _ch <= u'9') || (bHex && ToLower(_ch) >= u'a' && ToLower(_ch) <= u'f');
    };
    if (_text.size() <= nFirst || !isDigit(_text[nFirst])) return {0, 0};
    const INTEGER_TEXT number = ReadInteger(_text.substr(nFirst), bHex ? 16 : 0, UINT32_MAX);
    return {number.nValue, number.nUsed > 0 ? nFirst + number.nUsed + 1 : 0};
}

}  // namespace

std::optional<std::u16string_view> DecodeText(char16_t* _pText, char16_t* _pEnd, TextSpace _eSpace, TextFold _eFold) {
    const bool bFold = _eFold == TextFold::kFold;
    bool bKeep = _eSpace == TextSpace::kKeep;
    char16_t* pOut = _pText;
    for (const char16_t* p = _pText; p < _pEnd;) {
        if (*p != u'&') {
            const char16_t ch = *p++;
            *pOut++ = bFold && (ch == u'\n' || ch == u'\r' || ch == u'\t') ? u' ' : ch;
            continue;
        }
        const std::u16string_view rest(p, static_cast<size_t>(_pEnd - p));
        const auto* pEntity = std::find_if(std::begin(arrEntities), std::end(arrEntities),
                                           [&](const ENTITY& _entity) { return Begins(rest, _entity); });
        size_t nSkip = 1;
        if (pEntity != std::end(arrEntities)) {
            *pOut++ = pEntity->chMeaning;
            bKeep = bKeep || pEntity == &entNbsp;
            nSkip = pEntity->nLength;
        } else if (rest.starts_with(u"&#")) {
            const INTEGER_TEXT number = ReadCharacterNumber(rest);
            if (number.nUsed > 0) {
                if (number.nValue == 0) break;  // a zero ends a text, as it would anywhere
                pOut = WriteCharacter(number.nValue, pOut);
                nSkip = number.nUsed;
            }
        }
        p += std::min(nSkip, rest.size());
    }
    if (!bKeep && std::all_of(_pText, pOut, IsBlank)) return std::nullopt;
    return std::u16string_view(_pText, static_cast<size_t>(pOut - _pText));
}

}  // namespace zr
