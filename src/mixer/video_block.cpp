#include "mixer/video_block.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "media/vid_props.h"
#include "platform/clock.h"
#include "video/image_format_base.h"

namespace zr {

namespace {

constexpr double kOpaque = 1.0;
constexpr double kOpaqueUncut = 0.99;
constexpr double kSeenThrough = 0.3;
constexpr int64_t kNextLook = kTicksPerSecond;  // for the file of a mask that was not there
constexpr int32_t kStays = 2;                   // a picture that comes again so often is taken for a still one

bool SameRecord(const ZR_VID_PROPS& _a, const ZR_VID_PROPS& _b) {
    return _a.eVideoFormat == _b.eVideoFormat && _a.fccType == _b.fccType && _a.nWidth == _b.nWidth &&
           _a.nHeight == _b.nHeight && _a.nRowBytes == _b.nRowBytes && _a.eInterlace == _b.eInterlace &&
           _a.nAspectX == _b.nAspectX && _a.nAspectY == _b.nAspectY;
}

// Nobody but the list holds it.
bool IsFree(const CAutoObj<BlockPicture>& _p) {
    const uint32_t nHolders = _p->AddRef() - 1;
    _p->Release();
    return nHolders == 1;
}

}  // namespace

// ---- The stream

void ZrVideoBlock::Bind(const void* _pStream, std::u16string_view _id) {
    MutexLock lock(mtx);
    if (streamID != _id) streamID = _id;
    const void* const pOld = pShown.exchange(_pStream, std::memory_order_acq_rel);
    if (pOld == _pStream || !pOld) return;
    // What the stream before has left stays on the screen until a frame of this one comes.
    bHasTime = false;
}

std::u16string ZrVideoBlock::StreamID() const {
    MutexLock lock(mtx);
    return streamID;
}

// ---- The producer

bool ZrVideoBlock::NeedsPicture_I(int64_t _llVideoID, PICTURE_PLAN* _pPlan) const {
    _pPlan->dst = rect;
    _pPlan->crop = layout.crop;
    _pPlan->output = layout.output;
    _pPlan->nQuality = nQuality;
    _pPlan->nMasks = nMasks;
    _pPlan->nField = DeinterlaceField(sourceProps);
    _pPlan->bHasMask = HasMask_I();
    _pPlan->bCut = layout.bCutOffscreen;
    return !pPicture || _llVideoID == 0 || _llVideoID != llPictureID || !plan.SamePicture(*_pPlan);
}

HRESULT ZrVideoBlock::Put(IZrFFrame& _frame, int32_t _nQuality, bool _bLater) {
    ZRF_FRAME_INFO info;
    if (const HRESULT hr = _frame.ZrFAllGet(&info); Failed(hr)) return hr;
    MutexLock lockMake(mtxMake);
    PICTURE_PLAN planNew;
    ZrPtr<IZrFFrame> pOldLatest;  // goes outside of the lock
    bool bStays = false;
    {
        MutexLock lock(mtx);
        nQuality = _nQuality;
        NoteSource_I(info.avProps.vidProps);
        const bool bNeeds = NeedsPicture_I(info.llVideoID, &planNew);
        if (!map.IsVisible() || (_bLater && bNeeds) || WaitsForMask_I()) {
            pOldLatest = std::exchange(pLatest, ZrPtr<IZrFFrame>(&_frame));
            return map.IsVisible() ? S_OK : S_FALSE;
        }
        pOldLatest = std::move(pLatest);
        if (!bNeeds) {
            if (++nRepeats != kStays) return S_OK;
            bStays = true;
        }
    }
    if (bStays) {
        TakeApart_I();
        return S_OK;
    }
    CAutoObj<BlockPicture> pNew;
    const HRESULT hr = Make_I(_frame, info, planNew, eMake::Whole, &pNew);
    if (Failed(hr)) return hr;
    {
        MutexLock lock(mtx);
        Show_I(pNew, info, planNew);
    }
    pNew.Reset();
    GiveFramesBack_I();
    return S_OK;
}

void ZrVideoBlock::Offer(IZrFFrame& _frame) {
    ZRF_FRAME_INFO info;
    if (Failed(_frame.ZrFAllGet(&info)) || info.lpVideo == 0) return;
    ZrPtr<IZrFFrame> pOldLatest;
    MutexLock lock(mtx);
    NoteSource_I(info.avProps.vidProps);
    pOldLatest = std::exchange(pLatest, ZrPtr<IZrFFrame>(&_frame));
}

void ZrVideoBlock::NoteSource_I(const ZR_VID_PROPS& _props) {
    if (SameRecord(sourceProps, _props)) return;
    sourceProps = _props;
    if (layout.place.bMaintainAr) LayOut_I();
}

// The one before stays where it is for whoever draws it: a third is found or made.
CAutoObj<BlockPicture> ZrVideoBlock::FreePicture_I() {
    for (CAutoObj<BlockPicture>& p : arrPictures) {
        if (!p) p = BlockPicture::Make();
        if (!p || IsFree(p)) return p;
    }
    arrPictures[0] = BlockPicture::Make();
    return arrPictures[0];
}

HRESULT ZrVideoBlock::Make_I(IZrFFrame& _frame, const ZRF_FRAME_INFO& _info, const PICTURE_PLAN& _plan, eMake _eMake,
                             CAutoObj<BlockPicture>* _ppMade) {
    *_ppMade = FreePicture_I();
    return *_ppMade ? MakeBlockPicture(_frame, _info, _plan, masks, _eMake, maker, **_ppMade) : E_OUTOFMEMORY;
}

// _pNew gets the one before.
void ZrVideoBlock::Show_I(CAutoObj<BlockPicture>& _pNew, const ZRF_FRAME_INFO& _info, const PICTURE_PLAN& _plan) {
    std::swap(pPicture, _pNew);
    plan = _plan;
    llPictureID = _info.llVideoID;
    nRepeats = 0;
    ++nPictures;
}

// The source gets back what nobody shows any more.
void ZrVideoBlock::GiveFramesBack_I() {
    for (const CAutoObj<BlockPicture>& p : arrPictures) {
        if (!p || !IsFree(p)) continue;
        p->pFrame.Reset();
        if (p->pRows) p->pRows->pSource.Reset();
    }
}

// What it shows stays: it may cost something once to be laid in less time. Where that fails, it is laid as it is.
void ZrVideoBlock::TakeApart_I() {
    CAutoObj<BlockPicture> pWhole, pApart = FreePicture_I();
    ZR_VID_PROPS output;
    {
        MutexLock lock(mtx);
        pWhole = pPicture;
        output = plan.output;
    }
    if (!pWhole || !pApart || TakeApart(*pWhole, output, *pApart) != S_OK) return;
    MutexLock lock(mtx);
    if (pPicture == pWhole) std::swap(pPicture, pApart);
}

void ZrVideoBlock::SetLastTime(const ZR_TIME& _time) {
    MutexLock lock(mtx);
    lastTime = _time;
    bHasTime = true;
}

void ZrVideoBlock::ClearLastTime() {
    MutexLock lock(mtx);
    bHasTime = false;
}

bool ZrVideoBlock::LastTime(ZR_TIME* _pTime) const {
    MutexLock lock(mtx);
    if (bHasTime) *_pTime = lastTime;
    return bHasTime;
}

BLOCK_DROPPED ZrVideoBlock::DropPicture() {
    MutexLock lock(mtx);
    llPictureID = 0;
    ++nPictures;
    return {std::move(pPicture), std::move(pLatest)};
}

BLOCK_STATE ZrVideoBlock::State() const {
    MutexLock lock(mtx);
    const double dblShare = dblFullSum > 0 ? layout.dblAlpha * map.Sum() / dblFullSum : 0;
    return {map.IsVisible(), layout.bForceCaptions, layout.dblAudioGain, map.IsVisible() ? dblShare : 0};
}

// ---- The collect pass

void ZrVideoBlock::LayOut_I() {
    rect = PlaceElement(layout.place, &sourceProps, layout.output, layout.parent, layout.previous);
}

RECT_F ZrVideoBlock::Layout(const BLOCK_LAYOUT& _layout) {
    MutexLock lock(mtx);
    layout = _layout;
    layout.dblAlpha = std::isnan(_layout.dblAlpha) ? 0 : std::clamp(_layout.dblAlpha, 0.0, 1.0);
    LayOut_I();
    return rect;
}

uint32_t ZrVideoBlock::SetMasks(std::u16string_view _mask, std::u16string_view _screenMask) {
    const std::u16string_view arrNames[2] = {_mask, _screenMask};
    uint32_t nToRead = 0;
    for (uint32_t i = 0; i < 2; ++i) {
        const std::u16string_view svName = arrNames[i] == u"none" ? std::u16string_view() : arrNames[i];
        MutexLock lock(mtx);
        MASK_NAME& mask = arrMasks[i];
        if (mask.name != svName) {
            mask.name = svName;
            mask.rtNextLook = 0;
            const bool bStands = masks.SetShape(mask.name.c_str(), i == 1) == S_OK;
            mask.bLooked = bStands;
            if (bStands) {
                mask.bStands = !mask.name.empty();
                ++nMasks;
            }
            if (mask.name.empty()) continue;
        } else if (mask.rtNextLook == 0 || ClockNow() < mask.rtNextLook) {
            continue;
        }
        mask.rtNextLook = 0;
        if (std::exchange(mask.bReading, true)) continue;  // who reads finds the new name
        nToRead |= 1u << i;
    }
    return nToRead;
}

void ZrVideoBlock::ReadMask(bool _bScreen) {
    for (;;) {
        std::u16string name;
        {
            MutexLock lock(mtx);
            name = arrMasks[_bScreen].name;
        }
        const HRESULT hr = masks.SetMask(name.c_str(), _bScreen);
        MutexLock lock(mtx);
        MASK_NAME& mask = arrMasks[_bScreen];
        if (mask.name != name) continue;
        mask.bReading = false;
        mask.bLooked = true;
        if (hr == S_OK) ++nMasks;
        if (Succeeded(hr)) mask.bStands = !name.empty();
        mask.rtNextLook = Failed(hr) ? ClockNow() + kNextLook : 0;
        return;
    }
}

// ---- What is seen

void ZrVideoBlock::UpdateCoverage(GLRectAuto& _cover, bool _bFirst, bool _bCutOverlapped) {
    MutexLock lock(mtx);
    const bool bMasks = HasMask_I() || WaitsForMask_I();
    const RECT_F& crop = layout.crop;  // where it reaches out of the source nothing is laid
    const bool bWhole = crop.left >= 0 && crop.top >= 0 && crop.right <= 1 && crop.bottom <= 1;
    const bool bOpaque = !bMasks && bWhole && PropsValid(&sourceProps, true) && sourceProps.fccType != eZrFCC_ARGB32;
    const double dblFactor = !bOpaque ? kSeenThrough : _bCutOverlapped ? kOpaque : kOpaqueUncut;
    map.Fill(rect, layout.output.nWidth, layout.output.nHeight, layout.dblAlpha * dblFactor);
    dblFullSum = map.Sum();
    if (_bFirst)
        map.PutOnTop(_cover);
    else
        map.PutUnder(_cover);
}

void UpdateBlocks(const ZR_VID_PROPS& _output, const std::vector<BlockPtr>& _arrBlocks, bool _bCutOverlapped) {
    if (!PropsValid(&_output, true)) return;
    GLRectAuto cover;
    for (size_t i = _arrBlocks.size(); i-- > 0;)
        _arrBlocks[i]->UpdateCoverage(cover, i + 1 == _arrBlocks.size(), _bCutOverlapped);
}

// ---- The draw pass

ZrVideoBlock::eSource ZrVideoBlock::Source() const {
    MutexLock lock(mtx);
    if (!PropsValid(&sourceProps, true)) return eSource::None;
    PICTURE_PLAN planNow;
    const bool bMade = map.IsVisible() && !pLatest && pPicture && llPictureID != 0;
    return bMade && NeedsPicture_I(llPictureID, &planNow) ? eSource::Stale : eSource::Good;
}

BLOCK_DRAW ZrVideoBlock::ToDraw() {
    BLOCK_DRAW draw;
    {
        MutexLock lock(mtx);
        draw.rect = rect;
        if (!map.IsVisible()) return draw;
        draw.pPicture = pPicture;
        draw.pFrame = pLatest;
        draw.nPictures = nPictures;
    }
    if (!draw.pFrame) return draw;
    BLOCK_DRAW::MAKING& making = draw.making.emplace();
    bool bMake = Succeeded(draw.pFrame->ZrFAllGet(&making.info));
    ZrPtr<IZrFFrame> pOldLatest;  // goes outside of the lock
    {
        MutexLock lock(mtx);
        bMake = bMake && nPictures == draw.nPictures && NeedsPicture_I(making.info.llVideoID, &making.plan);
        draw.pPicture = pPicture;
        if (bMake) {
            const int64_t llID = making.info.llVideoID;
            draw.bNew = llID == 0 || llID != llDrawnID || !planDrawn.SamePicture(making.plan);
            llDrawnID = llID;
            planDrawn = making.plan;
        } else if (pLatest == draw.pFrame) {
            pOldLatest = std::move(pLatest);
        }
    }
    if (bMake) return draw;
    draw.pFrame.Reset();
    draw.making.reset();
    return draw;
}

// A producer may put the next frame meanwhile, by the next layout: that one stays, this one is for one frame only. A
// frame that is scaled as it is laid stays, too, for it may come again.
bool ZrVideoBlock::MakePicture(BLOCK_DRAW& _draw, bool _bAtOnce) {
    if (!_draw.pFrame) return true;
    MutexLock lockMake(mtxMake);
    {
        MutexLock lock(mtx);
        if (WaitsForMask_I()) {
            if (!pLatest) pLatest = _draw.pFrame;
            _draw.pFrame.Reset();
            return true;
        }
        _draw.making->plan.nMasks = nMasks;  // what has come since then
        _draw.making->plan.bHasMask = HasMask_I();
    }
    CAutoObj<BlockPicture> pNew;
    const eMake eHow = !_bAtOnce ? eMake::Whole : _draw.bNew ? eMake::Rows : eMake::Reference;
    const HRESULT hr = Make_I(*_draw.pFrame, _draw.making->info, _draw.making->plan, eHow, &pNew);
    if (hr == ZR_E_RETRY) return false;
    const ZrPtr<IZrFFrame> pFrame = std::move(_draw.pFrame);
    ZrPtr<IZrFFrame> pOldLatest;
    const bool bRows = Succeeded(hr) && pNew->HasRows();
    if (Succeeded(hr)) _draw.pPicture = pNew;
    {
        MutexLock lock(mtx);
        if (Succeeded(hr) && nPictures == _draw.nPictures) {
            if (bRows)
                pNew = std::move(pPicture);  // of an older frame
            else
                Show_I(pNew, _draw.making->info, _draw.making->plan);
        }
        if (!bRows && pLatest == pFrame) pOldLatest = std::move(pLatest);
    }
    pNew.Reset();
    GiveFramesBack_I();
    return true;
}

// ---- The set

void BlockSet::Exchange(std::vector<BlockPtr>& _arrBlocks) {
    MutexLock lock(mtx);
    std::swap(arrAll, _arrBlocks);
}

void BlockSet::Of(const void* _pStream, std::vector<BlockPtr>& _arrBlocks) const {
    _arrBlocks.clear();
    MutexLock lock(mtx);
    for (const BlockPtr& p : arrAll)
        if (p->Shows(_pStream)) _arrBlocks.push_back(p);
}

bool BlockSet::IsWanted(const void* _pStream) const {
    MutexLock lock(mtx);
    return std::any_of(arrAll.begin(), arrAll.end(), [&](const BlockPtr& _p) {
        if (!_p->Shows(_pStream)) return false;
        const BLOCK_STATE state = _p->State();
        return state.bVisible || state.dblAudioGain >= 0;
    });
}

void BlockSet::Clear(const void* _pStream, bool _bDrop) const {
    std::vector<BLOCK_DROPPED> arrGone;  // goes outside of the lock
    MutexLock lock(mtx);
    for (const BlockPtr& p : arrAll) {
        if (!p->Shows(_pStream)) continue;
        p->ClearLastTime();
        if (!_bDrop) continue;
        if (BLOCK_DROPPED gone = p->DropPicture(); gone.pPicture || gone.pLatest) arrGone.push_back(std::move(gone));
    }
}

}  // namespace zr
