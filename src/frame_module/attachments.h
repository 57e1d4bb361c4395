#pragma once
// What is attached to a frame under an id: blocks of bytes, texts, objects. What an attachment holds never changes; to
// set an id again replaces it. So clones share attachments instead of copying them.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "frame_module/frame_buffer.h"
#include "platform/status.h"
#include "zr/ptr.h"

namespace zr {

// One attachment: bytes or an object. Bytes stay where they are as long as anyone holds the attachment.
class Attachment {
public:
    std::u16string_view ID() const {
        return {reinterpret_cast<const char16_t*>(pBlock->Data() + nIDOffset), nIDLength};
    }
    uint8_t* Data() const { return pBlock->Data(); }
    uint32_t Size() const { return cbData; }
    std::u16string_view Text() const { return {reinterpret_cast<const char16_t*>(Data()), cbData / sizeof(char16_t)}; }
    const ZrPtr<IUnknown>& Object() const { return pObject; }

private:
    friend class AttachmentList;
    BufferPtr pBlock;  // the bytes, and behind them the id
    ZrPtr<IUnknown> pObject;
    uint32_t cbData = 0;
    uint32_t nIDOffset = 0;
    uint32_t nIDLength = 0;
};

// Attachments in the order in which their ids came. Ids are told apart by case. E_OUTOFMEMORY: nothing is changed.
// Keeps its room when emptied.
class AttachmentList {
public:
    size_t Count() const { return arrItems.size(); }
    // Null: no such position, no such id.
    const Attachment* At(int32_t _nIndex) const;
    const Attachment* Find(std::u16string_view _svID) const;

    // Takes a copy of _cb bytes; text goes in as its bytes.
    HRESULT Set(std::u16string_view _svID, const void* _pv, uint32_t _cb);
    HRESULT SetObject(std::u16string_view _svID, IUnknown* _pObject);
    // False: nothing was there.
    bool Remove(std::u16string_view _svID);
    void Clear() { arrItems.clear(); }
    // Becomes the same list, sharing what is in it.
    HRESULT Share(const AttachmentList& _from);

private:
    HRESULT Put(Attachment _item);

    std::vector<Attachment> arrItems;
};

}  // namespace zr
