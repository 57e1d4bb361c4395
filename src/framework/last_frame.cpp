#include "framework/last_frame.h"

#include <algorithm>
#include <string>

#include "attributes/attribute_line.h"
#include "attributes/co_xml_node.h"
#include "attributes/interface_call.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "zr/enums.h"

namespace zr {
namespace {

// The code of a pixel format by its name or number; an empty text is eZrFCC_ARGB32, "0" is none.
eZrFCC WantedPixelFormat(std::u16string_view _text) {
    if (_text.empty()) return eZrFCC_ARGB32;
    if (std::all_of(_text.begin(), _text.end(), [](char16_t _c) { return _c >= u'0' && _c <= u'9'; })) {
        uint64_t nCode = 0;
        for (char16_t c : _text) nCode = std::min<uint64_t>(nCode * 10 + (c - u'0'), UINT32_MAX);
        return static_cast<eZrFCC>(nCode);
    }
    return ParsePixelFormat(_text);
}

}  // namespace

void LastFrame::Keep(IZrFFrame* _pFrame) {
    ZrPtr<IZrFFrame> pNew(_pFrame);
    {
        MutexLock lock(mtx);
        std::swap(pFrame, pNew);
    }
    if (!evKept.IsSet()) evKept.Set();
}

void LastFrame::Clear() {
    ZrPtr<IZrFFrame> pOld;
    MutexLock lock(mtx);
    std::swap(pFrame, pOld);
    evKept.Reset();
    lock.Unlock();
}

ZrPtr<IZrFFrame> LastFrame::Kept() {
    MutexLock lock(mtx);
    return pFrame;
}

HRESULT LastFrame::Get(IZrFrame** _ppFrame, const char16_t* _szParam) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    return InterfaceCall([&] {
        const XMLNodePtr pParam = CoXMLNode::Create(u"props");
        SetAttributeLine(*pParam, TextArgument(_szParam), eZrUT_ClearDest);
        const int32_t nMaxWaitMs = pParam->AttributeOr(u"max_wait", 1000);
        const int32_t nField = pParam->AttributeOr(u"field", 0);
        const eZrFCC fcc = WantedPixelFormat(pParam->AttributeOr(u"pixel_format", u""));

        ZrPtr<IZrFFrame> pKept = Kept();
        if (!pKept && nMaxWaitMs > 0) {
            WaitOne(evKept, nMaxWaitMs * kTicksPerMs);
            pKept = Kept();
        }
        if (!pKept) return ZR_E_TIMEOUT;
        ZR_AV_PROPS props;
        if (const HRESULT hr = pKept->ZrFAVPropsGet(&props, nullptr); Failed(hr)) return hr;
        ZrPtr<IZrFFrame> pResult;
        HRESULT hr = S_OK;
        if (nField > 0 && InterlaceClass(&props.vidProps) != 0) {
            ZrPtr<IZrFFrame> pCut;
            hr = pKept->ZrFCut(nField, nullptr, pCut.Out());
            if (Succeeded(hr)) hr = pCut->ZrFClone(pResult.Out(), eZrFC_Reference, fcc);
        } else {
            hr = pKept->ZrFClone(pResult.Out(), eZrFC_Reference, fcc);
        }
        if (Failed(hr)) return hr;
        const ZrPtr<IZrFrame> pFace = pResult.As<IZrFrame>();
        return pFace ? pFace.CopyTo(_ppFrame) : E_NOINTERFACE;
    });
}

}  // namespace zr
