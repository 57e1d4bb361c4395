// The attributes of a node: by path, by name, by position.

#include "attributes/interface_call.h"
#include "attributes/name_path.h"
#include "attributes/xml_node.h"
#include "attributes/xml_writer.h"

namespace zr {

// The attribute at a path with the lock of its node, which is the lock for reading and for writing: reading may change
// the form of a value. On the way the children lock of each node is held until that of the next is, so that nothing
// has to be counted to stay alive.
class AttributeAccess {
public:
    AttributeAccess(const XMLNodeBase& _node, std::u16string_view _path) {
        const XMLNodeBase* pNode = &_node;
        for (std::u16string_view segment; CutPath(_path, segment);) {
            if (segment.empty()) continue;
            pNode->lockChildren.EnterRead();
            if (pLockChildren) pLockChildren->LeaveRead();
            pLockChildren = &pNode->lockChildren;
            const size_t i = pNode->arrChildren.Find(NameHash(segment));
            if (i == pNode->arrChildren.kNone) return;
            pNode = pNode->arrChildren[i].Get();
        }
        Enter(*pNode, _path);
    }
    AttributeAccess(const XMLNodeBase& _node, const NameKey& _key) { Enter(_node, _key); }
    ~AttributeAccess() {
        if (pLockAttributes) pLockAttributes->LeaveRead();
        if (pLockChildren) pLockChildren->LeaveRead();
    }
    AttributeAccess(const AttributeAccess&) = delete;
    AttributeAccess& operator=(const AttributeAccess&) = delete;

    explicit operator bool() const { return pValue != nullptr; }
    AttrValue* operator->() const { return pValue; }

private:
    void Enter(const XMLNodeBase& _node, const NameKey& _key) ZR_NO_THREAD_SAFETY_ANALYSIS {
        pLockAttributes = &_node.lockAttributes;
        pLockAttributes->EnterRead();
        pValue = _node.FindOwn(_key);
    }

