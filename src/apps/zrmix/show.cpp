#include "apps/zrmix/show.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/config_kinds.h"
#include "apps/zrmix/nearest_name.h"
#include "apps/zrmix/run_error.h"
#include "apps/zrmix/run_output.h"

namespace zrmix {
namespace {

constexpr const char* arrPropertyNodes[] = {"object", "file", "audio", "device", "stat"};

// Seconds that a source plays, once; 0: as long as somebody looks.
double LengthOf(zr::IZrItem* _pItem) {
    const auto pProps = zr::QueryAs<zr::IZrProps>(_pItem);
    const auto pFile = zr::QueryAs<zr::IZrFile>(_pItem);
    if (!pProps || !pFile) return 0;
    std::string kind, loop;
    zr::GetText([&](zr::BSTR* _pbs) { return pProps->PropsGet(u"info::format", _pbs); }, kind);
    zr::GetText([&](zr::BSTR* _pbs) { return pProps->PropsGet(u"file::loop", _pbs); }, loop);
    if (kind.find("picture") != std::string::npos || loop == "true" || loop == "1") return 0;
    double dblIn = 0, dblOut = 0, dblDuration = 0;
    if (zr::Failed(pFile->FileInOutGet(&dblIn, &dblOut, &dblDuration))) return 0;
    return std::max((dblOut > dblIn ? std::min(dblOut, dblDuration) : dblDuration) - dblIn, 0.0);
}

constexpr int kMostDepth = 64;  // of elements that are looked for

// _getId: HRESULT(index, BSTR*); what has none is left out.
template <class GetId>
std::vector<std::string> IdsOf(int32_t _nCount, const GetId& _getId) {
    std::vector<std::string> arrIds;
    for (int32_t i = 0; i < _nCount; ++i) {
        zr::Text id;
        if (zr::Succeeded(_getId(i, id.Out()))) arrIds.push_back(id.Utf8());
    }
    return arrIds;
}

// By its id, at any depth: of two that have it the one further up.
zr::ZrPtr<zr::IZrElement> FindBelow(const zr::ZrPtr<zr::IZrElements>& _pTop, const std::string& _id) {
    const zr::Text id = ToText(_id);
    std::vector<zr::ZrPtr<zr::IZrElements>> arrLevel{_pTop}, arrNext;
    for (int nDepth = 0; nDepth < kMostDepth && !arrLevel.empty(); ++nDepth) {
        zr::ZrPtr<zr::IZrElement> pFound;
        for (const auto& pParent : arrLevel)
            if (zr::Succeeded(pParent->ElementsGetByID(id.Get(), pFound.Out()))) return pFound;
        arrNext.clear();
        for (const auto& pParent : arrLevel) {
            int32_t nCount = 0;
            pParent->ElementsGetCount(&nCount);
            for (int32_t i = 0; i < nCount; ++i)
                if (zr::Succeeded(pParent->ElementsGetByIndex(i, pFound.Out())))
                    arrNext.push_back(pFound.As<zr::IZrElements>());
        }
        std::swap(arrLevel, arrNext);
    }
    return {};
}

void AddIds(zr::IZrElements* _pParent, std::vector<std::string>& _arrIds, int _nDepth) {
    int32_t nCount = 0;
    if (_nDepth >= kMostDepth || zr::Failed(_pParent->ElementsGetCount(&nCount))) return;
    for (int32_t i = 0; i < nCount; ++i) {
        zr::ZrPtr<zr::IZrElement> pChild;
        std::string id;
        if (zr::Failed(_pParent->ElementsGetByIndex(i, pChild.Out()))) continue;
        const auto pAttributes = pChild.As<zr::IZrAttributes>();
        zr::GetText([&](zr::BSTR* _pbs) { return pAttributes->AttributesStringGet(u"id", _pbs); }, id);
        if (!id.empty()) _arrIds.push_back(id);
        AddIds(pChild.As<zr::IZrElements>().Get(), _arrIds, _nDepth + 1);
    }
}

}  // namespace

Show::Show(const SHOW_OPTIONS& _options, bool _bFast) : file(_options.file) {
    document = ScanXml(ReadTextFile(_options.file));
    Check(zr::ZrCreateInstance(zr::kClsidZrMixer, pMixer), "mixer");
    const auto pProps = As<zr::IZrProps>();
    const zr::HRESULT hr = As<zr::IZrPersist>()->PersistLoad(nullptr, ToText(_options.file).Get(), nullptr);
    if (zr::Failed(hr)) throw RunError(WhyNotLoaded(hr));
    CheckStreams(_options);
    pProps->PropsSet(u"object::sync_mode", u"true");
    pProps->PropsSet(u"auto_start", u"true");
    SetPace(pProps.Get(), _bFast);
    SetFormat(_options);
    for (const std::string& pair : _options.arrSet) Set(pair);
}

std::string Show::WhyNotLoaded(zr::HRESULT _hr) const {
    if (document.arrFaults.empty()) return file + ": it does not load: " + zr::StatusText(_hr);
    const TEXT_FAULT& first = document.arrFaults[0];
    return file + ":" + std::to_string(first.place.nLine) + ":" + std::to_string(first.place.nColumn) + ": " +
           first.text;
}

// Those that could not be opened have been left out by the loading.
void Show::CheckStreams(const SHOW_OPTIONS& _options) const {
    const auto CheckItem = [&](const XML_ELEMENT& _place, const std::string& _id) {
        if (_place.arrChildren.empty() || FindItem(pMixer.Get(), _id)) return;
        const XML_ELEMENT& kind = document.arrElements[_place.arrChildren[0]];
        const std::string path = kind.Value("path");
        zr::ZrPtr<zr::IZrFile> pFile;
        Check(zr::ZrCreateInstance(zr::kClsidZrFile, pFile), "file source");
        const std::string where = _options.file + ": " + _id + ": ";
        try {
            OpenFile(pFile.Get(), PathInShow(_options.file, path));
        } catch (const RunError& error) {
            throw RunError(where + error.what());
        }
        throw RunError(where + path + " cannot be opened from the show's folder");
    };
    if (const XML_ELEMENT* const p = document.Child(document.Top(), "background")) CheckItem(*p, "background");
    const XML_ELEMENT* const pStreams = document.Child(document.Top(), "mixer_streams");
    if (!pStreams) return;
    for (const size_t n : pStreams->arrChildren)
        if (const std::string id = document.arrElements[n].Value("stream_id"); !id.empty())
            CheckItem(document.arrElements[n], id);
}

void Show::SetFormat(const SHOW_OPTIONS& _options) {
    const auto pFormat = As<zr::IZrFormat>();
    Check(pFormat->FormatVideoGet(zr::eZrFT_Convert, &props, nullptr, nullptr), "format");
    if (!_options.format.empty()) {
        const zr::eZrFCC fccType = props.fccType;
        props = FindFormat(pFormat.Get(), _options.format);
        if (fccType != zr::eZrFCC_Default) props.fccType = fccType, props.nRowBytes = 0;
    } else if (props.nWidth > 0 && props.dblRate <= 0) {
        props.dblRate = 25;
    } else if (props.dblRate <= 0) {
        props = {};
        props.eVideoFormat = zr::eZrVF_HD1080_25p;
    }
    Check(pFormat->FormatVideoSet(zr::eZrFT_Convert, &props), "format");
    Check(pFormat->FormatVideoGet(zr::eZrFT_Convert, &props, nullptr, nullptr), "format");
}

void Show::Set(const std::string& _pair) {
    const size_t nEqual = _pair.find('=');
    if (nEqual == std::string::npos || nEqual == 0 || _pair.starts_with("::"))
        throw UsageError("--set " + _pair + ": not of the form key=value or element::attribute=value");
    const std::string key = _pair.substr(0, nEqual), value = _pair.substr(nEqual + 1);
    const ConfigKinds kinds(pMixer.Get());
    const auto Refuse = [&](const std::string& _why) {
        if (!_why.empty()) throw UsageError("--set " + _pair + ": " + _why);
    };
    const size_t nLast = key.rfind("::");
    const bool bProperty = nLast == std::string::npos ||
                           std::any_of(std::begin(arrPropertyNodes), std::end(arrPropertyNodes),
                                       [&](const char* _sz) { return key.substr(0, key.find("::")) == _sz; });
    if (bProperty) {
        Refuse(WhyNoKey(kinds, file, key, value));
        Check(As<zr::IZrProps>()->PropsSet(ToText(KeyPath(key)).Get(), ToText(value).Get()), "--set " + _pair);
        return;
    }
    const auto pElement = FindElement(pMixer.Get(), key.substr(0, nLast));
    const std::string id = key.substr(0, nLast), name = key.substr(nLast + 2);
    if (!pElement) Refuse("there is no element " + id + DidYouMean(id, ElementIds(pMixer.Get())));
    std::string kind;
    zr::GetText([&](zr::BSTR* _pbs) { return pElement->ElementTypeGet(_pbs); }, kind);
    Refuse(kinds.WhyNoAttribute(kind, name, value));
    const std::vector<std::string> arrStreams = StreamIds(pMixer.Get());
    if (SameName(name, "stream_id") && std::find(arrStreams.begin(), arrStreams.end(), value) == arrStreams.end())
        Refuse("there is no stream " + value + DidYouMean(value, arrStreams));
    Check(pElement->ElementStringSet(ToText(name).Get(), ToText(value).Get(), 0), "--set " + _pair);
}

double Show::Length() const {
    const auto pStreams = As<zr::IZrStreams>();
    zr::ZrPtr<zr::IZrItem> pItem;
    double dblLength = 0;
    if (zr::Succeeded(pStreams->StreamsBackgroundGet(nullptr, pItem.Out())) && pItem) dblLength = LengthOf(pItem.Get());
    int32_t nCount = 0;
    pStreams->StreamsGetCount(&nCount);
    for (int32_t i = 0; i < nCount; ++i)
        if (zr::Succeeded(pStreams->StreamsGetByIndex(i, nullptr, pItem.Out())) && pItem)
            dblLength = std::max(dblLength, LengthOf(pItem.Get()));
    return dblLength;
}

std::vector<std::string> Show::Files() const {
    std::vector<std::string> arrFiles{file};
    for (const XML_ELEMENT& element : document.arrElements)
        for (const char* szName : {"path", "src", "mask", "screen_mask"})
            if (const XML_ATTRIBUTE* const p = element.Find(szName)) arrFiles.push_back(PathInShow(file, p->value));
    return arrFiles;
}

std::string ReadTextFile(const std::string& _file) {
    std::error_code code;
    const auto type = std::filesystem::status(_file, code).type();
    if (type == std::filesystem::file_type::not_found) throw RunError(_file + ": there is no such file");
    if (type == std::filesystem::file_type::directory) throw RunError(_file + ": it is a folder");
    if (type != std::filesystem::file_type::regular) throw RunError(_file + ": it is a pipe or a device, not a file");
    std::ifstream stream(_file, std::ios::binary);
    if (!stream) throw RunError(_file + ": it may not be read");
    if (stream.peek() == std::ifstream::traits_type::eof()) throw RunError(_file + ": it is empty");
    std::ostringstream text;
    text << stream.rdbuf();
    if (stream.bad() || text.fail()) throw RunError(_file + ": it cannot be read");
    return text.str();
}

std::string PathInShow(const std::string& _show, const std::string& _path) {
    const size_t nFolder = _show.rfind('/');
    if (nFolder == std::string::npos || _path.starts_with('/') || IsUrl(_path)) return _path;
    const std::string inFolder = _show.substr(0, nFolder + 1) + _path;
    return std::ifstream(inFolder) || _path.find('.') != std::string::npos ? inFolder : _path;
}

bool LeavesFolder(const std::string& _path) {
    if (_path.starts_with('/') || IsUrl(_path)) return false;
    int nDepth = 0;
    for (const auto& part : std::filesystem::path(_path)) {
        if (part == "..")
            --nDepth;
        else if (part != ".")
            ++nDepth;
        if (nDepth < 0) return true;
    }
    return false;
}

std::string WhyNotPlayed(const std::string& _show, const std::string& _path) {
    if (IsUrl(_path)) return {};
    if (LeavesFolder(_path)) return _path + " leads out of the folder of the file";
    zr::ZrPtr<zr::IZrFile> pFile;
    Check(zr::ZrCreateInstance(zr::kClsidZrFile, pFile), "file source");
    try {
        OpenFile(pFile.Get(), PathInShow(_show, _path));
    } catch (const RunError& error) {
        std::string reason = error.what();
        if (reason.ends_with('.')) reason.pop_back();
        return reason;
    }
    zr::QueryAs<zr::IZrObject>(pFile.Get())->ObjectClose();
    return {};
}

std::string WhyNoMedia(const ConfigKinds& _kinds, const std::string& _show, const std::string& _value) {
    std::string why = WhyNotPlayed(_show, _value);
    if (!why.empty() && _value.find('.') == std::string::npos) why += DidYouMean(_value, _kinds.Values("color"));
    return why;
}

std::string WhyNoKey(const ConfigKinds& _kinds, const std::string& _show, const std::string& _key,
                     const std::string& _value) {
    std::string why = _kinds.WhyNoKey(_key, _value);
    if (why.empty() && !_value.empty() && _kinds.IsPlayed(_key)) why = WhyNoMedia(_kinds, _show, _value);
    return why;
}

zr::Text ToText(std::string_view _text) { return zr::Text(_text); }

zr::ZrPtr<zr::IZrItem> FindItem(zr::IUnknown* _pMixer, const std::string& _id) {
    const auto pStreams = zr::QueryAs<zr::IZrStreams>(_pMixer);
    zr::ZrPtr<zr::IZrItem> pItem;
    if (zr::Succeeded(pStreams->StreamsGet(ToText(_id).Get(), nullptr, pItem.Out()))) return pItem;
    if (_id == "background") pStreams->StreamsBackgroundGet(nullptr, pItem.Out());
    return pItem;
}

zr::ZrPtr<zr::IZrElement> FindElement(zr::IUnknown* _pMixer, const std::string& _id) {
    const auto pScenes = zr::QueryAs<zr::IZrScenes>(_pMixer);
    zr::ZrPtr<zr::IZrElements> pScene;
    if (zr::Succeeded(pScenes->ScenesActiveGet(nullptr, nullptr, pScene.Out())) && pScene)
        if (auto p = FindBelow(pScene, _id)) return p;
    int32_t nCount = 0;
    pScenes->ScenesGetCount(&nCount);
    for (int32_t i = 0; i < nCount; ++i) {
        if (zr::Failed(pScenes->ScenesGetByIndex(i, nullptr, pScene.Out()))) continue;
        if (auto p = FindBelow(pScene, _id)) return p;
    }
    return {};
}

std::vector<std::string> StreamIds(zr::IUnknown* _pMixer) {
    const auto pStreams = zr::QueryAs<zr::IZrStreams>(_pMixer);
    int32_t nCount = 0;
    pStreams->StreamsGetCount(&nCount);
    return IdsOf(nCount, [&](int32_t _n, zr::BSTR* _pbs) { return pStreams->StreamsGetByIndex(_n, _pbs, nullptr); });
}

std::vector<std::string> SceneIds(zr::IUnknown* _pMixer) {
    const auto pScenes = zr::QueryAs<zr::IZrScenes>(_pMixer);
    int32_t nCount = 0;
    pScenes->ScenesGetCount(&nCount);
    return IdsOf(nCount, [&](int32_t _n, zr::BSTR* _pbs) { return pScenes->ScenesGetByIndex(_n, _pbs, nullptr); });
}

std::vector<std::string> ElementIds(zr::IUnknown* _pMixer) {
    const auto pScenes = zr::QueryAs<zr::IZrScenes>(_pMixer);
    std::vector<std::string> arrIds;
    int32_t nCount = 0;
    pScenes->ScenesGetCount(&nCount);
    for (int32_t i = 0; i < nCount; ++i) {
        zr::ZrPtr<zr::IZrElements> pScene;
        if (zr::Succeeded(pScenes->ScenesGetByIndex(i, nullptr, pScene.Out()))) AddIds(pScene.Get(), arrIds, 0);
    }
    return arrIds;
}

}  // namespace zrmix
