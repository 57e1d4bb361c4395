#pragma once
// The tree in which everything that is described in text lives: settings, scene elements, saved configurations.

#include <atomic>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "attributes/attr_value.h"
#include "attributes/named_list.h"
#include "attributes/objects_map.h"
#include "attributes/tree_text.h"
#include "platform/lock.h"
#include "platform/rw_lock.h"
#include "zr/enums.h"
#include "zr/ptr.h"
#include "zr/text.h"

namespace zr {

class XMLNodeBase;
using XMLNodeRef = ZrPtr<XMLNodeBase>;

// How XML text is read; the defaults are for whole documents.
struct XML_READ_OPTIONS {
    bool bBodyOnly = false;   // the text is what stands inside a tag
    bool bKeepSpace = false;  // texts keep blanks around them, and texts of blanks are texts
    bool bNoFold = false;     // line breaks and tabs in texts stay what they are
};

// How XML text is written.
struct XML_WRITE_OPTIONS {
    int32_t nIndent = 0;      // tabs before the top; below 0 everything goes on one line
    bool bTerminate = false;  // a zero character at the end
    bool bTextFlow = false;   // lines break around blocks, not around text and the tags that are set within it
};

// One node: its name, its attributes in order, its children in order, texts among them, and the run-time objects kept
// with it. All of the tree is here; XMLNodeImpl adds the type of the node.
//
// Names are found without regard to case. A path is names joined by "::"; empty names in it are passed over. Functions
// that take a path of an attribute look its last name up at the node that the names before it lead to.
//
// Any thread may call anything; each call is whole by itself. A node must not be used after the last reference to it;
// its parent is held while it is walked up to, and is none once it is going. Lock order: children lock of a node, then
// that of its child, then an attribute lock; the objects lock is a leaf. Throws std::bad_alloc only.
class XMLNodeBase : public IUnknown {
public:
    // How far below its top the reader and the paths make nodes.
    static constexpr size_t kMaxDepth = 4096;

    XMLNodeBase(const XMLNodeBase&) = delete;
    XMLNodeBase& operator=(const XMLNodeBase&) = delete;

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override;
    uint32_t AddRef() override { return nReferences.fetch_add(1, std::memory_order_relaxed) + 1; }
    uint32_t Release() override;

    // --- The node itself

    // The name by which the parent finds it: the id of a node that its id attribute renamed. Empty for a text.
    std::u16string Name() const;
    // What it is written as: the name it had before it got its id.
    std::u16string Tag() const;
    void Rename(std::u16string_view _name);
    // Changes what it is written as: its name unless it has an id, which stays.
    void SetTag(std::u16string_view _tag);
    bool IsText() const { return bText; }
    bool HasName(const NameKey& _key) const;  // Name() without regard to case
    bool HasTag(const NameKey& _key) const;   // Tag() without regard to case
    uint64_t HashOfName() const;              // of Name(); 0 for a text
    uint64_t TypeHash() const;                // of Tag() up to a dot; 0 for a text

    // The name of the attribute that is really the node's name; null when there is none. New children inherit it.
    const NameKey* IdAttribute() const { return pIdAttribute; }
    // Children so named do not count as children; the first is the schema's, whose attributes are nobody's.
    virtual std::span<const NameKey> HiddenNames() const;
    virtual bool SkipFirstHidden() const { return true; }
    // Nodes so named give their body out and take it in as XML.
    virtual std::span<const NameKey> RawXmlNames() const { return {}; }
    bool IsRawXml() const;

    // --- Attributes, by path

    bool HasAttribute(std::u16string_view _path) const;
    // Reads an attribute as one kind. False, and _value unchanged, when there is none.
    template <AttrBinary T>
    bool GetAttribute(std::u16string_view _path, T& _value) const;
    bool GetAttribute(std::u16string_view _path, std::u16string& _value) const;
    // A copy of an attribute's text to be handed out at an interface. S_FALSE, and null, when there is none.
    HRESULT GiveAttribute(std::u16string_view _path, BSTR* _pbs) const;
    bool GetColour(std::u16string_view _path, AttrColour _default, AttrColour& _value) const;
    // The same with a value for when there is none.
    template <AttrBinary T>
    T AttributeOr(std::u16string_view _path, T _default) const {
        GetAttribute(_path, _default);
        return _default;
    }
    std::u16string AttributeOr(std::u16string_view _path, std::u16string_view _default) const;

