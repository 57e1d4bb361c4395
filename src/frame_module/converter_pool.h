#pragma once
// Converters for the operations of frames. They keep filters and scratch, so they are kept from call to call.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/lock.h"
#include "video/image_format.h"

namespace zr {

class ConverterPool {
public:
    // The pool of the process; never destroyed, as frames may outlive everything.
    static ConverterPool& Shared();

    // A converter that nobody else uses until it is given back, of all free ones that which last made this kind of
    // picture, else one that has made none or the one that has been idle longest. Empty: memory is out.
    CAutoObj<ZrImageFormat> Take(const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _wanted);
    void GiveBack(CAutoObj<ZrImageFormat> _pConverter, const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _wanted);

    // The converter of a name, which a stream of frames uses for all of its calls. kMaxNamed names are kept; a further
    // one pushes the one out that has not been asked for longest.
    CAutoObj<ZrImageFormat> Named(std::u16string_view _svName);

    static constexpr size_t kMaxFree = 8, kMaxNamed = 64;

private:
    // What a converter's filters depend on.
    struct KIND {
        eZrFCC fccFrom, fccTo;
        int32_t nFromWidth, nFromHeight, nToWidth, nToHeight;
        bool operator==(const KIND&) const = default;
    };
    struct FREE {
        CAutoObj<ZrImageFormat> pConverter;
        KIND kind;
    };
    struct NAMED {
        std::u16string strName;
        CAutoObj<ZrImageFormat> pConverter;
        uint64_t nLastUse;
    };
    static KIND KindOf(const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _wanted);

    Mutex mtx;                                     // a leaf
    std::vector<FREE> arrFree ZR_GUARDED_BY(mtx);  // given back last at the end
    std::vector<NAMED> arrNamed ZR_GUARDED_BY(mtx);
    uint64_t nUses ZR_GUARDED_BY(mtx) = 0;
};

}  // namespace zr
