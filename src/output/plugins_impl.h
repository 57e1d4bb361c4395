#pragma once
// Gives an object T its face for plug-ins; the work is PluginList's, which T has and shows by Plugins_I().

#include "output/plugin_list.h"
#include "zr/plugins.h"

namespace zr {

template <class T>
class IZrPluginsImpl : public IZrPlugins {
public:
    HRESULT PluginsGetCount(int32_t* _pnCount) override { return P().GetCount(_pnCount); }
    HRESULT PluginsGetByIndex(int32_t _nIndex, IUnknown** _ppPlugin, int64_t* _pllCallbackUserData) override {
        return P().GetByIndex(_nIndex, _ppPlugin, _pllCallbackUserData);
    }
    HRESULT PluginsAdd(IUnknown* _pPlugin, int64_t _llCallbackUserData) override {
        return P().Add(_pPlugin, _llCallbackUserData);
    }
    HRESULT PluginsRemove(IUnknown* _pPlugin) override { return P().Remove(_pPlugin); }
    HRESULT PluginsAddVB6(IUnknown* _pPlugin, int32_t _lCallbackUserData) override {
        return P().Add(_pPlugin, _lCallbackUserData);
    }
    HRESULT PluginsGetByIndexVB6(int32_t _nIndex, IUnknown** _ppPlugin, int32_t* _plCallbackUserData) override {
        int64_t ll = 0;
        const HRESULT hr = P().GetByIndex(_nIndex, _ppPlugin, &ll);
        if (Succeeded(hr) && _plCallbackUserData) *_plCallbackUserData = static_cast<int32_t>(ll);
        return hr;
    }
    HRESULT PluginsReorder(IUnknown* _pPlugin, int32_t _nOrderChange) override {
        return P().Reorder(_pPlugin, _nOrderChange);
    }

protected:
    ~IZrPluginsImpl() = default;

private:
    PluginList& P() { return static_cast<T*>(this)->Plugins_I(); }
};

}  // namespace zr
