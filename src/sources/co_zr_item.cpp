#include "sources/co_zr_item.h"

#include <new>
#include <utility>

#include "attributes/interface_call.h"
#include "attributes/item_keys.h"
#include "platform/class_registry.h"
#include "sources/file_line.h"
#include "zr/class_ids.h"

namespace zr {
namespace {

// The nodes of a source that are reached through its item.
bool IsSourceKey(std::u16string_view _name) {
    for (std::u16string_view node : {u"object::", u"file::", u"info::", u"audio::", u"device::"}) {
        if (_name.starts_with(node)) return true;
    }
    return false;
}

}  // namespace

CCoZrItem::CCoZrItem(XMLNodePtr _pNode, IUnknown* _pSource, std::u16string_view _path, OwnedSourcePtr _pOwned,
                     bool _bCommand)
    : IZrPropsImpl<CCoZrItem>(std::move(_pNode), *this),
      path(_path),
      pSource(QueryAs<IUnknown>(_pSource)),
      pPulled(QueryAs<IZrSource_I>(_pSource)),
      pSourceProps(QueryAs<IZrProps>(_pSource)),
      pObject(QueryAs<IZrObject>(_pSource)),
      pFile(QueryAs<IZrFile>(_pSource)),
      pScenes(QueryAs<IZrScenes>(_pSource)),
      bOwnsSource(_pOwned != nullptr),
      bCommand(_bCommand),
      pOwned(std::move(_pOwned)) {
    pTracks->AudioTracksSetCount_I(1);
}

ZrPtr<CCoZrItem> CCoZrItem::Make(IUnknown* _pSource, std::u16string_view _path, OwnedSourcePtr _pOwned,
                                 ItemPlace _ePlace) try {
    XMLNodePtr pNode = CoXMLNode::Create(u"item");
    if (_ePlace == ItemPlace::kMixer) {
        for (const PROP_KEY& key : ItemKeys())
            if (key.bRegistered) pNode->SetAttribute(key.szName, key.nDefault != 0);
    }
    for (const char16_t* szNode : {u"file", u"device", u"object"}) pNode->AddNode(szNode);
    const std::u16string_view path = _path.empty() ? u"External" : _path;
    return ZrPtr<CCoZrItem>::Attach(new CCoZrItem(std::move(pNode), _pSource, path, std::move(_pOwned), false));
} catch (const std::bad_alloc&) {
    return {};
}

HRESULT CCoZrItem::MakeCommand(std::u16string_view _command, std::u16string_view _param, IUnknown* _pTarget,
                               ZrPtr<CCoZrItem>& _pItem) {
    if (_command.empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        _pItem = ZrPtr<CCoZrItem>::Attach(
            new CCoZrItem(CoXMLNode::Create(u"command"), nullptr, std::u16string_view(), {}, true));
        return _pItem->ItemCommandSet(std::u16string(_command).c_str(), std::u16string(_param).c_str(), _pTarget);
    });
}

HRESULT CCoZrItem::MakeFile(std::u16string_view _path, std::u16string_view _line, std::u16string_view _output,
                            ZrPtr<CCoZrItem>& _pItem, ItemPlace _ePlace) {
    _pItem.Reset();
    ZrPtr<IZrObject> pFileObject;
    void* pv = nullptr;
    if (const HRESULT hr = CreateInstance(kClsidZrFile, IZrObject::kIid, &pv); Failed(hr)) return hr;
    pFileObject = ZrPtr<IZrObject>::Attach(static_cast<IZrObject*>(pv));
    const ZrPtr<IZrFile> pFile = pFileObject.As<IZrFile>();
    if (!pFile) return E_NOINTERFACE;
    return InterfaceCall([&] {
        const ZrPtr<IZrProps> pProps = pFileObject.As<IZrProps>();
        if (pProps) pProps->PropsSet(u"object::auto_start", u"false");
        const XMLNodePtr pSaid = FormatOfLine(_line);
        HRESULT hr = pFile->FileNameSet(std::u16string(_path).c_str(), CompleteFileLine(_line, _output).c_str());
        if (Succeeded(hr)) hr = pFileObject->ObjectStart(nullptr);
        if (Succeeded(hr)) {
            _pItem = Make(pFileObject.Get(), _path, std::make_shared<OwnedSource>(pFileObject.Get()), _ePlace);
            if (!_pItem) hr = E_OUTOFMEMORY;
            if (_pItem) _pItem->pOwnFormat = pSaid;
        }
        if (Failed(hr)) pFileObject->ObjectClose();
        return Failed(hr) ? hr : S_OK;
    });
}