    // Overwrites or adds an attribute, making the nodes of the path. False: the path is too deep.
    template <AttrBinary T>
    bool SetAttribute(std::u16string_view _path, T _value);
    bool SetAttribute(std::u16string_view _path, std::u16string_view _text);
    // False: there is none.
    bool RemoveAttribute(std::u16string_view _path);

    // --- Own attributes, by the name as it stands or by position

    size_t AttributeCount() const;
    template <AttrBinary T>
    bool GetOwnAttribute(const NameKey& _key, T& _value) const;
    // Either out may be null. False: no such position.
    bool AttributeAt(size_t _i, std::u16string* _pName, std::u16string* _pText) const;
    bool HasOwnAttribute(const NameKey& _key) const;
    // Calls _f(hash of the name, AttrValue&) for each own attribute in order, with the attribute lock held: to read
    // many at the cost of one.
    template <class F>
    void VisitOwnAttributes(F&& _f) const {
        VisitOwnAttributes([](std::u16string_view) { return true; }, _f);
    }
    // _begin(Tag()) comes first and says whether to go on; the result is what it said.
    template <class B, class F>
    bool VisitOwnAttributes(B&& _begin, F&& _f) const {
        CRWReadScope lock(lockAttributes);
        if (!_begin(Tag_I())) return false;
        for (auto& entry : arrAttributes) _f(entry.nHash, entry.value);
        return true;
    }
    // False: it is there and _bOverwrite is not set.
    bool SetOwnAttribute(const NameKey& _key, std::u16string_view _text, bool _bOverwrite = true);
    void RemoveAttributes();
    // As in a tag: each with a blank before it, _prefix before its name, its text in quotes.
    void WriteAttributes(std::u16string& _out, std::u16string_view _prefix = {}) const;
    // Takes over the own attributes of another node.
    void CopyAttributesFrom(const XMLNodeBase& _source, eZrUpdateType _eUpdate);

    // --- Children

    XMLNodeRef ParentNode() const;
    bool HasParent() const { return pParent.load(std::memory_order_acquire) != nullptr; }
    size_t ChildCount() const;  // texts and hidden ones too
    XMLNodeRef ChildNodeAt(size_t _i) const;
    XMLNodeRef FindChildNode(const NameKey& _key, size_t _nOccurrence = 0) const;
    // The first child of that name which has it otherwise than by an id: it says something of this node.
    XMLNodeRef FindSettingNode(const NameKey& _key) const;
    std::vector<XMLNodeRef> ChildNodes() const;
    // Puts the first child of each name into _pFound, as many as there are keys, empty where there is none. Returns
    // whether there is any. _pnChildren (may be null): how many children there are of all names.
    bool FindChildNodes(std::span<const NameKey> _arrKeys, XMLNodeRef* _pFound, size_t* _pnChildren = nullptr) const;
    // Children that are neither texts nor hidden; an id hides nobody.
    size_t ElementCount() const;
    XMLNodeRef ElementNodeAt(size_t _i) const;
    std::vector<XMLNodeRef> ElementNodes() const;
    // Counts how often names have become free below this node: while it stands still, what was taken is.
    uint32_t NamesFreed() const;
    // The node at a path; with _bCreate the missing ones are made. _pLast (may be null): the walk stops one short and
    // gives the last name back. Empty: there is none, or the path is too deep.
    XMLNodeRef FindNode(std::u16string_view _path, bool _bCreate = false, std::u16string_view* _pLast = nullptr);
    // A new node at the end of a path, beside any of that name. Empty: the path has no name in it or is too deep.
    XMLNodeRef AddNode(std::u16string_view _path);
    // A negative or too large position appends. False: the node is this one or above it, or has a parent.
    bool InsertChildNode(XMLNodeRef _pChild, ptrdiff_t _nPosition = -1);
    // False: it is no child of this node.
    bool RemoveChildNode(XMLNodeBase* _pChild);
    void RemoveChildren();
    // Moves a child to another position. False: it is no child of this node, or there is no such position.
    bool MoveChildNode(XMLNodeBase* _pChild, size_t _nPosition);
    // Takes this node out of its parent. False: it has none.
    bool Detach();

    // --- Texts

    // A text's own; for another node that of its first text child, empty when there is none.
    std::u16string Text() const;
    void SetText(std::u16string_view _text);
    void AppendText(std::u16string_view _text);

    // --- XML

