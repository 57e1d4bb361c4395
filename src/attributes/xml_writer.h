#pragma once
// The writer of the text form of a tree.

#include <string_view>
#include <vector>

#include "attributes/text_chunks.h"
#include "attributes/xml_node.h"

namespace zr {

// Writes one tree; used once. Each node is written as it is when its turn comes: others may change the tree meanwhile.
class XMLWriter {
public:
    XMLWriter(TextChunks& _out, const XML_WRITE_OPTIONS& _options) : out(_out), options(_options) {}

    void Write(const XMLNodeBase& _top);

    // " name='text'". A text that holds an apostrophe goes in double quotes, and those within become apostrophes, in
    // the value too: there is no other way to quote one.
    static void WriteAttribute(TextChunks& _out, std::u16string_view _prefix, std::u16string_view _name,
                               AttrValue& _value);

private:
    // How a node is set when text flows.
    enum class Flow { kBlock = 0, kBreak = 1, kInline = 3, kText = 4 };

    // A node whose children are being written; they stand in arrChildren from nNext on.
    struct FRAME {
        const XMLNodeBase* pNode;
        int32_t nIndent;
        Flow eFlow;
        std::u16string_view tag;  // in out, for the tag that closes it
        size_t nFirst;
        size_t nNext;
        Flow ePrevious;
    };

    void Open(const XMLNodeBase& _node, int32_t _nIndent);
    void WriteNextChild();
    void Close();
    void WriteClosingTag(std::u16string_view _tag);
    bool OnlyTexts(size_t _nFirst) const;
    Flow FlowOf(std::u16string_view _tag) const;
    void WriteTabs(int32_t _nTabs) { out.Put(static_cast<size_t>(_nTabs), u'\t'); }
    void WriteEscaped(std::u16string_view _text);
    void WriteTextOf(const XMLNodeBase& _text);

    TextChunks& out;
    const XML_WRITE_OPTIONS options;
    std::vector<FRAME> arrFrames;  // from the top down to the node that is being written
    std::vector<XMLNodeRef> arrChildren;
};

}  // namespace zr
