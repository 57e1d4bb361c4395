#include "frame_module/frame.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "frame_module/address_check.h"
#include "media/aud_props.h"
#include "platform/lock.h"
#include "platform/module_info.h"
#include "zr/memory.h"

namespace zr {

namespace {

// Frames that wait for their next life. What they have grown to (the lists of attachments) stays with them.
class FramePool {
public:
    // Never destroyed, as frames may outlive everything.
    static FramePool& Shared() {
        static FramePool& pool = *new FramePool;
        return pool;
    }

    CZrFrame* Take() {
        MutexLock lock(mtx);
        if (arrFree.empty()) return nullptr;
        CZrFrame* p = arrFree.back();
        arrFree.pop_back();
        MarkTouchable(p, kHeadBytes);
        return p;
    }
    // False: there is no room for it.
    bool Put(CZrFrame* _p) {
        MutexLock lock(mtx);
        try {
            arrFree.push_back(_p);
        } catch (const std::bad_alloc&) {
            return false;
        }
        MarkUntouchable(_p, kHeadBytes);
        return true;
    }

private:
    // The tables of the faces: no operation gets past them. The rest stays in sight of the leak check.
    static constexpr size_t kHeadBytes = 2 * sizeof(void*);
    static_assert(sizeof(UnknownImpl<IZrFFrame, IZrFrame_I>) > kHeadBytes);

