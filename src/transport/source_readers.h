#pragma once
// The pull door of an object: whoever asks for frames has a reader, and every frame that is put is offered to all.

#include <atomic>
#include <cstdint>
#include <map>

#include "attributes/co_xml_node.h"
#include "framework/lock_order.h"
#include "platform/event.h"
#include "platform/rw_lock.h"
#include "transport/process_table.h"
#include "transport/zr_reader.h"

namespace zr {

// What the door asks of its object. Called with no lock held, on the thread that gets or puts.
class ISourceHost {
public:
    // Before a get waits: an object that runs on demand starts. _szParam: that of the get, may be null. A failure ends
    // the get with it.
    virtual HRESULT OnSourceStart(const char16_t* /*_szParam*/) { return S_OK; }
    // Readers have come or gone; how many there are now.
    virtual void OnReaderCount(size_t /*_nReaders*/) {}
    // A reader is here to stay: one more user of the source.
    virtual void OnReaderKept() {}

protected:
    ~ISourceHost() = default;
};

// How a put waits, as bits; the key "pull_mode.put_wait" has the same.
enum PUT_WAIT : int32_t {
    kPutAsItGoes = 0,        // some of a frame's time for readers that have kept up so far
    kPutWaitForReaders = 1,  // longer, and for the first reader to come
    kPutWaitLive = 2,        // also with live frames
    kPutOnlyPresent = 4,     // not for the first reader to come
};

// Any thread, one put at a time. The operations return what those of IZrSource_I do.
class SourceReaders {
public:
    // Keys are read at every put, from the top of the object's tree or from its node `object`, where each of them
    // stands. _host outlives the readers.
    SourceReaders(const XMLNodePtr& _pRoot, const XMLNodePtr& _pObject, ISourceHost& _host)
        : pRoot(_pRoot), pObject(_pObject), host(_host) {}
    ~SourceReaders();
    SourceReaders(const SourceReaders&) = delete;
    SourceReaders& operator=(const SourceReaders&) = delete;

    // --- Consumers

    // _pllReaderID null: the reader of all callers without an id.
    HRESULT SourceFrameGetEx_I(uint64_t* _pllReaderID, int64_t _rtMaxWait, IZrFFrame** _ppFrame,
                               const char16_t* _szParam);
    // The form of the public face.
    HRESULT SourceFrameGetEx(int64_t* _pllReaderID, int64_t _rtMaxWait, IZrFrame** _ppFrame, int32_t _nFlags);
    HRESULT ReaderKeep(uint64_t _llReaderID);
    HRESULT ReaderRemove(uint64_t _llReaderID);
    HRESULT LastFrameGet(IZrFFrame** _ppFrame);
    ProcessTable& Processes() { return processes; }

    // --- The object

    // Offers a frame, which nobody writes to any more, to all readers, after a wait as of PUT_WAIT for readers that
    // have not fetched the last one; no longer than _rtMaxWait ticks in all, negative without limit. _pStop (may be
    // null) ends the wait. _pnReaders, _pnWaited (may be null): how many have it now, and how many were waited for.
    // S_FALSE: there are no readers. ZR_E_WRONG_STATE: the source was flushed or has ended, and this is no break; or it
    // was stopped during the wait. The frame is not kept then.
    HRESULT PutFrame(IZrFFrame* _pFrame, int32_t _nPutWait, int64_t _rtMaxWait, Waitable* _pStop = nullptr,
                     int32_t* _pnReaders = nullptr, int32_t* _pnWaited = nullptr);
    // Waits until the first reader that has not fetched its frame does, at most _rtMaxWait ticks. _pStop (may be null)
    // ends the wait. S_OK: no reader is waited for any more. S_FALSE: the wait ended before.
    HRESULT WaitFetched(int64_t _rtMaxWait, Waitable* _pStop);
    // The time line breaks off, or the object stops: what nobody has fetched is dropped, gets and puts under way end.
    // The next break opens the source again.
    void Flush();
    // The time line goes on elsewhere: what nobody has fetched is dropped, gets under way wait for what comes. A put
    // under way whose _pStop is set already offers its frame no more.
    void Drop();
    // The media has ended: readers get what they have in the slot, then the end. The next break opens it again.
    void End();
    // Drops the last frame, which a new reader would see.
    void ForgetLastFrame();
    // Set while there are readers.
    Waitable& ReadersExist() { return evReadersExist; }
    size_t Count() const;

private:
    using ReaderPtr = ZrPtr<ZrReader>;
    using ReaderMap = std::map<uint64_t, ReaderPtr>;
    enum class Awaited { Nobody, Reader, First };

    HRESULT FindOrMake(uint64_t* _pllReaderID, ReaderPtr& _pReader);
    ReaderPtr Find(uint64_t _llReaderID) const;
    int32_t WaitForReaders(IZrFFrame& _frame, bool _bLive, int32_t _nPutWait, int64_t _rtMaxWait, Waitable* _pStop);
    Awaited FindAwaited(int32_t _nCycles, ReaderPtr& _pReader) const;
    int64_t FetchLimit(IZrFFrame& _frame, int32_t _nPutWait) const;
    HRESULT OfferToAll(IZrFFrame* _pFrame, Waitable* _pStop, int32_t& _nReaders);
    ReaderMap::iterator Remove_I(ReaderMap::iterator _it) ZR_REQUIRES(lockReaders);
    void TellCount(size_t _nLeft, bool _bGone);
    bool IsClosed() const { return evStop.IsSet() || evEnd.IsSet(); }

    const XMLNodePtr pRoot, pObject;
    ISourceHost& host;
    ManualEvent evReadersExist;  // changed under lockReaders
    ManualEvent evStop;
    ManualEvent evEnd;
    std::atomic<int64_t> rtLastPut{0};

    mutable CRWSynchroLiteRW lockReaders{lock_order::kReaders};
    ReaderMap mapReaders ZR_GUARDED_BY(lockReaders);
    uint64_t llDefaultReader ZR_GUARDED_BY(lockReaders) = 0;
    ZrPtr<IZrFFrame> pLastFrame ZR_GUARDED_BY(lockReaders);

    ProcessTable processes;
};

}  // namespace zr
