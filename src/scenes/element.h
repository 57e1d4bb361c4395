#pragma once
// One element of a scene. A scene is a tree of them: where each stream stands on the output picture.

#include <atomic>

#include "attributes/attributes_impl.h"
#include "attributes/node_impl.h"
#include "attributes/xml_node.h"

namespace zr {

class CoElement;
using ElementPtr = ZrPtr<CoElement>;

// Its tag is its type and its id its name in the tree: an element is addressed by its id. It has no code of its own for
// each type; the drawing knows what each does. Run-time companions of an element stand among its objects.
class CoElement final : public XMLNodeImpl<CoElement, ElementPtr>,
                        public IZrNodeImpl<CoElement>,
                        public IZrAttributesImpl<CoElement> {
public:
    static constexpr NameKey kId{u"id"};

    // A new top whose elements have ids. Throws std::bad_alloc.
    static ElementPtr CreateTop(std::u16string_view _tag) { return Create(_tag, &kId); }

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override;
    uint32_t AddRef() override { return XMLNodeBase::AddRef(); }
    uint32_t Release() override { return XMLNodeBase::Release(); }

    std::atomic<bool> bSceneActive{false};  // of a root: it is the scene that is drawn

private:
    friend class XMLNodeImpl<CoElement, ElementPtr>;
    CoElement() = default;
    ~CoElement() override = default;
};

}  // namespace zr
