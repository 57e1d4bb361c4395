#include "apps/zrmix/script_player.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string_view>

#include "apps/zrmix/config_kinds.h"
#include "apps/zrmix/nearest_name.h"
#include "apps/zrmix/run_error.h"

namespace zrmix {
namespace {

constexpr size_t kMostFaults = 100;  // that are shown

bool IsForStream(eShowCommand _e) {
    return (_e >= eShowCommand::Gain && _e <= eShowCommand::Rate) || _e == eShowCommand::Source;
}

bool IsForElement(eShowCommand _e) { return _e >= eShowCommand::Set && _e <= eShowCommand::Invoke; }

// Each track of what the stream plays.
template <class F>
zr::HRESULT ForEachTrack(zr::IZrItem* _pItem, F _f) {
    const auto pAudio = zr::QueryAs<zr::IZrAudio>(_pItem);
    if (!pAudio) return zr::E_NOINTERFACE;
    int32_t nCount = 0;
    zr::HRESULT hr = pAudio->AudioTracksGetCount(&nCount);
    for (int32_t i = 0; i < nCount && zr::Succeeded(hr); ++i) {
        zr::ZrPtr<zr::IZrAudioTrack> pTrack;
        hr = pAudio->AudioTrackGetByIndex(i, nullptr, pTrack.Out());
        if (zr::Succeeded(hr)) hr = _f(*pTrack);
    }
    return hr;
}

}  // namespace

ScriptPlayer::ScriptPlayer(const Show& _show, const std::string& _file)
    : show(_show), file(_file), script(ReadScript(ReadTextFile(_file))) {
    std::vector<SCRIPT_FAULT> arrFaults = script.arrFaults;
    for (SCRIPT_FAULT& fault : Compare()) arrFaults.push_back(std::move(fault));
    if (arrFaults.empty()) return;
    std::stable_sort(arrFaults.begin(), arrFaults.end(),
                     [](const auto& _a, const auto& _b) { return _a.nLine < _b.nLine; });
    std::string text;
    for (size_t i = 0; i < std::min(arrFaults.size(), kMostFaults); ++i)
        text +=
            (i == 0 ? "" : "\nzrmix: ") + file + ":" + std::to_string(arrFaults[i].nLine) + ": " + arrFaults[i].text;
    if (arrFaults.size() > kMostFaults)
        text += "\nzrmix: " + file + ": " + std::to_string(arrFaults.size() - kMostFaults) + " more faults";
    throw RunError(text);
}

// What the commands are for must be in the show, or come by a command before.
std::vector<SCRIPT_FAULT> ScriptPlayer::Compare() const {
    std::vector<SCRIPT_FAULT> arrFaults;
    const ConfigKinds kinds(show.Mixer());
    const std::vector<std::string> arrStreams = StreamIds(show.Mixer()), arrScenes = SceneIds(show.Mixer());
    std::set<std::string> setStreams(arrStreams.begin(), arrStreams.end()), setElements;
    for (const SCRIPT_COMMAND& command : script.arrCommands) {
        const auto Fault = [&](std::string _text) { arrFaults.push_back({command.nLine, std::move(_text)}); };
        const std::string& target = command.target;
        if (command.eCommand == eShowCommand::Scene) {
            if (std::find(arrScenes.begin(), arrScenes.end(), target) == arrScenes.end())
                Fault("there is no scene " + target + DidYouMean(target, arrScenes));
            continue;
        }
        if (command.eCommand == eShowCommand::Quit && command.dblTime <= 0) Fault("quit at 0 leaves nothing to run");
        if (command.eCommand == eShowCommand::Key) {
            if (const std::string why = WhyNoKey(kinds, show.File(), target, command.argument); !why.empty())
                Fault(why);
            continue;
        }
        if (command.eCommand == eShowCommand::Source) {
            setStreams.insert(target);
            if (const std::string why = WhyNotPlayed(show.File(), command.argument); !why.empty()) Fault(why);
        } else if (IsForStream(command.eCommand) && !setStreams.count(target) && target != "background") {
            Fault("there is no stream " + target + DidYouMean(target, arrStreams));
        }
        if (!IsForElement(command.eCommand)) continue;
        std::string kind = command.argument;
        if (command.eCommand == eShowCommand::Add) {
            const std::vector<std::string> arrTypes = kinds.Nodes("zr_scene");
            const std::string type = kind.substr(0, kind.find('.'));
            if (std::none_of(arrTypes.begin(), arrTypes.end(),
                             [&](const std::string& _known) { return SameName(_known, type); }))
                Fault("there is no type " + kind + DidYouMean(kind, arrTypes));
            const size_t nLast = target.rfind("::");
            const std::string parent = target.substr(0, nLast == target.npos ? 0 : nLast);
            if (!parent.empty() && !setElements.count(parent) && !FindElement(show.Mixer(), parent))
                Fault("there is no element " + parent + DidYouMean(parent, ElementIds(show.Mixer())));
            setElements.insert(target);
            setElements.insert(target.substr(nLast == target.npos ? 0 : nLast + 2));
        } else if (const auto pElement = FindElement(show.Mixer(), target)) {
            zr::GetText([&](zr::BSTR* _pbs) { return pElement->ElementTypeGet(_pbs); }, kind);
        } else if (!setElements.count(target)) {
            Fault("there is no element " + target + DidYouMean(target, ElementIds(show.Mixer())));
            continue;
        }
        for (const auto& [name, value] : command.arrAttributes) {
            if (name.find("::") != std::string::npos) continue;  // of a node in it
            std::string why = kinds.WhyNoAttribute(kind, name, value);
            if (SameName(name, "stream_id") && !value.empty() && !setStreams.count(value))
                why = "there is no stream " + value + DidYouMean(value, arrStreams);
            if (!why.empty()) Fault(why);
        }
    }
    return arrFaults;
}

// Events come here until the mixer is closed; a run that failed has left it open.
ScriptPlayer::~ScriptPlayer() {
    Stop();
    if (bStarted) show.Mixer()->ObjectClose();
}

void ScriptPlayer::Start() {
    bStarted = true;
    {
        const std::lock_guard lock(mtx);
        bRunning = true;
    }
    const auto pProps = show.As<zr::IZrProps>();
    pProps->PropsSet(u"object::on_event.sync", u"true");
    pProps->PropsSet(u"object::on_mix.event", u"true");
    pProps->PropsSet(u"object::sync_mode.fixed_buffers", u"0");  // frames in flight are mixed ahead of their commands
    show.Mixer()->ObjectCallbackSetFunc(reinterpret_cast<int64_t>(&ScriptPlayer::OnEvent), 0,
                                        reinterpret_cast<int64_t>(this));
}

void ScriptPlayer::Stop() {
    const std::lock_guard lock(mtx);
    bRunning = false;
}

int ScriptPlayer::Failures() {
    const std::lock_guard lock(mtx);
    return nFailures;
}

zr::HRESULT ScriptPlayer::OnEvent(int64_t _llUser, const char16_t*, const char16_t* _szEvent, const char16_t* _szParam,
                                  zr::IUnknown*) {
    if (std::u16string_view(_szEvent) == u"mix" && _szParam)
        reinterpret_cast<ScriptPlayer*>(_llUser)->OnFrame(std::atoll(zr::ToUtf8(_szParam).c_str()));
    return zr::S_OK;
}

void ScriptPlayer::OnFrame(int64_t _nFrame) {
    const std::lock_guard lock(mtx);
    if (!bRunning) return;
    for (; nNext < script.arrCommands.size(); ++nNext) {
        const SCRIPT_COMMAND& command = script.arrCommands[nNext];
        if (std::llround(command.dblTime * show.Rate()) > _nFrame) return;
        const zr::HRESULT hr = Do(command);
        if (zr::Succeeded(hr)) continue;
        ++nFailures;
        std::fprintf(stderr, "zrmix: %s:%d: %s\n", file.c_str(), command.nLine, zr::StatusText(hr).c_str());
    }
}

zr::HRESULT ScriptPlayer::Do(const SCRIPT_COMMAND& _command) const {
    if (IsForElement(_command.eCommand)) return DoElement(_command);
    if (IsForStream(_command.eCommand)) return DoStream(_command);
    switch (_command.eCommand) {
        case eShowCommand::Scene:
            return show.As<zr::IZrScenes>()->ScenesActiveSet(ToText(_command.target).Get(),
                                                             ToText(_command.Line()).Get());
        case eShowCommand::Key:
            return show.As<zr::IZrProps>()->PropsSet(ToText(KeyPath(_command.target)).Get(),
                                                     ToText(_command.argument).Get());
        default: return zr::S_OK;
    }
}

zr::HRESULT ScriptPlayer::DoElement(const SCRIPT_COMMAND& _command) const {
    if (_command.eCommand == eShowCommand::Add) return Add(_command);
    const auto pElement = FindElement(show.Mixer(), _command.target);
    if (!pElement) return zr::ZR_E_NOT_FOUND;
    switch (_command.eCommand) {
        case eShowCommand::Remove: return pElement->ElementDetach(_command.dblChange);
        case eShowCommand::Order:
            return pElement->ElementReorder(
                static_cast<int32_t>(std::lround(std::clamp(_command.dblArgument, -10000.0, 10000.0))));
        case eShowCommand::Invoke: return pElement->ElementInvoke(u"select", nullptr, _command.dblChange);
        default: return pElement->ElementMultipleSet(ToText(_command.Line()).Get(), _command.dblChange);
    }
}

// In the active scene, or in the element that stands before the last "::".
zr::HRESULT ScriptPlayer::Add(const SCRIPT_COMMAND& _command) const {
    const size_t nLast = _command.target.rfind("::");
    zr::ZrPtr<zr::IZrElements> pParent = show.As<zr::IZrElements>();
    std::string id = _command.target;
    if (nLast != std::string::npos) {
        const auto pElement = FindElement(show.Mixer(), id.substr(0, nLast));
        if (!pElement) return zr::ZR_E_NOT_FOUND;
        pParent = pElement.As<zr::IZrElements>();
        id = id.substr(nLast + 2);
    }
    return pParent->ElementsAdd(ToText(id).Get(), ToText(_command.argument).Get(), ToText(_command.Line()).Get(),
                                nullptr, _command.dblChange);
}

zr::HRESULT ScriptPlayer::DoStream(const SCRIPT_COMMAND& _command) const {
    if (_command.eCommand == eShowCommand::Source) {
        const zr::Text path = ToText(PathInShow(show.File(), _command.argument)), param = ToText(_command.Line());
        const auto pStreams = show.As<zr::IZrStreams>();
        if (_command.target == "background")
            return pStreams->StreamsBackgroundSet(nullptr, path.Get(), param.Get(), nullptr, _command.dblChange);
        return pStreams->StreamsAdd(ToText(_command.target).Get(), nullptr, path.Get(), param.Get(), nullptr,
                                    _command.dblChange);
    }
    const auto pItem = FindItem(show.Mixer(), _command.target);
    const auto pFile = pItem.As<zr::IZrFile>();
    if (!pFile) return zr::ZR_E_NOT_FOUND;
    const double dblChange = _command.dblChange;
    switch (_command.eCommand) {
        case eShowCommand::Gain:
            return ForEachTrack(pItem.Get(), [&](zr::IZrAudioTrack& _track) {
                return _track.TrackGainSet(-1, _command.dblArgument, dblChange);
            });
        case eShowCommand::Mute:
        case eShowCommand::Unmute:
            return ForEachTrack(pItem.Get(), [&](zr::IZrAudioTrack& _track) {
                return _track.TrackMuteSet(-1, _command.eCommand == eShowCommand::Mute, dblChange);
            });
        case eShowCommand::Play: return pFile->FilePlayStart();
        case eShowCommand::Pause: return pFile->FilePlayPause(dblChange);
        case eShowCommand::Stop: return pFile->FilePlayStop(dblChange);
        case eShowCommand::Seek: return pFile->FilePosSet(_command.dblArgument, 1.0);
        default: return pFile->FileRateSet(_command.dblArgument);
    }
}

}  // namespace zrmix
