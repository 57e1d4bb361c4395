#include "mixer/request_step_runner.h"

#include <string>

#include "attributes/interface_call.h"
#include "media/vid_props.h"
#include "mixer/elapsed.h"
#include "mixer/source_frame.h"

namespace zr {
namespace {

// The data that a source leaves when it has converted a frame: the frame's own time.
constexpr const char16_t* kOriginalTime = u"ORGT";

// A frame that plug-ins have given may be in other hands too: a clone gets the time.
void TakeOriginalTime(const CCoZrItem& _item, FramePtr& _pFrame) {
    int32_t cbData = 0;
    int64_t pbData = 0;
    if (Failed(_pFrame->ZrFDataGet(kOriginalTime, &cbData, &pbData)) || cbData != sizeof(ZR_TIME)) return;
    BSTR bs = nullptr;
    if (_item.SourceProps()) _item.SourceProps()->PropsGet(u"object::internal.convert_frame", &bs);
    const std::u16string_view text = TextArgument(bs);
    FramePtr pOwn;
    if ((text == u"1" || text == u"true") &&
        Succeeded(_pFrame->ZrFClone(pOwn.Out(), eZrFC_Reference, eZrFCC_Default))) {
        pOwn->ZrFTimeSet(reinterpret_cast<const ZR_TIME*>(pbData));
        _pFrame = std::move(pOwn);
    }
    SysFreeString(bs);
}

}  // namespace

RequestStepRunner::RequestStepRunner(const XMLNodePtr& _pObject, IStatisticsSink& _statistics)
    : pObject(_pObject),
      statistics(_statistics),
      nPutBackground(_statistics.Resolve(u"put_frame.bg")),
      nPluginsBackground(_statistics.Resolve((std::u16string(u"plugins.") + kBackgroundName).c_str())) {}

HRESULT RequestStepRunner::Run(RequestStep& _step) const {
    if (!_step.pSourceFrame) return E_UNEXPECTED;
    return InterfaceCall([&] { return Put(_step); });
}

void RequestStepRunner::RunPlugins(RequestStep& _step) const {
    PluginList& plugins = _step.input.pItem->Plugins_I();
    if (plugins.IsIdle()) return;
    Elapsed elapsed;
    _step.pSourceFrame = plugins.Pass(std::move(_step.pSourceFrame));
    if (ZrMixerStream* const pStream = _step.input.pStream.Get()) {
        pStream->NotePlugins(elapsed.Ms());
    } else {
        statistics.SetValue(nPluginsBackground, elapsed.Ms());
    }
}

HRESULT RequestStepRunner::Put(RequestStep& _step) const {
    Elapsed elapsed;
    RunPlugins(_step);
    TakeOriginalTime(*_step.input.pItem, _step.pSourceFrame);
    _step.pSourceFrame = WithinReach(std::move(_step.pSourceFrame));
    if (!_step.pSourceFrame) return E_OUTOFMEMORY;
    if (ZrMixerStream* const pStream = _step.input.pStream.Get()) {
        const HRESULT hr = pStream->PutMedia(_step.pSourceFrame.Get(), _step.put);
        pStream->NotePut(elapsed.Ms(), _step.put.bSkipped);
        return hr;
    }
    _step.pResult = std::move(_step.pSourceFrame);
    const HRESULT hr = _step.bAsItIs ? S_OK : FitToOutput(_step);
    statistics.SetValue(nPutBackground, elapsed.Ms());
    return hr;
}

// A background of another size or pixel format becomes one of the output's, unless the item's key says to leave it.
HRESULT RequestStepRunner::FitToOutput(RequestStep& _step) const {
    const ZR_VID_PROPS& wanted = _step.put.output.vidProps;
    ZR_AV_PROPS props;
    if (const HRESULT hr = _step.pResult->ZrFAVPropsGet(&props, nullptr); Failed(hr)) return hr;
    if (!PropsValid(&wanted, true) || !PropsValid(&props.vidProps, true) || SameProps(&props.vidProps, &wanted, 2) ||
        !_step.input.pItem->Node()->AttributeOr(u"_mix_bg_convert_", true)) {
        return S_OK;
    }
    ZR_VID_PROPS target = wanted;
    target.dblRate = props.vidProps.dblRate;  // a frame stays one frame
    ZR_AV_PROPS propsTarget = props;
    propsTarget.vidProps = target;
    FramePtr pConverted;
    int32_t nRest = 0;
    const HRESULT hr = _step.pResult->ZrFConvert(&propsTarget, pConverted.Out(), &nRest, nullptr, kBackgroundName);
    if (Failed(hr)) return hr;
    if (pConverted) {
        _step.pResult = std::move(pConverted);
        _step.bMustCopy = false;
    }
    return S_OK;
}

}  // namespace zr
