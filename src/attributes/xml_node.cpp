#include "attributes/xml_node.h"

#include <optional>

#include "attributes/name_path.h"

namespace zr {
namespace {

constexpr NameKey arrDefaultHidden[] = {u"attributes_info"};

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Life

XMLNodeBase::~XMLNodeBase() {
    delete pObjects.load(std::memory_order_relaxed);
    // The lists may stand in the source's memory: they end before it is let go.
    arrChildren.Clear();
    arrAttributes.Clear();
    if (pSource) pSource->ReleaseHolders(1);
}

std::span<const NameKey> XMLNodeBase::HiddenNames() const { return arrDefaultHidden; }

HRESULT XMLNodeBase::QueryInterface(const GUID& _iid, void** _ppv) {
    if (!_ppv) return E_POINTER;
    *_ppv = nullptr;
    if (!(_iid == IUnknown::kIid)) return E_NOINTERFACE;
    *_ppv = static_cast<IUnknown*>(this);
    AddRef();
    return S_OK;
}

uint32_t XMLNodeBase::Release() {
    const uint32_t nLeft = nReferences.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (nLeft == 0) DestroyTree(this);
    return nLeft;
}

bool XMLNodeBase::TryAddRef() {
    uint32_t n = nReferences.load(std::memory_order_relaxed);
    while (n > 0)
        if (nReferences.compare_exchange_weak(n, n + 1, std::memory_order_acq_rel, std::memory_order_relaxed))
            return true;
    return false;
}

// A parent cannot end before it has taken itself away from its children, which waits for this lock.
XMLNodeRef XMLNodeBase::ParentNode() const {
    CRWReadScope lock(lockAttributes);
    XMLNodeBase* const p = pParent.load(std::memory_order_acquire);
    return p && p->TryAddRef() ? XMLNodeRef::Attach(p) : XMLNodeRef();
}

void XMLNodeBase::ForgetParent() {
    CRWWriteScope lock(lockAttributes, "XMLNodeBase::ForgetParent");
    pParent.store(nullptr, std::memory_order_release);
}

bool XMLNodeBase::IsBelow(const XMLNodeBase& _other) const {
    if (this == &_other) return true;
    for (XMLNodeRef p = ParentNode(); p; p = p->ParentNode())
        if (p.Get() == &_other) return true;
    return false;
}

namespace {

// Lets go of the homes of nodes, of one that many nodes hold in one go.
class HomeRelease {
public:
    ~HomeRelease() { Flush(); }
    void Add(TreeSource* _pSource) {
        if (_pSource != pSource) Flush();
        pSource = _pSource;
        ++nHolders;
    }

private:
    void Flush() {
        if (pSource) pSource->ReleaseHolders(nHolders);
        nHolders = 0;
    }
    TreeSource* pSource = nullptr;
    uint32_t nHolders = 0;
};

}  // namespace

// Level by level instead of one destructor inside the other, since a tree may be deeper than a stack. The nodes that
// wait for their end are chained by the link to their parent, which they need no more.
void XMLNodeBase::DestroyTree(XMLNodeBase* _pTop) ZR_NO_THREAD_SAFETY_ANALYSIS {
    HomeRelease homes;
    _pTop->pParent.store(nullptr, std::memory_order_relaxed);
    for (XMLNodeBase* pDying = _pTop; pDying;) {
        XMLNodeBase* const pNode = pDying;
        pDying = pNode->pParent.load(std::memory_order_relaxed);
        for (auto& entry : pNode->arrChildren) {
            XMLNodeBase* const pChild = entry.value.Detach();
            // Who has the only reference needs no atomic operation to give it up, unless a child could reach for it,
            // which it cannot any more once the count is 0.
            uint32_t nOnly = 1;
            bool bOnly = pChild->nReferences.load(std::memory_order_acquire) == 1;
            if (bOnly && !pChild->arrChildren.Empty())
                bOnly = pChild->nReferences.compare_exchange_strong(nOnly, 0, std::memory_order_acq_rel);
            if (!bOnly) {
                pChild->ForgetParent();
                if (pChild->nReferences.fetch_sub(1, std::memory_order_acq_rel) > 1) continue;  // it lives on as a top
            }
            pChild->pParent.store(pDying, std::memory_order_relaxed);
            pDying = pChild;
        }
        if (TreeSource* const pHome = pNode->pHome) {
            pNode->~XMLNodeBase();
            homes.Add(pHome);
        } else {
            delete pNode;
        }
    }
}

void XMLNodeBase::SetNew(std::u16string_view _name, const NameKey* _pIdAttribute,
                         bool _bText) ZR_NO_THREAD_SAFETY_ANALYSIS {
    name.SetText(_name);
    pIdAttribute = _pIdAttribute;
    bText = _bText;
}

XMLNodeRef XMLNodeBase::NewBelow(std::u16string_view _name, bool _bText) const {
    XMLNodeRef p = XMLNodeRef::Attach(NewNode());
    p->SetNew(_name, pIdAttribute, _bText);
    return p;
}

// ---------------------------------------------------------------------------------------------------------------------
// Names

std::u16string XMLNodeBase::Name() const {
    if (bText) return {};
    CRWReadScope lock(lockAttributes);
    return std::u16string(name.Text());
}

std::u16string XMLNodeBase::Tag() const {
    if (bText) return {};
    CRWReadScope lock(lockAttributes);
    return std::u16string(Tag_I());
}

uint64_t XMLNodeBase::HashOfName() const {
    if (bText) return 0;
    CRWReadScope lock(lockAttributes);
    return NameHash(name.Text());
}

bool XMLNodeBase::HasName(const NameKey& _key) const { return HashOfName() == _key.nHash; }

bool XMLNodeBase::HasTag(const NameKey& _key) const {
    if (bText) return false;
    CRWReadScope lock(lockAttributes);
    return NameHash(Tag_I()) == _key.nHash;
}

uint64_t XMLNodeBase::TypeHash() const {
    if (bText) return 0;
    CRWReadScope lock(lockAttributes);
    return TypeHashOf(Tag_I());
}

bool XMLNodeBase::IsRawXml() const {
    const std::span<const NameKey> arrNames = RawXmlNames();
    if (bText || arrNames.empty()) return false;
    CRWReadScope lock(lockAttributes);
    return HasHash(arrNames, NameHash(name.Text()));
}

void XMLNodeBase::Rename(std::u16string_view _name) { RenameNode(_name, false); }

void XMLNodeBase::SetTag(std::u16string_view _tag) {
    {
        CRWWriteScope lock(lockAttributes, "XMLNodeBase::SetTag");
        if (!strType.Empty()) {
            strType.Assign(_tag);
            return;
        }
    }
    RenameNode(_tag, false);
}

// _bById: the present name stays as the tag, unless there is a tag already.
void XMLNodeBase::RenameNode(std::u16string_view _name, bool _bById) ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (bText) return;
    const XMLNodeRef pUp = ParentNode();
    std::optional<CRWWriteScope<CRWSynchroLiteCS>> lockUp;
    if (pUp) lockUp.emplace(pUp->lockChildren, "XMLNodeBase::RenameNode");
    {
        CRWWriteScope lock(lockAttributes, "XMLNodeBase::RenameNode");
        if (_bById && strType.Empty()) strType.Assign(name.Text());
        if (name.Text() != _name) name.SetText(_name);
    }
    if (pUp) {
        const size_t i = pUp->FindChildPosition(this);
        if (i != pUp->arrChildren.kNone && pUp->arrChildren.NameAt(i) != _name) {
            pUp->arrChildren.Rename(i, _name);
            ++pUp->nNamesFreed;
        }
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Paths

size_t XMLNodeBase::Depth() const {
    size_t nDepth = 0;
    for (XMLNodeRef p = ParentNode(); p; p = p->ParentNode()) ++nDepth;
    return nDepth;
}

XMLNodeRef XMLNodeBase::FindOrMakeChild(const NameKey& _key) {
    CRWWriteScope lock(lockChildren, "XMLNodeBase::FindOrMakeChild");
    const size_t i = arrChildren.Find(_key.nHash);
    if (i != arrChildren.kNone) return arrChildren[i];
    XMLNodeRef pChild = NewBelow(_key.text, false);
    pChild->pParent.store(this, std::memory_order_release);
    return arrChildren.Append(_key, std::move(pChild));
}

XMLNodeRef XMLNodeBase::FindNode(std::u16string_view _path, bool _bCreate, std::u16string_view* _pLast) {
    XMLNodeRef p(this);
    size_t nDepth = _bCreate ? Depth() : 0;
    for (bool bMore = true; bMore;) {
        std::u16string_view segment;
        bMore = CutPath(_path, segment);
        if (!bMore) {
            if (_pLast) {
                *_pLast = _path;
                return p;
            }
            segment = _path;
        }
        if (segment.empty()) continue;
        if (_bCreate && (p->bText || ++nDepth > kMaxDepth)) return {};
        p = _bCreate ? p->FindOrMakeChild(segment) : p->FindChildNode(segment);
        if (!p) return {};
    }
    return p;
}

XMLNodeRef XMLNodeBase::AddNode(std::u16string_view _path) {
    std::u16string_view last;
    const XMLNodeRef pUp = FindNode(_path, true, &last);
    if (!pUp || pUp->bText || last.empty() || pUp->Depth() >= kMaxDepth) return {};
    XMLNodeRef pChild = pUp->NewBelow(last, false);
    CRWWriteScope lock(pUp->lockChildren, "XMLNodeBase::AddNode");
    pChild->pParent.store(pUp.Get(), std::memory_order_release);
    return pUp->arrChildren.Append(last, std::move(pChild));
}

// ---------------------------------------------------------------------------------------------------------------------
// Texts

XMLNodeBase* XMLNodeBase::FirstText() const {
    for (const auto& entry : arrChildren)
        if (entry.value->bText) return entry.value.Get();
    return nullptr;
}

std::u16string XMLNodeBase::Text() const {
    if (bText) {
        CRWReadScope lock(lockAttributes);
        return std::u16string(name.Text());
    }
    CRWReadScope lock(lockChildren);
    const XMLNodeBase* pText = FirstText();
    return pText ? pText->Text() : std::u16string();
}

void XMLNodeBase::SetText(std::u16string_view _text) {
    if (bText) {
        CRWWriteScope lock(lockAttributes, "XMLNodeBase::SetText");
        name.SetText(_text);
        return;
    }
    CRWWriteScope lock(lockChildren, "XMLNodeBase::SetText");
    if (XMLNodeBase* pText = FirstText()) {
        pText->SetText(_text);
        return;
    }
    XMLNodeRef pText = NewBelow(_text, true);
    pText->pParent.store(this, std::memory_order_release);
    arrChildren.AppendNameless(std::move(pText));
}

void XMLNodeBase::AppendText(std::u16string_view _text) {
    if (_text.empty()) return;
    if (bText) {
        CRWWriteScope lock(lockAttributes, "XMLNodeBase::AppendText");
        name.AppendText(_text);
        return;
    }
    CRWWriteScope lock(lockChildren, "XMLNodeBase::AppendText");
    if (!arrChildren.Empty() && arrChildren[arrChildren.Size() - 1]->bText) {
        arrChildren[arrChildren.Size() - 1]->AppendText(_text);
        return;
    }
    XMLNodeRef pText = NewBelow(_text, true);
    pText->pParent.store(this, std::memory_order_release);
    arrChildren.AppendNameless(std::move(pText));
}

}  // namespace zr
