#include "mixer/source_keys.h"

#include <string>

namespace zr {

bool StartsSource(const CoXMLNode& _object, const CCoZrItem& _item) {
    return _item.OwnsSource() || _object.AttributeOr(u"external.autostart", true);
}

void SetSourcePriority(const CoXMLNode& _object, const CCoZrItem& _item, SourcePlace _ePlace) {
    IZrProps* const pProps = _item.SourceProps();
    if (!pProps || !_object.AttributeOr(u"threads.priority_on", false)) return;
    const std::u16string priority = _ePlace == SourcePlace::Connected
                                        ? _object.AttributeOr(u"threads.priority_max", u"15")
                                        : _object.AttributeOr(u"threads.priority_min", u"-2");
    pProps->PropsSet(u"object::thread.priority", priority.c_str());
}

}  // namespace zr
