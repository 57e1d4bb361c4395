#pragma once
// The pixel engine of a converter: any picture into any other, by the scale rule, fields as the route says.

#include <cstdint>

#include "platform/ref_object.h"
#include "video/picture.h"
#include "video/scaling_engine.h"
#include "zr/records.h"

namespace zr {

// A picture with its record.
struct DESCRIBED_PICTURE {
    PICTURE picture;
    ZR_VID_PROPS props;
};

// The field that a record asks for: 1 or 2 (as of IZrFrame::FrameCut), 0 when it does not ask for one.
int32_t DeinterlaceField(const ZR_VID_PROPS& _props);

// Any thread; conversions that use the same scaling engine wait for each other, so an owner that converts several
// streams has an engine for each. Buffers and filters are kept between pictures and only grow.
class ZrImageFormatBase : public AutoObjBase<ZrImageFormatBase> {
public:
    ZrImageFormatBase();

    // Into the destinations, of which any may be null: a whole picture and the two fields of it as whole pictures.
    // The parts are those of ScaleRects; what they leave free of a destination becomes black. The picture changes its
    // field order by moving one line.
    //
    // ConvertFrame2: one scaling, fields apart when both records are interlaced, else all lines as they come; all
    // destinations get the same. ConvertFrame3 separates fields: a progressive destination of an interlaced source is
    // made of one field alone, the whole and the first of the one that comes first, the second of the other.
    //
    // E_POINTER: no source, or no destination at all. E_INVALIDARG: pictures that cannot be. kTypeNotAccepted, E_FAIL:
    // no way between the formats. E_OUTOFMEMORY.
    HRESULT ConvertFrame2(const uint8_t* _pSrc, uint8_t* _pDst, uint8_t* _pDstField1, uint8_t* _pDstField2,
                          const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps, eInterpolation _eQuality);
    HRESULT ConvertFrame3(const uint8_t* _pSrc, uint8_t* _pDst, uint8_t* _pDstField1, uint8_t* _pDstField2,
                          const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps, eInterpolation _eQuality);

    // Chooses one of the two by quality (scaling_quality as it is written) and records. _nLevel: of the conversion
    // call, below 0 when there is none. A destination record that asks for one field gets it alone.
    HRESULT ConvertPicture(const DESCRIBED_PICTURE& _src, const DESCRIBED_PICTURE& _dst, int32_t _nQuality,
                           int32_t _nLevel);

private:
    HRESULT Convert2_I(const DESCRIBED_PICTURE& _src, const DESCRIBED_PICTURE& _dst, eInterpolation _eQuality);
    HRESULT Scale_I(const DESCRIBED_PICTURE& _src, const DESCRIBED_PICTURE& _dst, eInterpolation _eQuality,
                    int32_t _nFieldMode);
    template <class Convert>
    HRESULT ThroughUyvy_I(const DESCRIBED_PICTURE& _dst, const Convert& _convert);

    // By field mode: progressive, both interlaced, the upper field alone, the lower alone. So the tables of one field
    // never push those of the other out.
    static constexpr int32_t kEngines = 4;
    ScalingEngine arrEngines[kEngines];
    Mutex mtxUnpacked;  // above the locks of the engines
    ScratchBuffer unpacked ZR_GUARDED_BY(mtxUnpacked);
};

}  // namespace zr
