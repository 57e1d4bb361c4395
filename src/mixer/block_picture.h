#pragma once
// What a block shows of its stream: the frame itself where it fits as it is, else a copy of the block's size.

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/ref_object.h"
#include "scenes/placing.h"
#include "video/block_mask.h"
#include "video/masks.h"
#include "video/scale_packed.h"
#include "video/scaling_engine.h"
#include "zr/frame.h"

namespace zr {

// A picture that is not made before it is laid: its rows are, straight into the output where nothing shows through.
struct ROWS_TO_MAKE {
    ZrPtr<IZrFFrame> pSource;  // null: there are none
    ScalingEngine engine;
    PackedScaling scaling;
    std::atomic<int64_t> rtMade{0};  // ticks that rows have taken, all threads together
};

// Ready to be laid over the output. Whoever makes it is alone with it; afterwards any thread may read.
class BlockPicture final : public AutoObjBase<BlockPicture> {
public:
    const uint8_t* pBits = nullptr;       // null: there is nothing to lay, or only rows to make
    std::unique_ptr<ROWS_TO_MAKE> pRows;  // may be null
    ZR_VID_PROPS props;
    tagRECT srcRect{};            // the part of the picture that is laid
    tagRECT dstRect{};            // where, in output pixels, of the same size; may reach over the edges of the output
    tagRECT laidRect{};           // dstRect before what is outside of the output was left out
    bool bMasked = false;         // by the plane below
    bool bPremultiplied = false;  // colours are multiplied by that plane already
    MaskPlane mask;               // of the size of both rectangles

    ZrPtr<IZrFFrame> pFrame;  // where pBits is, unless it is the copy
    ScratchBuffer copy;

    bool HasRows() const { return pRows && pRows->pSource; }
    bool IsSeen() const { return pBits || HasRows(); }
    bool HasAlpha() const { return props.fccType == eZrFCC_ARGB32; }
    // It hides what is under it.
    bool IsOpaque() const { return IsSeen() && !bMasked && !HasAlpha(); }
};

// All that a picture hangs on but the frame.
struct PICTURE_PLAN {
    RECT_F dst;               // output pixels
    RECT_F crop{0, 0, 1, 1};  // fractions of the source
    ZR_VID_PROPS output;
    int32_t nQuality = 2;  // scaling_quality
    int32_t nMasks = 0;    // changes with the names of the masks
    int32_t nField = 0;    // of the source that alone is shown: 1 the upper, 2 the lower; 0: as it is
    bool bHasMask = false;
    bool bCut = true;  // what lies outside of the output is not made

    bool SamePicture(const PICTURE_PLAN& _other) const;
};

// What a maker keeps between pictures; one picture at a time.
struct PICTURE_MAKER {
    ScalingEngine engine;
    MaskPlane partMask;
    ScalingEngine maskEngine;
};

enum class eMake {
    Whole,      // whatever it takes
    Rows,       // what takes no time: a reference, or rows that are made when they are laid, for a picture that is new
    Reference,  // the frame itself
};

// Makes _picture of a frame. S_FALSE: nothing of it is to be seen. ZR_E_RETRY: it has to be made whole. Codes of
// Img_Convert and PictureOfFrame.
HRESULT MakeBlockPicture(IZrFFrame& _frame, const ZRF_FRAME_INFO& _info, const PICTURE_PLAN& _plan, BlockMask& _mask,
                         eMake _eMake, PICTURE_MAKER& _maker, BlockPicture& _picture);

// The same of an ARGB32 picture as colours in _output's format and a mask, which are laid in half the time. Worth it
// for pictures that stay. S_FALSE: it has no alpha, or _output is not 4:2:2. E_OUTOFMEMORY, codes of ConvertPicture.
HRESULT TakeApart(const BlockPicture& _picture, const ZR_VID_PROPS& _output, BlockPicture& _apart);

}  // namespace zr
