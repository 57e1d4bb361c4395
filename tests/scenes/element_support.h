#pragma once
// Elements for tests: made from XML, read by time.

#include <string>
#include <string_view>

#include "attributes/interface_call.h"
#include "scenes/animated_value.h"
#include "scenes/element.h"
#include "scenes/element_change.h"
#include "zr/utf8.h"

namespace zr {

inline ElementPtr ElementOf(std::u16string_view _xml) {
    const ElementPtr p = CoElement::CreateTop(u"temp");
    p->Parse(_xml);
    return p;
}

inline std::string XmlOf(const XMLNodeBase& _node) {
    std::u16string strXml;
    _node.Write(strXml, {.nIndent = -1});
    return ToUtf8(strXml);
}

inline ElementValues At(const ElementPtr& _p, double _dblNow) { return ElementValues(*_p, _dblNow, {}); }

}  // namespace zr
