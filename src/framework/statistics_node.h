#pragma once
// Published numbers as attributes of a node of the object's tree, where an operator reads them.

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "attributes/co_xml_node.h"
#include "framework/statistics_sink.h"
#include "platform/lock.h"

namespace zr {

// Any thread. Nothing is allocated for a key that has been published before.
class StatisticsNode final : public IStatisticsSink {
public:
    explicit StatisticsNode(XMLNodeRef _pNode) : pNode(std::move(_pNode)) {}

    Handle Resolve(const char16_t* _szName) override;
    void SetCount(Handle _handle, int64_t _nValue) override;
    void SetValue(Handle _handle, double _dblValue) override;
    void SetText(Handle _handle, std::u16string_view _text) override;
    void AddCount(Handle _handle, int64_t _nAdd) override;
    // Forgets the numbers; handles stay good.
    void Clear();

private:
    template <class T>
    void Set(Handle _handle, T _value);

    const XMLNodeRef pNode;
    Mutex mtx;  // the numbers of the node too: an addition is one step
    std::unordered_map<std::u16string, Handle> mapHandles ZR_GUARDED_BY(mtx);
    std::vector<const std::u16string*> arrNames ZR_GUARDED_BY(mtx);  // by handle, in the map
};

}  // namespace zr
