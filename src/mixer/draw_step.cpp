#include "mixer/draw_step.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "attributes/attr_text.h"
#include "attributes/interface_call.h"
#include "attributes/number_text.h"
#include "media/vid_props.h"
#include "platform/clock.h"
#include "platform/trace.h"
#include "scenes/element_names.h"
#include "scenes/element_select.h"

namespace zr {

namespace {

// Keeps a record with an element; the object changes only when the record does. _kept: the one that it has.
void KeepProps(CoElement& _element, const NameKey& _key, const ZR_VID_PROPS& _props, ZR_VID_PROPS& _kept) {
    if (_kept.fccType == _props.fccType && _kept.nWidth == _props.nWidth && _kept.nHeight == _props.nHeight &&
        _kept.nRowBytes == _props.nRowBytes && _kept.eInterlace == _props.eInterlace &&
        _kept.eVideoFormat == _props.eVideoFormat && _kept.nAspectX == _props.nAspectX &&
        _kept.nAspectY == _props.nAspectY && _kept.dblRate == _props.dblRate)
        return;
    _kept = _props;
    _element.SetObject(_key, ObjectVal<ZR_VID_PROPS>::Make(_props));
}

tagRECT RoundRect(const RECT_F& _rect) {
    const RECT_F rect = Ordered(_rect);
    const auto Round = [](float _n) { return static_cast<int32_t>(std::lround(_n)); };
    return {Round(rect.left), Round(rect.top), Round(rect.right), Round(rect.bottom)};
}

}  // namespace

void DrawStep::Reset() {
    Walk_I().Reset();
    arrBlocks.clear();
    blocks.Exchange(arrBlocks);
    arrBlocks.clear();
    arrSet.clear();
    arrDrawn.clear();
    canvas.Clear();
    nLaidOut = 0;
    arrStreamsLaidOut.clear();
}

bool DrawStep::WalkScene(const ZR_VID_PROPS& _output, std::span<const DRAW_STREAM> _streams, const DRAW_TIMES& _times,
                         CoElement* _pScene, uint64_t _nChanges) {
    streams = _streams;
    layerProps = Canvas::LayerProps(_output);
    bCutOffscreen = pRoot->AttributeOr(u"cut_offscreen", true);
    canvas.Begin(_output);
    arrBlocks.clear();
    arrDrawn.clear();
    ElementPtr pForeground = _pScene ? _pScene->FindChild(element::kForeground) : ElementPtr();
    if (!pForeground) pForeground = ElementPtr(_pScene);  // a scene that has none is one itself
    DrawContext draw, collect;
    if (pForeground) {
        draw.bDraw = true;
        draw.target_props = collect.target_props = layerProps;
        draw.now = _times.dblDraw;
        const bool bOthers = HasOtherStreams();
        if (std::exchange(nLaidOut, _nChanges) != _nChanges || bOthers) {
            DrawContext again;
            again.target_props = layerProps;
            again.now = _times.dblDraw;
            bLayingOutAgain = true;
            CollectBlocks(*_pScene, *pForeground, again);
            bLayingOutAgain = false;
            arrBlocks.clear();
        }
        collect.now = _times.dblCollect;
        {
            const TraceScope trace("DoMixing_I(Draw)");
            DrawXML_CPU(draw, *_pScene, *pForeground);
        }
        CollectBlocks(*_pScene, *pForeground, collect);
    }
    AddGains();
    // The set gets this list; the one that it gives back is used next.
    arrSet.assign(arrBlocks.begin(), arrBlocks.end());
    blocks.Exchange(arrSet);
    arrSet.clear();
    arrBlocks.clear();
    streams = {};
    return draw.blocks_done == collect.blocks_done;
}

void DrawStep::CollectBlocks(CoElement& _scene, CoElement& _foreground, DrawContext& _context) {
    const TraceScope trace("DrawXML_CPU(Collect) + Update");
    DrawXML_CPU(_context, _scene, _foreground);
    UpdateBlocks(layerProps, arrBlocks, pObject->AttributeOr(u"cut_overlapped", true));
}

// Than at the last layout.
bool DrawStep::HasOtherStreams() {
    const auto Address = [](const DRAW_STREAM& _stream) -> const void* { return _stream.pStream; };
    if (std::equal(streams.begin(), streams.end(), arrStreamsLaidOut.begin(), arrStreamsLaidOut.end(),
                   [&](const DRAW_STREAM& _stream, const void* _p) { return Address(_stream) == _p; }))
        return false;
    arrStreamsLaidOut.resize(streams.size());
    std::transform(streams.begin(), streams.end(), arrStreamsLaidOut.begin(), Address);
    return true;
}

HRESULT DrawStep::Compose(IZrFFrame* _pBase, ZrPtr<IZrFFrame>* _ppFrame) {
    LayOnCanvas();
    const HRESULT hr = canvas.Compose(_pBase, pObject->AttributeOr(u"mixing.threads", 0), _ppFrame);
    canvas.Clear();
    for (const DRAWN& drawn : arrDrawn)
        if (drawn.draw.pPicture && drawn.draw.pPicture->HasRows())
            drawn.pStream->NotePicture(drawn.draw.pPicture->pRows->rtMade.load(std::memory_order_relaxed));
    arrDrawn.clear();
    return hr;
}

// What the elements add to the sound of their streams, once everyone knows what is seen of it.
void DrawStep::AddGains() const {
    for (const DRAW_STREAM& stream : streams) stream.pStream->ResetGains();
    for (const BlockPtr& pBlock : arrBlocks) {
        const BLOCK_STATE state = pBlock->State();
        const auto it = std::find_if(streams.begin(), streams.end(),
                                     [&](const DRAW_STREAM& _s) { return pBlock->Shows(_s.pStream); });
        if (it == streams.end()) continue;
        if (state.dblAudioGain >= 0)
            it->pStream->AddGains(0, state.dblAudioGain);
        else
            it->pStream->AddGains(state.dblVisibleShare, 0);
    }
}

// _pBlock (may be null): of the element; it was found there last.
const DRAW_STREAM* DrawStep::FindStream(const VIDEO_TEXTS& _texts, ZrVideoBlock* _pBlock) const {
    if (!_texts.streamID.empty()) {
        if (_pBlock && _pBlock->walked.nStream < streams.size()) {
            const DRAW_STREAM& last = streams[_pBlock->walked.nStream];
            if (last.id == _texts.streamID) return &last;
        }
        for (size_t i = 0; i < streams.size(); ++i) {
            if (streams[i].id != _texts.streamID) continue;
            if (_pBlock) _pBlock->walked.nStream = i;
            return &streams[i];
        }
    }
    if (_texts.streamIdx.empty() || _texts.streamIdx[0] < u'0' || _texts.streamIdx[0] > u'9') return nullptr;
    const auto n = static_cast<int32_t>(ReadInteger(_texts.streamIdx, 10, INT32_MAX).nValue);
    const auto it = std::find_if(streams.begin(), streams.end(), [n](const DRAW_STREAM& _s) { return _s.nIndex == n; });
    return it == streams.end() ? nullptr : &*it;
}

bool DrawStep::CollectVideo_I(const VIDEO_ELEMENT& _video, DrawContext& _context, RECT_F* _pRect) {
    CoElement& element = _video.element;
    BlockPtr pBlock = element.ObjectAs<BlockPtr>(kVideoBlockKey);
    const DRAW_STREAM* const pFound = FindStream(_video.texts, pBlock.Get());
    if (!pFound || !pFound->pStream->IsOpen()) {
        DropVideo_I(element);
        return false;
    }
    const bool bOther = !pBlock || !pBlock->Shows(pFound->pStream);
    if (bOther) element.SetObject(kMixerStreamKey, ObjectVal<MixerStreamPtr>::Make(MixerStreamPtr(pFound->pStream)));
    if (!pBlock) {
        pBlock = ZrVideoBlock::Make();
        if (!pBlock) return false;
        element.SetObject(kVideoBlockKey, ObjectVal<BlockPtr>::Make(pBlock));
    }
    if (bOther) pBlock->Bind(pFound->pStream, pFound->id);
    // Drawn in this very frame, and the frames of the streams have been put already.
    if (bLayingOutAgain)
        if (const CAutoObj<IZrFFrame> pLast = pFound->pStream->LastFrame()) pBlock->Offer(*pLast);
    KeepProps(element, kSrcPropsKey, pFound->pStream->LastVideoProps(), pBlock->walked.source);
    KeepProps(element, kMixPropsKey, _context.target_props, pBlock->walked.output);

    BLOCK_LAYOUT layout;
    layout.place = _video.place;
    layout.parent = _video.parent;
    layout.previous = _video.previous;
    layout.crop = _video.crop;
    layout.output = _context.target_props;
    layout.dblAlpha = _video.dblAlpha;
    layout.dblAudioGain = _video.dblAudioGain;
    layout.bCutOffscreen = _video.bHasCut ? _video.bCutOffscreen : bCutOffscreen;
    layout.bForceCaptions = _video.bForceCaptions;
    const bool bMasks = !_video.texts.mask.empty() || !_video.texts.screenMask.empty();
    if (std::exchange(pBlock->walked.bMasks, bMasks) || bMasks)
        if (const uint32_t nToRead = pBlock->SetMasks(_video.texts.mask, _video.texts.screenMask))
            ReadMasks(pBlock, nToRead);
    *_pRect = pBlock->Layout(layout);
    arrBlocks.push_back(std::move(pBlock));
    ++_context.blocks_done;
    return true;
}

void DrawStep::DrawVideo_I(const VIDEO_ELEMENT& _video, DrawContext& _context) {
    CoElement& element = _video.element;
    const BlockPtr pBlock = element.ObjectAs<BlockPtr>(kVideoBlockKey);
    if (!pBlock) return;
    const DRAW_STREAM* const pFound = FindStream(_video.texts, pBlock.Get());
    if (!pFound || !pFound->pStream->IsOpen()) {
        DropVideo_I(element);
        return;
    }
    ++_context.blocks_done;
    // A stream that stands still gives no frame that would bring the picture to its new place.
    const ZrVideoBlock::eSource eSource = pBlock->Source();
    if (eSource == ZrVideoBlock::eSource::None) return;
    if (eSource == ZrVideoBlock::eSource::Stale)
        if (const CAutoObj<IZrFFrame> pLast = pFound->pStream->LastFrame()) pBlock->Offer(*pLast);
    DRAWN& drawn = arrDrawn.emplace_back();
    drawn.pBlock = pBlock;
    drawn.pStream = pFound->pStream;
    drawn.draw = pBlock->ToDraw();
    drawn.dblAlpha = _video.dblAlpha;
    drawn.bBorders = !_video.texts.borders.empty() &&
                     ReadBorders(_video.texts.borders, _video.texts.bordersColour, &drawn.borders) == S_OK;
}

void DrawStep::ReadMasks(const BlockPtr& _pBlock, uint32_t _nToRead) {
    for (const bool bScreen : {false, true}) {
        if (!(_nToRead & (bScreen ? 2u : 1u))) continue;
        bReadsMasks = true;
        pMasksRead->Add();
        const auto Read = [pBlock = _pBlock, bScreen, pRead = pMasksRead] {
            InterfaceCall([&] {
                pBlock->ReadMask(bScreen);
                return S_OK;
            });
            pRead->Done();
        };
        if (Failed(ThreadPool::Shared().Submit(Read))) Read();
    }
}

void DrawStep::WaitMasks(Waitable& _evStop, int64_t _rtMost) {
    if (std::exchange(bReadsMasks, false)) WaitAny({&_evStop, pMasksRead.get()}, _rtMost);
}

// What takes milliseconds where sources are large: after a change of the scene all may come at once.
void DrawStep::MakePictures() {
    arrToMake.clear();
    for (DRAWN& drawn : arrDrawn)
        if (!MakePicture(drawn, true)) arrToMake.push_back(&drawn);
    if (arrToMake.empty()) return;
    for (size_t i = 1; i < arrToMake.size(); ++i) {
        DRAWN* const pDrawn = arrToMake[i];
        if (Failed(ThreadPool::Shared().Submit([pDrawn] { MakePicture(*pDrawn, false); }, &groupMake)))
            MakePicture(*pDrawn, false);
    }
    MakePicture(*arrToMake[0], false);
    groupMake.Wait(nullptr, -1);
}

// False: not at once. Memory that is out leaves the picture before.
bool DrawStep::MakePicture(DRAWN& _drawn, bool _bAtOnce) {
    if (!_drawn.draw.pFrame) return true;
    bool bMade = true;
    InterfaceCall([&] {
        const int64_t rtBegin = ClockNow();
        bMade = _drawn.pBlock->MakePicture(_drawn.draw, _bAtOnce);
        if (bMade) _drawn.pStream->NotePicture(ClockNow() - rtBegin);
        return S_OK;
    });
    return bMade;
}

void DrawStep::LayOnCanvas() {
    for (const DRAWN& drawn : arrDrawn) {
        const CAutoObj<BlockPicture>& pPicture = drawn.draw.pPicture;
        canvas.Add(pPicture, drawn.dblAlpha);
        if (!drawn.bBorders) continue;
        const bool bSeen = pPicture && pPicture->IsSeen();
        canvas.AddBorders(bSeen ? pPicture->laidRect : RoundRect(drawn.draw.rect), drawn.borders, drawn.dblAlpha);
    }
}

void DrawStep::DropVideo_I(CoElement& _element) {
    if (_element.RemoveObject(kVideoBlockKey)) _element.RemoveObject(kMixerStreamKey);
}

void DrawStep::ChangeEnded_I(CoElement& _scene) { RunViewStep(_scene); }

}  // namespace zr
