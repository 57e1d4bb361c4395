#include "attributes/xml_reader.h"

#include <algorithm>
#include <array>
#include <new>

#include "attributes/attribute_line.h"
#include "attributes/char_class.h"
#include "attributes/char_search.h"
#include "attributes/text_decoder.h"

namespace zr {

namespace {

constexpr std::u16string_view cdataEnd = u"]]>";

// The first ">" outside quotes, or the end.
const char16_t* FindTagEnd(const char16_t* _p, const char16_t* _pEnd) {
    for (; _p != _pEnd && *_p != u'>'; ++_p) {
        if (*_p != u'\'' && *_p != u'"') continue;
        _p = FindChar(_p + 1, _pEnd, *_p);
        if (_p == _pEnd) break;
    }
    return _p;
}

std::u16string_view TrimBlanks(const char16_t* _p, const char16_t* _pEnd) {
    while (_p < _pEnd && IsBlank(*_p)) ++_p;
    while (_p < _pEnd && IsBlank(_pEnd[-1])) --_pEnd;
    return {_p, static_cast<size_t>(_pEnd - _p)};
}

bool IsEmptyTag(std::u16string_view _name) { return EqualNoCase(_name, u"br") || EqualNoCase(_name, u"tab"); }

void FillCData(XML_TAG& _tag, const char16_t* _pWord, const char16_t* _pWordEnd, const char16_t* _pEnd) {
    const std::u16string_view word(_pWord, static_cast<size_t>(_pWordEnd - _pWord));
    _tag.eKind = XML_TAG::Kind::kCData;
    _tag.name = word.substr(0, word.rfind(u'[') + 1);
    const char16_t* const pContent = _pWord + _tag.name.size();
    const std::u16string_view rest(pContent, static_cast<size_t>(_pEnd - pContent));
    const size_t nEnd = rest.find(cdataEnd);
    if (nEnd != rest.npos) {
        _tag.attributes = rest.substr(0, nEnd);
        _tag.pBehind = pContent + nEnd + cdataEnd.size();
    } else {
        _tag.attributes = rest.substr(0, rest.size() - std::min(rest.size(), cdataEnd.size()));
        _tag.pBehind = _pEnd;
    }
}

}  // namespace

XML_TAG FindTag(const char16_t* _pText, const char16_t* _pEnd) {
    XML_TAG tag;
    tag.pBegin = FindChar(_pText, _pEnd, u'<');
    if (tag.pBegin == _pEnd) return tag;
    const std::u16string_view rest(tag.pBegin, static_cast<size_t>(_pEnd - tag.pBegin));
    if (rest.starts_with(u"<!--")) {
        const size_t nEnd = rest.find(u"-->", 2);
        if (nEnd == rest.npos) return tag;
        tag.eKind = XML_TAG::Kind::kSkipped;
        tag.pBehind = tag.pBegin + nEnd + 3;
        return tag;
    }

    const char16_t* pName = std::find_if_not(tag.pBegin + 1, _pEnd, IsBlank);
    const bool bClosing = pName != _pEnd && *pName == u'/';
    if (bClosing) ++pName;
    const char16_t* const pNameEnd = std::find_if(pName, _pEnd, IsTagNameEnd);
    tag.name = {pName, static_cast<size_t>(pNameEnd - pName)};
    if (tag.name.starts_with(u"![")) {
        FillCData(tag, pName, pNameEnd, _pEnd);
        return tag;
    }

    const char16_t* pTagEnd = FindTagEnd(tag.pBegin + 1, _pEnd);
    const bool bDeclaration = rest.starts_with(u"<?");
    if (pTagEnd == _pEnd) {
        if (bDeclaration) return tag;
        pTagEnd = _pEnd - 1;  // a cut tag ends with the last character
    }
    tag.pBehind = pTagEnd + 1;
    if (bDeclaration)
        tag.eKind = XML_TAG::Kind::kSkipped;
    else if (tag.name.empty())
        tag.eKind = XML_TAG::Kind::kNameless;
    else if (IsEmptyTag(tag.name))
        tag.eKind = XML_TAG::Kind::kSelfClosed;
    else if (bClosing)
        tag.eKind = XML_TAG::Kind::kClosing;
    if (tag.eKind != XML_TAG::Kind::kNone) return tag;

    // The name of a cut tag may reach to the very end, behind what is taken for the ">".
    if (pNameEnd < pTagEnd) tag.attributes = TrimBlanks(pNameEnd, pTagEnd);
    tag.eKind = tag.attributes.ends_with(u'/') ? XML_TAG::Kind::kSelfClosed : XML_TAG::Kind::kOpen;
    if (tag.eKind == XML_TAG::Kind::kSelfClosed)
        tag.attributes = TrimBlanks(tag.attributes.data(), tag.attributes.data() + tag.attributes.size() - 1);
    return tag;
}

HRESULT XMLNodeBase::Parse(const char16_t* _szXml, const char16_t** _ppEnd, const XML_READ_OPTIONS& _options) {
    if (!_szXml) return E_INVALIDARG;
    const char16_t* const pLimit = _ppEnd ? *_ppEnd : nullptr;
    const size_t nLength =
        pLimit ? static_cast<size_t>(std::max(_szXml, pLimit) - _szXml) : std::char_traits<char16_t>::length(_szXml);
    size_t nRead = 0;
    const HRESULT hr = Parse(std::u16string_view(_szXml, nLength), _options, &nRead);
    if (_ppEnd) *_ppEnd = _szXml + nRead;
    return hr;
}

HRESULT XMLNodeBase::Parse(std::u16string_view _xml, const XML_READ_OPTIONS& _options,
                           size_t* _pnRead) ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (bText) return E_INVALIDARG;
    if (_xml.size() > UINT32_MAX) return E_OUTOFMEMORY;
    try {
        // What is read shows all at once: it is read into a node that nobody knows.
        const XMLNodeRef pRead = NewBelow({}, false);
        {
            CRWReadScope lock(lockAttributes);
            pRead->name = name;
            pRead->strType = strType;
        }
        XMLReader reader(*pRead, _xml, _options);
        const HRESULT hr = reader.Read();
        if (_pnRead) *_pnRead = reader.Position();
        TakeOver(*pRead);
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

// Makes what was read this node's own.
void XMLNodeBase::TakeOver(XMLNodeBase& _fresh) ZR_NO_THREAD_SAFETY_ANALYSIS {
    RenameNode(_fresh.name.Text(), false);
    {
        CRWWriteScope lock(lockAttributes, "XMLNodeBase::TakeOver");
        strType.Assign(_fresh.strType.View());
        strType.Own();  // these two may still be parts of the present source, which goes
        name.Own();
        std::swap(arrAttributes, _fresh.arrAttributes);
        std::swap(pSource, _fresh.pSource);
    }
    TakeChildrenOver(_fresh);
}

void XMLNodeBase::TakeChildrenOver(XMLNodeBase& _fresh) ZR_NO_THREAD_SAFETY_ANALYSIS {
    CRWWriteScope lock(lockChildren, "XMLNodeBase::TakeChildrenOver");
    for (const auto& entry : arrChildren) entry.value->ForgetParent();
    std::swap(arrChildren, _fresh.arrChildren);  // the old ones go with _fresh
    ++nNamesFreed;
    for (const auto& entry : arrChildren) entry.value->pParent.store(this, std::memory_order_release);
}

// ---------------------------------------------------------------------------------------------------------------------
// The nodes that the reader makes are known to nobody else, so it takes no locks.

XMLReader::XMLReader(XMLNodeBase& _top, std::u16string_view _text, const XML_READ_OPTIONS& _options)
    : top(_top), pSource(new TreeSource(_text)), pText(pSource->Begin()), pEnd(pSource->End()), options(_options) {
    pSource->AddHolders(1);
    top.pSource = pSource;
}

HRESULT XMLReader::Read() {
    if (!options.bBodyOnly && !ReadTopTag()) return E_INVALIDARG;
    if (bBody) ReadBody();
    while (!arrOpen.empty()) CloseLast();
    return S_OK;
}

// The first tag that opens; false when there is none. What closes in itself leaves no body to read.
bool XMLReader::ReadTopTag() ZR_NO_THREAD_SAFETY_ANALYSIS {
    XML_TAG tag;
    do {
        tag = NextTag();
        if (tag.eKind == XML_TAG::Kind::kNone || tag.eKind == XML_TAG::Kind::kNameless) return false;
        pText = tag.pBehind;
    } while (tag.eKind == XML_TAG::Kind::kSkipped || tag.eKind == XML_TAG::Kind::kClosing);
    bBody = tag.eKind == XML_TAG::Kind::kOpen;
    if (tag.eKind == XML_TAG::Kind::kCData) {
        top.name = AttrValue::PartOfSource(tag.name);
        AddDecoded(top, tag.attributes, false);
    } else {
        top.name = AttrValue::PartOfSource(Lower(tag.name));
        StoreAttributes(top);
    }
    return true;
}

// Up to the tag that closes the top, or the end.
void XMLReader::ReadBody() {
    while (pText != pEnd) {
        XMLNodeBase& node = arrOpen.empty() ? top : *arrOpen.back();
        const XML_TAG tag = NextTag();
        if (tag.eKind == XML_TAG::Kind::kNone) {
            AddText(node, pEnd);
            pText = pEnd;
            return;
        }
        if (tag.eKind != XML_TAG::Kind::kNameless) AddText(node, tag.pBegin);
        if (tag.eKind == XML_TAG::Kind::kOpen && arrOpen.size() + 1 >= XMLNodeBase::kMaxDepth) return;
        pText = tag.pBehind;
        switch (tag.eKind) {
            case XML_TAG::Kind::kOpen: OpenChild(tag); break;
            case XML_TAG::Kind::kSelfClosed:
                OpenChild(tag);
                CloseLast();
                break;
            case XML_TAG::Kind::kCData: AddDecoded(node, tag.attributes, false); break;
            case XML_TAG::Kind::kClosing:
                if (!Closes(node, tag.name)) break;
                if (arrOpen.empty()) return;
                CloseLast();
                break;
            default: break;
        }
    }
}

// The next tag, with its attributes in arrFound.
XML_TAG XMLReader::NextTag() {
    arrFound.clear();
    XML_TAG tag;
    tag.pBegin = FindChar(pText, pEnd, u'<');
    if (tag.pBegin != pEnd && ReadPlainTag(tag.pBegin + 1, tag)) return tag;
    arrFound.clear();
    tag = FindTag(tag.pBegin, pEnd);
    if (tag.eKind == XML_TAG::Kind::kOpen || tag.eKind == XML_TAG::Kind::kSelfClosed) ReadAttributeLine(tag.attributes);
    return tag;
}

namespace {

// What a plain tag is made of: letters, digits and the like. Anything else is left to FindTag.
constexpr bool IsPlain(char16_t _ch) {
    return (_ch >= u'a' && _ch <= u'z') || (_ch >= u'A' && _ch <= u'Z') || (_ch >= u'0' && _ch <= u'9') ||
           _ch == u'_' || _ch == u'.' || _ch == u'-' || _ch == u':';
}

constexpr auto arrPlain = [] {
    std::array<bool, 128> arr{};
    for (char16_t ch = 0; ch < 128; ++ch) arr[ch] = IsPlain(ch);
    return arr;
}();

const char16_t* SkipPlain(const char16_t* _p, const char16_t* _pEnd) {
    while (_p != _pEnd && *_p < 128 && arrPlain[*_p]) ++_p;
    return _p;
}

}  // namespace

// A tag as programs write them, all values quoted and no blank out of place, in one go: nearly all tags are. _p is
// behind the "<". False for any other, of which nothing is known then.
bool XMLReader::ReadPlainTag(const char16_t* _p, XML_TAG& _tag) {
    const bool bClosing = _p != pEnd && *_p == u'/';
    if (bClosing) ++_p;
    const char16_t* const pName = _p;
    _p = SkipPlain(_p, pEnd);
    _tag.name = {pName, static_cast<size_t>(_p - pName)};
    if (_tag.name.empty() || _p == pEnd || IsEmptyTag(_tag.name)) return false;
    if (bClosing) {
        _tag.eKind = XML_TAG::Kind::kClosing;
        _tag.pBehind = _p + 1;
        return *_p == u'>';
    }
    for (;;) {
        const char16_t* const pBlanks = _p;
        while (_p != pEnd && IsBlank(*_p)) ++_p;
        if (_p == pEnd) return false;
        if (*_p == u'>') {
            _tag.eKind = XML_TAG::Kind::kOpen;
            _tag.pBehind = _p + 1;
            return true;
        }
        if (*_p == u'/') {
            _tag.eKind = XML_TAG::Kind::kSelfClosed;
            _tag.pBehind = _p + 2;
            return _p + 1 != pEnd && _p[1] == u'>';
        }
        if (_p == pBlanks) return false;
        const char16_t* const pAttribute = _p;
        _p = SkipPlain(_p, pEnd);
        if (_p == pAttribute || pEnd - _p < 2 || *_p != u'=' || (_p[1] != u'\'' && _p[1] != u'"')) return false;
        const char16_t* const pValue = _p + 2;
        const char16_t* const pQuote = FindChar(pValue, pEnd, _p[1]);
        if (pQuote == pEnd) return false;
        arrFound.push_back(
            {{pAttribute, static_cast<size_t>(_p - pAttribute)}, {pValue, static_cast<size_t>(pQuote - pValue)}});
        _p = pQuote + 1;
    }
}

void XMLReader::ReadAttributeLine(std::u16string_view _attributes) {
    AttributeLineScanner scanner(_attributes);
    while (scanner.Next())
        if (!scanner.IsBare()) arrFound.push_back({scanner.Name(), scanner.Value()});
}

void XMLReader::StoreAttributes(XMLNodeBase& _node) ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (arrFound.empty()) return;
    auto& arrAttributes = _node.arrAttributes;
    arrAttributes.BeginInSource(*pSource, arrFound.size());
    for (const ATTRIBUTE& attribute : arrFound) {
        const NameKey key(attribute.name);
        if (_node.IsId(key)) {
            if (_node.strType.Empty()) _node.strType = TreeText::PartOfSource(_node.name.Text());
            _node.name = AttrValue::PartOfSource(attribute.value);
            continue;
        }
        const size_t i = arrAttributes.Find(key.nHash);
        if (i == arrAttributes.kNone)
            arrAttributes.AppendParts(key, AttrValue::PartOfSource(attribute.value));
        else
            arrAttributes[i] = AttrValue::PartOfSource(attribute.value);
    }
}

XMLNodeRef XMLReader::NewPart(std::u16string_view _part, bool _bText) ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (nHoldsLeft == 0) {
        nHoldsLeft = 256;
        pSource->AddHolders(nHoldsLeft);
    }
    XMLNodeRef p = XMLNodeRef::Attach(top.NewNode(pSource));
    --nHoldsLeft;
    p->name = AttrValue::PartOfSource(_part);
    p->pIdAttribute = top.pIdAttribute;
    p->bText = _bText;
    return p;
}

