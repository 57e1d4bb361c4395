#pragma once
// Items: the place of a source in a list, such as a stream of a mixer, its background, or a break in a file. What
// belongs to the place is kept by the item, so that the source under it can be exchanged. An item also shows IZrFile,
// IZrProps, IZrPersist and IZrAudio, for what stands in its place, and IZrScenes where its source has
// scenes: of a mixer that is a stream of another one.

#include <cstdint>

#include "zr/enums.h"
#include "zr/records.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// Any thread. Times of day are local. The caller releases objects and frees texts that it receives.
struct IZrItem : IUnknown {
    static constexpr GUID kIid = GuidOf("02C6DAFE-A234-418C-AF11-8914495828D5");

    // File, live object, playlist or command. E_POINTER: _peType is null.
    virtual HRESULT ItemTypeGet(eZrItemType* _peType) = 0;
    // When the item is to start: eZrST_Off not by itself, eZrST_Auto when its turn comes, eZrST_Specified at the time
    // given, which may be null for the other two.
    virtual HRESULT ItemStartTimeSet(const ZR_DATETIME* _pStartTime, eZrStartType _eStartType) = 0;
    // Start, stop and kind of start.
    virtual HRESULT ItemTimesGet(ZR_DATETIME* _pStartTime, ZR_DATETIME* _pStopTime, eZrStartType* _peStartType) = 0;
    // How long it plays, in seconds: the length between its points and the breaks in it.
    virtual HRESULT ItemPlayTimeGet(double* _pdblPlayTime) = 0;
    // What a command item does: a command of IZrObject::ObjectCommandExecute, its parameter, and the object that it is
    // for, null for the one it is run with. The item keeps a reference.
    virtual HRESULT ItemCommandSet(const char16_t* _bsCommand, const char16_t* _bsParam, IUnknown* _pTargetObject) = 0;
    virtual HRESULT ItemCommandGet(BSTR* _pbsCommand, BSTR* _pbsParam, IUnknown** _ppTargetObject) = 0;
    // The source itself; null for a command.
    virtual HRESULT ItemInnerGet(IUnknown** _ppInnerObject) = 0;
    // Runs the command on its target, or on _pSourceObject when it has none.
    virtual HRESULT ItemCommandExecute(IUnknown* _pSourceObject) = 0;
    // The position in seconds, and the item's place in its list.
    virtual HRESULT ItemPosGet(double* _pdblPlayPos, int32_t* _pnPlaylistIndex) = 0;

protected:
    ~IZrItem() = default;
};

// The breaks of a file or a playlist: what plays, or happens, at points of it; sorted by time. Times are seconds from
// the in point, negative ones before the out point; one outside the two is moved to the nearer.
struct IZrBreaks : IUnknown {
    static constexpr GUID kIid = GuidOf("F0D1D0E5-0907-4993-AB11-2FD6350EE6D2");

    // How many, and how long all of them play, in seconds.
    virtual HRESULT BreaksGetCount(int32_t* _pnCount, double* _pdblTotalDuration) = 0;
    // One break, 0 first. ZR_E_BAD_INDEX: no such place.
    virtual HRESULT BreaksGetByIndex(int32_t _nIndex, double* _pdblBreakTime, BSTR* _pbsPath,
                                     IZrItem** _ppBreakItem) = 0;
    // Adds a source that plays at a time, by the arguments of IZrStreams::StreamsAdd. _ppBreakItem may be null.
    virtual HRESULT BreaksAdd(double _dblTime, IUnknown* _pExternOrRef, const char16_t* _bsPath,
                              const char16_t* _bsParam, IZrItem** _ppBreakItem) = 0;
    // Adds a command that is run at a time. _ppBreakItem may be null.
    virtual HRESULT BreaksCommandAdd(double _dblTime, const char16_t* _bsCommand, const char16_t* _bsParam,
                                     IUnknown* _pTargetObject, IZrItem** _ppBreakItem) = 0;
    virtual HRESULT BreaksRemove(IZrItem* _pBreakItem) = 0;
    // Removes a break and _nExtraRemove more, those after it when positive, before it when negative.
    virtual HRESULT BreaksRemoveByIndex(int32_t _nIndex, int32_t _nExtraRemove) = 0;
    // Moves a break to another time; its place in the list follows.
    virtual HRESULT BreaksTimeSet(int32_t _nIndex, double _dblNewTime) = 0;

protected:
    ~IZrBreaks() = default;
};

}  // namespace zr
