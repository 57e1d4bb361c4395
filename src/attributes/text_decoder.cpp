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

// Appends a character given by its number, as two where it takes two.
void AppendCharacter(uint64_t _nCode, std::u16string& _out) {
    if (_nCode > 0xFFFF && _nCode <= 0x10FFFF) {
        _out.push_back(static_cast<char16_t>(0xD800 + ((_nCode - 0x10000) >> 10)));
        _out.push_back(static_cast<char16_t>(0xDC00 + (_nCode & 0x3FF)));
    } else {
        _out.push_back(static_cast<char16_t>(_nCode));
    }
}

// What "&#" begins: how much is to be skipped, 0 when no number follows. Whatever ends the number goes with it.
size_t DecodeNumber(std::u16string_view _text, std::u16string& _out) {
    const bool bHex = _text.size() > 2 && _text[2] == u'x';
    const std::u16string_view digits = _text.substr(bHex ? 3 : 2);
    const auto isDigit = [&](char16_t _ch) {
        return (_ch >= u'0' && _ch <= u'9') || (bHex && ToLower(_ch) >= u'a' && ToLower(_ch) <= u'f');
    };
    if (digits.empty() || !isDigit(digits[0])) return 0;
    const INTEGER_TEXT number = ReadInteger(digits, bHex ? 16 : 0, UINT32_MAX);
    AppendCharacter(number.nValue, _out);
    return std::min(_text.size(), (bHex ? 3 : 2) + number.nUsed + 1);
}

}  // namespace

std::optional<std::u16string_view> DecodeText(std::u16string_view _text, TextSpace _eSpace, TextFold _eFold,
                                              std::u16string& _buffer) {
    const auto isSpecial = [&](char16_t _ch) {
        return _ch == u'&' || (_eFold == TextFold::kFold && (_ch == u'\n' || _ch == u'\r' || _ch == u'\t'));
    };
    bool bKeep = _eSpace == TextSpace::kKeep;
    size_t i = static_cast<size_t>(std::find_if(_text.begin(), _text.end(), isSpecial) - _text.begin());
    if (i < _text.size()) {
        _buffer.assign(_text, 0, i);
        while (i < _text.size()) {
            if (_text[i] != u'&') {
                _buffer.push_back(isSpecial(_text[i]) ? u' ' : _text[i]);
                ++i;
                continue;
            }
            const std::u16string_view rest = _text.substr(i);
            const auto* pEntity = std::find_if(std::begin(arrEntities), std::end(arrEntities),
                                               [&](const ENTITY& _entity) { return Begins(rest, _entity); });
            if (pEntity != std::end(arrEntities)) {
                _buffer.push_back(pEntity->chMeaning);
                bKeep = bKeep || pEntity == &entNbsp;
                i += pEntity->nLength;
                continue;
            }
            const size_t nSkip = rest.starts_with(u"&#") ? DecodeNumber(rest, _buffer) : 0;
            i += std::max<size_t>(nSkip, 1);
        }
        // A character number of 0 ends a text, as it would anywhere.
        _text = std::u16string_view(_buffer).substr(0, _buffer.find(u'\0'));
    }
    if (!bKeep && std::all_of(_text.begin(), _text.end(), IsBlank)) return std::nullopt;
    return _text;
}

}  // namespace zr
