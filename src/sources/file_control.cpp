#include "sources/file_control.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include "attributes/attribute_line.h"
#include "attributes/interface_call.h"
#include "media/vid_props.h"
#include "media/vid_props_attributes.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr double kTicks = static_cast<double>(kTicksPerSecond);
constexpr int64_t kOpeningSlice = 10 * kTicksPerMs;

enum eChange : int32_t { kNormal = 0, kNext = 1, kBreak = 2, kReplace = 3, kNextNoCache = 4, kUnknown = -1 };

eChange ChangeTypeOf(std::u16string_view _text) {
    constexpr std::u16string_view arrNames[] = {u"normal", u"next", u"break", u"replace", u"next_no_cache"};
    if (_text.empty()) return kNormal;
    for (int32_t i = 0; i < 5; ++i)
        if (EqualNoCase(_text, arrNames[i])) return static_cast<eChange>(i);
    size_t nUsed = 0;
    const int32_t n = ParseInt32(_text, 10, &nUsed);
    return nUsed == _text.size() && n >= kNormal && n <= kNextNoCache ? static_cast<eChange>(n) : kUnknown;
}

// What belongs to the file that played before, not to the object.
constexpr std::u16string_view arrOldKeys[] = {
    u"in", u"out", u"tc_in", u"tc_out", u"duration", u"tc_start", u"start_timecode", u"in_preroll", u"path"};
// What came with the name but is no key of the file.
constexpr std::u16string_view arrCallKeys[] = {u"change_type", u"force_close", u"video_format", u"width",
                                               u"height",      u"rate",        u"pixel_format"};

bool IsUrl(std::u16string_view _name) { return _name.find(u"://") != std::u16string_view::npos; }

// "2.500"
std::u16string SecondsText(double _dblSeconds) {
    std::u16string text;
    AppendFixed(text, _dblSeconds, 3);
    return text;
}

int64_t TicksOf(double _dblSeconds) {
    constexpr double kMost = 1e11;
    return std::llround(std::clamp(_dblSeconds, -kMost, kMost) * kTicks);
}

}  // namespace

