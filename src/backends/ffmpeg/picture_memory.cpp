#include "backends/ffmpeg/picture_memory.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <new>

#include "framework/frame_factory_access.h"
#include "media/pixel_format.h"
#include "platform/unknown.h"

namespace zr {

namespace {

// In AVFrame::opaque, where a decoder keeps it: the picture lies in one block of the frame factory.
char tagOfBlock;

// What the decoder's vectors may touch behind a plane.
constexpr int kPlaneSlack = 128;

// A reference to a decoder's buffer, for whoever holds the frame over it. As long as it is held the decoder does not
// write there.
class LentBuffer final : public UnknownImpl<IUnknown> {
public:
    explicit LentBuffer(AVBufferRef* _pBuffer) : pBuffer(_pBuffer) {}
    ~LentBuffer() override { av_buffer_unref(&pBuffer); }

private:
    AVBufferRef* pBuffer;
};

void ReleaseBlock(void* _pFrame, uint8_t* /*_pData*/) { static_cast<IZrFrame*>(_pFrame)->Release(); }

// Row bytes and sizes of planes as the decoder's vectors want them. Below 0: the libraries' code of an error.
int LayOut(AVCodecContext& _codec, const AVFrame& _frame, int (&_arrStrides)[4], size_t (&_arrSizes)[4]) {
    int nWidth = _frame.width, nHeight = _frame.height, arrAlign[AV_NUM_DATA_POINTERS] = {};
    const auto eFormat = static_cast<AVPixelFormat>(_frame.format);
    avcodec_align_dimensions2(&_codec, &nWidth, &nHeight, arrAlign);
    for (bool bAligned = false; !bAligned; nWidth += nWidth & ~(nWidth - 1)) {
        const int nResult = av_image_fill_linesizes(_arrStrides, eFormat, nWidth);
        if (nResult < 0) return nResult;
        bAligned = true;
        for (int i = 0; i < 4; ++i) bAligned &= _arrStrides[i] % (arrAlign[i] > 0 ? arrAlign[i] : 1) == 0;
    }
    const ptrdiff_t arrWide[4] = {_arrStrides[0], _arrStrides[1], _arrStrides[2], _arrStrides[3]};
    return av_image_fill_plane_sizes(_arrSizes, eFormat, nHeight, arrWide);
}

// May be called by several of the decoder's threads.
int GetBlock(AVCodecContext* _pCodec, AVFrame* _pFrame, int _nFlags) {
    const bool bHandedOn = _pFrame->format == AV_PIX_FMT_YUV420P && (_pCodec->codec->capabilities & AV_CODEC_CAP_DR1);
    if (!bHandedOn) return avcodec_default_get_buffer2(_pCodec, _pFrame, _nFlags);
    int arrStrides[4] = {};
    size_t arrSizes[4] = {};
    const int nResult = LayOut(*_pCodec, *_pFrame, arrStrides, arrSizes);
    if (nResult < 0) return nResult;
    size_t arrOffsets[4] = {}, cb = 0;
    for (int i = 0; i < 4 && arrSizes[i] > 0; ++i) {
        arrOffsets[i] = cb;
        cb += (arrSizes[i] + kPlaneSlack + 63) & ~size_t{63};
    }
    ZrFrameFactory_I* pFactory = nullptr;
    ZrPtr<IZrFrame> pBlock;
    int32_t cbBlock = 0;
    int64_t lp = 0;
    if (cb > INT32_MAX || Failed(FrameFactory(&pFactory))) return AVERROR(ENOMEM);
    HRESULT hr = pFactory->FrameCreateSized(static_cast<uint32_t>(cb), 0, 0, pBlock.Out());
    if (Succeeded(hr)) hr = pBlock->FrameVideoGetBytes(&cbBlock, &lp);
    if (Failed(hr)) return AVERROR(ENOMEM);
    auto* const p = reinterpret_cast<uint8_t*>(lp);
    _pFrame->buf[0] = av_buffer_create(p, cb, ReleaseBlock, pBlock.Get(), 0);
    if (!_pFrame->buf[0]) return AVERROR(ENOMEM);
    pBlock.Get()->AddRef();
    for (int i = 0; i < 4; ++i) {
        _pFrame->data[i] = arrSizes[i] > 0 ? p + arrOffsets[i] : nullptr;
        _pFrame->linesize[i] = arrStrides[i];
    }
    _pFrame->extended_data = _pFrame->data;
    _pFrame->opaque = &tagOfBlock;
    return 0;
}

}  // namespace

void UseFrameMemory(AVCodecContext& _codec) {
    _codec.get_buffer2 = GetBlock;
#if LIBAVCODEC_VERSION_MAJOR < 60  // else every decoder takes it for granted
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    _codec.thread_safe_callbacks = 1;
#pragma GCC diagnostic pop
#endif
}

HRESULT FrameOverPicture(const AVFrame& _picture, const ZR_VID_PROPS& _props, ZrPtr<IZrFFrame>* _ppFrame) {
    const bool bInBlock = _picture.opaque == &tagOfBlock && _picture.buf[0] && !_picture.buf[1];
    if (!bInBlock || _picture.format != AV_PIX_FMT_YUV420P || _props.fccType != eZrFCC_I420) return S_FALSE;
    if (_picture.color_range == AVCOL_RANGE_JPEG) return S_FALSE;
    ZrFrameFactory_I* pFactory = nullptr;
    HRESULT hr = FrameFactory(&pFactory);
    if (Failed(hr)) return hr;
    AVBufferRef* pBuffer = av_buffer_ref(_picture.buf[0]);
    if (!pBuffer) return E_OUTOFMEMORY;
    auto* const pLent = new (std::nothrow) LentBuffer(pBuffer);
    if (!pLent) av_buffer_unref(&pBuffer);
    const auto pOwner = ZrPtr<IUnknown>::Attach(pLent);
    if (!pOwner) return E_OUTOFMEMORY;
    ZRF_VID_PTR planes;
    for (int i = 0; i < 3; ++i) {
        planes.lpVideoPlanes[i] = reinterpret_cast<int64_t>(_picture.data[i]);
        planes.cbVideoRowBytes[i] = _picture.linesize[i];
    }
    ZrPtr<IZrFrame> pFrame;
    hr = pFactory->FrameCreateBorrowed(&_props, &planes, pOwner.Get(), pFrame.Out());
    if (Succeeded(hr)) *_ppFrame = pFrame.As<IZrFFrame>();
    return hr == E_INVALIDARG ? S_FALSE : hr;
}

}  // namespace zr
