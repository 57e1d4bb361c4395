// The transport as objects carry it: their faces, their end while frames are on their way, other processes.

#include "platform/process.h"
#include "transport/sender_impl.h"
#include "transport/source_impl.h"
#include "transport/transport_support.h"

namespace zr {
namespace {

// Sends by a thread of its own as long as it lives.
class CTestObject final
    : public UnknownImpl<IZrSenderImpl<CTestObject>, IZrSourceImpl<CTestObject>, IZrSource_IImpl<CTestObject>>,
      public ISourceHost,
      public ISenderHost {
public:
    explicit CTestObject(bool* _pbGone) : pbGone(_pbGone) {}
    ~CTestObject() override {
        evStop.Set();
        thread.RequestStop();
        thread.Join();
        *pbGone = true;
    }
    void Run() {
        thread.Start("object", [this](ManualEvent& _evStop) {
            for (int64_t i = 0; !_evStop.IsSet(); ++i) {
                sender.Sender_SendMedia(FrameAt(i).Get(), kSendAll, 0);
            }
        });
    }
    SourceReaders& Readers_I() { return readers; }
    Sender& Sender_I() { return sender; }
    bool SenderStandsBefore(IUnknown* _pObject) { return _pObject == pBehind; }
    HRESULT OnSenderFormat(ZR_VID_PROPS* _pVidProps, ZR_AUD_PROPS*) override {
        *_pVidProps = VidProps(eZrFCC_UYVY, 16, 8);
        return S_OK;
    }
    Waitable* SenderStopEvent() override { return &evStop; }

    IUnknown* pBehind = nullptr;

private:
    bool* const pbGone;
    ManualEvent evStop;
    XMLNodePtr pObject = CoXMLNode::Create(u"object");
    SourceReaders readers{pObject, pObject, *this};
    Sender sender{pObject, *static_cast<IZrSender_I*>(this), readers, *this};
    Thread thread;
};

// Lets go of the sender after some frames.
struct LastOwner final : UnknownImpl<IZrReceiver_I> {
    HRESULT MediaReceive(const char16_t*, IUnknown* _pSender, IZrFFrame*) override {
        nFaces += QueryAs<IZrSender_I>(_pSender) ? 1 : 0;
        if (++nFrames == 10) pSender.Reset();
        return S_OK;
    }
    HRESULT MediaEnd(const char16_t*, IUnknown* _pSender, int32_t _nParam) override {
        nEnds += _pSender == nullptr && _nParam == 1;
        return S_OK;
    }
    HRESULT MediaFlush(const char16_t*, IUnknown*, int32_t) override { return S_OK; }

    ZrPtr<IZrSender_I> pSender;
    int32_t nFrames = 0, nFaces = 0, nEnds = 0;
};

TEST(TransportObject, LastReferenceGoesWhileFramesAreOnTheirWay) {
    VirtualClock clock;
    bool bGone = false;
    const auto pReceiver = ZrPtr<LastOwner>::Attach(new LastOwner);
    {
        const auto pObject = ZrPtr<CTestObject>::Attach(new CTestObject(&bGone));
        pReceiver->pSender = QueryAs<IZrSender_I>(static_cast<IZrSource*>(pObject.Get()));
        pReceiver->pSender->SenderConnect(pReceiver.Get(), u"a", u"rate_control=0", nullptr);
        pObject->Run();
    }
    WaitUntil([&] { return bGone; });
    EXPECT_EQ(pReceiver->nFrames, 10);
    EXPECT_EQ(pReceiver->nFaces, 10);
    EXPECT_EQ(pReceiver->nEnds, 1);
}

TEST(TransportObject, OtherProcessesAreLetGoWhenTheyEnd) {
    ProcessTable table;
    Waitable* pGone = nullptr;
    EXPECT_EQ(table.Check(&pGone), S_FALSE);
    EXPECT_EQ(table.Add(0x7FFFFFF0), ZR_E_NOT_FOUND);
    const std::u16string arrArguments[] = {u"/bin/sleep", u"600"};
    ChildProcess one, two;
    ASSERT_EQ(one.Start(arrArguments), S_OK);
    ASSERT_EQ(two.Start(arrArguments), S_OK);
    EXPECT_EQ(table.Add(one.Id()), S_OK);
    EXPECT_EQ(table.Add(two.Id()), S_OK);
    EXPECT_EQ(table.Add(two.Id()), S_FALSE);
    EXPECT_EQ(table.Remove(two.Id()), S_OK);
    one.Kill();
    ASSERT_EQ(one.Wait(-1), S_OK);
    EXPECT_EQ(table.Check(&pGone), S_OK);
    ASSERT_TRUE(pGone);
    EXPECT_FALSE(pGone->IsSet());
    two.Kill();
    EXPECT_TRUE(WaitOne(*pGone, 60 * kTicksPerSecond));
    EXPECT_EQ(table.Check(&pGone), S_FALSE);
    EXPECT_EQ(table.Remove(one.Id()), ZR_E_NOT_FOUND);
    EXPECT_EQ(table.Remove(two.Id()), ZR_E_NOT_FOUND);
}

}  // namespace
}  // namespace zr
