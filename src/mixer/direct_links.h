#pragma once
// Sources that are named: other objects of the process, which the mixer asks for frames without a file between them.

#include <string_view>

#include "mixer/mix_cycle.h"
#include "transport/sender_directory.h"

namespace zr {

// Any thread, with no lock held: the objects are asked for their names.
class DirectLinks {
public:
    // All outlive it. _self: the mixer.
    DirectLinks(const ZrPropsHW& _props, const MixCycle& _cycle, IUnknown& _self)
        : props(_props), cycle(_cycle), self(_self) {}

    // The object that is meant by a path. Null: it is the path of a file, or a mixer whose sources push takes it for
    // one. Throws std::bad_alloc.
    ZrPtr<IUnknown> Find(std::u16string_view _path) const {
        const XMLNodePtr& pObject = props.Object();
        if (!cycle.IsSynchronous(0) || !pObject->AttributeOr(u"sync_mode.direct_hv_links", true)) return {};
        return FindSource(*pObject, self, _path);
    }

private:
    const ZrPropsHW& props;
    const MixCycle& cycle;
    IUnknown& self;
};

}  // namespace zr
