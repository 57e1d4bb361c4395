#pragma once
// The item: the place of a source in a list of the mixer, with the keys that belong to the place.

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "attributes/props_impl.h"
#include "audio/audio_impl.h"
#include "media/transport_interfaces.h"
#include "output/plugins_impl.h"
#include "platform/lock.h"
#include "platform/unknown.h"
#include "sources/break_list.h"
#include "sources/file_forward.h"
#include "sources/item_host.h"
#include "sources/item_start.h"
#include "sources/scenes_forward.h"
#include "zr/items.h"
#include "zr/object.h"
#include "zr/persist.h"

namespace zr {

// A source that ends with the last item that was made with it.
class OwnedSource {
public:
    explicit OwnedSource(IUnknown* _pSource) : pObject(QueryAs<IZrObject>(_pSource)) {}
    ~OwnedSource() {
        if (pObject) pObject->ObjectClose();
    }
    OwnedSource(const OwnedSource&) = delete;
    OwnedSource& operator=(const OwnedSource&) = delete;

private:
    const ZrPtr<IZrObject> pObject;
};
using OwnedSourcePtr = std::shared_ptr<OwnedSource>;

// What an item is the place of.
enum class ItemPlace {
    kMixer,  // a stream or the background: has the keys "video", "audio", "drop_frames", "master"
    kList,   // a break: has no keys until they are set
};

// Holds its source by reference. Any thread; the source does not change.
class CCoZrItem final : public IZrItem,
                        public IZrBreaks,
                        public IZrFileForward<CCoZrItem>,
                        public IZrScenesForward<CCoZrItem>,
                        public IZrPersist,
                        public IZrPropsImpl<CCoZrItem>,
                        public IZrPluginsImpl<CCoZrItem>,
                        public IZrAudioImpl<CCoZrItem>,
                        private IPropsHost {
public:
    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override {
        if (_ppv && !pScenes && _iid == IZrScenes::kIid) return *_ppv = nullptr, E_NOINTERFACE;
        return QueryFaces<IZrItem, IZrBreaks, IZrFile, IZrScenes, IZrPersist, IZrProps, IZrPlugins, IZrAudio,
                          IZrAllTracks>(this, _iid, _ppv);
    }
    uint32_t AddRef() override { return references.Add(); }
    uint32_t Release() override;

    // Around an object that is there. _pOwned: it was made for this or another item, and ends with the last of them.
    // Empty: memory is out.
    static ZrPtr<CCoZrItem> Make(IUnknown* _pSource, std::u16string_view _path, OwnedSourcePtr _pOwned = {},
                                 ItemPlace _ePlace = ItemPlace::kMixer);
    // Makes a file source and opens its file, which does not play yet. _line: its parameters; _output: those of the
    // output it is for, which count where the line leaves the format open. The result is that of the step that failed.
    static HRESULT MakeFile(std::u16string_view _path, std::u16string_view _line, std::u16string_view _output,
                            ZrPtr<CCoZrItem>& _pItem, ItemPlace _ePlace = ItemPlace::kMixer);
    // An item without a source, which a command is run by. E_INVALIDARG: no command.
    static HRESULT MakeCommand(std::u16string_view _command, std::u16string_view _param, IUnknown* _pTarget,
                               ZrPtr<CCoZrItem>& _pItem);

    // Keys of the place: "video", "audio", "master", "drop_frames".
    const XMLNodePtr& Node() const { return props.Root(); }
    // What was asked for; "External" for an object without a path.
    const std::u16string& Path() const { return path; }
    // Its IUnknown, so that two of them can be compared.
    IUnknown* Source() const { return pSource.Get(); }
    // Null when the source cannot be pulled.
    IZrSource_I* Pulled() const { return pPulled.Get(); }
    // The tracks of this place, whatever other places the source has.
    AudioTracks& Tracks_I() { return *pTracks; }
    const std::shared_ptr<AudioTracks>& SharedTracks() const { return pTracks; }
    // Of the frames that come from the source to this place; brought by one thread at a time.
    PluginList& Plugins_I() { return plugins; }
    // Counts the keys that have been set.
    uint32_t KeysSet() const { return nKeysSet.load(std::memory_order_acquire); }
    // What its parameters said of the format, whatever the output's is: attributes of "line".
    const XMLNodePtr& OwnFormat() const { return pOwnFormat; }
    IZrProps* SourceProps() const { return pSourceProps.Get(); }
    // The name that events carry for it.
    std::u16string Name() const;
    // Whether the item was made with its source, which then ends with it.
    bool OwnsSource() const { return bOwnsSource; }
    // What keeps an owned source; empty for another, and when the item has been closed.
    OwnedSourcePtr Owned() const;
    bool IsCommand() const { return bCommand; }
    ITEM_START Start() const;
    BreakList& Breaks() { return breaks; }
    // What of the source plays. A live source has no end: the out point is beyond any time.
    PLAY_RANGE Range();
    // The item's place in the list that has it.
    void ListIndexSet(int32_t _nIndex) { nListIndex.store(_nIndex, std::memory_order_relaxed); }
    // Whose input it is; the item's play calls go there first.
    void SetHost(ZrPtr<IItemHost> _pHost);
    // Whether it is for the source to be started at all; one that is no file plays by itself.
    bool CanStart() const { return static_cast<bool>(pFile); }
    // Has a source that is stopped or closed play. Without a lock.
    void StartSource();
    // Ends an owned source, unless another item has it too.
    void Close();

    // --- IZrItem

    HRESULT ItemTypeGet(eZrItemType* _peType) override;
    HRESULT ItemStartTimeSet(const ZR_DATETIME* _pStartTime, eZrStartType _eStartType) override;
    HRESULT ItemTimesGet(ZR_DATETIME* _pStartTime, ZR_DATETIME* _pStopTime, eZrStartType* _peStartType) override;
    HRESULT ItemPlayTimeGet(double* _pdblPlayTime) override;
    HRESULT ItemCommandSet(const char16_t* _bsCommand, const char16_t* _bsParam, IUnknown* _pTargetObject) override;
    HRESULT ItemCommandGet(BSTR* _pbsCommand, BSTR* _pbsParam, IUnknown** _ppTargetObject) override;
    HRESULT ItemInnerGet(IUnknown** _ppInnerObject) override;
    HRESULT ItemCommandExecute(IUnknown* _pSourceObject) override;
    HRESULT ItemPosGet(double* _pdblPlayPos, int32_t* _pnPlaylistIndex) override;

    // --- IZrBreaks

    HRESULT BreaksGetCount(int32_t* _pnCount, double* _pdblTotalDuration) override;
    HRESULT BreaksGetByIndex(int32_t _nIndex, double* _pdblBreakTime, BSTR* _pbsPath, IZrItem** _ppBreakItem) override;
    HRESULT BreaksAdd(double _dblTime, IUnknown* _pExternOrRef, const char16_t* _bsPath, const char16_t* _bsParam,
                      IZrItem** _ppBreakItem) override;
    HRESULT BreaksCommandAdd(double _dblTime, const char16_t* _bsCommand, const char16_t* _bsParam,
                             IUnknown* _pTargetObject, IZrItem** _ppBreakItem) override;
    HRESULT BreaksRemove(IZrItem* _pBreakItem) override;
    HRESULT BreaksRemoveByIndex(int32_t _nIndex, int32_t _nExtraRemove) override;
    HRESULT BreaksTimeSet(int32_t _nIndex, double _dblNewTime) override;

    // --- IZrPersist: the item's XML form. Loading takes its keys, breaks and start; the source stays.

    HRESULT PersistSaveToFile(const char16_t* _bsObject, const char16_t* _bsFileName,
                              const char16_t* _bsSaveParam) override;
    HRESULT PersistSaveToString(const char16_t* _bsObject, BSTR* _pbsXMLDesc, const char16_t* _bsSaveParam) override;
    HRESULT PersistLoad(const char16_t* _bsObject, const char16_t* _bsXMLDescOrFile,
                        const char16_t* _bsLoadParam) override;

    // --- IZrFile: the source's; E_NOINTERFACE when it is no file

    static constexpr HRESULT kNoFile = E_NOINTERFACE;
    ZrPtr<IZrFile> File_I() const { return pFile; }
    HRESULT FileInOutSet(double _dblIn, double _dblOut) override;
    HRESULT FilePlayStart() override;
    HRESULT FilePlayPause(double _dblSeconds) override;
    HRESULT FilePlayStop(double _dblSeconds) override;

    // --- IZrScenes: the source's, where it has scenes

    IZrScenes* Scenes_I() const { return pScenes.Get(); }

private:
    CCoZrItem(XMLNodePtr _pNode, IUnknown* _pSource, std::u16string_view _path, OwnedSourcePtr _pOwned, bool _bCommand);
    ~CCoZrItem() = default;

    ZrPtr<IItemHost> Host() const;

    // Keys of the source are its own: "object::..." goes there.
    HRESULT OnHostedSet(std::u16string_view _name, std::u16string_view _value) override;
    HRESULT OnHostedGet(std::u16string_view _name, BSTR* _pbsValue) override;
    void OnKeyChanged(std::u16string_view _name, std::u16string_view, const std::u16string*) override {
        pTracks->OnKey(_name, *props.Root());
        plugins.OnKeys();
        nKeysSet.fetch_add(1, std::memory_order_release);
    }
    HRESULT AddBreak(double _dblTime, ZrPtr<CCoZrItem> _pItem, IZrItem** _ppBreakItem);
    bool Duration(double* _pdblSeconds);

    ReferenceCount references;
    const std::u16string path;
    const ZrPtr<IUnknown> pSource;
    const ZrPtr<IZrSource_I> pPulled;
    const ZrPtr<IZrProps> pSourceProps;
    const ZrPtr<IZrObject> pObject;
    const ZrPtr<IZrFile> pFile;
    const ZrPtr<IZrScenes> pScenes;
    const bool bOwnsSource;
    XMLNodePtr pOwnFormat;  // made with the item; may be null
    mutable Mutex mtxHost;
    ZrPtr<IItemHost> pHost ZR_GUARDED_BY(mtxHost);
    const bool bCommand;
    std::atomic<int32_t> nListIndex{0};
    std::atomic<uint32_t> nKeysSet{0};
    BreakList breaks;
    const std::shared_ptr<AudioTracks> pTracks = std::make_shared<AudioTracks>(AudioTracks::Levels::kOnDemand);
    PluginList plugins{props.Root(), *static_cast<IZrItem*>(this)};

    mutable Mutex mtx;  // unranked leaf; nothing is released under it
    OwnedSourcePtr pOwned ZR_GUARDED_BY(mtx);
    ITEM_START start ZR_GUARDED_BY(mtx);
    std::u16string strCommand ZR_GUARDED_BY(mtx);
    std::u16string strParam ZR_GUARDED_BY(mtx);
    ZrPtr<IUnknown> pTarget ZR_GUARDED_BY(mtx);
};

}  // namespace zr
