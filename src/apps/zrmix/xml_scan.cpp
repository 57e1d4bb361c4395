#include "apps/zrmix/xml_scan.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "zr/utf8.h"

namespace zrmix {
namespace {

constexpr size_t kMostFaults = 500;    // leaves room for those of what can be read
constexpr size_t kMostChecked = 1000;  // attributes of one tag that are looked through for doubles

char Lower(char _ch) { return _ch >= 'A' && _ch <= 'Z' ? static_cast<char>(_ch + 32) : _ch; }
std::string LowerName(std::string _name) {
    std::transform(_name.begin(), _name.end(), _name.begin(), Lower);
    return _name;
}
bool IsSpace(char _ch) { return _ch == ' ' || _ch == '\t' || _ch == '\r' || _ch == '\n'; }
bool IsNameEnd(char _ch) { return IsSpace(_ch) || _ch == '=' || _ch == '>' || _ch == '/' || _ch == '<'; }

// UTF-16 with its mark becomes UTF-8, a UTF-8 mark goes.
std::string Utf8Of(std::string_view _bytes) {
    const bool bLittle = _bytes.starts_with("\xFF\xFE"), bBig = _bytes.starts_with("\xFE\xFF");
    if (!bLittle && !bBig) return std::string(_bytes.substr(_bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0));
    std::u16string text;
    for (size_t i = 2; i + 1 < _bytes.size(); i += 2) {
        const auto nFirst = static_cast<uint8_t>(_bytes[i]), nSecond = static_cast<uint8_t>(_bytes[i + 1]);
        text += static_cast<char16_t>(bLittle ? nFirst | nSecond << 8 : nFirst << 8 | nSecond);
    }
    return zr::ToUtf8(text);
}

class Scanner {
public:
    explicit Scanner(std::string_view _text) : text(_text) {}

    XML_DOCUMENT Scan() {
        while (!AtEnd()) {
            if (text[nAt] != '<')
                ReadText();
            else if (At("<!--"))
                SkipTo("-->", "a comment has no end");
            else if (At("<![CDATA["))
                SkipTo("]]>", "a CDATA part has no end");
            else if (At("<?"))
                SkipTo("?>", "a declaration has no end");
            else if (At("<!"))
                SkipTo(">", "a declaration has no end");
            else if (At("</"))
                ReadClosing();
            else
                ReadOpening();
        }
        for (const size_t n : arrOpen)
            Fault(document.arrElements[n].place, "<" + document.arrElements[n].name + "> is not closed");
        if (document.arrElements.empty()) Fault({}, "there is no XML in it");
        std::stable_sort(document.arrFaults.begin(), document.arrFaults.end(), [](const auto& _a, const auto& _b) {
            return std::pair(_a.place.nLine, _a.place.nColumn) < std::pair(_b.place.nLine, _b.place.nColumn);
        });
        return std::move(document);
    }

private:
    bool AtEnd() const { return nAt >= text.size(); }
    bool At(std::string_view _what) const { return text.substr(nAt).starts_with(_what); }
    bool AtOneOf(std::string_view _chars) const { return !AtEnd() && _chars.find(text[nAt]) != _chars.npos; }
    void Step() {
        if (text[nAt] == '\n') {
            ++place.nLine;
            place.nColumn = 1;
        } else if ((static_cast<uint8_t>(text[nAt]) & 0xC0) != 0x80) {
            ++place.nColumn;
        }
        ++nAt;
    }
    void Step(size_t _n) {
        while (_n-- > 0 && !AtEnd()) Step();
    }
    void SkipSpace() {
        while (!AtEnd() && IsSpace(text[nAt])) Step();
    }
    void Fault(const TEXT_PLACE& _place, std::string _text) {
        if (document.arrFaults.size() < kMostFaults) document.arrFaults.push_back({_place, std::move(_text)});
    }
    void SkipTo(std::string_view _end, const char* _szFault) {
        const TEXT_PLACE begin = place;
        const size_t nEnd = text.find(_end, nAt);
        if (nEnd == text.npos) Fault(begin, _szFault);
        Step(nEnd == text.npos ? text.size() : nEnd + _end.size() - nAt);
    }
    std::string ReadName() {
        const size_t nBegin = nAt;
        while (!AtEnd() && !IsNameEnd(text[nAt])) Step();
        return std::string(text.substr(nBegin, nAt - nBegin));
    }