void XMLReader::OpenChild(const XML_TAG& _tag) {
    arrOpen.push_back(NewPart(Lower(_tag.name), false));
    StoreAttributes(*arrOpen.back());
}

// The last open node is complete.
void XMLReader::CloseLast() ZR_NO_THREAD_SAFETY_ANALYSIS {
    XMLNodeRef pNode = std::move(arrOpen.back());
    arrOpen.pop_back();
    XMLNodeBase& parent = arrOpen.empty() ? top : *arrOpen.back();
    pNode->pParent.store(&parent, std::memory_order_relaxed);
    const NameKey key(pNode->name.Text());
    parent.arrChildren.AppendPart(key, std::move(pNode));
}

bool XMLReader::Closes(const XMLNodeBase& _node, std::u16string_view _name) ZR_NO_THREAD_SAFETY_ANALYSIS {
    const std::u16string_view tag = _node.Tag_I();
    return std::equal(_name.begin(), _name.end(), tag.begin(), tag.end(),
                      [](char16_t _a, char16_t _b) { return ToLower(_a) == _b; });
}

// The text from the present position up to _pTextEnd.
void XMLReader::AddText(XMLNodeBase& _node, const char16_t* _pTextEnd) {
    const char16_t* p = pText;
    if (!options.bKeepSpace) {
        while (p != _pTextEnd && IsTextTrim(*p)) ++p;
        while (p != _pTextEnd && IsTextTrim(_pTextEnd[-1])) --_pTextEnd;
    }
    if (p != _pTextEnd) AddDecoded(_node, {p, static_cast<size_t>(_pTextEnd - p)}, options.bKeepSpace);
}

void XMLReader::AddDecoded(XMLNodeBase& _node, std::u16string_view _text,
                           bool _bKeepSpace) ZR_NO_THREAD_SAFETY_ANALYSIS {
    char16_t* const pBegin = Writable(_text.data());
    const auto text = DecodeText(pBegin, pBegin + _text.size(), _bKeepSpace ? TextSpace::kKeep : TextSpace::kDrop,
                                 options.bNoFold ? TextFold::kKeep : TextFold::kFold);
    if (!text || text->empty()) return;
    auto& arrChildren = _node.arrChildren;
    if (!arrChildren.Empty() && arrChildren[arrChildren.Size() - 1]->bText) {
        arrChildren[arrChildren.Size() - 1]->name.AppendText(*text);
        return;
    }
    XMLNodeRef pNode = NewPart(*text, true);
    pNode->pParent.store(&_node, std::memory_order_relaxed);
    arrChildren.AppendNameless(std::move(pNode));
}

std::u16string_view XMLReader::Lower(std::u16string_view _name) const {
    std::transform(_name.begin(), _name.end(), Writable(_name.data()), ToLower);
    return _name;
}

}  // namespace zr
