#pragma once
// The walk over a scene: what each element says at a frame's time becomes rectangles and alphas of pictures. It runs
// twice a frame, once to draw the pictures that are there, once to lay out those of the next frame.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "framework/event_sink.h"
#include "scenes/animated_value.h"
#include "scenes/element.h"
#include "scenes/placing.h"
#include "zr/records.h"

namespace zr {

// An element answers so when it is to be taken out of its parent.
inline constexpr HRESULT kRemoveElement = static_cast<HRESULT>(0x8004027Fu);

// A tree that is deeper is not drawn below this: the mix thread's stack has to hold the walk.
inline constexpr int32_t kMaxDrawDepth = 512;

// The types of elements that the walk knows, joined by ", ".
std::u16string ElementTypesText();

// One pass of the walk.
struct DrawContext {
    bool bDraw = false;         // false: the collect pass, which has no picture to draw on
    ZR_VID_PROPS target_props;  // of the output
    double now = 0;             // stream time in seconds
    int32_t blocks_done = 0;    // pictures that had something to show, or were laid out
    bool bChangeEnded = false;  // some element has reached the end of its change
    MOTION motion;              // of "add"; of a frame's passes only one moves
};

// What a video element says besides its numbers. The texts are good during the call.
struct VIDEO_TEXTS {
    std::u16string streamID, streamIdx;
    std::u16string mask, screenMask;
    std::u16string borders, bordersColour;
};

// A video element in one of the passes. All good during the call only.
struct VIDEO_ELEMENT {
    CoElement& element;
    const VIDEO_TEXTS& texts;
    PLACE_INPUT place;
    RECT_F parent, previous;   // output pixels; see PlaceElement
    RECT_F crop;               // fractions of the picture
    double dblAlpha = 1;       // with that of all parents
    double dblAudioGain = -1;  // linear; below 0: the element gives none
    bool bHasCut = false, bCutOffscreen = true;
    bool bForceCaptions = false;
};

// The mixer's side: streams and blocks.
class ISceneVideo {
public:
    // The stream of an element, by id or else by index, is laid out for the next frame. The rectangle comes back, in
    // output pixels; false: there is no such stream, or it is not open.
    virtual bool CollectVideo(const VIDEO_ELEMENT& _video, DrawContext& _context, RECT_F* _pRect) = 0;
    // The picture of an element is laid over what is drawn already.
    virtual void DrawVideo(const VIDEO_ELEMENT& _video, DrawContext& _context) = 0;
    // The element is not shown: it loses what it keeps of its stream.
    virtual void DropVideo(CoElement& _element) = 0;
    // A change has ended in the pass before: the next view that waits can be gone to.
    virtual void ChangeEnded(CoElement& _scene) = 0;

protected:
    ~ISceneVideo() = default;
};

// Mix thread only, with the scenes lock held for reading.
class SceneWalk {
public:
    explicit SceneWalk(ISceneVideo& _video) : video(_video) {}
    // The walk begins anew: another scene, or one that has been loaded.
    void Reset();

    // One pass over the elements of a scene, in the foreground and beside it. _foreground: where its highlight is
    // named; the scene itself when it has none.
    void Draw(DrawContext& _context, CoElement& _scene, CoElement& _foreground);
    // Raises the events of the passes so far, with no lock held.
    void RaiseEvents(IEventSink& _events);

private:
    struct VISIT {
        const RECT_F* pParent;
        RECT_F* pCursor;
        double dblAlpha;
        int32_t nDepth;
        bool bOutgoing;  // below a clone: nobody hears of the ends of its changes
    };
    struct TEXTS;

    void WalkChildren(CoElement& _element, const RECT_F& _parent, double _dblAlpha, int32_t _nDepth, bool _bOutgoing);
    HRESULT DrawElement(CoElement& _element, const VISIT& _visit, int32_t _nTypeOfClone);
    HRESULT EndOfChange(CoElement& _element, bool _bRemove, bool _bEvent);
    void DropHidden(CoElement& _element, int32_t _nDepth);
    void DropBelow(CoElement& _element, int32_t _nDepth, bool _bClone);  // _bClone: with its clone
    void DrawClone(CoElement& _element, const VISIT& _visit, int32_t _nType);
    void Note(CoElement& _element, const RECT_F& _rect, const RECT_F& _crop);

    ISceneVideo& video;
    DrawContext* pContext = nullptr;  // during a pass
    CoElement* pHighlight = nullptr;
    VIDEO_TEXTS texts;  // keep their memory
    std::u16string highlight;
    std::vector<std::u16string> arrDone;  // paths of elements whose change has ended
    double dblCollected = -1;             // time of the last collect pass
    bool bChangeEnded = false;            // in the pass before
};

// The drawing of an object's scenes. T gives what an element shows:
//     bool CollectVideo_I(const VIDEO_ELEMENT&, DrawContext&, RECT_F*);
//     void DrawVideo_I(const VIDEO_ELEMENT&, DrawContext&);
//     void DropVideo_I(CoElement&);
//     void ChangeEnded_I(CoElement& _scene);
template <class T>
class CSceneDrawXML_CPU : private ISceneVideo {
public:
    void DrawXML_CPU(DrawContext& _context, CoElement& _scene, CoElement& _foreground) {
        walk.Draw(_context, _scene, _foreground);
    }

protected:
    ~CSceneDrawXML_CPU() = default;
    SceneWalk& Walk_I() { return walk; }

private:
    bool CollectVideo(const VIDEO_ELEMENT& _video, DrawContext& _context, RECT_F* _pRect) override {
        return static_cast<T*>(this)->CollectVideo_I(_video, _context, _pRect);
    }
    void DrawVideo(const VIDEO_ELEMENT& _video, DrawContext& _context) override {
        static_cast<T*>(this)->DrawVideo_I(_video, _context);
    }
    void DropVideo(CoElement& _element) override { static_cast<T*>(this)->DropVideo_I(_element); }
    void ChangeEnded(CoElement& _scene) override { static_cast<T*>(this)->ChangeEnded_I(_scene); }

    SceneWalk walk{*this};
};

}  // namespace zr
