#pragma once
// The item: the place of a source in a list of the mixer, with the keys that belong to the place.

#include <string>
#include <string_view>

#include "attributes/props_impl.h"
#include "media/transport_interfaces.h"
#include "platform/unknown.h"
#include "zr/file.h"
#include "zr/items.h"
#include "zr/object.h"

namespace zr {

// Holds its source by reference. Any thread; the source does not change.
class CCoZrItem final : public IZrItem, public IZrFile, public IZrPropsImpl<CCoZrItem>, private IPropsHost {
public:
    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override {
        return QueryFaces<IZrItem, IZrFile, IZrProps>(this, _iid, _ppv);
    }
    uint32_t AddRef() override { return references.Add(); }
    uint32_t Release() override;

    // Around an object that is there. Empty: memory is out.
    static ZrPtr<CCoZrItem> Make(IUnknown* _pSource, std::u16string_view _path);
    // Makes a file source and opens its file, which does not play yet. _line: its parameters. The result is that of the
    // step that failed.
    static HRESULT MakeFile(std::u16string_view _path, std::u16string_view _line, ZrPtr<CCoZrItem>& _pItem);

    // Keys of the place: "video", "audio", "master", "drop_frames".
    const XMLNodePtr& Node() const { return props.Root(); }
    // What was asked for; "External" for an object without a path.
    const std::u16string& Path() const { return path; }
    // Its IUnknown, so that two of them can be compared.
    IUnknown* Source() const { return pSource.Get(); }
    // Null when the source cannot be pulled.
    IZrSource_I* Pulled() const { return pPulled.Get(); }
    IZrProps* SourceProps() const { return pSourceProps.Get(); }
    // The name that events carry for it.
    std::u16string Name() const;
    // Whether the item was made with its source, which then ends with it.
    bool OwnsSource() const { return bOwnsSource; }
    // Has a source that is stopped or closed play. Without a lock.
    void StartSource();
    // Ends an owned source.
    void Close();

    // --- IZrItem

    HRESULT ItemTypeGet(eZrItemType* _peType) override;
    HRESULT ItemStartTimeSet(const ZR_DATETIME*, eZrStartType) override { return E_NOTIMPL; }
    HRESULT ItemTimesGet(ZR_DATETIME*, ZR_DATETIME*, eZrStartType*) override { return E_NOTIMPL; }
    HRESULT ItemPlayTimeGet(double* _pdblPlayTime) override;
    HRESULT ItemCommandSet(const char16_t*, const char16_t*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT ItemCommandGet(BSTR*, BSTR*, IUnknown**) override { return E_NOTIMPL; }
    HRESULT ItemInnerGet(IUnknown** _ppInnerObject) override;
    HRESULT ItemCommandExecute(IUnknown*) override { return E_NOTIMPL; }
    HRESULT ItemPosGet(double* _pdblPlayPos, int32_t* _pnPlaylistIndex) override;

    // --- IZrFile: the source's; E_NOINTERFACE when it is no file

    HRESULT FileNameSet(const char16_t* _bsFile, const char16_t* _bsParam) override;
    HRESULT FileNameGet(BSTR* _pbsFile) override;
    HRESULT FileInOutSet(double _dblIn, double _dblOut) override;
    HRESULT FileInOutGet(double* _pdblIn, double* _pdblOut, double* _pdblDuration) override;
    HRESULT FilePosSet(double _dblPos, double _dblPreroll) override;
    HRESULT FilePosGet(double* _pdblFilePos) override;
    HRESULT FilePlayStart() override;
    HRESULT FilePlayPause(double _dblSeconds) override;
    HRESULT FilePlayStop(double _dblSeconds) override;
    HRESULT FileStateGet(eZrState* _peState, double* _pdblTimeRemain) override;
    HRESULT FileRateSet(double _dblRate) override;
    HRESULT FileRateGet(double* _pdblRate) override;
    HRESULT FileFrameGet(double _dblPos, double _dblPreroll, IZrFrame** _ppFrame) override;
    HRESULT FileInOutSetTC(const ZR_TIMECODE* _pTCIn, const ZR_TIMECODE* _pTCOut) override;
    HRESULT FileInOutGetTC(ZR_TIMECODE* _pTCIn, ZR_TIMECODE* _pTCOut, int32_t* _pbOutSpecified) override;
    HRESULT FilePosSetTC(const ZR_TIMECODE* _pTC) override;
    HRESULT FilePosGetTC(ZR_TIMECODE* _pTC) override;
    HRESULT FileFrameGetByTC(const ZR_TIMECODE* _pTC, IZrFrame** _ppFrame) override;

private:
    CCoZrItem(XMLNodePtr _pNode, IUnknown* _pSource, std::u16string_view _path, bool _bOwnsSource);
    ~CCoZrItem() = default;
    static ZrPtr<CCoZrItem> Make(IUnknown* _pSource, std::u16string_view _path, bool _bOwnsSource);

    // Keys of the source are its own: "object::..." goes there.
    HRESULT OnHostedSet(std::u16string_view _name, std::u16string_view _value) override;
    HRESULT OnHostedGet(std::u16string_view _name, BSTR* _pbsValue) override;

    ReferenceCount references;
    const std::u16string path;
    const ZrPtr<IUnknown> pSource;
    const ZrPtr<IZrSource_I> pPulled;
    const ZrPtr<IZrProps> pSourceProps;
    const ZrPtr<IZrObject> pObject;
    const ZrPtr<IZrFile> pFile;
    const bool bOwnsSource;
};

}  // namespace zr