    // Reads XML into this node, in place of its children and attributes. _ppEnd (may be null): in, where the text ends
    // at the latest, null for its zero; out, behind what was read. Cut and misnested text is no error. E_INVALIDARG: no
    // text, or none that opens a tag, which leaves the node empty. E_OUTOFMEMORY: nothing has changed.
    HRESULT Parse(const char16_t* _szXml, const char16_t** _ppEnd = nullptr, const XML_READ_OPTIONS& _options = {});
    // The same for a text whose length is known. _pnRead (may be null): how much of it was read.
    HRESULT Parse(std::u16string_view _xml, const XML_READ_OPTIONS& _options = {}, size_t* _pnRead = nullptr);
    // Appends the node and all below it to _out.
    void Write(std::u16string& _out, const XML_WRITE_OPTIONS& _options = {}) const;
    // Makes _target's children copies of this node's, and its attributes by the mode. _bWithName: the name and tag too.
    // _arrLeaveOut: children of these names, but by an id, are not copied. Returns how many nodes were copied, this
    // one included; 0 when the target is this node.
    size_t CopyTo(XMLNodeBase& _target, bool _bWithName, eZrUpdateType _eUpdate,
                  std::span<const NameKey> _arrLeaveOut = {}) const;

    // --- Run-time objects

    ObjectsMap::ObjectPtr Object(const NameKey& _key) const;
    // The value inside, null when there is none of this type.
    template <class T>
    T ObjectAs(const NameKey& _key) const {
        const ObjectsMap::ObjectPtr p = Object(_key);
        const T* pValue = ObjectVal<T>::In(p);
        return pValue ? *pValue : T();
    }
    void SetObject(const NameKey& _key, ObjectsMap::ObjectPtr _pObject);
    bool RemoveObject(const NameKey& _key);
    void RemoveObjects();
    // Those of one name, of this node and all below it, top first.
    std::vector<ObjectsMap::ObjectPtr> CollectObjects(const NameKey& _key) const;
    // Removes all objects of this node and all below it.
    void RemoveObjectsBelow() { TakeObjectsBelow(); }
    // The same but for those of some names, and hands them on: for who holds a lock that their end must not be under.
    std::vector<ObjectsMap::ObjectPtr> TakeObjectsBelow(std::span<const NameKey> _arrKeep = {});

protected:
    XMLNodeBase() = default;
    virtual ~XMLNodeBase();

    // A new node of the same type, with one reference; in memory of _pSource when it is not null, of which the caller
    // hands one hold on to the node. Throws std::bad_alloc.
    virtual XMLNodeBase* NewNode(TreeSource* _pSource = nullptr) const = 0;
    void SetHome(TreeSource* _pSource) { pHome = _pSource; }
    // Completes a node that nobody else knows yet; _name: of a text its text.
    void SetNew(std::u16string_view _name, const NameKey* _pIdAttribute, bool _bText);

private:
    friend class XMLReader;
    friend class XMLWriter;
    friend class AttributeAccess;

    struct OBJECTS {
        CRWSynchroLiteRW lock;
        ObjectsMap map ZR_GUARDED_BY(lock);
    };

    static void DestroyTree(XMLNodeBase* _pTop);
    // A reference to a node that may be on its way out. False: it is.
    bool TryAddRef();
    void ForgetParent();
    bool IsBelow(const XMLNodeBase& _other) const;  // or is it
    XMLNodeRef NewBelow(std::u16string_view _name, bool _bText) const;
    XMLNodeRef FindOrMakeChild(const NameKey& _key);
    void RenameNode(std::u16string_view _name, bool _bById);
    size_t FindChildPosition(const XMLNodeBase* _pChild) const ZR_REQUIRES_SHARED(lockChildren);
    bool IsElement(const NAMED_ENTRY<XMLNodeRef>& _child) const ZR_REQUIRES_SHARED(lockChildren);
    XMLNodeBase* FirstText() const ZR_REQUIRES_SHARED(lockChildren);
    void JoinTexts(size_t _i) ZR_REQUIRES(lockChildren);
    size_t Depth() const;
    bool IsId(const NameKey& _key) const { return pIdAttribute && pIdAttribute->nHash == _key.nHash; }
    std::u16string_view Tag_I() const ZR_REQUIRES_SHARED(lockAttributes) {
        return strType.Empty() ? name.Text() : strType.View();
    }
    AttrValue* FindOwn(const NameKey& _key) const ZR_REQUIRES_SHARED(lockAttributes);
    template <AttrBinary T>
    void SetOwn(const NameKey& _key, T _value);
    // The other node, or this one in the second case, is known to nobody else.
    void CopySelfTo(XMLNodeBase& _fresh) const;
    void TakeIdFromAttributes(const NameKey* _pSourceId);
    void TakeOver(XMLNodeBase& _fresh);
    void TakeChildrenOver(XMLNodeBase& _fresh);
    OBJECTS& MakeObjects();
    template <class F>
    void ForEachBelow(F _f) const;

