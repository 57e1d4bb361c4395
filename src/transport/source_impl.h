#pragma once
// Give an object T its two pull doors; the work is done by SourceReaders, which T has and shows by Readers_I().

#include "attributes/interface_call.h"
#include "media/transport_interfaces.h"
#include "transport/source_readers.h"
#include "zr/transport.h"

namespace zr {

template <class T>
class IZrSourceImpl : public IZrSource {
public:
    HRESULT SourceFrameGet(int64_t _rtMaxWait, IZrFrame** _ppFrame, int32_t _nFlags) override {
        return SourceFrameGetEx_I(nullptr, _rtMaxWait, _ppFrame, _nFlags);
    }
    HRESULT SourceFrameGetEx(int64_t* _pllReaderID, int64_t _rtMaxWait, IZrFrame** _ppFrame, int32_t _nFlags) override {
        if (!_pllReaderID) return E_POINTER;
        return SourceFrameGetEx_I(_pllReaderID, _rtMaxWait, _ppFrame, _nFlags);
    }

protected:
    ~IZrSourceImpl() = default;

private:
    HRESULT SourceFrameGetEx_I(int64_t* _pllReaderID, int64_t _rtMaxWait, IZrFrame** _ppFrame, int32_t _nFlags) {
        return InterfaceCall([&] {
            return static_cast<T*>(this)->Readers_I().SourceFrameGetEx(_pllReaderID, _rtMaxWait, _ppFrame, _nFlags);
        });
    }
};

// The same door inside the library.
template <class T>
class IZrSource_IImpl : public IZrSource_I {
public:
    HRESULT SourceFrameGet_I(int64_t _rtMaxWait, IZrFFrame** _ppFrame, const char16_t* _szParam) override {
        return InterfaceCall([&] { return R().SourceFrameGetEx_I(nullptr, _rtMaxWait, _ppFrame, _szParam); });
    }
    HRESULT SourceFrameGetEx_I(uint64_t* _pllReaderID, int64_t _rtMaxWait, IZrFFrame** _ppFrame,
                               const char16_t* _szParam) override {
        return InterfaceCall([&] { return R().SourceFrameGetEx_I(_pllReaderID, _rtMaxWait, _ppFrame, _szParam); });
    }
    HRESULT ReaderKeep(uint64_t _llReaderID) override {
        return InterfaceCall([&] { return R().ReaderKeep(_llReaderID); });
    }
    HRESULT ReaderRemove(uint64_t _llReaderID) override {
        return InterfaceCall([&] { return R().ReaderRemove(_llReaderID); });
    }
    HRESULT ProcessAdd(uint32_t _nProcessId) override {
        return InterfaceCall([&] { return R().Processes().Add(_nProcessId); });
    }
    HRESULT ProcessRemove(uint32_t _nProcessId) override { return R().Processes().Remove(_nProcessId); }
    HRESULT ProcessCheck(Waitable** _ppGone) override { return R().Processes().Check(_ppGone); }
    HRESULT LastFrameGet(IZrFFrame** _ppFrame) override { return R().LastFrameGet(_ppFrame); }

protected:
    ~IZrSource_IImpl() = default;

private:
    SourceReaders& R() { return static_cast<T*>(this)->Readers_I(); }
};

}  // namespace zr
