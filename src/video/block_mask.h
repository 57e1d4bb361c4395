#pragma once
// The masks that a picture on the output has by its attributes: mask, which is stretched over the picture, and
// screen_mask, which is stretched over the whole output.

#include <string>

#include "platform/lock.h"
#include "video/masks.h"

namespace zr {

// Attributes are set by any thread while the picture is mixed by another: name, mask and scaled mask are exchanged
// together, and a mixer keeps the mask that it has begun with.
class BlockMask {
public:
    // _szNameOrPath: a picture file, else a built-in shape; empty or "none" takes the mask away. _bScreen: the
    // screen_mask. S_FALSE: it has that name already (in any case). E_INVALIDARG: neither a file nor a shape;
    // other codes: the file cannot be read. The old mask stays then.
    HRESULT SetMask(const char16_t* _szNameOrPath, bool _bScreen);
    // What of it needs no file: S_FALSE for a name of neither a shape nor none. SetMask looks for a file of the name of
    // a shape afterwards.
    HRESULT SetShape(const char16_t* _szName, bool _bScreen);

    // The mask at a size, in *_ppMask; empty: there is none. It is drawn or scaled when it is asked for at another
    // size than before, and kept.
    HRESULT Mask(int32_t _nWidth, int32_t _nHeight, bool _bScreen, eInterpolation _eQuality,
                 CAutoObj<MaskPlane>* _ppMask);

private:
    struct STATE {
        std::u16string name;
        bool bLookedUp = false;  // whether there is a file of the name
        eMaskShape eShape = eMaskShape::None;
        CAutoObj<MaskPlane> pPicture;  // of a file
        CAutoObj<MaskPlane> pScaled;
        CAutoObj<MaskPlane> pSpare;  // the one before, for the next size of a picture that grows or shrinks
        bool Empty() const { return eShape == eMaskShape::None && !pPicture; }
    };

    static bool IsNone(std::u16string_view _name);
    static HRESULT Load(const char16_t* _szNameOrPath, STATE* _pState);

    Mutex mtx;  // a leaf; not held while a file is read
    STATE arrStates[2] ZR_GUARDED_BY(mtx);
    ScalingEngine engine;
};

}  // namespace zr
