#pragma once
// The inputs of a mixer: an ordered table of named streams, and the background beneath them.

#include <cstdint>

#include "zr/items.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// Any thread. A change shows in the next output frame; the mix goes on meanwhile. _dblTimeForChange is the length of
// the transition in seconds, 0 for a cut. The caller releases the items and frees the texts that it receives.
struct IZrStreams : IUnknown {
    static constexpr GUID kIid = GuidOf("08BA3E1D-2FE4-47E3-8A72-8A9067B5F9B9");

    // Streams in the table, without the background. E_POINTER: _pnCount is null.
    virtual HRESULT StreamsGetCount(int32_t* _pnCount) = 0;
    // A stream by its place, 0 first and lowest. ZR_E_BAD_INDEX: no such place.
    virtual HRESULT StreamsGetByIndex(int32_t _nIndex, BSTR* _pbsStreamID, IZrItem** _ppStream) = 0;
    // A stream by its id. ZR_E_NOT_FOUND_FILE: no such id.
    virtual HRESULT StreamsGet(const char16_t* _bsStreamID, int32_t* _pnIndex, IZrItem** _ppStream) = 0;
    // Adds a stream on top, or puts it in the place of the one with that id, with a transition. Null or empty id: the
    // first free "stream-000", "stream-001", ... The source is _pExternOrRef, any object of the family, or, when that
    // is null, _bsPath: a file, a URL, a picture, a test signal ("bars"), the name of another object. _bsParam (may be
    // null): attributes for the source, such as "in=10.0 out=20.0 loop=false". _ppItem (may be null): the new item.
    // ZR_E_EXISTS: the object is in that place already, or, where sources push their frames, anywhere in the mixer.
    // E_INVALIDARG: neither object nor path. E_NOINTERFACE: an object that gives no frames. Otherwise what opening the
    // source returned.
    virtual HRESULT StreamsAdd(const char16_t* _bsStreamID, IUnknown* _pExternOrRef, const char16_t* _bsPath,
                               const char16_t* _bsParam, IZrItem** _ppItem, double _dblTimeForChange) = 0;
    // Takes a stream out and closes it. ZR_E_EMPTY: there are no streams. ZR_E_NOT_FOUND_FILE: not one of them.
    virtual HRESULT StreamsRemove(IZrItem* _pStream, double _dblTimeForChange) = 0;
    // Takes a stream out and _nExtraRemove more, those after it when positive, before it when negative. A negative
    // _nIndex counts from the end: -1 is the last. ZR_E_EMPTY: there are no streams. ZR_E_BAD_INDEX: no such place.
    virtual HRESULT StreamsRemoveByIndex(int32_t _nIndex, int32_t _nExtraRemove, double _dblTimeForChange) = 0;
    // Moves a stream by _nIndexAdd places, up when positive, no further than either end. S_FALSE: it stays where it is.
    // E_INVALIDARG: not a stream of this mixer.
    virtual HRESULT StreamsReorder(IZrItem* _pStream, int32_t _nIndexAdd, double _dblTimeForChange) = 0;
    // Puts a source beneath all streams, by the arguments of StreamsAdd; neither object nor path takes the background
    // away. S_FALSE: the object is the background already. ZR_E_EXISTS: it is used as a stream, and sources push.
    virtual HRESULT StreamsBackgroundSet(IUnknown* _pExternOrRef, const char16_t* _bsPath, const char16_t* _bsParam,
                                         IZrItem** _ppItem, double _dblTimeForChange) = 0;
    // The background's path and item. S_FALSE with nulls: there is none.
    virtual HRESULT StreamsBackgroundGet(BSTR* _pbsPath, IZrItem** _ppItem) = 0;

protected:
    ~IZrStreams() = default;
};

}  // namespace zr