    CRWSynchroLiteCS* pLockChildren = nullptr;
    CRWSynchroLiteCS* pLockAttributes = nullptr;
    AttrValue* pValue = nullptr;
};

// Under the attribute lock.
AttrValue* XMLNodeBase::FindOwn(const NameKey& _key) const {
    if (IsId(_key)) return strType.Empty() ? nullptr : &name;
    const size_t i = arrAttributes.Find(_key.nHash);
    return i == arrAttributes.kNone ? nullptr : &arrAttributes[i];
}

bool XMLNodeBase::HasAttribute(std::u16string_view _path) const {
    return static_cast<bool>(AttributeAccess(*this, _path));
}

bool XMLNodeBase::HasOwnAttribute(const NameKey& _key) const { return static_cast<bool>(AttributeAccess(*this, _key)); }

template <AttrBinary T>
bool XMLNodeBase::GetAttribute(std::u16string_view _path, T& _value) const {
    const AttributeAccess access(*this, _path);
    if (access) _value = access->As<T>();
    return static_cast<bool>(access);
}

template <AttrBinary T>
bool XMLNodeBase::GetOwnAttribute(const NameKey& _key, T& _value) const {
    const AttributeAccess access(*this, _key);
    if (access) _value = access->As<T>();
    return static_cast<bool>(access);
}

bool XMLNodeBase::GetAttribute(std::u16string_view _path, std::u16string& _value) const {
    const AttributeAccess access(*this, _path);
    if (access) _value = access->Text();
    return static_cast<bool>(access);
}

HRESULT XMLNodeBase::GiveAttribute(std::u16string_view _path, BSTR* _pbs) const {
    *_pbs = nullptr;
    const AttributeAccess access(*this, _path);
    return access ? GiveText(access->Text(), _pbs) : S_FALSE;
}

bool XMLNodeBase::GetColour(std::u16string_view _path, AttrColour _default, AttrColour& _value) const {
    const AttributeAccess access(*this, _path);
    if (access) _value = access->AsColour(_default);
    return static_cast<bool>(access);
}

std::u16string XMLNodeBase::AttributeOr(std::u16string_view _path, std::u16string_view _default) const {
    const AttributeAccess access(*this, _path);
    return std::u16string(access ? access->Text() : _default);
}

template <AttrBinary T>
void XMLNodeBase::SetOwn(const NameKey& _key, T _value) {
    if (IsId(_key)) {
        AttrValue id;
        id.Set(_value);
        RenameNode(id.Text(), true);
        return;
    }
    CRWWriteScope lock(lockAttributes, "XMLNodeBase::SetAttribute");
    arrAttributes.FindOrAppend(_key).Set(_value);
}

template <AttrBinary T>
bool XMLNodeBase::SetAttribute(std::u16string_view _path, T _value) {
    if (FindPathSeparator(_path) == _path.npos) {
        SetOwn(_path, _value);
        return true;
    }
    std::u16string_view last;
    const XMLNodeRef p = FindNode(_path, true, &last);
    if (p) p->SetOwn(last, _value);
    return static_cast<bool>(p);
}

bool XMLNodeBase::SetAttribute(std::u16string_view _path, std::u16string_view _text) {
    if (FindPathSeparator(_path) == _path.npos) return SetOwnAttribute(_path, _text);
    std::u16string_view last;
    const XMLNodeRef p = FindNode(_path, true, &last);
    return p && p->SetOwnAttribute(last, _text);
}

bool XMLNodeBase::SetOwnAttribute(const NameKey& _key, std::u16string_view _text, bool _bOverwrite) {
    if (IsId(_key)) {
        if (!_bOverwrite && HasOwnAttribute(_key)) return false;
        RenameNode(_text, true);
        return true;
    }
    CRWWriteScope lock(lockAttributes, "XMLNodeBase::SetOwnAttribute");
    const size_t i = arrAttributes.Find(_key.nHash);
    if (i == arrAttributes.kNone)
        arrAttributes.Append(_key, AttrValue(_text));
    else if (_bOverwrite)
        arrAttributes[i].SetText(_text);
    else
        return false;
    return true;
}

bool XMLNodeBase::RemoveAttribute(std::u16string_view _path) {
    std::u16string_view last;
    const XMLNodeRef p = FindNode(_path, false, &last);
    if (!p) return false;
    CRWWriteScope lock(p->lockAttributes, "XMLNodeBase::RemoveAttribute");
    const size_t i = p->arrAttributes.Find(NameHash(last));
    if (i == p->arrAttributes.kNone) return false;
    p->arrAttributes.Remove(i);
    return true;
}

void XMLNodeBase::RemoveAttributes() {
    CRWWriteScope lock(lockAttributes, "XMLNodeBase::RemoveAttributes");
    arrAttributes.Clear();
}

size_t XMLNodeBase::AttributeCount() const {
    CRWReadScope lock(lockAttributes);
    return arrAttributes.Size();
}

bool XMLNodeBase::AttributeAt(size_t _i, std::u16string* _pName, std::u16string* _pText) const {
    CRWReadScope lock(lockAttributes);
    if (_i >= arrAttributes.Size()) return false;
    if (_pName) *_pName = arrAttributes.NameAt(_i);
    if (_pText) *_pText = arrAttributes[_i].Text();
    return true;
}

void XMLNodeBase::CopyAttributesFrom(const XMLNodeBase& _source, eZrUpdateType _eUpdate) {
    if (&_source == this) return;
    NamedList<AttrValue> arrSource;
    {
        CRWReadScope lock(_source.lockAttributes);
        arrSource = _source.arrAttributes;
    }
    if (const size_t i = pIdAttribute ? arrSource.Find(pIdAttribute->nHash) : arrSource.kNone; i != arrSource.kNone) {
        AttrValue id = arrSource.Remove(i);
        SetOwnAttribute(*pIdAttribute, id.Text(), _eUpdate != eZrUT_AddNew);
    }
    CRWWriteScope lock(lockAttributes, "XMLNodeBase::CopyAttributesFrom");
    if (_eUpdate == eZrUT_ClearDest) {
        arrAttributes = std::move(arrSource);
        return;
    }
    for (auto& entry : arrSource) {
        const size_t i = arrAttributes.Find(entry.nHash);
        if (i == arrAttributes.kNone)
            arrAttributes.Append({entry.name.View()}, std::move(entry.value));
        else if (_eUpdate != eZrUT_AddNew)
            arrAttributes[i] = std::move(entry.value);
    }
}

// The kinds that a value can be read and set in.
#define ZR_ATTRIBUTE_KIND(T)                                                   \
    template bool XMLNodeBase::GetAttribute<T>(std::u16string_view, T&) const; \
    template bool XMLNodeBase::GetOwnAttribute<T>(const NameKey&, T&) const;   \
    template bool XMLNodeBase::SetAttribute<T>(std::u16string_view, T);        \
    template void XMLNodeBase::SetOwn<T>(const NameKey&, T);
ZR_ATTRIBUTE_KIND(bool)
ZR_ATTRIBUTE_KIND(int32_t)
ZR_ATTRIBUTE_KIND(uint32_t)
ZR_ATTRIBUTE_KIND(int64_t)
ZR_ATTRIBUTE_KIND(uint64_t)
ZR_ATTRIBUTE_KIND(AttrMeasure)
ZR_ATTRIBUTE_KIND(double)
ZR_ATTRIBUTE_KIND(GUID)
ZR_ATTRIBUTE_KIND(AttrFourCC)
ZR_ATTRIBUTE_KIND(AttrColour)
ZR_ATTRIBUTE_KIND(AttrDateTime)
#undef ZR_ATTRIBUTE_KIND

}  // namespace zr
