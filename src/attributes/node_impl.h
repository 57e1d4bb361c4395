#pragma once
// Gives a node type T, an XMLNodeImpl, its public face as a node; the work is NodeFace's.

#include "attributes/node_face.h"
#include "zr/attributes.h"

namespace zr {

template <class T>
class IZrNodeImpl : public IZrNode {
public:
    HRESULT NodeNameGet(BSTR* _pbsName) override { return Face_I().NameGet(_pbsName); }
    HRESULT NodeNameSet(const char16_t* _bsName) override { return Face_I().NameSet(_bsName); }
    HRESULT NodeValueGet(BSTR* _pbsValue) override { return Face_I().ValueGet(_pbsValue); }
    HRESULT NodeValueSet(const char16_t* _bsValue) override { return Face_I().ValueSet(_bsValue, NewLike); }
    HRESULT NodePathGet(BSTR* _pbsPath, IZrNode* _pRoot) override { return Face_I().PathGet(_pbsPath, _pRoot); }
    HRESULT NodeParentGet(IZrNode** _ppParent) override { return Face_I().ParentGet(_ppParent); }
    HRESULT NodeDetach() override { return Face_I().Detach(); }
    HRESULT NodeGetCount(int32_t* _pnCount) override { return Face_I().GetCount(_pnCount); }
    HRESULT NodeGetByIndex(int32_t _nIndex, BSTR* _pbsName, IZrNode** _ppNode) override {
        return Face_I().GetByIndex(_nIndex, _pbsName, _ppNode);
    }
    HRESULT NodeAdd(const char16_t* _bsPath, const char16_t* _bsValue, IZrNode** _ppNode) override {
        return Face_I().Add(_bsPath, _bsValue, _ppNode);
    }
    HRESULT NodeGet(const char16_t* _bsPath, int32_t _bCreateNew, IZrNode** _ppNode) override {
        return Face_I().Get(_bsPath, _bCreateNew, _ppNode);
    }
    HRESULT NodeRemove(const char16_t* _bsPath) override { return Face_I().Remove(_bsPath); }
    HRESULT NodeRemoveAll(int32_t _bRemoveAttributes) override { return Face_I().RemoveAll(_bRemoveAttributes); }
    HRESULT NodeParse(const char16_t* _bsXMLString, int32_t _bUpdateName) override {
        return Face_I().Parse(_bsXMLString, _bUpdateName);
    }
    HRESULT NodeSave(BSTR* _pbsXMLString) override { return Face_I().Save(_pbsXMLString); }
    HRESULT NodeClone(IZrNode** _ppClone) override { return Face_I().Clone(CloneOf, _ppClone); }
    HRESULT NodeSet(IZrNode*, eZrUpdateType) override { return E_NOTIMPL; }
    HRESULT NodeInfoGet(const char16_t* _bsInfoType, BSTR* _pbsDescription) override {
        return Face_I().InfoGet(_bsInfoType, _pbsDescription);
    }

protected:
    ~IZrNodeImpl() = default;

private:
    static XMLNodeRef NewLike(const XMLNodeBase& _like) { return T::Create(u"temp", _like.IdAttribute()); }
    static XMLNodeRef CloneOf(const XMLNodeBase& _node) { return static_cast<const T&>(_node).Clone(); }

    NodeFace Face_I() { return NodeFace(*static_cast<T*>(this)); }
};

}  // namespace zr
