#pragma once
// The picture of the output while it is composed: layers are noted first, then laid in bands of rows that stay in the
// cache, and of what opaque layers cover nothing is copied or filled.

#include <cstdint>
#include <vector>

#include "mixer/block_picture.h"
#include "video/borders.h"
#include "video/picture.h"
#include "video/scaling_engine.h"
#include "zr/frame.h"

namespace zr {

// Mix thread only. Keeps its memory between frames.
class Canvas {
public:
    // The record that layers are made for: the output's, in UYVY where pictures cannot be mixed in the output's format.
    static ZR_VID_PROPS LayerProps(const ZR_VID_PROPS& _output);

    // A new picture. Layers of the one before are let go.
    void Begin(const ZR_VID_PROPS& _output);
    // On top of those before; _dblAlpha 0 to 1. A picture that has nothing to show is left out.
    void Add(CAutoObj<BlockPicture> _pPicture, double _dblAlpha);
    void AddBorders(const tagRECT& _rect, const BORDERS& _borders, double _dblAlpha);
    bool IsEmpty() const { return arrLayers.empty(); }

    // Composes on _pBase, null for black, which stays as it is, and gives *_ppFrame: a frame with a picture of the
    // output's record and nothing else. It is a reference of a layer's own frame where that is all there is to see.
    // _nThreads: mixing.threads. S_FALSE, and null: there are no layers, the base is the picture.
    HRESULT Compose(IZrFFrame* _pBase, int32_t _nThreads, ZrPtr<IZrFFrame>* _ppFrame);
    // Lets go of all layers.
    void Clear() { arrLayers.clear(); }

private:
    struct LAYER {
        CAutoObj<BlockPicture> pPicture;  // empty: a colour
        tagRECT rect;                     // inside of the output
        FILL_COLOUR colour;
        uint32_t nWeight = 256;
        double dblAlpha = 1;
        bool bOpaque = false;  // hides what is under it
    };
    struct BASE {
        PICTURE picture;
        bool bPicture = false;  // else black
    };

    // Rows that are composed in one go, and the scratch of the thread that does it.
    struct BAND {
        int32_t nFirst, nEnd;
        uint8_t* pScratch;
    };
    // A part of a picture's rows in memory.
    struct PART {
        const uint8_t* pBits;
        ZR_VID_PROPS props;
        int32_t nTop;  // the first of them
    };

    void DropCovered();
    bool IsWholeFrame(const LAYER& _layer) const;
    HRESULT ReadBase(IZrFFrame* _pBase, BASE* _pBase_I);
    HRESULT Draw(const BASE& _base, uint8_t* _pBits, int32_t _nThreads);
    const uint8_t* UnderBand(const BASE& _base, const BAND& _band, size_t* _pnNext, ptrdiff_t* _pnStride) const;
    size_t LayTwo(const BASE& _base, const PICTURE& _target, const BAND& _band) const;
    void DrawBand(const BASE& _base, const PICTURE& _target, uint8_t* _pBits, const BAND& _band) const;
    void LayBase(const BASE& _base, const PICTURE& _target, const BAND& _band) const;
    void LayLayer(const LAYER& _layer, const PICTURE& _target, uint8_t* _pBits, const BAND& _band) const;
    PART PartOf(const BlockPicture& _picture, int32_t _nTop, int32_t _nRows, const BAND& _band) const;

    ZR_VID_PROPS output;
    ZR_VID_PROPS work;  // LayerProps of it
    std::vector<LAYER> arrLayers;
    FILL_PATTERN black;
    ScratchBuffer baseConverted, composed;
    ScratchBuffer rows;      // of each thread: a row in the making, then a band of them
    size_t cbRowsStart = 0;  // where the band begins
};

}  // namespace zr
