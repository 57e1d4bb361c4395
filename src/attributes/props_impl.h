#pragma once
// Gives an object T its public face as properties; the work is ZrPropsHW's.

#include <utility>

#include "attributes/props.h"
#include "zr/props.h"

namespace zr {

// T hands in its host, which may be itself, and calls props.Start_I() when it is made.
template <class T>
class IZrPropsImpl : public IZrProps {
public:
    HRESULT PropsSet(const char16_t* _bsPropName, const char16_t* _bsPropValue) override {
        return props.PropsSet_I(_bsPropName, _bsPropValue);
    }
    HRESULT PropsGet(const char16_t* _bsPropName, BSTR* _pbsPropValue) override {
        return props.PropsGet_I(_bsPropName, _pbsPropValue);
    }
    HRESULT PropsGetCount(const char16_t* _bsNodeName, int32_t* _pnCount) override {
        return props.PropsGetCount_I(_bsNodeName, _pnCount);
    }
    HRESULT PropsGetByIndex(const char16_t* _bsNodeName, int32_t _nIndex, BSTR* _pbsPropName, BSTR* _pbsPropValue,
                            int32_t* _pbNode) override {
        return props.PropsGetByIndex_I(_bsNodeName, _nIndex, _pbsPropName, _pbsPropValue, _pbNode);
    }
    HRESULT PropsRemove(const char16_t* _bsPropName) override { return props.PropsRemove_I(_bsPropName); }
    HRESULT PropsInfoGet(const char16_t* _bsPropName, eZrInfoType _eType, BSTR* _pbsInfo) override {
        return props.PropsInfoGet_I(_bsPropName, _eType, _pbsInfo);
    }
    HRESULT PropsOptionGetCount(const char16_t* _bsPropName, int32_t* _pnOptionCount) override {
        return props.PropsOptionGetCount_I(_bsPropName, _pnOptionCount);
    }
    HRESULT PropsOptionGetByIndex(const char16_t* _bsPropName, int32_t _nOptionIdx, BSTR* _pbsOptionValue,
                                  BSTR* _pbsHelp) override {
        return props.PropsOptionGetByIndex_I(_bsPropName, _nOptionIdx, _pbsOptionValue, _pbsHelp);
    }
    HRESULT PropsOptionSetByIndex(const char16_t* _bsPropName, int32_t _nOptionIdx) override {
        return props.PropsOptionSetByIndex_I(_bsPropName, _nOptionIdx);
    }
    HRESULT PropsOptionGet(const char16_t* _bsPropName, int32_t* _pnOptionIdx, BSTR* _pbsOptionValue,
                           BSTR* _pbsHelp) override {
        return props.PropsOptionGet_I(_bsPropName, _pnOptionIdx, _pbsOptionValue, _pbsHelp);
    }

protected:
    IZrPropsImpl(const PROPS_PROFILE& _profile, IPropsHost& _host, const LockRank& _rank = {})
        : props(_profile, _host, _rank) {}
    IZrPropsImpl(XMLNodePtr _pRoot, IPropsHost& _host, const LockRank& _rank = {})
        : props(std::move(_pRoot), _host, _rank) {}
    ~IZrPropsImpl() = default;

    ZrPropsHW props;
};

}  // namespace zr
