#pragma once
// The place where a stream meets the scene: a video element's rectangle, its masks, and its own ready picture of what
// the stream shows. The stream's producer puts frames in; the mix thread lays out, asks what is seen, and draws.

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "framework/lock_order.h"
#include "mixer/block_picture.h"
#include "mixer/coverage.h"
#include "platform/lock.h"
#include "scenes/placing.h"
#include "video/borders.h"
#include "zr/frame.h"

namespace zr {

// What the collect pass finds out about a block.
struct BLOCK_LAYOUT {
    PLACE_INPUT place;
    RECT_F parent, previous;  // output pixels; see PlaceElement
    RECT_F crop{0, 0, 1, 1};  // PlaceCrop
    ZR_VID_PROPS output;
    double dblAlpha = 1;       // with that of all parents
    double dblAudioGain = -1;  // linear; below 0: the element gives none
    bool bCutOffscreen = true;
    bool bForceCaptions = false;
};

// What a producer and the audio mix look at.
struct BLOCK_STATE {
    bool bVisible = false;
    bool bForceCaptions = false;
    double dblAudioGain = -1;    // linear, 0 and above; below 0 none
    double dblVisibleShare = 0;  // its alpha times the share of it that others leave to be seen, 0 to 1
};

// What is laid of a block in one frame, by the layout that it had when the frame was drawn.
struct BLOCK_DRAW {
    RECT_F rect;                      // of the whole block, in output pixels
    CAutoObj<BlockPicture> pPicture;  // empty: there is none, or nobody sees it
    ZrPtr<IZrFFrame> pFrame;          // not null: the picture is to be made first, of this
    struct MAKING {
        ZRF_FRAME_INFO info;
        PICTURE_PLAN plan;
    };
    std::optional<MAKING> making;  // by what; there while there is a frame
    bool bNew = false;             // not the frame that was drawn the last time
    uint32_t nPictures = 0;
};

// What a block has let go.
struct BLOCK_DROPPED {
    CAutoObj<BlockPicture> pPicture;
    ZrPtr<IZrFFrame> pLatest;
};

// Made by the collect pass and kept with its element as the object "video_block". Any thread.
class ZrVideoBlock final : public AutoObjBase<ZrVideoBlock> {
public:
    // --- The stream that it shows

    // _pStream: stands for the stream by its address alone. _id: the stream's. Another stream takes the picture away.
    void Bind(const void* _pStream, std::u16string_view _id);
    bool Shows(const void* _pStream) const { return pShown.load(std::memory_order_acquire) == _pStream; }
    std::u16string StreamID() const;

    // --- The producer, for each frame of the stream

    // Takes the frame: makes the block's picture of it, unless nobody sees the block or it has that very picture
    // already. The frame is referenced, not copied, and must not be written to afterwards. _nQuality:
    // scaling_quality.blocks. _bLater: what shows the frame is made when it is drawn.
    // S_FALSE: nobody sees the block. Else as MakeBlockPicture; the old picture stays then.
    HRESULT Put(IZrFFrame& _frame, int32_t _nQuality, bool _bLater = false);
    // The same later, of a frame that the stream has put already.
    void Offer(IZrFFrame& _frame);
    void SetLastTime(const ZR_TIME& _time);
    // The stream has ended, or shows nothing here any more.
    void ClearLastTime();
    // False: there is none.
    bool LastTime(ZR_TIME* _pTime) const;
    // Takes the picture away: the block shows nothing until the next frame. For who calls with a lock held: what is
    // handed back ends after it.
    [[nodiscard]] BLOCK_DROPPED DropPicture();
    BLOCK_STATE State() const;

    // --- The collect pass

    // Returns the rectangle in output pixels.
    RECT_F Layout(const BLOCK_LAYOUT& _layout);
    // Empty: none. Shapes stand at once. Returns which names are to be looked up as files, in any number of threads at
    // any time: bit 0 the mask, bit 1 the screen mask. One that is neither a file nor a shape leaves the old mask, and
    // is looked up again now and then.
    uint32_t SetMasks(std::u16string_view _mask, std::u16string_view _screenMask);
    // Reads the file of a name that SetMasks has returned. Until then a block that has shown nothing yet shows nothing.
    void ReadMask(bool _bScreen);

    // What the walk remembers with the block; mix thread only.
    struct {
        bool bMasks = false;              // names of masks were set
        size_t nStream = 0;               // where the stream of its element stood last
        ZR_VID_PROPS source{}, output{};  // that its element keeps
    } walked;

    // --- What is seen; see UpdateBlocks

    // _bFirst: it is the top-most. _bCutOverlapped: an opaque block hides what is under it all the way.
    void UpdateCoverage(GLRectAuto& _cover, bool _bFirst, bool _bCutOverlapped);

    // --- The draw pass

    // None: no picture has come. Stale: that of the block is of another place or crop than it has now.
    enum class eSource : uint8_t { None, Good, Stale };
    eSource Source() const;
    // What to lay, before the block gets its next layout.
    BLOCK_DRAW ToDraw();
    // Makes what _draw lays of its frame; any thread. A new picture that has to be scaled is not worth keeping: it is
    // scaled as it is laid, and made when it comes again. Where it fails the one before stays. False: with _bAtOnce,
    // it takes the time of a whole picture, which the caller may want to give it elsewhere.
    bool MakePicture(BLOCK_DRAW& _draw, bool _bAtOnce);

private:
    // As an attribute names it.
    struct MASK_NAME {
        std::u16string name;
        bool bStands = false;    // there is a mask, perhaps the one of the name before
        bool bReading = false;   // somebody is to call ReadMask, or in it
        bool bLooked = true;     // the file of the name was read, or is none
        int64_t rtNextLook = 0;  // when to look again; 0: it was found
    };

