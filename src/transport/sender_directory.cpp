#include "transport/sender_directory.h"

#include "attributes/interface_call.h"
#include "media/transport_interfaces.h"
#include "platform/object_table.h"
#include "transport/external_access.h"
#include "zr/object.h"

namespace zr {
namespace {

// Whether a call that gives a text gives this one.
template <class Call>
bool Gives(std::u16string_view _name, Call&& _call) {
    BSTR bs = nullptr;
    const bool bIs = Succeeded(_call(&bs)) && TextArgument(bs) == _name;
    SysFreeString(bs);
    return bIs;
}

}  // namespace

ZrPtr<IUnknown> FindSource(const CoXMLNode& _object, IUnknown& _self, std::u16string_view _name) {
    ZrPtr<IUnknown> pCalledSo;
    if (_name.empty()) return pCalledSo;
    const ZrPtr<IUnknown> pSelf = QueryAs<IUnknown>(&_self);
    const ObjectTable& table = ObjectTable::Shared();
    for (const uint64_t ll : table.List(ExternalAccess::GroupName(_object))) {
        ZrPtr<IUnknown> pFound = QueryAs<IUnknown>(table.Get(ll).Get());
        if (!pFound || pFound == pSelf || !QueryAs<IZrSource_I>(pFound.Get())) continue;
        const ZrPtr<IZrSender_I> pSender = QueryAs<IZrSender_I>(pFound.Get());
        if (pSender && Gives(_name, [&](BSTR* _pbs) { return pSender->SenderNameGet(_pbs); })) return pFound;
        const ZrPtr<IZrObject> pObject = QueryAs<IZrObject>(pFound.Get());
        if (!pCalledSo && pObject && Gives(_name, [&](BSTR* _pbs) { return pObject->ObjectNameGet(_pbs); }))
            pCalledSo = std::move(pFound);
    }
    return pCalledSo;
}

}  // namespace zr
