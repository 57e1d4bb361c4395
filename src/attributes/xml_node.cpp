#include "attributes/xml_node.h"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>

#include "attributes/name_path.h"

namespace zr {

namespace {

constexpr NameKey arrDefaultHidden[] = {u"attributes_info"};

bool HasHash(std::span<const NameKey> _arrNames, uint64_t _nHash) {
    return std::any_of(_arrNames.begin(), _arrNames.end(), [&](const NameKey& _key) { return _key.nHash == _nHash; });
}

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

bool XMLNodeBase::HasName(const NameKey& _key) const {
    if (bText) return false;
    CRWReadScope lock(lockAttributes);
    return NameHash(name.Text()) == _key.nHash;
}

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
        if (i != pUp->arrChildren.kNone && pUp->arrChildren.NameAt(i) != _name) pUp->arrChildren.Rename(i, _name);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Children. FindChildPosition, FirstText and JoinTexts are called under lockChildren.

size_t XMLNodeBase::FindChildPosition(const XMLNodeBase* _pChild) const {
    for (size_t i = arrChildren.Size(); i-- > 0;)
        if (arrChildren[i].Get() == _pChild) return i;
    return arrChildren.kNone;
}

size_t XMLNodeBase::ChildCount() const {
    CRWReadScope lock(lockChildren);
    return arrChildren.Size();
}

XMLNodeRef XMLNodeBase::ChildNodeAt(size_t _i) const {
    CRWReadScope lock(lockChildren);
    return _i < arrChildren.Size() ? arrChildren[_i] : XMLNodeRef();
}

XMLNodeRef XMLNodeBase::FindChildNode(const NameKey& _key, size_t _nOccurrence) const {
    CRWReadScope lock(lockChildren);
    const size_t i = arrChildren.Find(_key.nHash, _nOccurrence);
    return i == arrChildren.kNone ? XMLNodeRef() : arrChildren[i];
}

bool XMLNodeBase::FindChildNodes(std::span<const NameKey> _arrKeys, XMLNodeRef* _pFound) const {
    CRWReadScope lock(lockChildren);
    bool bAny = false;
    for (const NameKey& key : _arrKeys) {
        const size_t i = arrChildren.Find(key.nHash);
        *_pFound++ = i == arrChildren.kNone ? XMLNodeRef() : arrChildren[i];
        bAny |= i != arrChildren.kNone;
    }
    return bAny;
}

std::vector<XMLNodeRef> XMLNodeBase::ChildNodes() const {
    CRWReadScope lock(lockChildren);
    std::vector<XMLNodeRef> arr;
    arr.reserve(arrChildren.Size());
    for (const auto& entry : arrChildren) arr.push_back(entry.value);
    return arr;
}

size_t XMLNodeBase::ElementCount() const {
    const std::span<const NameKey> arrHidden = HiddenNames();
    CRWReadScope lock(lockChildren);
    return static_cast<size_t>(std::count_if(arrChildren.begin(), arrChildren.end(), [&](const auto& _entry) {
        return !_entry.value->bText && !HasHash(arrHidden, _entry.nHash);
    }));
}

XMLNodeRef XMLNodeBase::ElementNodeAt(size_t _i) const {
    const std::span<const NameKey> arrHidden = HiddenNames();
    CRWReadScope lock(lockChildren);
    for (const auto& entry : arrChildren)
        if (!entry.value->bText && !HasHash(arrHidden, entry.nHash) && _i-- == 0) return entry.value;
    return {};
}

bool XMLNodeBase::InsertChildNode(XMLNodeRef _pChild, ptrdiff_t _nPosition) {
    if (!_pChild || bText || _pChild->HasParent()) return false;
    if (_pChild.Get() == this || (_pChild->ChildCount() > 0 && IsBelow(*_pChild))) return false;
    const std::u16string strName = _pChild->Name();
    const NameKey key(strName);

    CRWWriteScope lock(lockChildren, "XMLNodeBase::InsertChildNode");
    const bool bAppend = _nPosition < 0 || static_cast<size_t>(_nPosition) > arrChildren.Size();
    // Whoever puts itself in as the parent first has the child.
    XMLNodeBase* pNone = nullptr;
    if (!_pChild->pParent.compare_exchange_strong(pNone, this, std::memory_order_acq_rel)) return false;
    try {
        arrChildren.Insert(bAppend ? arrChildren.Size() : static_cast<size_t>(_nPosition),
                           _pChild->bText ? nullptr : &key, _pChild);
    } catch (const std::bad_alloc&) {
        _pChild->ForgetParent();
        throw;
    }
    return true;
}

bool XMLNodeBase::RemoveChildNode(XMLNodeBase* _pChild) {
    XMLNodeRef pRemoved;  // let go after the lock
    CRWWriteScope lock(lockChildren, "XMLNodeBase::RemoveChildNode");
    const size_t i = FindChildPosition(_pChild);
    if (i == arrChildren.kNone) return false;
    pRemoved = arrChildren.Remove(i);
    pRemoved->ForgetParent();
    if (i > 1 && i + 1 < arrChildren.Size()) JoinTexts(i);
    return true;
}

// Makes one of two texts at a position and before it.
void XMLNodeBase::JoinTexts(size_t _i) {
    XMLNodeBase& before = *arrChildren[_i - 1];
    XMLNodeBase& behind = *arrChildren[_i];
    if (!before.bText || !behind.bText) return;
    const std::u16string strText = behind.Text();
    {
        CRWWriteScope lock(before.lockAttributes, "XMLNodeBase::JoinTexts");
        before.name.AppendText(strText);
    }
    behind.ForgetParent();
    arrChildren.Remove(_i);
}

void XMLNodeBase::RemoveChildren() {
    NamedList<XMLNodeRef> arrRemoved;  // let go after the lock
    CRWWriteScope lock(lockChildren, "XMLNodeBase::RemoveChildren");
    for (const auto& entry : arrChildren) entry.value->ForgetParent();
    std::swap(arrRemoved, arrChildren);
}

bool XMLNodeBase::MoveChildNode(XMLNodeBase* _pChild, size_t _nPosition) {
    const XMLNodeRef pHeld(_pChild);
    if (!pHeld) return false;
    const std::u16string strName = pHeld->Name();
    const NameKey key(strName);
    CRWWriteScope lock(lockChildren, "XMLNodeBase::MoveChildNode");
    const size_t i = FindChildPosition(_pChild);
    if (i == arrChildren.kNone || _nPosition >= arrChildren.Size()) return false;
    if (i != _nPosition) arrChildren.Insert(_nPosition, pHeld->bText ? nullptr : &key, arrChildren.Remove(i));
    return true;
}

bool XMLNodeBase::Detach() {
    const XMLNodeRef pUp = ParentNode();
    return pUp && pUp->RemoveChildNode(this);
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

// ---------------------------------------------------------------------------------------------------------------------
// Copying

// What this node is, without its children, to a node that nobody else knows yet.
void XMLNodeBase::CopySelfTo(XMLNodeBase& _fresh) const ZR_NO_THREAD_SAFETY_ANALYSIS {
    CRWReadScope lock(lockAttributes);
    _fresh.name = name;
    _fresh.strType = strType;
    _fresh.arrAttributes = arrAttributes;
    _fresh.bText = bText;
    _fresh.bNoFormat = bNoFormat.load();
    _fresh.TakeIdFromAttributes(pIdAttribute);
}

// A copied node, which nobody else knows yet, comes from a tree where its id was in another attribute or in none.
void XMLNodeBase::TakeIdFromAttributes(const NameKey* _pSourceId) ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (_pSourceId == pIdAttribute || bText) return;
    if (_pSourceId && !strType.Empty()) {
        arrAttributes.FindOrAppend(*_pSourceId).SetText(name.Text());
        name.SetText(strType.View());
        strType.Clear();
    }
    const size_t i = pIdAttribute ? arrAttributes.Find(pIdAttribute->nHash) : arrAttributes.kNone;
    if (i == arrAttributes.kNone) return;
    strType.Assign(name.Text());
    name = arrAttributes.Remove(i);
}

size_t XMLNodeBase::CopyTo(XMLNodeBase& _target, bool _bWithName, eZrUpdateType _eUpdate,
                           std::span<const NameKey> _arrLeaveOut) const ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (&_target == this) return 0;
    struct STEP {
        const XMLNodeBase* pSource;
        XMLNodeBase* pCopy;
        XMLNodeRef pHeld;  // keeps the source
    };
    // The copy is complete before the target sees any of it, so the target may lie below this node or above it.
    const XMLNodeRef pTop = XMLNodeRef::Attach(_target.NewNode());
    pTop->pIdAttribute = _target.pIdAttribute ? pIdAttribute : nullptr;
    CopySelfTo(*pTop);
    size_t nCopied = 1;
    std::vector<STEP> arrSteps{{this, pTop.Get(), {}}};
    while (!arrSteps.empty()) {
        const STEP step = std::move(arrSteps.back());
        arrSteps.pop_back();
        for (XMLNodeRef& pChild : step.pSource->ChildNodes()) {
            XMLNodeRef pCopy = XMLNodeRef::Attach(_target.NewNode());
            pCopy->pIdAttribute = _target.pIdAttribute;
            pChild->CopySelfTo(*pCopy);
            const NameKey key(pCopy->name.Text());
            if (!pCopy->bText && pCopy->strType.Empty() && HasHash(_arrLeaveOut, key.nHash)) continue;
            pCopy->pParent.store(step.pCopy, std::memory_order_relaxed);
            XMLNodeBase* const pRaw = pCopy.Get();
            if (pRaw->bText)
                step.pCopy->arrChildren.AppendNameless(std::move(pCopy));
            else
                step.pCopy->arrChildren.Append(key, std::move(pCopy));
            ++nCopied;
            arrSteps.push_back({pChild.Get(), pRaw, pChild});
        }
    }

