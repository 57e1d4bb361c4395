#include "scenes/scene_draw.h"

#include <algorithm>
#include <cmath>

#include "attributes/name_path.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "scenes/element_names.h"

namespace zr {

namespace {

constexpr NameKey keyPos{u"pos"}, keySpos{u"spos"}, keyMaintainAr{u"maintain_ar"}, keyStreamID{u"stream_id"},
    keyStreamIdx{u"stream_idx"}, keyMask{u"mask"}, keyScreenMask{u"screen_mask"}, keyBorders{u"borders"},
    keyBordersColour{u"borders_color"}, keyCut{u"cut_offscreen"}, keyForceCc{u"force_cc"};

// The types of elements that are drawn or have a part in it, in the order in which they are known.
enum eType : int32_t { kGroup, kBlock, kImg, kVideo, kTickerItem = 13, kLoadedItem = 14, kUnknown = -1, kSetting = -2 };

constexpr NameKey arrTypes[] = {u"group",   u"block", u"img",    u"video",       u"text",
                                u"crawl",   u"roll",  u"matrix", u"cloud",       u"cube",
                                u"polygon", u"star",  u"ticker", u"ticker_item", u"loaded_item"};

int32_t TypeOf(uint64_t _nHash) {
    for (size_t i = 0; i < std::size(arrTypes); ++i)
        if (arrTypes[i].nHash == _nHash) return static_cast<int32_t>(i);
    if (_nHash == element::kForeground.nHash) return kGroup;
    return element::IsSettingNode(_nHash) ? kSetting : kUnknown;
}

// The names from below the scene down, as ElementsGetByID takes them.
std::u16string PathOf(const CoElement& _element) {
    std::u16string path = _element.Name();
    for (ElementPtr p = _element.Parent(); p && p->HasParent(); p = p->Parent()) path = p->Name() + u"::" + path;
    return path;
}

double LinearOfDb(double _dblDb) { return std::pow(10.0, std::clamp(_dblDb, -200.0, 200.0) / 20.0); }

RECT_F FractionOf(const RECT_F& _rect, const ZR_VID_PROPS& _output) {
    const auto nWidth = static_cast<float>(_output.nWidth), nHeight = static_cast<float>(AbsHeight(_output.nHeight));
    return {_rect.left / nWidth, _rect.top / nHeight, _rect.right / nWidth, _rect.bottom / nHeight};
}

}  // namespace

std::u16string ElementTypesText() {
    std::u16string text;
    for (const NameKey& key : arrTypes) text.append(text.empty() ? u"" : u", ").append(key.text);
    return text;
}

void SceneWalk::Reset() {
    pHighlight = nullptr;
    dblCollected = -1;
    bChangeEnded = false;
}

void SceneWalk::RaiseEvents(IEventSink& _events) {
    for (const std::u16string& path : arrDone) _events.RaiseEvent(path.c_str(), u"trans-done", u"", nullptr);
    arrDone.clear();
}

void SceneWalk::Draw(DrawContext& _context, CoElement& _scene, CoElement& _foreground) {
    if (bChangeEnded) video.ChangeEnded(_scene);
    bChangeEnded = false;
    pContext = &_context;
    // What moves by itself moves once a frame, and not while the time of the scene stands still.
    _context.motion = {};
    if (!_context.bDraw && _context.now != dblCollected) {
        _context.motion = MOTION::NextFrame(_context.target_props.dblRate);
        dblCollected = _context.now;
    }

    // Held through the pass: an element that removes itself meanwhile stays where it is in memory.
    ElementPtr pHeld;
    highlight.clear();
    _foreground.VisitOwnAttributes([&](uint64_t _nHash, AttrValue& _value) {
        if (_nHash == element::kHighlight.nHash) highlight = _value.Text();
    });
    if (highlight.empty()) {
        _scene.VisitOwnAttributes([&](uint64_t _nHash, AttrValue& _value) {
            if (_nHash == element::kHighlight.nHash) highlight = _value.Text();
        });
    }
    if (!highlight.empty()) pHeld = _foreground.Find(highlight);
    if (!highlight.empty() && !pHeld) pHeld = _scene.Find(highlight);
    pHighlight = pHeld.Get();

    const RECT_F root{0, 0, static_cast<float>(_context.target_props.nWidth),
                      static_cast<float>(AbsHeight(_context.target_props.nHeight))};
    WalkChildren(_scene, root, pHighlight ? 0.5 : 1.0, 0, false);
    pHighlight = nullptr;
    pContext = nullptr;
    bChangeEnded = _context.bChangeEnded;
}

void SceneWalk::WalkChildren(CoElement& _element, const RECT_F& _parent, double _dblAlpha, int32_t _nDepth,
                             bool _bOutgoing) {
    if (_nDepth >= kMaxDrawDepth) return;
    RECT_F cursor = EmptyCursor(_parent);
    for (size_t i = 0;;) {
        const ElementPtr pChild = _element.ChildAt(i);
        if (!pChild) break;
        if (!pChild->IsText() &&
            DrawElement(*pChild, {&_parent, &cursor, _dblAlpha, _nDepth, _bOutgoing}, kUnknown) == kRemoveElement &&
            _element.RemoveChild(pChild.Get())) {
            _element.Discard(pChild);
            continue;  // the next one has moved to this place
        }
        ++i;
    }
}

// What an element says besides its numbers.
struct SceneWalk::TEXTS {
    SceneWalk& walk;
    const int32_t nTypeOfClone;
    PLACE_INPUT& place;
    bool& bHasCut;
    bool& bCut;
    bool& bForceCaptions;
    int32_t nType = kUnknown;
    bool bVideo = false;
    bool bRemove = false;
    POSITION spos{};

