// Any text as a scene: loaded, changed over time in every way, walked for ten frames, saved and loaded again.

#include <cmath>
#include <cstdlib>
#include <string>

#include "attributes/persist_impl.h"
#include "scenes/element_change.h"
#include "scenes/element_select.h"
#include "scenes/scene_draw.h"
#include "scenes/scene_persist.h"

namespace zr {
namespace {

class NoEvents final : public IEventSink {
public:
    void RaiseEvent(const char16_t*, const char16_t*, const char16_t*, IUnknown*) override {}
    void RaiseFrame(const char16_t*, IZrFFrame*) override {}
};

// Places every element as if its stream were there.
class AnyVideo final : public ISceneVideo {
public:
    bool CollectVideo(const VIDEO_ELEMENT& _video, DrawContext& _context, RECT_F* _pRect) override {
        ZR_VID_PROPS source = _context.target_props;
        source.nHeight /= 2;
        *_pRect = PlaceElement(_video.place, &source, _context.target_props, _video.parent, _video.previous);
        return true;
    }
    void DrawVideo(const VIDEO_ELEMENT& _video, DrawContext&) override {
        if (std::isnan(_video.dblAlpha) || std::isnan(_video.crop.left)) std::abort();
    }
    void DropVideo(CoElement&) override {}
    void ChangeEnded(CoElement& _scene) override { RunViewStep(_scene); }
};

void Walk(SceneWalk& _walk, CoElement& _scene, double _dblNow) {
    DrawContext draw, collect;
    draw.bDraw = true;
    draw.target_props.eInterlace = eZrI_Progressive;
    draw.target_props.nWidth = 1920;
    draw.target_props.nHeight = 1080;
    draw.target_props.dblRate = 25;
    collect.target_props = draw.target_props;
    draw.now = _dblNow;
    collect.now = _dblNow + 0.04;
    _walk.Draw(draw, _scene, _scene);
    _walk.Draw(collect, _scene, _scene);
}

void ChangeAll(CoElement& _scene, unsigned _nMode) {
    for (size_t i = 0; const ElementPtr p = _scene.ChildAt(i); ++i) {
        if (p->IsText() || i >= 16) continue;
        switch ((_nMode + i) % 6) {
            case 0: p->ElementBoolSet(u"show", _nMode & 1, 0.1); break;
            case 1: p->ElementMultipleSet(u"x=0.5 w=-1 alpha=0.2 _change_accel_=2", 0.1); break;
            case 2: p->ElementInvoke(u"select", u"", 0.1); break;
            case 3: p->ElementSet(nullptr, u"<video x='1'><add x='1'/></video>", 0.1); break;
            case 4: p->ElementReorder(1); break;
            default: p->ElementDetach(0.1); break;
        }
    }
}

}  // namespace
}  // namespace zr

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    using namespace zr;
    if (_cb < 1) return 0;
    const std::u16string text(_pData + 1, _pData + _cb);
    static NoEvents events;
    ScenesSet set(events);
    const PERSIST_PARAM param(nullptr, {});
    const ElementPtr pTree = CoElement::CreateTop(u"top");
    if (Failed(pTree->Parse(text)) || Failed(LoadScenes(set, *pTree, param))) return 0;

    AnyVideo video;
    SceneWalk walk(video);
    const ElementPtr pScene = set.Active();
    for (int i = 0; i < 10; ++i) {
        Walk(walk, *pScene, i * 0.04);
        if (i % 3 == 0) ChangeAll(*pScene, _pData[0] + static_cast<unsigned>(i));
    }
    walk.RaiseEvents(events);
    double x, y, w, h;
    if (const ElementPtr p = pScene->ElementAt(0)) p->ElementAbsolutePosGet(&x, &y, &w, &h);

    const ElementPtr pSaved = CoElement::CreateTop(u"zr_scenes");
    if (Failed(SaveScenes(set, *pSaved, param))) std::abort();
    std::u16string strXml;
    pSaved->Write(strXml);
    const ElementPtr pAgain = CoElement::CreateTop(u"top");
    if (Succeeded(pAgain->Parse(strXml))) LoadScenes(set, *pAgain, param);
    return 0;
}