    // In the order in which the end of a tree touches them, which is most of what it costs.
    std::atomic<uint32_t> nReferences{1};
    bool bText = false;                  // set before anybody else knows the node
    std::atomic<bool> bNoFormat{false};  // the writer keeps the node on one line
    uint32_t nNamesFreed ZR_GUARDED_BY(lockChildren) = 0;
    std::atomic<XMLNodeBase*> pParent{nullptr};  // not counted; taken away under lockAttributes
    TreeSource* pHome = nullptr;                 // held: this node and perhaps its texts and attributes are in it
    NamedList<XMLNodeRef> arrChildren ZR_GUARDED_BY(lockChildren);  // texts have no name
    TreeSource* pSource = nullptr;                                  // held: what was read later may be in it
    std::atomic<OBJECTS*> pObjects{nullptr};                        // made with the first object; few nodes have any
    // Mutable as reading a value may change its form; the lock has but one side.
    mutable NamedList<AttrValue> arrAttributes ZR_GUARDED_BY(lockAttributes);
    TreeText strType ZR_GUARDED_BY(lockAttributes);        // the tag of a node that its id renamed
    mutable AttrValue name ZR_GUARDED_BY(lockAttributes);  // of a text its text
    const NameKey* pIdAttribute = nullptr;                 // set before anybody else knows the node

    mutable CRWSynchroLiteCS lockAttributes;
    mutable CRWSynchroLiteCS lockChildren;
};

// The node type's own face on the tree: every node below a Derived is a Derived. Ptr holds one.
template <class Derived, class Ptr>
class XMLNodeImpl : public XMLNodeBase {
public:
    // A new top. The name of its id attribute goes on to every node that is made below it. Throws std::bad_alloc.
    static Ptr Create(std::u16string_view _name, const NameKey* _pIdAttribute = nullptr) {
        Ptr p = Ptr::Attach(new Derived);
        p->SetNew(_name, _pIdAttribute, false);
        return p;
    }
    static Ptr CreateText(std::u16string_view _text) {
        Ptr p = Ptr::Attach(new Derived);
        p->SetNew(_text, nullptr, true);
        return p;
    }

    Ptr Parent() const { return Typed(ParentNode()); }
    Ptr ChildAt(size_t _i) const { return Typed(ChildNodeAt(_i)); }
    Ptr FindChild(const NameKey& _key, size_t _nOccurrence = 0) const {
        return Typed(FindChildNode(_key, _nOccurrence));
    }
    Ptr ElementAt(size_t _i) const { return Typed(ElementNodeAt(_i)); }
    Ptr Find(std::u16string_view _path, bool _bCreate = false, std::u16string_view* _pLast = nullptr) {
        return Typed(FindNode(_path, _bCreate, _pLast));
    }
    Ptr Add(std::u16string_view _path) { return Typed(AddNode(_path)); }
    bool AppendChild(const Ptr& _pChild) { return InsertChildNode(XMLNodeRef(_pChild.Get())); }
    bool InsertChild(const Ptr& _pChild, ptrdiff_t _nPosition) {
        return InsertChildNode(XMLNodeRef(_pChild.Get()), _nPosition);
    }
    bool RemoveChild(Derived* _pChild) { return RemoveChildNode(_pChild); }
    // A copy of this node and all below it, a top of its own.
    Ptr Clone() const {
        Ptr p = Create(u"clone", IdAttribute());
        CopyTo(*p, true, eZrUT_ClearDest);
        return p;
    }

protected:
    XMLNodeBase* NewNode(TreeSource* _pSource) const override {
        if (!_pSource) return new Derived;
        Derived* const p = new (_pSource->Allocate(sizeof(Derived))) Derived;
        p->SetHome(_pSource);
        return p;
    }

private:
    static Ptr Typed(XMLNodeRef _p) { return Ptr::Attach(static_cast<Derived*>(_p.Detach())); }
};

}  // namespace zr
