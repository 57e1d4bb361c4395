#include "attributes/xml_reader.h"

#include <algorithm>
#include <new>

#include "attributes/attribute_line.h"
#include "attributes/char_class.h"
#include "attributes/text_decoder.h"

namespace zr {

namespace {

constexpr std::u16string_view cdataEnd = u"]]>";

// The first ">" outside quotes, or the end.
const char16_t* FindTagEnd(const char16_t* _p, const char16_t* _pEnd) {
    for (; _p != _pEnd && *_p != u'>'; ++_p) {
        if (*_p != u'\'' && *_p != u'"') continue;
        _p = std::find(_p + 1, _pEnd, *_p);
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
    tag.pBegin = std::find(_pText, _pEnd, u'<');
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

    tag.attributes = TrimBlanks(pNameEnd, pTagEnd);
    tag.eKind = tag.attributes.ends_with(u'/') ? XML_TAG::Kind::kSelfClosed : XML_TAG::Kind::kOpen;
    if (tag.eKind == XML_TAG::Kind::kSelfClosed)
        tag.attributes = TrimBlanks(tag.attributes.data(), tag.attributes.data() + tag.attributes.size() - 1);
    return tag;
}

HRESULT XMLNodeBase::Parse(const char16_t* _szXml, const char16_t** _ppEnd, const XML_READ_OPTIONS& _options) {
    if (!_szXml || bText) return E_INVALIDARG;
    const char16_t* const pLimit = _ppEnd ? *_ppEnd : nullptr;
    const size_t nLength = pLimit ? static_cast<size_t>(std::find(_szXml, std::max(_szXml, pLimit), u'\0') - _szXml)
                                  : std::char_traits<char16_t>::length(_szXml);
    try {
        // What is read shows all at once: it is read into a node that nobody knows.
        const XMLNodeRef pRead = NewBelow({}, false);
        {
            CRWReadScope lock(*pLockAttributes);
            pRead->name = name;
            pRead->strType = strType;
        }
        XMLReader reader(*pRead, {_szXml, nLength}, _options);
        const HRESULT hr = reader.Read();
        if (_ppEnd) *_ppEnd = reader.Position();
        TakeOver(*pRead);
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

// Makes a tree that nobody else knows this one.
void XMLNodeBase::TakeOver(XMLNodeBase& _fresh) {
    RenameNode(_fresh.name.Text(), false);
    {
        CRWWriteScope lock(*pLockAttributes, "XMLNodeBase::TakeOver");
        strType = std::move(_fresh.strType);
        std::swap(arrAttributes, _fresh.arrAttributes);
    }
    CRWWriteScope lock(lockChildren, "XMLNodeBase::TakeOver");
    for (const auto& entry : arrChildren) entry.value->pParent.store(nullptr, std::memory_order_release);
    std::swap(arrChildren, _fresh.arrChildren);  // the old ones go with _fresh
    for (const auto& entry : arrChildren) entry.value->pParent.store(this, std::memory_order_release);
}

XMLReader::XMLReader(XMLNodeBase& _top, std::u16string_view _text, const XML_READ_OPTIONS& _options)
    : top(_top), pText(_text.data()), pEnd(pText + _text.size()), options(_options) {}

HRESULT XMLReader::Read() {
    if (!options.bBodyOnly) {
        XML_TAG tag;
        do {
            tag = FindTag(pText, pEnd);
            if (tag.eKind == XML_TAG::Kind::kNone) return E_INVALIDARG;
            pText = tag.pBehind;
        } while (tag.eKind == XML_TAG::Kind::kSkipped || tag.eKind == XML_TAG::Kind::kNameless ||
                 tag.eKind == XML_TAG::Kind::kClosing);
        const bool bCData = tag.eKind == XML_TAG::Kind::kCData;
        top.name.SetText(bCData ? tag.name : Lower(tag.name));
        if (bCData)
            AddDecoded(top, tag.attributes, false);
        else
            ReadAttributes(top, tag.attributes);
        if (tag.eKind != XML_TAG::Kind::kOpen) return S_OK;
    }
    ReadBody();
    while (!arrOpen.empty()) CloseLast();
    return S_OK;
}

// Up to the tag that closes the top, or the end.
void XMLReader::ReadBody() {
    while (pText != pEnd) {
        XMLNodeBase& node = arrOpen.empty() ? top : *arrOpen.back();
        const XML_TAG tag = FindTag(pText, pEnd);
        if (tag.eKind == XML_TAG::Kind::kNone) {
            AddText(node, pEnd);
            pText = pEnd;
            return;
        }
        if (tag.eKind != XML_TAG::Kind::kNameless) AddText(node, tag.pBegin);
        if (tag.eKind == XML_TAG::Kind::kOpen && arrOpen.size() + 1 >= XMLNodeBase::kMaxDepth) return;
        pText = tag.pBehind;
        switch (tag.eKind) {
            case XML_TAG::Kind::kOpen: OpenChild(node, tag); break;
            case XML_TAG::Kind::kSelfClosed:
                OpenChild(node, tag);
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

void XMLReader::OpenChild(XMLNodeBase& _parent, const XML_TAG& _tag) {
    arrOpen.push_back(_parent.NewBelow(Lower(_tag.name), false));
    ReadAttributes(*arrOpen.back(), _tag.attributes);
}

// The last open node is complete.
void XMLReader::CloseLast() {
    XMLNodeRef pNode = std::move(arrOpen.back());
    arrOpen.pop_back();
    XMLNodeBase& parent = arrOpen.empty() ? top : *arrOpen.back();
    pNode->pParent.store(&parent, std::memory_order_relaxed);
    const NameKey key(pNode->name.Text());
    parent.arrChildren.Append(key, std::move(pNode));
}

bool XMLReader::Closes(const XMLNodeBase& _node, std::u16string_view _name) {
    return Lower(_name) == (_node.strType.Empty() ? _node.name.Text() : _node.strType.View());
}

void XMLReader::ReadAttributes(XMLNodeBase& _node, std::u16string_view _attributes) {
    AttributeLineScanner scanner(_attributes);
    while (scanner.Next()) {
        if (scanner.IsBare()) continue;
        const NameKey key(scanner.Name());
        if (_node.IsId(key)) {
            if (_node.strType.Empty()) _node.strType.Assign(_node.name.Text());
            _node.name.SetText(scanner.Value());
        } else {
            _node.arrAttributes.FindOrAppend(key).SetText(scanner.Value());
        }
    }
}

// The text from the present position up to _pEnd.
void XMLReader::AddText(XMLNodeBase& _node, const char16_t* _pEnd) {
    const char16_t* p = pText;
    if (!options.bKeepSpace) {
        while (p != _pEnd && IsTextTrim(*p)) ++p;
        while (p != _pEnd && IsTextTrim(_pEnd[-1])) --_pEnd;
    }
    if (p != _pEnd) AddDecoded(_node, {p, static_cast<size_t>(_pEnd - p)}, options.bKeepSpace);
}

void XMLReader::AddDecoded(XMLNodeBase& _node, std::u16string_view _text, bool _bKeepSpace) {
    const auto text = DecodeText(_text, _bKeepSpace ? TextSpace::kKeep : TextSpace::kDrop,
                                 options.bNoFold ? TextFold::kKeep : TextFold::kFold, strText);
    if (!text || text->empty()) return;
    auto& arrChildren = _node.arrChildren;
    if (!arrChildren.Empty() && arrChildren[arrChildren.Size() - 1]->bText) {
        arrChildren[arrChildren.Size() - 1]->name.AppendText(*text);
        return;
    }
    XMLNodeRef pNode = _node.NewBelow(*text, true);
    pNode->pParent.store(&_node, std::memory_order_relaxed);
    arrChildren.AppendNameless(std::move(pNode));
}

std::u16string_view XMLReader::Lower(std::u16string_view _name) {
    strName.resize(_name.size());
    std::transform(_name.begin(), _name.end(), strName.begin(), ToLower);
    return strName;
}

}  // namespace zr
