// What a frame costs on its way out of an object: to readers, to channels, and with nobody there.

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "frame_module/frame_factory.h"
#include "framework/events.h"
#include "platform/unknown.h"
#include "transport/sender.h"
#include "transport/source_readers.h"

namespace zr {
namespace {

// HD with the sound of a 25th of a second.
ZrPtr<IZrFFrame> Frame() {
    ZR_AV_PROPS props;
    props.vidProps.fccType = eZrFCC_UYVY;
    props.vidProps.nWidth = 1920;
    props.vidProps.nHeight = 1080;
    props.vidProps.dblRate = 25;
    ZrPtr<IZrFFrame> pFrame;
    CZrFrameFactory::Shared().ZrFFrameCreateFromMem(&props, 0, 0, 0, pFrame.Out(), nullptr);
    const ZR_AUD_PROPS audProps{2, 48000, 16, 0};
    pFrame->ZrFAudioAlloc(&audProps, 1920);
    return pFrame;
}

struct Object final : UnknownImpl<IUnknown>, ISourceHost, ISenderHost {
    HRESULT OnSenderFormat(ZR_VID_PROPS*, ZR_AUD_PROPS*) override { return S_OK; }

    XMLNodePtr pObject = CoXMLNode::Create(u"object");
    SourceReaders readers{pObject, pObject, *this};
    Sender sender{pObject, *this, readers, *this};
};

struct Receiver final : UnknownImpl<IZrReceiver_I> {
    HRESULT MediaReceive(const char16_t*, IUnknown*, IZrFFrame*) override { return S_OK; }
    HRESULT MediaEnd(const char16_t*, IUnknown*, int32_t) override { return S_OK; }
    HRESULT MediaFlush(const char16_t*, IUnknown*, int32_t) override { return S_OK; }
};

// Readers that do not fetch: the put counts their misses and goes on.
void BM_Transport_Put(benchmark::State& _state) {
    Object object;
    object.pObject->SetAttribute(u"pull_mode.cycles_before_disconnect", 0);
    for (int64_t i = 0; i < _state.range(0); ++i) {
        uint64_t llID = 0;
        object.readers.SourceFrameGetEx_I(&llID, 0, nullptr, nullptr);
        object.readers.ReaderKeep(llID);
    }
    const auto pFrame = Frame();
    for (auto _ : _state) object.readers.PutFrame(pFrame.Get(), 0, -1);
}
BENCHMARK(BM_Transport_Put)->Arg(0)->Arg(1)->Arg(8);

void BM_Transport_PutAndGet(benchmark::State& _state) {
    Object object;
    uint64_t llID = 0;
    object.readers.SourceFrameGetEx_I(&llID, 0, nullptr, nullptr);
    const auto pFrame = Frame();
    for (auto _ : _state) {
        object.readers.PutFrame(pFrame.Get(), 0, -1);
        ZrPtr<IZrFFrame> pGot;
        object.readers.SourceFrameGetEx_I(&llID, -1, pGot.Out(), nullptr);
    }
}
BENCHMARK(BM_Transport_PutAndGet);

// One round through the threads of so many channels and back.
void BM_Transport_Send(benchmark::State& _state) {
    Object object;
    object.pObject->SetAttribute(u"rate_control", 0);
    for (int64_t i = 0; i < _state.range(0); ++i) {
        const char16_t szID[] = {static_cast<char16_t>(u'a' + i), 0};
        const auto pReceiver = ZrPtr<Receiver>::Attach(new Receiver);
        object.sender.SenderConnect(pReceiver.Get(), szID, nullptr, nullptr);
    }
    const auto pFrame = Frame();
    for (auto _ : _state) object.sender.Sender_SendMedia(pFrame.Get(), kSendAll, 0);
    object.sender.SenderSendEnd(1, true);
}
BENCHMARK(BM_Transport_Send)->Arg(0)->Arg(1)->Arg(4)->UseRealTime();

void BM_Transport_RaiseFrameUnheard(benchmark::State& _state) {
    const XMLNodePtr pNode = CoXMLNode::Create(u"object");
    ObjectEvents events(pNode);
    const auto pFrame = Frame();
    for (auto _ : _state) events.RaiseFrame(u"ZrMixer", pFrame.Get());
}
BENCHMARK(BM_Transport_RaiseFrameUnheard);

}  // namespace
}  // namespace zr