uint32_t CCoZrItem::Release() {
    const uint32_t nLeft = references.Drop();
    if (nLeft == 0) {
        Close();
        delete this;
    }
    return nLeft;
}

void CCoZrItem::SetHost(ZrPtr<IItemHost> _pHost) {
    MutexLock lock(mtxHost);
    std::swap(pHost, _pHost);
}

ZrPtr<IItemHost> CCoZrItem::Host() const {
    MutexLock lock(mtxHost);
    return pHost;
}

void CCoZrItem::StartSource() {
    eZrState eState = eZrS_Running;
    double dblRemain = 0;
    if (pFile && Succeeded(pFile->FileStateGet(&eState, &dblRemain)) && eState <= eZrS_Stopped) pFile->FilePlayStart();
}

void CCoZrItem::Close() {
    breaks.Clear();
    OwnedSourcePtr pLast;
    MutexLock lock(mtx);
    pLast.swap(pOwned);  // ends behind the lock
}

OwnedSourcePtr CCoZrItem::Owned() const {
    MutexLock lock(mtx);
    return pOwned;
}

std::u16string CCoZrItem::Name() const {
    BSTR bs = nullptr;
    std::u16string name;
    if (!bOwnsSource && pObject && Succeeded(pObject->ObjectNameGet(&bs)) && bs) name = bs;
    SysFreeString(bs);
    return name.empty() ? path : name;
}

HRESULT CCoZrItem::OnHostedSet(std::u16string_view _name, std::u16string_view _value) {
    if (!pSourceProps || !IsSourceKey(_name)) return ZR_E_RETRY;
    return pSourceProps->PropsSet(std::u16string(_name).c_str(), std::u16string(_value).c_str());
}

HRESULT CCoZrItem::OnHostedGet(std::u16string_view _name, BSTR* _pbsValue) {
    if (!pSourceProps || !IsSourceKey(_name)) return ZR_E_RETRY;
    return pSourceProps->PropsGet(std::u16string(_name).c_str(), _pbsValue);
}

HRESULT CCoZrItem::FileInOutSet(double _dblIn, double _dblOut) {
    const HRESULT hr = IZrFileForward::FileInOutSet(_dblIn, _dblOut);
    if (Succeeded(hr)) breaks.Place(Range());
    return hr;
}
HRESULT CCoZrItem::FilePlayStart() {
    const ZrPtr<IItemHost> p = Host();
    if (!p) return IZrFileForward::FilePlayStart();
    const HRESULT hr = p->ItemPlay(this, -1.0);
    eZrState eState = eZrS_Running;
    double dblRemain = 0;
    if (Failed(hr) || !pFile || Failed(pFile->FileStateGet(&eState, &dblRemain)) || eState != eZrS_Paused) return hr;
    return pFile->FilePlayStart();
}
HRESULT CCoZrItem::FilePlayPause(double _dblSeconds) {
    const ZrPtr<IItemHost> p = Host();
    const HRESULT hr = p ? p->ItemPlay(this, _dblSeconds > 0 ? _dblSeconds : 0.0) : ZR_E_RETRY;
    if (hr != ZR_E_RETRY) return hr;
    return IZrFileForward::FilePlayPause(_dblSeconds);
}
HRESULT CCoZrItem::FilePlayStop(double _dblSeconds) {
    const ZrPtr<IItemHost> p = Host();
    const HRESULT hr = p ? p->ItemStop(this) : E_NOINTERFACE;
    return pFile ? pFile->FilePlayStop(_dblSeconds) : hr;
}

}  // namespace zr