    if (_bWithName) {
        _target.RenameNode(pTop->name.Text(), false);
        CRWWriteScope lock(_target.lockAttributes, "XMLNodeBase::CopyTo");
        _target.strType = pTop->strType;
    }
    _target.bNoFormat = pTop->bNoFormat.load();
    _target.CopyAttributesFrom(*pTop, _eUpdate);
    _target.TakeChildrenOver(*pTop);
    return nCopied;
}

// ---------------------------------------------------------------------------------------------------------------------
// Run-time objects

XMLNodeBase::OBJECTS& XMLNodeBase::MakeObjects() {
    OBJECTS* p = pObjects.load(std::memory_order_acquire);
    if (p) return *p;
    auto pNew = std::make_unique<OBJECTS>();
    if (pObjects.compare_exchange_strong(p, pNew.get(), std::memory_order_acq_rel)) p = pNew.release();
    return *p;
}

ObjectsMap::ObjectPtr XMLNodeBase::Object(const NameKey& _key) const {
    OBJECTS* p = pObjects.load(std::memory_order_acquire);
    if (!p) return {};
    CRWReadScope lock(p->lock);
    return p->map.Get(_key);
}

void XMLNodeBase::SetObject(const NameKey& _key, ObjectsMap::ObjectPtr _pObject) {
    OBJECTS& objects = MakeObjects();
    ObjectsMap::ObjectPtr pOld;  // let go after the lock
    CRWWriteScope lock(objects.lock, "XMLNodeBase::SetObject");
    pOld = objects.map.Set(_key, std::move(_pObject));
}

bool XMLNodeBase::RemoveObject(const NameKey& _key) {
    OBJECTS* p = pObjects.load(std::memory_order_acquire);
    if (!p) return false;
    ObjectsMap::ObjectPtr pOld;
    CRWWriteScope lock(p->lock, "XMLNodeBase::RemoveObject");
    pOld = p->map.Remove(_key);
    return static_cast<bool>(pOld);
}

void XMLNodeBase::RemoveObjects() {
    OBJECTS* p = pObjects.load(std::memory_order_acquire);
    if (!p) return;
    NamedList<ObjectsMap::ObjectPtr> arrOld;
    CRWWriteScope lock(p->lock, "XMLNodeBase::RemoveObjects");
    arrOld = p->map.RemoveAll();
}

// Calls _f for this node and all below it, each before what is below it.
template <class F>
void XMLNodeBase::ForEachBelow(F _f) const {
    _f(*this);
    std::vector<XMLNodeRef> arrWaiting = ChildNodes();
    std::reverse(arrWaiting.begin(), arrWaiting.end());
    while (!arrWaiting.empty()) {
        const XMLNodeRef p = std::move(arrWaiting.back());
        arrWaiting.pop_back();
        _f(*p);
        const std::vector<XMLNodeRef> arrChild = p->ChildNodes();
        arrWaiting.insert(arrWaiting.end(), arrChild.rbegin(), arrChild.rend());
    }
}

std::vector<ObjectsMap::ObjectPtr> XMLNodeBase::CollectObjects(const NameKey& _key) const {
    std::vector<ObjectsMap::ObjectPtr> arr;
    ForEachBelow([&](const XMLNodeBase& _node) {
        if (ObjectsMap::ObjectPtr p = _node.Object(_key)) arr.push_back(std::move(p));
    });
    return arr;
}

std::vector<ObjectsMap::ObjectPtr> XMLNodeBase::TakeObjectsBelow(std::span<const NameKey> _arrKeep) {
    std::vector<ObjectsMap::ObjectPtr> arrTaken;
    ForEachBelow([&](const XMLNodeBase& _node) {
        OBJECTS* const p = _node.pObjects.load(std::memory_order_acquire);
        if (!p) return;
        CRWWriteScope lock(p->lock, "XMLNodeBase::TakeObjectsBelow");
        NamedList<ObjectsMap::ObjectPtr> arrOld = p->map.RemoveAll();
        for (auto& entry : arrOld) {
            if (HasHash(_arrKeep, entry.nHash))
                p->map.Set(NameKey(entry.name.View()), std::move(entry.value));
            else
                arrTaken.push_back(std::move(entry.value));
        }
    });
    return arrTaken;
}

}  // namespace zr
