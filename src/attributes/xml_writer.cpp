#include "attributes/xml_writer.h"

#include <algorithm>

#include "attributes/char_class.h"
#include "attributes/char_search.h"

namespace zr {

namespace {

constexpr int32_t kMaxTabs = 64;
constexpr int32_t kMaxTextIndent = 510;

}  // namespace

void XMLNodeBase::Write(std::u16string& _out, const XML_WRITE_OPTIONS& _options) const {
    TextChunks text;
    XMLWriter(text, _options).Write(*this);
    text.AppendTo(_out);
}

void XMLNodeBase::WriteAttributes(std::u16string& _out, std::u16string_view _prefix) const {
    TextChunks text;
    {
        CRWReadScope lock(lockAttributes);
        for (size_t i = 0; i < arrAttributes.Size(); ++i)
            XMLWriter::WriteAttribute(text, _prefix, arrAttributes.NameAt(i), arrAttributes[i]);
    }
    text.AppendTo(_out);
}

void XMLWriter::Write(const XMLNodeBase& _top) {
    if (!_top.bText) Open(_top, options.nIndent);
    while (!arrFrames.empty()) {
        if (arrFrames.back().nNext < arrChildren.size())
            WriteNextChild();
        else
            Close();
    }
    if (options.bTerminate) out.Put(u'\0');
}

// The tag of a node, and all of it when there is nothing in it but text. Else its frame is left to be worked off.
void XMLWriter::Open(const XMLNodeBase& _node, int32_t _nIndent) {
    if (_nIndent > 0) WriteTabs(std::min(_nIndent, kMaxTabs));
    out.Put(u'<');
    std::u16string_view tag;
    {
        CRWReadScope lock(_node.lockAttributes);
        tag = out.Put(_node.Tag_I());
        if (_node.pIdAttribute && !_node.strType.Empty()) {
            AttrValue id(_node.name);  // a copy: the parent knows the node by the name as it is
            WriteAttribute(out, {}, u"id", id);
        }
        for (size_t i = 0; i < _node.arrAttributes.Size(); ++i)
            WriteAttribute(out, {}, _node.arrAttributes.NameAt(i), _node.arrAttributes[i]);
    }

    const size_t nFirst = arrChildren.size();
    {
        CRWReadScope lock(_node.lockChildren);
        for (const auto& entry : _node.arrChildren) arrChildren.push_back(entry.value);
    }
    if (nFirst == arrChildren.size()) {
        out.Put(std::u16string_view(u"/>"));
        return;
    }
    out.Put(u'>');
    if (OnlyTexts(nFirst)) {
        WriteTextOf(*arrChildren[nFirst]);
        arrChildren.resize(nFirst);
        WriteClosingTag(tag);
        return;
    }
    const Flow eFlow = FlowOf(tag);
    arrFrames.push_back({&_node, _nIndent, eFlow, tag, nFirst, nFirst, eFlow});
}

void XMLWriter::WriteNextChild() {
    FRAME& frame = arrFrames.back();
    const bool bFirst = frame.nNext == frame.nFirst;
    const XMLNodeBase& child = *arrChildren[frame.nNext++];
    Flow eFlow = Flow::kBlock;
    if (options.bTextFlow) eFlow = child.bText ? Flow::kText : FlowOf(child.Tag());
    const Flow eBefore = bFirst ? frame.eFlow : frame.ePrevious;
    const bool bNewLine = eFlow < Flow::kInline || eBefore == Flow::kBlock;
    frame.ePrevious = eFlow;

    const int32_t nIndent = frame.nIndent;
    const bool bFormat = nIndent >= 0 && !child.bNoFormat;
    if (bNewLine && bFormat) out.Put(std::u16string_view(u"\r\n"));
    if (child.bText) {
        if (frame.eFlow == Flow::kBlock && bFormat) WriteTabs(std::min(nIndent, kMaxTextIndent) + 1);
        WriteTextOf(child);
    } else {
        Open(child, !bFormat ? -1 : bNewLine ? nIndent + 1 : nIndent);  // frame may have moved
    }
}

void XMLWriter::Close() {
    const FRAME frame = arrFrames.back();
    arrFrames.pop_back();
    if (frame.eFlow == Flow::kBlock && frame.nIndent >= 0 && !frame.pNode->bNoFormat) {
        out.Put(std::u16string_view(u"\r\n"));
        WriteTabs(std::min(frame.nIndent, kMaxTabs));
    }
    WriteClosingTag(frame.tag);
    arrChildren.resize(frame.nFirst);
}

void XMLWriter::WriteClosingTag(std::u16string_view _tag) {
    char16_t* p = out.Reserve(_tag.size() + 3);
    *p++ = u'<';
    *p++ = u'/';
    p = TextChunks::Copy(p, _tag);
    *p++ = u'>';
    out.Commit(p);
}

bool XMLWriter::OnlyTexts(size_t _nFirst) const {
    return std::all_of(arrChildren.begin() + static_cast<ptrdiff_t>(_nFirst), arrChildren.end(),
                       [](const XMLNodeRef& _p) { return _p->bText; });
}

XMLWriter::Flow XMLWriter::FlowOf(std::u16string_view _tag) const {
    if (!options.bTextFlow) return Flow::kBlock;
    for (const std::u16string_view tag : {u"br", u"tab"})
        if (EqualNoCase(tag, _tag)) return Flow::kBreak;
    for (const std::u16string_view tag : {u"i", u"b", u"u", u"p", u"font", u"span"})
        if (EqualNoCase(tag, _tag)) return Flow::kInline;
    return Flow::kBlock;
}

void XMLWriter::WriteTextOf(const XMLNodeBase& _text) {
    CRWReadScope lock(_text.lockAttributes);
    WriteEscaped(_text.name.Text());
}

void XMLWriter::WriteEscaped(std::u16string_view _text) {
    size_t nDone = 0;
    for (size_t i = 0; i < _text.size(); ++i) {
        std::u16string_view entity;
        switch (_text[i]) {
            case u'<': entity = u"&lt;"; break;
            case u'>': entity = u"&gt;"; break;
            case u'&': entity = u"&amp;"; break;
            default: continue;
        }
        out.Put(_text.substr(nDone, i - nDone));
        out.Put(entity);
        nDone = i + 1;
    }
    out.Put(_text.substr(nDone));
}

void XMLWriter::WriteAttribute(TextChunks& _out, std::u16string_view _prefix, std::u16string_view _name,
                               AttrValue& _value) {
    std::u16string_view text = _value.Text();
    char16_t chQuote = u'\'';
    if (FindChar(text.data(), text.data() + text.size(), chQuote) != text.data() + text.size()) {
        chQuote = u'"';
        _value.ReplaceDoubleQuotes();
        text = _value.Text();
    }
    char16_t* p = _out.Reserve(_prefix.size() + _name.size() + text.size() + 4);
    *p++ = u' ';
    p = TextChunks::Copy(p, _prefix);
    p = TextChunks::Copy(p, _name);
    *p++ = u'=';
    *p++ = chQuote;
    p = TextChunks::Copy(p, text);
    *p++ = chQuote;
    _out.Commit(p);
}

}  // namespace zr
