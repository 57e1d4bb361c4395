#pragma once
// Where a part publishes its numbers, without knowing the tree in which an operator reads them.

#include <cstdint>
#include <string_view>

namespace zr {

// Names are resolved once; a number is then one call by handle, from any thread, often under the caller's own lock. So
// an implementation keeps it short, waits for nothing but its own leaf locks, and calls nobody.
class IStatisticsSink {
public:
    using Handle = int32_t;
    static constexpr Handle kNone = -1;  // for a name that could not be had; numbers for it are dropped

    // The handle of a key such as u"buffer.max"; the same one each time. Not on the frame path.
    virtual Handle Resolve(const char16_t* _szName) = 0;
    // Once for each time that it was resolved: with the last the number is gone, and what is still published under the
    // handle is dropped. For what comes and goes; the rest keeps its handles.
    virtual void Release(Handle) {}
    virtual void SetCount(Handle _handle, int64_t _nValue) = 0;
    virtual void SetValue(Handle _handle, double _dblValue) = 0;
    // Allocates when the text is longer than the one before.
    virtual void SetText(Handle, std::u16string_view) {}
    // Adds to what the key holds, as one step.
    virtual void AddCount(Handle _handle, int64_t _nAdd) = 0;

protected:
    ~IStatisticsSink() = default;
};

}  // namespace zr
