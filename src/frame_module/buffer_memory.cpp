#include "frame_module/buffer_memory.h"

#include <new>

#include "frame_module/address_check.h"
#include "platform/page_memory.h"

namespace zr {

namespace {
// From here on whole pages are mapped, which the system takes back at once when they are freed. The address sanitizer
// watches the ends of what it allocates itself only.
constexpr size_t kMapFrom = kAddressCheck ? SIZE_MAX : size_t{256} << 10;
}  // namespace

uint8_t* BufferMemoryAlloc(size_t _cb) {
    if (_cb >= kMapFrom) return static_cast<uint8_t*>(PagesAlloc(_cb));
    return static_cast<uint8_t*>(::operator new (_cb, std::align_val_t{kBufferAlignment}, std::nothrow));
}

void BufferMemoryFree(uint8_t* _p, size_t _cb) {
    if (_cb >= kMapFrom)
        PagesFree(_p, _cb);
    else
        ::operator delete (_p, std::align_val_t{kBufferAlignment});
}

}  // namespace zr
