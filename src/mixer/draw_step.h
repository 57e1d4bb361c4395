#pragma once
// The drawing of a cycle: the scene's two passes, what is seen of each block, and the picture that comes of it.

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "attributes/props.h"
#include "framework/event_sink.h"
#include "mixer/canvas.h"
#include "mixer/mixer_stream.h"
#include "mixer/video_block.h"
#include "platform/event.h"
#include "platform/thread_pool.h"
#include "scenes/scene_draw.h"

namespace zr {

// The objects of an element that the drawing keeps with it.
inline constexpr NameKey kVideoBlockKey{u"video_block"};  // ObjectVal<BlockPtr>
inline constexpr NameKey kSrcPropsKey{u"src_props"};      // ObjectVal<ZR_VID_PROPS>: the stream's last format
inline constexpr NameKey kMixPropsKey{u"mix_props"};      // ObjectVal<ZR_VID_PROPS>: the output's

// A stream of this cycle. Good for the step.
struct DRAW_STREAM {
    ZrMixerStream* pStream;
    std::u16string_view id;
    int32_t nIndex;  // its place in the table, which may have others that are not in the cycle
};

struct DRAW_TIMES {
    double dblDraw = 0;     // seconds of the scene, of this frame
    double dblCollect = 0;  // of the next
};

// Mix thread only, but for what says otherwise.
class DrawStep final : public CSceneDrawXML_CPU<DrawStep> {
public:
    // The mixer's keys are read at every step, from the top of its tree or from its node `object`, where each of them
    // stands. _blocks outlives the step.
    DrawStep(XMLNodePtr _pRoot, XMLNodePtr _pObject, BlockSet& _blocks)
        : pRoot(std::move(_pRoot)), pObject(std::move(_pObject)), blocks(_blocks) {}

    // Both passes over a scene, with the scenes lock held for reading. Null: there is no scene, or no foreground in it.
    // _nChanges: ScenesShared::Changes. What has changed since it was laid out, and what was never laid out, is before
    // it is drawn. False: the scene has elements that could not draw yet.
    bool WalkScene(const ZR_VID_PROPS& _output, std::span<const DRAW_STREAM> _streams, const DRAW_TIMES& _times,
                   CoElement* _pScene, uint64_t _nChanges);
    // Until the files of masks have been read that the walk has met for the first time, by the pool. _rtMost: ticks,
    // below 0 without limit. Before MakePictures, to have them in this frame.
    void WaitMasks(Waitable& _evStop, int64_t _rtMost);
    // The pictures that the draw pass found to be made and kept, each on a thread. The scenes lock is not needed any
    // more.
    void MakePictures();
    // The picture of the draw pass; see Canvas::Compose.
    HRESULT Compose(IZrFFrame* _pBase, ZrPtr<IZrFFrame>* _ppFrame);
    // The events of changes that have ended; with no lock held.
    void RaiseEvents(IEventSink& _events) { Walk_I().RaiseEvents(_events); }
    // What is kept of scene and streams is let go. While the mix thread does not run.
    void Reset();

    // For the walk.
    bool CollectVideo_I(const VIDEO_ELEMENT& _video, DrawContext& _context, RECT_F* _pRect);
    void DrawVideo_I(const VIDEO_ELEMENT& _video, DrawContext& _context);
    void DropVideo_I(CoElement& _element);
    void ChangeEnded_I(CoElement& _scene);

private:
    // An element as it is drawn.
    struct DRAWN {
        BlockPtr pBlock;
        ZrMixerStream* pStream = nullptr;  // good for the pass
        BLOCK_DRAW draw;
        double dblAlpha = 1;
        bool bBorders = false;
        BORDERS borders;
    };

    bool HasOtherStreams();
    void ReadMasks(const BlockPtr& _pBlock, uint32_t _nToRead);
    static bool MakePicture(DRAWN& _drawn, bool _bAtOnce);
    void LayOnCanvas();
    void CollectBlocks(CoElement& _scene, CoElement& _foreground, DrawContext& _context);
    const DRAW_STREAM* FindStream(const VIDEO_TEXTS& _texts, ZrVideoBlock* _pBlock) const;
    void AddGains() const;

    const XMLNodePtr pRoot, pObject;
    BlockSet& blocks;
    Canvas canvas;
    // Of the pass
    std::span<const DRAW_STREAM> streams;
    ZR_VID_PROPS layerProps;
    bool bCutOffscreen = true;
    bool bLayingOutAgain = false;
    // Of the last layout
    uint64_t nLaidOut = 0;  // its ScenesShared::Changes; 0: there was none
    std::vector<const void*> arrStreamsLaidOut;
    std::vector<BlockPtr> arrBlocks;  // in the order in which they are drawn
    std::vector<DRAWN> arrDrawn;      // likewise, of the draw pass
    std::vector<DRAWN*> arrToMake;    // those of them that have no picture yet
    TaskGroup groupMake;
    bool bReadsMasks = false;  // the walk has met new ones
    // The masks that are being read: theirs too, as a file may take longer than the show.
    std::shared_ptr<CountdownEvent> pMasksRead = std::make_shared<CountdownEvent>();
    std::vector<BlockPtr> arrSet;  // goes to and fro with the set
};

}  // namespace zr