    bool HasMask_I() const ZR_REQUIRES(mtx) { return arrMasks[0].bStands || arrMasks[1].bStands; }
    bool WaitsForMask_I() const ZR_REQUIRES(mtx) { return !pPicture && (!arrMasks[0].bLooked || !arrMasks[1].bLooked); }
    bool NeedsPicture_I(int64_t _llVideoID, PICTURE_PLAN* _pPlan) const ZR_REQUIRES(mtx);
    HRESULT Make_I(IZrFFrame& _frame, const ZRF_FRAME_INFO& _info, const PICTURE_PLAN& _plan, eMake _eMake,
                   CAutoObj<BlockPicture>* _ppMade) ZR_REQUIRES(mtxMake);
    void Show_I(CAutoObj<BlockPicture>& _pNew, const ZRF_FRAME_INFO& _info, const PICTURE_PLAN& _plan) ZR_REQUIRES(mtx);
    void GiveFramesBack_I() ZR_REQUIRES(mtxMake);
    CAutoObj<BlockPicture> FreePicture_I() ZR_REQUIRES(mtxMake);
    void TakeApart_I() ZR_REQUIRES(mtxMake);
    void NoteSource_I(const ZR_VID_PROPS& _props) ZR_REQUIRES(mtx);
    void LayOut_I() ZR_REQUIRES(mtx);

    std::atomic<const void*> pShown{nullptr};
    BlockMask masks;  // has its own lock

    Mutex mtxMake{lock_order::kBlockMake};  // held while a picture is made
    PICTURE_MAKER maker ZR_GUARDED_BY(mtxMake);
    CAutoObj<BlockPicture> arrPictures[3] ZR_GUARDED_BY(mtxMake);  // shown, in the draw's hands, next

    mutable Mutex mtx{lock_order::kBlock};  // held for moments only
    BLOCK_LAYOUT layout ZR_GUARDED_BY(mtx);
    RECT_F rect ZR_GUARDED_BY(mtx);
    GLRectAuto map ZR_GUARDED_BY(mtx);
    double dblFullSum ZR_GUARDED_BY(mtx) = 0;  // of the map before others were taken away
    ZR_VID_PROPS sourceProps ZR_GUARDED_BY(mtx);
    std::u16string streamID ZR_GUARDED_BY(mtx);
    MASK_NAME arrMasks[2] ZR_GUARDED_BY(mtx);  // mask, screen mask
    int32_t nMasks ZR_GUARDED_BY(mtx) = 0;
    int32_t nQuality ZR_GUARDED_BY(mtx) = 2;
    ZR_TIME lastTime ZR_GUARDED_BY(mtx);
    bool bHasTime ZR_GUARDED_BY(mtx) = false;
    CAutoObj<BlockPicture> pPicture ZR_GUARDED_BY(mtx);
    PICTURE_PLAN plan ZR_GUARDED_BY(mtx);         // of pPicture
    int64_t llPictureID ZR_GUARDED_BY(mtx) = 0;   // of the frame that pPicture shows; 0: of none
    uint32_t nPictures ZR_GUARDED_BY(mtx) = 0;    // made, or taken away
    int32_t nRepeats ZR_GUARDED_BY(mtx) = 0;      // how often that frame came again
    ZrPtr<IZrFFrame> pLatest ZR_GUARDED_BY(mtx);  // no picture is kept of it yet: made when it is drawn
    int64_t llDrawnID ZR_GUARDED_BY(mtx) = 0;     // of the last frame that was drawn so
    PICTURE_PLAN planDrawn ZR_GUARDED_BY(mtx);    // and how
};

using BlockPtr = CAutoObj<ZrVideoBlock>;

// Works out what of each block is seen; _arrBlocks in the order in which they are drawn, so the last is on top. Each
// gets a map of the screen: opaque blocks weigh 1.0 with _bCutOverlapped, else 0.99, those with alpha or masks and
// those without a picture 0.3, times their alpha. Nothing is done without an output picture. Mix thread.
void UpdateBlocks(const ZR_VID_PROPS& _output, const std::vector<BlockPtr>& _arrBlocks, bool _bCutOverlapped);

// The blocks of the foreground as the last collect pass found them. Any thread.
class BlockSet {
public:
    // Mix thread. Takes the list over and hands the old one back, so that its memory is used again.
    void Exchange(std::vector<BlockPtr>& _arrBlocks);
    // Those that show a stream, into a list that keeps its memory.
    void Of(const void* _pStream, std::vector<BlockPtr>& _arrBlocks) const;
    // Whether a block of the stream is visible or has an audio gain of its own: its frames are worth waiting for.
    bool IsWanted(const void* _pStream) const;
    // The stream's blocks forget the time of their last frame; _bDrop: and their picture.
    void Clear(const void* _pStream, bool _bDrop) const;

private:
    mutable Mutex mtx{lock_order::kBlockSet};
    std::vector<BlockPtr> arrAll ZR_GUARDED_BY(mtx);
};

}  // namespace zr
