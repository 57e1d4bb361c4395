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
    void Release(Handle _handle) override;
    void SetCount(Handle _handle, int64_t _nValue) override;
    void SetValue(Handle _handle, double _dblValue) override;
    void SetText(Handle _handle, std::u16string_view _text) override;
    void AddCount(Handle _handle, int64_t _nAdd) override;
    // Forgets the numbers; handles stay good.
    void Clear();

private:
    struct SLOT {
        const std::u16string* pName = nullptr;  // in the map; null: free
        uint32_t nUsers = 0;                    // that have resolved it
        uint32_t nTurn = 0;                     // how often it was given back: part of the handle
    };

    template <class T>
    void Set(Handle _handle, T _value);
    Handle HandleOf_I(size_t _nSlot) const ZR_REQUIRES(mtx);
    SLOT* Find_I(Handle _handle) ZR_REQUIRES(mtx);

    const XMLNodeRef pNode;
    Mutex mtx;  // the numbers of the node too: an addition is one step
    std::unordered_map<std::u16string, size_t> mapSlots ZR_GUARDED_BY(mtx);
    std::vector<SLOT> arrSlots ZR_GUARDED_BY(mtx);
    std::vector<size_t> arrFree ZR_GUARDED_BY(mtx);  // with room for all
};

}  // namespace zr