    bool Begin(std::u16string_view _tag) {
        nType = TypeOf(TypeHashOf(_tag));
        if (nTypeOfClone != kUnknown && nType < 0) nType = nTypeOfClone;
        bVideo = nType == kVideo;
        return nType != kSetting;
    }
    void operator()(uint64_t _nHash, AttrValue& _value) {
        if (_nHash == keyPos.nHash)
            place.position = ReadPosition(_value.Text());
        else if (_nHash == element::kRemove.nHash)
            bRemove = _value.As<bool>();
        else if (bVideo)
            Video(_nHash, _value);
    }
    void Video(uint64_t _nHash, AttrValue& _value) {
        switch (_nHash) {
            case keySpos.nHash: spos = ReadPosition(_value.Text()); break;
            case keyMaintainAr.nHash: place.bMaintainAr = _value.As<bool>(); break;
            case keyStreamID.nHash: walk.texts.streamID = _value.Text(); break;
            case keyStreamIdx.nHash: walk.texts.streamIdx = _value.Text(); break;
            case keyMask.nHash: walk.texts.mask = _value.Text(); break;
            case keyScreenMask.nHash: walk.texts.screenMask = _value.Text(); break;
            case keyBorders.nHash: walk.texts.borders = _value.Text(); break;
            case keyBordersColour.nHash: walk.texts.bordersColour = _value.Text(); break;
            case keyCut.nHash: bHasCut = true, bCut = _value.As<bool>(); break;
            case keyForceCc.nHash: bForceCaptions = _value.As<bool>(); break;
            default: break;
        }
    }
};

HRESULT SceneWalk::DrawElement(CoElement& _element, const VISIT& _visit, int32_t _nTypeOfClone) {
    DrawContext& context = *pContext;
    for (std::u16string* p :
         {&texts.streamID, &texts.streamIdx, &texts.mask, &texts.screenMask, &texts.borders, &texts.bordersColour})
        p->clear();
    VIDEO_ELEMENT item{_element, texts, {}, *_visit.pParent, *_visit.pCursor, {0, 0, 1, 1}};
    TEXTS other{*this, _nTypeOfClone, item.place, item.bHasCut, item.bCutOffscreen, item.bForceCaptions};
    const ElementValues values(
        _element, context.now, context.motion, [&](std::u16string_view _tag) { return other.Begin(_tag); }, other);
    const int32_t nType = other.nType;
    if (nType == kSetting) return S_OK;

    if (values.Progress() > 1) {
        const bool bGone = EndOfChange(_element, other.bRemove, !_visit.bOutgoing) == kRemoveElement;
        if (bGone) return kRemoveElement;
    }
    if (!values.Shown()) {
        const bool bGone = other.bRemove && !(values.IsChanging() && values.Progress() <= 1);
        if (bGone) {
            DropBelow(_element, _visit.nDepth, true);
            return kRemoveElement;
        }
        DropHidden(_element, _visit.nDepth);
        DrawClone(_element, _visit, nType);  // what it was is seen on its own
        return S_OK;
    }
    _element.nDropped = 0;
    const double dblAlpha = &_element == pHighlight ? 1.0 : _visit.dblAlpha;
    if (nType == kTickerItem || nType == kLoadedItem || nType < 0 || nType > kVideo) {
        DrawClone(_element, _visit, nType);
        return S_OK;
    }

    item.dblAlpha = dblAlpha * values[eTimed::Alpha];
    item.place.dblX = values[eTimed::X];
    item.place.dblY = values[eTimed::Y];
    item.place.dblW = values[eTimed::W];
    item.place.dblH = values[eTimed::H];
    item.place.bHasHeight = values.Has(eTimed::H);
    RECT_F rect;
    bool bPlaced = false;
    if (other.bVideo) {
        item.place.dblSw = values[eTimed::Sw];
        item.place.dblSh = values[eTimed::Sh];
        item.crop =
            PlaceCrop(values[eTimed::Sx], values[eTimed::Sy], values[eTimed::Sw], values[eTimed::Sh], other.spos);
        // A gain that is no number says nothing; none at all is 0 dB.
        if (!values.HasNoGain()) item.dblAudioGain = LinearOfDb(values[eTimed::AudioGain]);
        if (context.bDraw)
            video.DrawVideo(item, context);
        else
            bPlaced = video.CollectVideo(item, context, &rect);
    }
    if (!bPlaced) rect = PlaceElement(item.place, nullptr, context.target_props, *_visit.pParent, *_visit.pCursor);
    if (!context.bDraw) Note(_element, rect, item.crop);
    RECT_F cursorOfClone = *_visit.pCursor;
    *_visit.pCursor = rect;
    if (values.HasChildren()) {
        WalkChildren(_element, rect, item.dblAlpha, _visit.nDepth + 1, _visit.bOutgoing);
        VISIT visitClone = _visit;
        visitClone.pCursor = &cursorOfClone;
        DrawClone(_element, visitClone, nType);
    }
    return S_OK;
}

// The outgoing copy of an element, drawn over it until its own change has ended.
void SceneWalk::DrawClone(CoElement& _element, const VISIT& _visit, int32_t _nType) {
    const ElementPtr pClone = _element.Setting(element::kClone);
    if (!pClone || _visit.nDepth >= kMaxDrawDepth) return;
    RECT_F cursor = *_visit.pCursor;
    const VISIT visit{_visit.pParent, &cursor, _visit.dblAlpha, _visit.nDepth + 1, true};
    // Where its type has gone with the change, it says what it was.
    std::u16string type;
    const int32_t nOwn = pClone->GetAttribute(element::kCloneType.text, type) ? TypeOf(TypeHashOf(type)) : _nType;
    if (DrawElement(*pClone, visit, std::max<int32_t>(nOwn, kGroup)) == kRemoveElement) {
        DropBelow(*pClone, _visit.nDepth, true);
        if (_element.RemoveChild(pClone.Get())) _element.Discard(pClone);
    }
}

HRESULT SceneWalk::EndOfChange(CoElement& _element, bool _bRemove, bool _bEvent) {
    EndChange(_element);
    pContext->bChangeEnded = true;
    if (_bEvent) arrDone.push_back(PathOf(_element));
    if (!_bRemove) return S_OK;
    DropBelow(_element, 0, true);
    return kRemoveElement;
}

// Pictures come to be below a hidden element by a change only, as when one that is drawn is moved there.
void SceneWalk::DropHidden(CoElement& _element, int32_t _nDepth) {
    const uint64_t nChanges = _element.Shared() ? _element.Shared()->Changes() : 0;
    if (nChanges != 0 && _element.nDropped == nChanges) return;
    DropBelow(_element, _nDepth, false);
    _element.nDropped = nChanges;
}

void SceneWalk::DropBelow(CoElement& _element, int32_t _nDepth, bool _bClone) {
    video.DropVideo(_element);
    if (_nDepth >= kMaxDrawDepth) return;
    for (size_t i = 0;; ++i) {
        const ElementPtr pChild = _element.ChildAt(i);
        if (!pChild) return;
        if (!pChild->IsText() && (_bClone || !pChild->HasTag(element::kClone))) DropBelow(*pChild, _nDepth + 1, true);
    }
}

// Where the element stands, for hit tests.
void SceneWalk::Note(CoElement& _element, const RECT_F& _rect, const RECT_F& _crop) {
    auto pRects = _element.ObjectAs<CAutoObj<ElementRects>>(element::kDstRect);
    if (!pRects) {
        pRects = ElementRects::Make();
        if (!pRects) return;
        _element.SetObject(element::kDstRect, ObjectVal<CAutoObj<ElementRects>>::Make(pRects));
    }
    pRects->Set({FractionOf(_rect, pContext->target_props), _crop});
}

}  // namespace zr