    void ReadText() {
        bool bSaid = !arrOpen.empty();
        while (!AtEnd() && text[nAt] != '<') {
            if (!bSaid && !IsSpace(text[nAt])) {
                Fault(place, document.arrElements.empty() ? "a text stands before the first tag"
                                                          : "a text stands behind the last tag");
                bSaid = true;
            }
            if (text[nAt] == '&')
                ReadEntity('<', nullptr);
            else
                Step();
        }
    }

    // _pText: takes what it stands for; null: it is only looked at.
    void ReadEntity(char _cEnd, std::string* _pText) {
        static constexpr std::pair<std::string_view, char> arrNamed[] = {
            {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
        const TEXT_PLACE begin = place;
        size_t nEnd = nAt + 1;
        while (nEnd < text.size() && nEnd - nAt < 12 && text[nEnd] != ';' && text[nEnd] != _cEnd &&
               !IsSpace(text[nEnd]))
            ++nEnd;
        if (nEnd >= text.size() || text[nEnd] != ';') {
            Fault(begin, "an \"&\" that begins no entity is written \"&amp;\"");
            if (_pText) *_pText += '&';
            Step();
            return;
        }
        const std::string_view name = text.substr(nAt + 1, nEnd - nAt - 1);
        const auto* const pNamed = std::find_if(std::begin(arrNamed), std::end(arrNamed),
                                                [&](const auto& _entry) { return _entry.first == name; });
        if (pNamed != std::end(arrNamed)) {
            if (_pText) *_pText += pNamed->second;
        } else if (const char32_t ch = NumberOf(name); ch != 0) {
            if (_pText) zr::detail::AppendUtf8(*_pText, ch);
        } else {
            Fault(begin, "&" + std::string(name) + "; is no entity that is known");
            if (_pText) _pText->append(text.substr(nAt, nEnd + 1 - nAt));
        }
        Step(nEnd + 1 - nAt);
    }

    // "#65", "#x41"; 0: no character.
    static char32_t NumberOf(std::string_view _name) {
        if (!_name.starts_with('#')) return 0;
        _name.remove_prefix(1);
        const bool bHex = _name.starts_with('x') || _name.starts_with('X');
        if (bHex) _name.remove_prefix(1);
        char32_t ch = 0;
        for (const char c : _name) {
            const char cLow = Lower(c);
            const int nDigit = c >= '0' && c <= '9'                 ? c - '0'
                               : bHex && cLow >= 'a' && cLow <= 'f' ? cLow - 'a' + 10
                                                                    : -1;
            if (nDigit < 0 || ch > 0x10FFFF) return 0;
            ch = ch * (bHex ? 16 : 10) + static_cast<char32_t>(nDigit);
        }
        return ch > 0x10FFFF || (ch >= 0xD800 && ch <= 0xDFFF) ? 0 : ch;
    }

    void ReadClosing() {
        const TEXT_PLACE begin = place;
        Step(2);
        SkipSpace();
        const std::string name = ReadName();
        while (!AtEnd() && text[nAt] != '>' && text[nAt] != '<') Step();
        if (AtEnd() || text[nAt] == '<')
            Fault(begin, "</" + name + " has no \">\"");
        else
            Step();
        if (const auto it = mapOpen.find(LowerName(name)); it == mapOpen.end() || it->second == 0) {
            Fault(begin, "</" + name + "> closes nothing" +
                             (arrOpen.empty() ? std::string()
                                              : ": <" + document.arrElements[arrOpen.back()].name + "> is open"));
            return;
        }
        while (!SameName(document.arrElements[arrOpen.back()].name, name)) {
            const XML_ELEMENT& inner = document.arrElements[arrOpen.back()];
            Fault(inner.place,
                  "<" + inner.name + "> is not closed before </" + name + "> in line " + std::to_string(begin.nLine));
            CloseLast();
        }
        CloseLast();
    }

    void CloseLast() {
        --mapOpen[LowerName(document.arrElements[arrOpen.back()].name)];
        arrOpen.pop_back();
    }

    void ReadOpening() {
        XML_ELEMENT element;
        element.place = place;
        Step();
        element.name = ReadName();
        if (element.name.empty()) {
            Fault(element.place, "a \"<\" that begins no tag is written \"&lt;\"");
            return;
        }
        bool bClosed = false;
        for (;;) {
            SkipSpace();
            if (AtEnd() || text[nAt] == '<') {
                Fault(element.place, "<" + element.name + " has no \">\"");
                break;
            }
            if (text[nAt] == '>') {
                Step();
                break;
            }
            if (At("/>")) {
                Step(2);
                bClosed = true;
                break;
            }
            ReadAttribute(element);
        }
        Put(std::move(element), bClosed);
    }

    void ReadAttribute(XML_ELEMENT& _element) {
        XML_ATTRIBUTE attribute;
        attribute.place = place;
        attribute.name = ReadName();
        if (attribute.name.empty()) {
            Fault(place, std::string("a \"") + text[nAt] + "\" does not belong into the tag <" + _element.name + ">");
            Step();
            return;
        }
        SkipSpace();
        if (AtEnd() || text[nAt] != '=') {
            Fault(attribute.place, "the attribute " + attribute.name + " has no value");
            return;
        }
        Step();
        SkipSpace();
        attribute.placeOfValue = place;
        ReadValue(_element, attribute);
        if (_element.arrAttributes.size() < kMostChecked && _element.Find(attribute.name)) {
            Fault(attribute.place, "the attribute " + attribute.name + " is there twice");
            return;
        }
        _element.arrAttributes.push_back(std::move(attribute));
    }

    void ReadValue(const XML_ELEMENT& _element, XML_ATTRIBUTE& _attribute) {
        if (!AtOneOf("'\"")) {
            Fault(place, "the value of " + _attribute.name + " stands in no quotes");
            while (!AtEnd() && !IsSpace(text[nAt]) && !AtOneOf("<>") && !At("/>")) {
                _attribute.value += text[nAt];
                Step();
            }
            return;
        }
        const char cQuote = text[nAt];
        if (text.find(cQuote, nAt + 1) == text.npos) {
            Fault(place, "the value of " + _attribute.name + " of <" + _element.name + "> has no closing quote");
            while (!AtEnd()) Step();
            return;
        }
        Step();
        _attribute.placeOfValue = place;
        while (text[nAt] != cQuote) {
            if (text[nAt] == '&') {
                ReadEntity(cQuote, &_attribute.value);
                continue;
            }
            if (text[nAt] == '<') Fault(place, "a \"<\" in a value is written \"&lt;\"");
            _attribute.value += text[nAt];
            Step();
        }
        Step();
        if (!AtEnd() && !IsSpace(text[nAt]) && !AtOneOf("/>"))
            Fault(place, "a blank is missing behind the value of " + _attribute.name);
    }

    void Put(XML_ELEMENT _element, bool _bClosed) {
        const size_t n = document.arrElements.size();
        if (!arrOpen.empty()) {
            _element.nParent = arrOpen.back();
            document.arrElements[arrOpen.back()].arrChildren.push_back(n);
        } else if (n > 0) {
            Fault(_element.place, "<" + _element.name + "> stands behind the end of <" + document.arrElements[0].name +
                                      ">, the only top that there can be");
        }
        if (!_bClosed) {
            ++mapOpen[LowerName(_element.name)];
            arrOpen.push_back(n);
        }
        document.arrElements.push_back(std::move(_element));
    }

    const std::string_view text;
    size_t nAt = 0;
    TEXT_PLACE place;
    XML_DOCUMENT document;
    std::vector<size_t> arrOpen;
    std::unordered_map<std::string, size_t> mapOpen;  // how many of a name, in small letters, are open
};

}  // namespace

const XML_ATTRIBUTE* XML_ELEMENT::Find(std::string_view _name) const {
    for (const XML_ATTRIBUTE& attribute : arrAttributes)
        if (SameName(attribute.name, _name)) return &attribute;
    return nullptr;
}

std::string XML_ELEMENT::Value(std::string_view _name) const {
    const XML_ATTRIBUTE* const p = Find(_name);
    return p ? p->value : std::string();
}

const XML_ELEMENT* XML_DOCUMENT::Child(const XML_ELEMENT* _pParent, std::string_view _name) const {
    if (!_pParent) return nullptr;
    for (const size_t n : _pParent->arrChildren)
        if (SameName(arrElements[n].name, _name)) return &arrElements[n];
    return nullptr;
}

XML_DOCUMENT ScanXml(std::string_view _bytes) {
    const std::string text = Utf8Of(_bytes);
    if (text.find('\0') != text.npos) return {{}, {{{}, "it is no text: there are zeros in it"}}};
    return Scanner(text).Scan();
}

bool SameName(std::string_view _a, std::string_view _b) {
    return std::equal(_a.begin(), _a.end(), _b.begin(), _b.end(), [](char a, char b) { return Lower(a) == Lower(b); });
}

}  // namespace zrmix