    Mutex mtx;
    std::vector<CZrFrame*> arrFree ZR_GUARDED_BY(mtx);
};

// Guards the pictures of frames with borrowed memory: where one lies changes when somebody asks for an address, while
// others may be sharing the frame. A leaf but for the pool of memory.
Mutex mtxBorrowed;

class BorrowedLock {
public:
    explicit BorrowedLock(const Picture& _picture) ZR_NO_THREAD_SAFETY_ANALYSIS : bHeld(_picture.bBorrowed) {
        if (bHeld) mtxBorrowed.Lock();
    }
    ~BorrowedLock() ZR_NO_THREAD_SAFETY_ANALYSIS {
        if (bHeld) mtxBorrowed.Unlock();
    }
    BorrowedLock(const BorrowedLock&) = delete;
    BorrowedLock& operator=(const BorrowedLock&) = delete;

private:
    const bool bHeld;
};

uint32_t ThisProcess() {
    static const uint32_t nProcess = ProcessId();
    return nProcess;
}

}  // namespace

ZrPtr<CZrFrame> CZrFrame::MakeUnset() {
    CZrFrame* p = FramePool::Shared().Take();
    if (!p) return ZrPtr<CZrFrame>::Attach(new (std::nothrow) CZrFrame);
    p->nReferences.store(1, std::memory_order_relaxed);
    return ZrPtr<CZrFrame>::Attach(p);
}

ZrPtr<CZrFrame> CZrFrame::Make() {
    ZrPtr<CZrFrame> p = MakeUnset();
    if (p) {
        p->content.avProps = {};
        p->content.time = {};
    }
    return p;
}

void CZrFrame::OnLastRelease() {
    // Objects are let go here, in front of the pool, as what they do then is their own business.
    content.DropParts();
    if (!FramePool::Shared().Put(this)) delete this;
}

HRESULT CZrFrame::QueryInterface(const GUID& _iid, void** _ppv) {
    if (_iid != IZrFrame::kIid) return UnknownImpl::QueryInterface(_iid, _ppv);
    if (!_ppv) return E_POINTER;
    *_ppv = static_cast<IZrFrame*>(this);
    AddRef();
    return S_OK;
}

HRESULT CZrFrame::ZrFGetProcessID(uint32_t* _pdwProcessID) {
    if (!_pdwProcessID) return E_POINTER;
    *_pdwProcessID = ThisProcess();
    return S_OK;
}

HRESULT CZrFrame::ZrFAVPropsGet(ZR_AV_PROPS* _pProps, int32_t* _plAudioSamples) {
    if (!_pProps) return E_POINTER;
    *_pProps = content.avProps;
    if (_plAudioSamples) *_plAudioSamples = content.audio.Samples();
    return S_OK;
}

HRESULT CZrFrame::ZrFAVPropsSet(const ZR_AV_PROPS* _pProps, const char16_t* _bsChannelsRemap) {
    ChannelList remap;
    if (_bsChannelsRemap) remap = ParseChannelList(_bsChannelsRemap);
    const bool bRemap = !remap.empty();
    if (!_pProps && !bRemap) return E_POINTER;

    // All is worked out before anything is changed.
    ZR_AV_PROPS props = _pProps ? *_pProps : content.avProps;
    ZR_AUD_PROPS newAudio = props.audProps;
    // The indexes count the channels there are, or those that the frame is about to get its first format with.
    const int32_t nOldChannels = content.avProps.audProps.nChannels;
    const int32_t nChannels = nOldChannels > 0 ? nOldChannels : newAudio.nChannels;
    for (const int32_t nChannel : remap)
        if (nChannel >= nChannels && nChannels > 0) return ZR_E_BAD_INDEX;
    // The caller may state the count of channels before or after.
    if (bRemap && newAudio.nChannels == static_cast<int32_t>(remap.size())) newAudio.nChannels = nChannels;
    props.vidProps = content.avProps.vidProps;
    props.audProps = content.avProps.audProps;
    Picture picture = SharedPicture();
    HRESULT hr = _pProps ? PictureDescribe(_pProps->vidProps, &props.vidProps, &picture) : S_OK;
    if (Failed(hr)) return hr;
    hr = content.audio.Describe(newAudio, remap, &props.audProps);
    if (Failed(hr)) return hr;
    content.picture = std::move(picture);
    content.avProps = props;
    return S_OK;
}

HRESULT CZrFrame::ZrFTimeGet(ZR_TIME* _pTime) {
    if (!_pTime) return E_POINTER;
    *_pTime = content.time;
    return S_OK;
}

HRESULT CZrFrame::ZrFTimeSet(const ZR_TIME* _pTime) {
    if (!_pTime) return E_POINTER;
    content.time = *_pTime;
    return S_OK;
}

HRESULT CZrFrame::ZrFFlagCheck(eZrFrameFlags _eFlagCheck, int32_t* _pnRes) {
    if (!_pnRes) return E_POINTER;
    *_pnRes = static_cast<int32_t>(content.time.eFFlags & _eFlagCheck);
    return S_OK;
}

HRESULT CZrFrame::ZrFAllGet(ZRF_FRAME_INFO* _pFrameInfo) {
    if (!_pFrameInfo) return E_POINTER;
    ZRF_FRAME_INFO& info = *_pFrameInfo;
    info.llVideoID = content.picture.llVideoID;
    info.mTime = content.time;
    info.avProps = content.avProps;
    info.cbAudio = content.audio.Size();
    info.cbVideo = content.picture.cbBits;
    info.lpVideo = reinterpret_cast<int64_t>(content.picture.pBits);
    info.lpAudio = reinterpret_cast<int64_t>(content.audio.Data());
    info.lAudioSamples = content.audio.Samples();
    info.dwProcessID = ThisProcess();
    info.nDataCount = static_cast<int32_t>(content.data.Count()) + (content.picture.bHasPlanes ? 1 : 0);
    info.nObjCount = static_cast<int32_t>(content.objects.Count());
    info.nStrCount = static_cast<int32_t>(content.texts.Count());
    return S_OK;
}

HRESULT CZrFrame::ZrFVideoGetBytes(int32_t* _pcbSize, int64_t* _ppbVideo) {
    if (!_pcbSize || !_ppbVideo) return E_POINTER;
    *_pcbSize = 0;
    *_ppbVideo = 0;
    const HRESULT hr = OwnPicture();
    if (Failed(hr)) return hr;
    *_pcbSize = static_cast<int32_t>(content.picture.cbBits);
    *_ppbVideo = reinterpret_cast<int64_t>(content.picture.pBits);
    return S_OK;
}

HRESULT CZrFrame::ZrFVideoGetBytesEx(ZRF_VID_PTR* _pVideoPtr) {
    if (!_pVideoPtr) return E_POINTER;
    *_pVideoPtr = {};
    const HRESULT hr = OwnPicture();
    if (Succeeded(hr)) *_pVideoPtr = PicturePlanes(content.avProps.vidProps, content.picture);
    return hr;
}

Picture CZrFrame::SharedPicture() const {
    const BorrowedLock lock(content.picture);
    return content.picture;
}

HRESULT CZrFrame::OwnPicture() {
    const BorrowedLock lock(content.picture);
    return PictureMakeOwn(content.avProps.vidProps, &content.picture);
}

HRESULT CZrFrame::Cut_I(int32_t _nField, const tagRECT* _pRect, ZrPtr<CZrFrame>* _ppCut) const {
    ZrPtr<CZrFrame> pCut = MakeUnset();
    if (!pCut) return E_OUTOFMEMORY;
    FrameContent& cut = pCut->content;
    cut.avProps = content.avProps;
    cut.time = content.time;
    const BorrowedLock lock(content.picture);
    const HRESULT hr =
        PictureCut(content.avProps.vidProps, content.picture, _nField, _pRect, &cut.avProps.vidProps, &cut.picture);
    if (Succeeded(hr)) *_ppCut = std::move(pCut);
    return hr;
}

HRESULT CZrFrame::Clone_I(eZrFrameClone _eCloneType, eZrFCC _fccPixelFormat, ZrPtr<CZrFrame>* _ppClone) const {
    ZrPtr<CZrFrame> pClone = MakeUnset();
    if (!pClone) return E_OUTOFMEMORY;
    const BorrowedLock lock(content.picture);
    const HRESULT hr = content.CloneTo(_eCloneType, _fccPixelFormat, &pClone->content);
    if (Succeeded(hr)) *_ppClone = std::move(pClone);
    return hr;
}

HRESULT CZrFrame::ZrFCut(int32_t _nField, const tagRECT* _pRect, IZrFFrame** _ppFrameRes) {
    if (!_ppFrameRes) return E_POINTER;
    ZrPtr<CZrFrame> pCut;
    const HRESULT hr = Cut_I(_nField, _pRect, &pCut);
    HandOut(std::move(pCut), _ppFrameRes);
    return hr;
}

HRESULT CZrFrame::ZrFClone(IZrFFrame** _ppCloneFrame, eZrFrameClone _eCloneType, eZrFCC _fccPixelFormat) {
    if (!_ppCloneFrame) return E_POINTER;
    ZrPtr<CZrFrame> pClone;
    const HRESULT hr = Clone_I(_eCloneType, _fccPixelFormat, &pClone);
    HandOut(std::move(pClone), _ppCloneFrame);
    return hr;
}

HRESULT MakeFrameLocal(IUnknown* _pFrame, bool _bAlwaysClone, ZrPtr<IZrFFrame>* _ppLocal) {
    if (!_pFrame) return E_POINTER;
    const ZrPtr<IZrFFrame> pFrame = QueryAs<IZrFFrame>(_pFrame);
    if (!pFrame) return E_NOINTERFACE;
    uint32_t nProcess = 0;
    HRESULT hr = pFrame->ZrFGetProcessID(&nProcess);
    if (Failed(hr)) return hr;
    if (nProcess == ThisProcess()) {
        if (_bAlwaysClone) return pFrame->ZrFClone(_ppLocal->Out(), eZrFC_Reference, eZrFCC_Default);
        *_ppLocal = pFrame;
        return S_OK;
    }
    const ZrPtr<CZrFrame> pLocal = CZrFrame::Make();
    if (!pLocal) return E_OUTOFMEMORY;
    uint32_t cb = 0;
    uint8_t* p = nullptr;
    hr = pFrame->ZrFSave(&cb, &p, eZrFC_Full);
    if (Failed(hr)) return hr;
    hr = pLocal->ZrFLoad(cb, p, eZrFC_Full);
    CoTaskMemFree(p);
    if (Succeeded(hr)) *_ppLocal = pLocal;
    return hr;
}

}  // namespace zr
