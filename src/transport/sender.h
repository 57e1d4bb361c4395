#pragma once
// The push door of an object: every finished frame goes to all connected receivers at once, and where nothing else
// does, the sender holds the object to real time.

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "attributes/co_xml_node.h"
#include "framework/lock_order.h"
#include "framework/rate_timer.h"
#include "media/transport_interfaces.h"
#include "platform/event.h"
#include "platform/names.h"
#include "platform/rw_lock.h"
#include "transport/external_access.h"
#include "transport/output_channel.h"
#include "transport/source_readers.h"

namespace zr {

// What the sender asks of its object. With no lock held.
class ISenderHost {
public:
    // The format of what the object sends.
    virtual HRESULT OnSenderFormat(ZR_VID_PROPS* _pVidProps, ZR_AUD_PROPS* _pAudProps) = 0;
    // Set while the object stops: ends the waits of a send. May be null; lives as long as the sender.
    virtual Waitable* SenderStopEvent() { return nullptr; }
    // While true, a break does not open a stopped sender again.
    virtual bool IsSenderHeld() { return false; }

protected:
    ~ISenderHost() = default;
};

// To whom a frame goes.
enum SEND_MODE : int32_t {
    kSendAllButPreview = 0,
    kSendAll = 1,
    kSendPreviewOnly = -1,  // and not to the readers
    kSendPreviewAndReaders = -2,
};

// Any thread; one send at a time. The operations return what those of IZrSender_I do.
class Sender {
public:
    // Keys are read from _pObject, the object's node, at every send. _self: the object as its receivers see it.
    // _pReferences: its count; without it the object is not found by name. All outlive the sender.
    Sender(const XMLNodePtr& _pObject, IUnknown& _self, SourceReaders& _readers, ISenderHost& _host,
           ReferenceCount* _pReferences = nullptr);
    // Tells all receivers the end, with a null sender.
    ~Sender();
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    // --- Channels, filters, name

    HRESULT SenderConnect(IUnknown* _pReceiver, const char16_t* _bsChannelID, const char16_t* _bsXMLParam,
                          int32_t* _pbSending);
    HRESULT SenderDisconnect(const char16_t* _bsChannelID);
    HRESULT SenderGetCount(int32_t* _pnCount) const;
    HRESULT SenderGetByIndex(int32_t _nIndex, BSTR* _pbsChannelID, BSTR* _pbsXMLParam) const;
    HRESULT SenderFilterAdd(IZrFrameFilter_I* _pFilter, int64_t _llUserValue);
    HRESULT SenderFilterRemove(IZrFrameFilter_I* _pFilter);
    HRESULT SenderFormatGet(ZR_VID_PROPS* _pVidProps, ZR_AUD_PROPS* _pAudProps) {
        return host.OnSenderFormat(_pVidProps, _pAudProps);
    }
    HRESULT SenderNameGet(BSTR* _pbsName) const;
    HRESULT SenderNameSet(BSTR* _pbsName, int32_t _bExact);
    HRESULT SenderExternalAccess(int32_t _bEnable, const char16_t* _bsName);

    // --- The object

    // The object has started. _name: the sender's while it has none of its own; when another has that, a number is put
    // behind it. Empty: it gets none.
    void Show(std::u16string_view _name);
    // The object closes: it is not found any more, and a name that it got by its start is free.
    void Hide();

    // Gives a frame, which nobody writes to any more, to the readers and the receivers, and waits until all receivers
    // have taken it; then, or before, waits as the key "rate_control" says. _nSendMode: of SEND_MODE. _nInternalMode:
    // the key "internal_receiver": above 0 a stopped sender drops frames and nothing is paced by the key, from 2 on the
    // timer does not run at all; negative: the frame goes to the readers alone (or the preview).
    // S_FALSE: dropped, as the sender is stopped. E_ABORT: the object stops. ZR_E_NOT_RUNNING: the end was sent
    // meanwhile. Else the result of a filter, or of a frame that could not be copied. What receivers answer is no
    // error.
    HRESULT Sender_SendMedia(IZrFFrame* _pFrame, int32_t _nSendMode, int32_t _nInternalMode);
    // The media has ended: tells filters (unless _bNoFilters) and receivers. _nRemove above 0: all channels go.
    HRESULT SenderSendEnd(int32_t _nRemove, bool _bNoFilters);
    // The time line breaks off: nothing that was sent shows any more.
    HRESULT SenderSendFlush();
    // The next frame begins a new pace.
    void ResetRate() { rateTimer.Reset(ZrRateTimer::kFromZero); }

    // Set while a receiver is connected that sets the pace.
    Waitable& RateChannels() { return evRateChannels; }
    ExternalAccess& Access() { return access; }
    bool IsSending() const { return bSending; }
    ZrRateTimer::COUNTERS RateCounters() { return rateTimer.Counters(); }

private:
    using ChannelPtr = ZrPtr<COutputChannel>;
    using ChannelMap = std::map<std::u16string, ChannelPtr, std::less<>>;
    struct FILTER {
        ZrPtr<IZrFrameFilter_I> pFilter;
        int64_t llUserValue = 0;
    };
    // A channel in one round.
    struct SENT {
        ChannelPtr pChannel;
        uint32_t nKinds = 0;
        bool bSent = false;
    };
    using Round = std::vector<SENT>;
    struct SEND;

    HRESULT ConnectReceiver(IUnknown* _pReceiver, std::u16string_view _id, std::u16string_view _param);
    HRESULT NameClaim(std::u16string_view _wish, bool _bExact) ZR_REQUIRES(mtxName);
    void FindRateChannels() ZR_REQUIRES(lockChannels);
    void RemoveDead(const ChannelPtr& _pChannel);
    void AddChannels(Round& _round) const ZR_REQUIRES_SHARED(lockChannels);

    bool OpenOrDrop(const SEND& _send);
    HRESULT RunFilters(ZrPtr<IZrFFrame>& _pFrame);
    bool FilterAt(size_t _i, FILTER& _filter) const;
    HRESULT Deliver(SEND& _send);
    HRESULT SendToAll(SEND& _send, Round& _round);
    HRESULT SendToOne(SEND& _send, SENT& _sent);
    void WaitForAll(SEND& _send, Round& _round);
    Round TakeRound();
    void KeepRound(Round _round);
    HRESULT RateWait(const SEND& _send);

    const XMLNodePtr pObject;
    IUnknown& self;
    SourceReaders& readers;
    ISenderHost& host;
    ExternalAccess access;

    ManualEvent evStopSend;      // set by the end and a flush, until a break
    ManualEvent evRateChannels;  // changed under lockChannels
    std::atomic<bool> bSending{false};
    ZrRateTimer rateTimer;

    mutable CRWSynchroLiteRW lockChannels{lock_order::kSenderChannels};
    ChannelMap mapChannels ZR_GUARDED_BY(lockChannels);
    mutable CRWSynchroLiteRW lockFilters{lock_order::kSenderFilters};
    std::vector<FILTER> arrFilters ZR_GUARDED_BY(lockFilters);
    mutable Mutex mtxName{lock_order::kSenderName};
    std::u16string strName ZR_GUARDED_BY(mtxName);
    UniqueName claim ZR_GUARDED_BY(mtxName);
    bool bNamedByStart ZR_GUARDED_BY(mtxName) = false;
    Round keptRound ZR_GUARDED_BY(mtxName);  // the memory of the last round
};

}  // namespace zr
