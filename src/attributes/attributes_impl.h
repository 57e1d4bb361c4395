#pragma once
// Gives a node type T the public face of its attributes; the work is AttributeSet's.

#include "attributes/attribute_set.h"
#include "zr/attributes.h"

namespace zr {

template <class T>
class IZrAttributesImpl : public IZrAttributes {
public:
    HRESULT AttributesGetCount(int32_t* _pnCount) override { return Attributes_I().GetCount(_pnCount); }
    HRESULT AttributesGetByIndex(int32_t _nIndex, BSTR* _pbsName, BSTR* _pbsValue) override {
        return Attributes_I().GetByIndex(_nIndex, _pbsName, _pbsValue);
    }
    HRESULT AttributesRemove(const char16_t* _bsName) override { return Attributes_I().Remove(_bsName); }
    HRESULT AttributesRemoveAll() override { return Attributes_I().RemoveAll(); }
    HRESULT AttributesStringSet(const char16_t* _bsName, const char16_t* _bsValue) override {
        return Attributes_I().StringSet(_bsName, _bsValue);
    }
    HRESULT AttributesBoolSet(const char16_t* _bsName, int32_t _bValue) override {
        return Attributes_I().ValueSet(_bsName, _bValue != 0);
    }
    HRESULT AttributesIntSet(const char16_t* _bsName, int32_t _nValue) override {
        return Attributes_I().ValueSet(_bsName, _nValue);
    }
    HRESULT AttributesDoubleSet(const char16_t* _bsName, double _dblValue) override {
        return Attributes_I().ValueSet(_bsName, _dblValue);
    }
    HRESULT AttributesHave(const char16_t* _bsName, int32_t* _pbHave, BSTR* _pbsValueOrDefault) override {
        return Attributes_I().Have(_bsName, _pbHave, _pbsValueOrDefault);
    }
    HRESULT AttributesStringGet(const char16_t* _bsName, BSTR* _pbsValue) override {
        return Attributes_I().StringGet(_bsName, _pbsValue);
    }
    HRESULT AttributesIntGet(const char16_t* _bsName, int32_t* _pnValue) override {
        if (!_pnValue) return E_POINTER;
        *_pnValue = 0;
        return Attributes_I().ValueGet(_bsName, *_pnValue);
    }
    HRESULT AttributesBoolGet(const char16_t* _bsName, int32_t* _pbValue) override {
        if (!_pbValue) return E_POINTER;
        bool bValue = false;
        const HRESULT hr = Attributes_I().ValueGet(_bsName, bValue);
        *_pbValue = bValue ? 1 : 0;
        return hr;
    }
    HRESULT AttributesDoubleGet(const char16_t* _bsName, double* _pdblValue) override {
        if (!_pdblValue) return E_POINTER;
        *_pdblValue = 0.0;
        return Attributes_I().ValueGet(_bsName, *_pdblValue);
    }
    HRESULT AttributesMultipleSet(const char16_t* _bsAttributesList, eZrUpdateType _eUpdateType) override {
        return Attributes_I().MultipleSet(_bsAttributesList, _eUpdateType);
    }
    HRESULT AttributesSave(BSTR* _pbsAttributesList) override { return Attributes_I().Save(_pbsAttributesList); }
    HRESULT AttributesClone(IZrAttributes** _ppClone) override { return Attributes_I().Clone(_ppClone); }
    HRESULT AttributesSet(IZrAttributes* _pAttributesList, eZrUpdateType _eUpdateType) override {
        return Attributes_I().Set(_pAttributesList, _eUpdateType);
    }
    HRESULT AttributesInfoGetCount(int32_t* _pnCount) override { return Attributes_I().InfoGetCount(_pnCount); }
    HRESULT AttributesInfoGetByIndex(int32_t _nIndex, BSTR* _pbsName) override {
        return Attributes_I().InfoGetByIndex(_nIndex, _pbsName);
    }
    HRESULT AttributesInfoGet(const char16_t* _bsName, eZrInfoType _eType, BSTR* _pbsInfo) override {
        return Attributes_I().InfoGet(_bsName, _eType, _pbsInfo);
    }
    HRESULT AttributesValuesInfoGet(const char16_t* _bsName, const char16_t* _bsValue, const char16_t* _bsType,
                                    BSTR* _pbsInfo) override {
        return Attributes_I().ValuesInfoGet(_bsName, _bsValue, _bsType, _pbsInfo);
    }

protected:
    ~IZrAttributesImpl() = default;

private:
    AttributeSet Attributes_I() { return AttributeSet(*static_cast<T*>(this)); }
};

}  // namespace zr
