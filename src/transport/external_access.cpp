#include "transport/external_access.h"

#include <new>
#include <utility>

#include "platform/module_info.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr std::u16string_view kFixedName = u"Orvanta_ZrSender";
constexpr std::u16string_view kAccessKey = u"object::external_access";
constexpr std::u16string_view kPrefixKey = u"object::external_access.prefix";

// "groupOrvanta_ZrSender [PID=0x00001A2B, Ptr=0x7F3A5C001230]"
std::u16string TableName(const CoXMLNode& _object, const IUnknown& _self) {
    std::u16string name = ExternalAccess::GroupName(_object) + u" [PID=0x";
    AppendHex(name, ProcessId(), 8);
    AppendHex(name.append(u", Ptr=0x"), reinterpret_cast<uintptr_t>(&_self), 8);
    return name.append(u"]");
}

}  // namespace

std::u16string ExternalAccess::GroupName(const CoXMLNode& _object) {
    return _object.AttributeOr(u"external_access.prefix", std::u16string_view()).append(kFixedName);
}

bool ExternalAccess::IsKey(std::u16string_view _name) {
    return _name.empty() || EqualNoCase(_name, kAccessKey) || EqualNoCase(_name, kPrefixKey);
}

HRESULT ExternalAccess::Enable(bool _bEnable) {
    MutexLock lock(mtx);
    return Enable_I(_bEnable);
}

void ExternalAccess::Show() {
    MutexLock lock(mtx);
    bShown = true;
    Enable_I(pObject->AttributeOr(u"external_access", true));
}

void ExternalAccess::Hide() {
    MutexLock lock(mtx);
    bShown = false;
    Enable_I(false);
}

void ExternalAccess::OnKeys() {
    MutexLock lock(mtx);
    if (bShown) Enable_I(pObject->AttributeOr(u"external_access", true));
}

void ExternalAccess::Leave() {
    MutexLock lock(mtx);
    bGone = true;
    Enable_I(false);
}

HRESULT ExternalAccess::Enable_I(bool _bEnable) try {
    if (_bEnable && !pReferences) return E_NOTIMPL;
    std::u16string name;
    if (_bEnable && !bGone) name = TableName(*pObject, self);
    if (name == strName) return S_OK;
    ObjectTable::Shared().Revoke(std::exchange(llCookie, 0));
    strName.clear();
    if (name.empty()) return S_OK;
    llCookie = ObjectTable::Shared().Register(name, self, *pReferences);
    strName = std::move(name);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace zr
