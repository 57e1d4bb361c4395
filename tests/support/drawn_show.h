#pragma once
// Streams and a scene that are drawn without a mixer around them: a frame is put into each stream, then a step draws.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "attributes/co_xml_node.h"
#include "frame_module/frame_factory.h"
#include "framework/statistics_sink.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "mixer/draw_step.h"

namespace zr {

inline ZR_VID_PROPS PictureProps(eZrFCC _fcc, int32_t _nWidth, int32_t _nHeight,
                                 eZrInterlace _eInterlace = eZrI_Progressive) {
    ZR_VID_PROPS props{.fccType = _fcc,
                       .nWidth = _nWidth,
                       .nHeight = PixelFormatBottomUp(_fcc) ? -_nHeight : _nHeight,
                       .nRowBytes = MinRowBytes(_fcc, _nWidth),
                       .eInterlace = _eInterlace,
                       .dblRate = 25};
    return props;
}

// A new frame of one colour, "AARRGGBB" or a name, as ReadColour takes it; black for null.
inline ZrPtr<IZrFFrame> ColourFrame(const ZR_VID_PROPS& _props, const char16_t* _szColour = nullptr) {
    ZrPtr<IZrFFrame> pFrame;
    ZR_AV_PROPS props{_props, {}, {}};
    const std::u16string line = _szColour ? std::u16string(u"color='") + _szColour + u"'" : std::u16string();
    CZrFrameFactory::Shared().ZrFFrameCreateFromMem(&props, 0, 0, 0, pFrame.Out(), line.c_str());
    return pFrame;
}

class NoStatistics final : public IStatisticsSink {
public:
    Handle Resolve(const char16_t*) override { return kNone; }
    void SetCount(Handle, int64_t) override {}
    void SetValue(Handle, double) override {}
    void AddCount(Handle, int64_t) override {}
};

class DrawnShow {
public:
    explicit DrawnShow(const ZR_VID_PROPS& _output)
        : output(_output),
          pScene(CoElement::CreateTop(u"zr_scene")),
          pObject(CoXMLNode::Create(u"object")),
          step(pObject, pObject, blocks) {}
    ~DrawnShow() { step.Reset(); }

    // The scene's foreground by its XML body: <video id=.../>...
    void Scene(std::u16string_view _body) {
        const std::u16string xml =
            u"<zr_scene><foreground id='foreground'>" + std::u16string(_body) + u"</foreground></zr_scene>";
        pScene->Parse(xml);
    }
    ElementPtr Element(std::u16string_view _path) { return pScene->Find(u"foreground::" + std::u16string(_path)); }
    ZrMixerStream& AddStream(std::u16string_view _id) {
        arrStreams.push_back(ZrPtr<ZrMixerStream>::Attach(new ZrMixerStream(_id, statistics, blocks)));
        arrStreams.back()->Connect();
        arrFrames.emplace_back();
        return *arrStreams.back();
    }
    // What a stream shows from now on.
    void Show(size_t _nStream, ZrPtr<IZrFFrame> _pFrame) { arrFrames[_nStream] = std::move(_pFrame); }
    // A frame of each stream, then both passes. Null: nothing was drawn, the base is the picture.
    ZrPtr<IZrFFrame> Draw(IZrFFrame* _pBase = nullptr) {
        STREAM_PUT put;
        put.output.vidProps = output;
        put.bMakeLater = bAsCycles;
        put.nScalingQuality = pObject->AttributeOr(u"scaling_quality.blocks", 2);
        arrList.clear();
        for (size_t i = 0; i < arrStreams.size(); ++i) {
            if (arrFrames[i]) arrStreams[i]->PutMedia(arrFrames[i].Get(), put);
            arrList.push_back({arrStreams[i].Get(), arrStreams[i]->Id(), static_cast<int32_t>(i)});
        }
        bReady = step.WalkScene(output, arrList, {dblNow, dblNow + dblStep}, pScene.Get(), nChanges);
        dblNow += dblStep;
        ManualEvent evNever;
        step.WaitMasks(evNever, rtMostForMasks);
        step.MakePictures();
        ZrPtr<IZrFFrame> pFrame;
        hrComposed = step.Compose(_pBase, &pFrame);
        for (const auto& pStream : arrStreams) pStream->MarkConsumed(ZrMixerStream::kKeepWaitState, 0, nullptr);
        return pFrame;
    }
    // The second frame is the first that shows what has been set.
    ZrPtr<IZrFFrame> DrawTwice(IZrFFrame* _pBase = nullptr) {
        Draw(_pBase);
        return Draw(_pBase);
    }

    ZR_VID_PROPS output;
    NoStatistics statistics;
    ElementPtr pScene;
    XMLNodePtr pObject;
    BlockSet blocks;
    DrawStep step;
    std::vector<ZrPtr<ZrMixerStream>> arrStreams;
    std::vector<ZrPtr<IZrFFrame>> arrFrames;
    std::vector<DRAW_STREAM> arrList;
    double dblNow = 0, dblStep = 0.04;
    uint64_t nChanges = 1;        // more of them: what was set shows in the next frame
    int64_t rtMostForMasks = -1;  // of a frame, ticks
    bool bReady = false;
    bool bAsCycles = true;  // of synchronous mixing; else of a producer that does not know of the scene
    HRESULT hrComposed = S_OK;
};

}  // namespace zr
