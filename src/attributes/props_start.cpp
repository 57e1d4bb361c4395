// How the properties of a new object come about: defaults, the user's own values, keys that move, then the host.

#include <string>
#include <utility>

#include "attributes/interface_call.h"
#include "attributes/key_lists.h"
#include "attributes/props.h"
#include "platform/file.h"
#include "platform/trace.h"
#include "platform/user_store.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

void SetDefault(XMLNodeBase& _node, const PROP_KEY& _key) {
    switch (_key.eType) {
        case eZrKeyType::Bool: _node.SetAttribute(_key.szName, _key.nDefault != 0); break;
        case eZrKeyType::Int: _node.SetAttribute(_key.szName, _key.nDefault); break;
        case eZrKeyType::Double: _node.SetAttribute(_key.szName, _key.dblDefault); break;
        case eZrKeyType::String: _node.SetAttribute(_key.szName, std::u16string_view(_key.szDefault)); break;
    }
}

std::u16string TextOf(const UserValue& _value) {
    if (const auto* pText = std::get_if<std::u16string>(&_value)) return *pText;
    std::u16string strNumber;
    AppendInt(strNumber,
              std::holds_alternative<int32_t>(_value) ? std::get<int32_t>(_value) : std::get<int64_t>(_value));
    return strNumber;
}

// The values of a key of the store become attributes, the keys below it become nodes.
void ReadKey(const UserKey& _key, XMLNodeBase& _node) {
    for (const auto& [strName, value] : _key.mapValues) _node.SetAttribute(strName, TextOf(value));
    for (const auto& [strName, pKey] : _key.mapKeys)
        if (const XMLNodeRef pChild = _node.FindNode(strName, true)) ReadKey(*pKey, *pChild);
}

bool HasExtension(std::u16string_view _file) {
    const size_t nDot = _file.rfind(u'.');
    return nDot != _file.npos && _file.find_first_of(u"/\\", nDot) == _file.npos;
}

bool FileExists(const std::u16string& _strPath) { return Succeeded(File().Open(_strPath.c_str(), File::Access::Read)); }

}  // namespace

void ZrPropsHW::SetDefaults() {
    for (const PROP_KEY& key : pProfile->arrKeys)
        if (key.bRegistered) SetDefault(*pObject, key);
}

// A store that cannot be read leaves the defaults as they are, and is left alone; one that cannot be written leaves the
// user without a file to edit.
void ZrPropsHW::LoadFromStore() {
    const TraceScope trace("[LoadFromRegistry]");
    UserKey key;
    const HRESULT hr = UserStore::Load(pProfile->szStoreKey, &key);
    if (Failed(hr) && hr != ZR_E_NOT_FOUND_FILE) return;
    ReadKey(key, *pObject);

    // Back goes what is not there yet, so that the user's values keep the form that he gave them.
    bool bAdded = false;
    for (const PROP_KEY& row : pProfile->arrKeys) {
        if (!row.bRegistered || key.mapValues.contains(std::u16string_view(row.szName))) continue;
        UserValue value = row.nDefault;
        if (row.eType != eZrKeyType::Int) value = pObject->AttributeOr(row.szName, std::u16string_view());
        key.mapValues.emplace(row.szName, std::move(value));
        bAdded = true;
    }
    if (bAdded) UserStore::Save(pProfile->szStoreKey, std::move(key));
}

void ZrPropsHW::MoveKeys(KeyNames _names, XMLNodeBase& _target) {
    std::u16string strValue;
    for (const std::u16string_view name : _names) {
        const NameKey key(name);
        if (!pObject->HasOwnAttribute(key)) continue;
        pObject->GetAttribute(name, strValue);
        _target.SetOwnAttribute(key, strValue);
        pObject->RemoveAttribute(name);
    }
}

HRESULT ZrPropsHW::Start_I() {
    if (!pProfile) return S_FALSE;
    return InterfaceCall([&] {
        const CRWWriteScope<CRWSynchroLiteRW> scope(lockTree, "PropsStart");
        LoadFromStore();
        if (int32_t nPause = 0; pObject->GetAttribute(u"pause_changes", nPause))
            pObject->SetAttribute(u"pause_changes", nPause >= 2 ? 1 : nPause);
        MoveKeys(pProfile->arrFileNames, *pRoot->FindNode(u"file", true));
        std::u16string strName = pObject->AttributeOr(u"default_name", std::u16string_view());
        if (strName.empty()) strName = pProfile->szDefaultName;
        host.OnName(strName, HasExtension(strName) ? strName : strName + u".xml");
        MoveKeys(pProfile->arrRootNames, *pRoot);
        MoveKeys(PreviewKeyNames(), *pRoot);
        StartHost();
        return S_OK;
    });
}

void ZrPropsHW::StartHost() {
    host.OnFrameRateConversion(pRoot->AttributeOr(u"active_frc", int32_t{0}));
    host.OnPreviewCreate();
    PassAllToPreview();
    host.OnAudioSetUp(*pRoot->Find(u"audio", true), pObject->AttributeOr(u"default_tracks", int32_t{0}),
                      pObject->AttributeOr(u"channels_per_track", int32_t{0}));
    if (pRoot->AttributeOr(u"last_scene.load", false)) {
        const std::u16string strPath = pRoot->AttributeOr(u"last_scene.path", std::u16string_view());
        if (!strPath.empty() && FileExists(strPath)) host.OnSceneLoad(strPath, u"scenes");
    }
    if (!host.HasScene()) host.OnSceneAddEmpty();
    ApplyOutputBuffers();
    ApplyThreadPriority();
}

}  // namespace zr