class ZR_SCOPED_CAPABILITY FileControl::Call {
public:
    Call(FileControl& _control, const char* _szLabel) ZR_ACQUIRE(_control.lockState) : control(_control) {
        control.lockState.EnterWrite(_szLabel);
    }
    ~Call() ZR_RELEASE() {
        control.lockState.LeaveWrite();
        const auto pName = control.parts.name.Get();
        for (const auto& [szEvent, strEventParam] : arrEvents)
            control.parts.events.RaiseEvent(pName->c_str(), szEvent, strEventParam.c_str(), nullptr);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    void Raise(const char16_t* _szEvent, std::u16string _strParam) {
        arrEvents.emplace_back(_szEvent, std::move(_strParam));
    }

private:
    FileControl& control;
    std::vector<std::pair<const char16_t*, std::u16string>> arrEvents;
};

// --- The object

eZrState FileControl::State() const {
    const eZrState e = eObject.load(std::memory_order_acquire);
    return e == eZrS_Stopped ? pump.State() : e;
}

HRESULT FileControl::ObjectStart() {
    Call call(*this, "ObjectStart");
    if (State() >= eZrS_Stopped) return S_FALSE;
    HRESULT hr = Start_I(call);
    if (Succeeded(hr) && !FileName().empty()) {
        hr = Open_I(call, *FileNode());
        if (Succeeded(hr) && FileNode()->AttributeOr(u"auto_start", false)) hr = Play_I(call);
    }
    if (Failed(hr)) {
        Close_I();
        eObject.store(eZrS_Error, std::memory_order_release);
    }
    return hr;
}

HRESULT FileControl::Start_I(Call&) {
    if (eObject.load() == eZrS_Stopped) return S_FALSE;
    const HRESULT hr = pump.Start();
    if (Failed(hr)) return hr;
    eObject.store(eZrS_Stopped, std::memory_order_release);
    parts.sender.Show({});
    return S_OK;
}

HRESULT FileControl::ObjectClose() {
    nClosing.fetch_add(1);
    for (PlayerPtr p;;) {
        {
            MutexLock lock(mtxOpening);
            p = pOpening;
        }
        if (!p) break;
        p->Interrupt();
        SleepFor(kOpeningSlice);
    }
    pump.Interrupt();
    Call call(*this, "ObjectClose");
    nClosing.fetch_sub(1);
    Close_I();
    return S_OK;
}

void FileControl::Close_I() {
    parts.sender.Hide();
    pump.Stop();
    grabber.Close();
    parts.sender.SenderSendEnd(0, false);
    parts.readers.Flush();
    parts.readers.ForgetLastFrame();
    parts.lastFrame.Clear();
    parts.format.Close();
    if (eObject.load() != eZrS_Error) eObject.store(eZrS_Closed, std::memory_order_release);
}

// --- The file

AV_FORMAT FileControl::Wanted() const {
    AV_FORMAT wanted = parts.format.Wanted();
    if (wanted.vidProps.eVideoFormat == eZrVF_Custom && wanted.vidProps.nWidth == 0) {
        MutexLock lock(mtxHint);
        const double dblRate = wanted.vidProps.dblRate;
        wanted.vidProps = propsHint;
        if (dblRate > 0) wanted.vidProps.dblRate = dblRate;
    }
    return wanted;
}

FILE_REQUEST FileControl::RequestOf(const XMLNodeBase& _file) const {
    FILE_REQUEST request;
    request.strFile = _file.AttributeOr(u"path", std::u16string_view());
    _file.WriteAttributes(request.strParam);
    const bool bUrl = IsUrl(request.strFile);
    const int32_t nMaxWait = _file.AttributeOr(bUrl ? u"open_url.max_wait" : u"open_file.max_wait", int32_t{10000});
    request.rtMaxWait = std::max(nMaxWait, 0) * kTicksPerMs;
    request.dblIn = std::max(_file.AttributeOr(u"in", 0.0), 0.0);
    request.dblInPreroll = _file.AttributeOr(u"in_preroll", 0.0);
    // What the last opening found is there too.
    const double dblDuration = _file.AttributeOr(u"duration", 0.0);
    if (std::abs(dblDuration - dblFound) > 1e-5) request.dblDuration = dblDuration;
    request.wanted = Wanted();
    return request;
}

HRESULT FileControl::FileNameSet(const char16_t* _bsFile, const char16_t* _bsParam) {
    if (TextArgument(_bsFile).empty()) return E_INVALIDARG;
    const XMLNodePtr pParam = CoXMLNode::Create(u"param");
    SetAttributeLine(*pParam, TextArgument(_bsParam), eZrUT_ClearDest);
    const eChange eType = ChangeTypeOf(pParam->AttributeOr(u"change_type", std::u16string_view()));
    if (eType == kUnknown) return E_INVALIDARG;
    if (eType == kNext || eType == kBreak || eType == kNextNoCache) return E_NOTIMPL;

    Call call(*this, "FileNameSet");
    HRESULT hr = Start_I(call);
    if (Failed(hr)) return hr;
    if (eType == kReplace) return Change_I(call, *pParam);
    const PlayerPtr pPresent = pump.Player();
    if (pPresent && FileName() == TextArgument(_bsFile) && strParam == TextArgument(_bsParam)) {
        const FILE_REQUEST request = RequestOf(*FileNode());
        return pump.Seek(request.dblIn, request.dblInPreroll);
    }

    ZR_VID_PROPS hint;
    std::u16string strValue;
    ReadVidProps(
        [&](const char16_t* _szName, std::u16string_view& _value) {
            if (!pParam->GetAttribute(_szName, strValue)) return false;
            _value = strValue;
            return true;
        },
        &hint);
    {
        MutexLock lock(mtxHint);
        propsHint = hint;
    }
    pump.HintSet(hint);

    const XMLNodePtr pNew = CoXMLNode::Create(u"file");
    pNew->CopyAttributesFrom(*FileNode(), eZrUT_ClearDest);
    for (const std::u16string_view key : arrOldKeys) pNew->RemoveAttribute(key);
    // The field order of a whole format is that of the output, not what the file is to be taken for.
    if (hint.nWidth != 0) pParam->RemoveAttribute(u"interlace");
    for (const std::u16string_view key : arrCallKeys) pParam->RemoveAttribute(key);
    pNew->CopyAttributesFrom(*pParam, eZrUT_Update);
    pNew->SetAttribute(u"path", TextArgument(_bsFile));
    hr = Open_I(call, *pNew);
    if (Failed(hr)) return hr;
    strParam = TextArgument(_bsParam);
    if (FileNode()->AttributeOr(u"auto_start", false)) return Play_I(call);
    return S_OK;
}

// New attributes for the present file.
HRESULT FileControl::Change_I(Call&, const XMLNodeBase& _param) {
    const XMLNodeRef pFile = FileNode();
    pFile->RemoveAttribute(u"duration");
    const XMLNodePtr pOwn = CoXMLNode::Create(u"param");
    pOwn->CopyAttributesFrom(_param, eZrUT_ClearDest);
    for (const std::u16string_view key : arrCallKeys) pOwn->RemoveAttribute(key);
    pFile->CopyAttributesFrom(*pOwn, eZrUT_Update);
    return S_OK;
}

// Opens what the node describes, beside the file that plays, which goes on when that fails.
HRESULT FileControl::Open_I(Call& _call, XMLNodeBase& _file) {
    const auto pPlayer = std::make_shared<FilePlayer>();
    const FILE_REQUEST request = RequestOf(_file);
    std::u16string strError;
    const HRESULT hr = OpenPlayer(pPlayer, request, &strError);
    if (Failed(hr)) {
        parts.props.Root()->SetAttribute(u"info::error", strError);
        _call.Raise(u"error", request.strFile);
        return hr;
    }
    TellInfo(*pPlayer, _file);
    const XMLNodeRef pFile = FileNode();
    if (&_file != pFile.Get()) pFile->CopyAttributesFrom(_file, eZrUT_ClearDest);
    fileName.Set(request.strFile);
    pump.Exchange(pPlayer);  // the old one ends here, without the play lock
    return S_OK;
}

HRESULT FileControl::OpenPlayer(const PlayerPtr& _pPlayer, const FILE_REQUEST& _request, std::u16string* _pstrError) {
    {
        MutexLock lock(mtxOpening);
        if (nClosing.load() > 0) return E_ABORT;
        pOpening = _pPlayer;
    }
    const HRESULT hr = _pPlayer->Open(_request, _pstrError);
    MutexLock lock(mtxOpening);
    pOpening.reset();
    return hr;
}

// What the operator is told about the file.
void FileControl::TellInfo(FilePlayer& _player, XMLNodeBase& _file) {
    const ZR_FILE_INFO& info = _player.Info();
    const XMLNodeRef pInfo = parts.props.Root()->FindNode(u"info", true);
    if (Failed(pInfo->Parse(_player.InfoXml()))) {
        pInfo->RemoveChildren();
        pInfo->RemoveAttributes();
    }
    pInfo->SetAttribute(u"duration", info.dblDuration);
    if (info.bTimecode) pInfo->SetAttribute(u"start_timecode", TimecodeText(info.tcStart));
    dblFound = info.dblDuration;
    _file.SetAttribute(u"duration", info.dblDuration);
    parts.format.Note(eZrFT_Input, {info.vidProps, info.audProps});
}

// --- Points and position

HRESULT FileControl::FileInOutSet(double _dblIn, double _dblOut) {
    if (!std::isfinite(_dblIn) || !std::isfinite(_dblOut)) return E_INVALIDARG;
    Call call(*this, "FileInOutSet");
    const XMLNodeRef pFile = FileNode();
    pFile->SetAttribute(u"in", std::max(_dblIn, 0.0));
    if (_dblOut > _dblIn) {
        pFile->SetAttribute(u"out", _dblOut);
    } else {
        pFile->RemoveAttribute(u"out");
    }
    return S_OK;
}

HRESULT FileControl::FileInOutGet(double* _pdblIn, double* _pdblOut, double* _pdblDuration) {
    if (!_pdblIn && !_pdblOut && !_pdblDuration) return E_POINTER;
    const PLAY_SETTINGS settings = pump.Settings();
    const PlayerPtr pPlayer = pump.Player();
    const double dblDuration = pPlayer ? pPlayer->Info().dblDuration : 0;
    const int64_t rtOut = settings.OutPoint(dblDuration);
    if (_pdblIn) *_pdblIn = settings.dblIn;
    if (_pdblOut) *_pdblOut = rtOut == kNever ? -1.0 : static_cast<double>(rtOut) / kTicks;
    if (_pdblDuration) *_pdblDuration = dblDuration;
    return S_OK;
}

HRESULT FileControl::FilePosSet(double _dblPos, double _dblPreroll) {
    if (!std::isfinite(_dblPos) || !std::isfinite(_dblPreroll)) return E_INVALIDARG;
    Call call(*this, "FilePosSet");
    return pump.Seek(_dblPos, _dblPreroll);
}

HRESULT FileControl::FilePosGet(double* _pdblFilePos) {
    if (!_pdblFilePos) return E_POINTER;
    *_pdblFilePos = pump.Position();
    return S_OK;
}

HRESULT FileControl::FileRateSet(double _dblRate) {
    if (!std::isfinite(_dblRate) || _dblRate == 0) return E_INVALIDARG;
    if (_dblRate < 0) return E_NOTIMPL;
    Call call(*this, "FileRateSet");
    if (std::abs(pump.Speed() - _dblRate) < 0.001) return S_FALSE;
    FileNode()->SetAttribute(u"playback_rate", _dblRate);
    pump.SpeedSet(_dblRate);
    return S_OK;
}

HRESULT FileControl::FileFrameGet(double _dblPos, double _dblPreroll, ZrPtr<IZrFFrame>* _ppFrame) {
    if (!std::isfinite(_dblPos) || !std::isfinite(_dblPreroll)) return E_INVALIDARG;
    const PlayerPtr pPlayer = pump.Player();
    if (!pPlayer) return ZR_E_EMPTY;
    FILE_REQUEST request = pPlayer->Request();
    request.strParam += u" audio_track='-1'";
    request.dblIn = 0;
    request.wanted = Wanted();
    return grabber.Get(request, std::max(_dblPos, 0.0), _dblPreroll, _ppFrame);
}

// --- Playing

HRESULT FileControl::Play_I(Call& _call) {
    const HRESULT hr = pump.Play();
    if (hr == S_OK) _call.Raise(u"start", FileName());
    return hr;
}

HRESULT FileControl::FilePlayStart() {
    Call call(*this, "FilePlayStart");
    HRESULT hr = Start_I(call);
    if (Succeeded(hr) && !pump.Player() && !FileName().empty()) hr = Open_I(call, *FileNode());
    return Failed(hr) ? hr : Play_I(call);
}

HRESULT FileControl::FilePlayPause(double _dblSeconds) {
    if (!std::isfinite(_dblSeconds)) return E_INVALIDARG;
    Call call(*this, "FilePlayPause");
    HRESULT hr = Start_I(call);
    if (Succeeded(hr) && !pump.Player() && !FileName().empty()) hr = Open_I(call, *FileNode());
    if (Failed(hr)) return hr;
    const bool bStep = pump.State() == eZrS_Paused;
    hr = pump.Pause(TicksOf(std::max(_dblSeconds, 0.0)));
    if (Succeeded(hr) && !bStep) call.Raise(u"pause", SecondsText(_dblSeconds));
    return hr;
}

HRESULT FileControl::FilePlayStop(double _dblSeconds) {
    if (!std::isfinite(_dblSeconds)) return E_INVALIDARG;
    Call call(*this, "FilePlayStop");
    if (eObject.load() != eZrS_Stopped) return S_FALSE;
    const HRESULT hr = pump.Halt(TicksOf(_dblSeconds));
    if (hr == S_OK) call.Raise(u"stop", SecondsText(_dblSeconds));
    return hr;
}

HRESULT FileControl::FileStateGet(eZrState* _peState, double* _pdblTimeRemain) {
    if (!_peState && !_pdblTimeRemain) return E_POINTER;
    const eZrState e = State();
    if (_peState) *_peState = e;
    if (_pdblTimeRemain)
        *_pdblTimeRemain = e == eZrS_Paused ? static_cast<double>(pump.PauseRemainder()) / kTicks : 0.0;
    return S_OK;
}

// --- Time code

HRESULT FileControl::Codes(std::unique_ptr<CODES>* _ppCodes) {
    const PlayerPtr pPlayer = pump.Player();
    if (!pPlayer) return ZR_E_EMPTY;
    ZR_TIMECODE tcFirst = pPlayer->Info().tcStart;
    const XMLNodeRef pFile = FileNode();
    for (const std::u16string_view key : {u"start_timecode", u"tc_start"}) {
        ZR_TIMECODE tc;
        if (ParseTimecode(pFile->AttributeOr(key, std::u16string_view()), &tc)) tcFirst = tc;
    }
    const bool bDrop = (tcFirst.eTCFlags & eZrTCF_DropFrame) != 0;
    const TimecodeRate rate(pPlayer->OwnRate(), bDrop);
    *_ppCodes = std::make_unique<CODES>(CODES{rate, rate.FrameOf(tcFirst)});
    return S_OK;
}

HRESULT FileControl::FileInOutSetTC(const ZR_TIMECODE* _pTCIn, const ZR_TIMECODE* _pTCOut) {
    std::unique_ptr<CODES> pCodes;
    HRESULT hr = Codes(&pCodes);
    if (Failed(hr)) return hr;
    const double dblIn = _pTCIn ? pCodes->SecondsOf(*_pTCIn) : 0.0;
    hr = FileInOutSet(dblIn, _pTCOut ? pCodes->SecondsOf(*_pTCOut) : dblIn - 1.0);
    if (Failed(hr)) return hr;
    const XMLNodeRef pFile = FileNode();
    if (_pTCIn) pFile->SetAttribute(u"tc_in", TimecodeText(*_pTCIn));
    if (_pTCOut) pFile->SetAttribute(u"tc_out", TimecodeText(*_pTCOut));
    return S_OK;
}

HRESULT FileControl::FileInOutGetTC(ZR_TIMECODE* _pTCIn, ZR_TIMECODE* _pTCOut, int32_t* _pbOutSpecified) {
    if (!_pTCIn && !_pTCOut && !_pbOutSpecified) return E_POINTER;
    std::unique_ptr<CODES> pCodes;
    HRESULT hr = Codes(&pCodes);
    double dblIn = 0, dblOut = 0, dblDuration = 0;
    if (Succeeded(hr)) hr = FileInOutGet(&dblIn, &dblOut, &dblDuration);
    if (Failed(hr)) return hr;
    const bool bOut = dblOut > dblIn;
    if (_pTCIn) *_pTCIn = pCodes->CodeAt(dblIn);
    if (_pbOutSpecified) *_pbOutSpecified = bOut ? 1 : 0;
    if (!_pTCOut) return S_OK;
    const int64_t nLast = std::max<int64_t>(pCodes->rate.FrameAt(dblDuration) - 1, 0);
    *_pTCOut = bOut ? pCodes->CodeAt(dblOut) : pCodes->rate.CodeOf(pCodes->nFirst + nLast);
    return S_OK;
}

HRESULT FileControl::FilePosSetTC(const ZR_TIMECODE* _pTC) {
    if (!_pTC) return E_POINTER;
    std::unique_ptr<CODES> pCodes;
    const HRESULT hr = Codes(&pCodes);
    return Failed(hr) ? hr : FilePosSet(pCodes->SecondsOf(*_pTC), FileNode()->AttributeOr(u"tc_preroll", 0.0));
}

HRESULT FileControl::FilePosGetTC(ZR_TIMECODE* _pTC) {
    if (!_pTC) return E_POINTER;
    std::unique_ptr<CODES> pCodes;
    const HRESULT hr = Codes(&pCodes);
    if (Succeeded(hr)) *_pTC = pCodes->CodeAt(pump.Position());
    return hr;
}

HRESULT FileControl::FileFrameGetByTC(const ZR_TIMECODE* _pTC, ZrPtr<IZrFFrame>* _ppFrame) {
    if (!_pTC) return E_POINTER;
    std::unique_ptr<CODES> pCodes;
    const HRESULT hr = Codes(&pCodes);
    if (Failed(hr)) return hr;
    return FileFrameGet(pCodes->SecondsOf(*_pTC), FileNode()->AttributeOr(u"tc_preroll", 0.0), _ppFrame);
}

}  // namespace zr
