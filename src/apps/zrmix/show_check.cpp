#include "apps/zrmix/show_check.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/nearest_name.h"
#include "apps/zrmix/run_error.h"
#include "apps/zrmix/run_output.h"
#include "apps/zrmix/show.h"

namespace zrmix {

struct ShowCheck::SOURCE {
    std::string file;
    XML_DOCUMENT document;
};

namespace {

constexpr int kMostFiles = 16;  // that name one another

std::string InFolderOf(const std::string& _file, const std::string& _path) {
    return _path.starts_with('/') ? _path : (std::filesystem::path(_file).parent_path() / _path).string();
}

bool Exists(const std::string& _file) {
    std::error_code code;
    return std::filesystem::is_regular_file(_file, code);
}

bool IsScene(const XML_ELEMENT& _node) { return SameName(_node.name, "zr_scene") || SameName(_node.name, "scene"); }

std::string Quoted(const std::string& _text) { return "\"" + _text + "\""; }

}  // namespace

std::string ShowCheck::Hint(const std::string& _name, const std::vector<std::string>& _arrKnown) const {
    return arrFaults.size() < kMostFaults ? DidYouMean(_name, _arrKnown) : std::string();
}

void ShowCheck::Fault(const SOURCE& _source, const TEXT_PLACE& _place, std::string _text) {
    if (++nFaults > kMostFaults) return;
    while (!_text.empty() && (_text.back() == '.' || _text.back() == '\n')) _text.pop_back();
    for (char& ch : _text)
        if (static_cast<unsigned char>(ch) < ' ' || ch == 0x7F) ch = ' ';  // it goes to a terminal
    arrFaults.push_back({_source.file, _place, std::move(_text)});
}

std::vector<SHOW_FAULT> ShowCheck::Check(const std::string& _file) {
    arrOpenFiles = {_file};
    const SOURCE source{_file, ScanXml(ReadTextFile(_file))};
    for (const TEXT_FAULT& fault : source.document.arrFaults) Fault(source, fault.place, fault.text);
    const XML_ELEMENT* const pTop = source.document.Top();
    if (!pTop) return std::move(arrFaults);
    if (SameName(pTop->name, "zr_config")) {
        bStreamsKnown = true;
        CheckTree(source, *pTop, "zr_config");
        CheckStreams(source, source.document.Child(pTop, "mixer_streams"));
        CheckScenes(source, source.document.Child(pTop, "zr_scenes"));
    } else if (IsScene(*pTop) || SameName(pTop->name, "zr_scenes")) {
        CheckTree(source, *pTop, pTop->name);
        CheckScenes(source, pTop);
    } else {
        Fault(source, pTop->place,
              "a show begins with <zr_config>, a scene with <zr_scene>, this with <" + pTop->name + ">");
    }
    CheckUses();
    std::stable_sort(arrFaults.begin(), arrFaults.end(), [&](const SHOW_FAULT& _a, const SHOW_FAULT& _b) {
        const auto Key = [&](const SHOW_FAULT& _f) {
            return std::tuple(_f.file != _file, _f.file, _f.place.nLine, _f.place.nColumn);
        };
        return Key(_a) < Key(_b);
    });
    return std::move(arrFaults);
}

// Names and values of a node and of all below it; what is not known is said once, and nothing of what is in it.
void ShowCheck::CheckTree(const SOURCE& _source, const XML_ELEMENT& _top, const std::string& _kind) {
    std::vector<std::pair<const XML_ELEMENT*, std::string>> arrWaiting{{&_top, _kind}};
    while (!arrWaiting.empty()) {
        const auto [pNode, kind] = std::move(arrWaiting.back());
        arrWaiting.pop_back();
        if (kinds.TakesAnything(kind)) continue;
        CheckAttributes(_source, *pNode, kind);
        const std::vector<std::string> arrKnown = kinds.Nodes(kind);
        const auto nWaiting = static_cast<ptrdiff_t>(arrWaiting.size());
        for (const size_t n : pNode->arrChildren) {
            const XML_ELEMENT& child = _source.document.arrElements[n];
            const bool bKnown = std::any_of(arrKnown.begin(), arrKnown.end(),
                                            [&](const std::string& _name) { return SameName(_name, child.name); });
            if (bKnown)
                arrWaiting.emplace_back(&child, child.name);
            else
                Fault(_source, child.place,
                      "<" + child.name + "> is not known in <" + pNode->name + ">" + Hint(child.name, arrKnown));
        }
        std::reverse(arrWaiting.begin() + nWaiting, arrWaiting.end());
    }
}

void ShowCheck::CheckAttributes(const SOURCE& _source, const XML_ELEMENT& _node, const std::string& _kind) {
    for (const XML_ATTRIBUTE& attribute : _node.arrAttributes) {
        if (const XML_ELEMENT* const pKnown = kinds.Attribute(_kind, attribute.name))
            CheckValue(_source, _node, *pKnown, attribute);
        else
            Fault(_source, attribute.place,
                  "the attribute " + attribute.name + " of <" + _node.name + "> is not known" +
                      Hint(attribute.name, kinds.Attributes(_kind)));
    }
}

void ShowCheck::CheckValue(const SOURCE& _source, const XML_ELEMENT& _node, const XML_ELEMENT& _known,
                           const XML_ATTRIBUTE& _attribute) {
    const std::string type = _known.Value("type");
    const std::string what = _attribute.name + " of <" + _node.name + ">: ";
    std::string why = kinds.WhyUnreadable(_known, _attribute.value);
    const std::string& value = _attribute.value;
    if (type == "media" && !value.empty()) why = WhyNoMedia(kinds, _source.file, value);
    const bool bShape = type == "mask" && kinds.IsValue("mask", value);
    if ((type == "path" && !IsScene(_node)) || (type == "mask" && !bShape)) {
        if (LeavesFolder(value))
            why = value + " leads out of the folder of the file";
        else if (!value.empty() && !Exists(InFolderOf(_source.file, value)))
            why = "there is no file " + InFolderOf(_source.file, value) +
                  (type == "mask" ? Hint(value, kinds.Values("mask")) : "");
    }
    if (!why.empty()) Fault(_source, _attribute.placeOfValue, what + why);
}

void ShowCheck::CheckStreams(const SOURCE& _source, const XML_ELEMENT* _pStreams) {
    if (!_pStreams) return;
    for (const size_t n : _pStreams->arrChildren) {
        const XML_ELEMENT& item = _source.document.arrElements[n];
        if (!SameName(item.name, "item")) continue;
        const XML_ATTRIBUTE* const pId = item.Find("stream_id");
        const XML_ELEMENT* const pProps = _source.document.Child(&item, "zritem_props");
        const std::string video = pProps ? pProps->Value("video") : std::string();
        const bool bPicture = !SameName(video, "false") && video != "0";
        if (pId && !pId->value.empty() && !mapStreams.emplace(pId->value, arrStreams.size()).second)
            Fault(_source, pId->place, "there is a stream " + Quoted(pId->value) + " already");
        arrStreams.push_back({pId ? pId->value : std::string(), _source.file, item.place, bPicture, false});
    }
}

void ShowCheck::CheckScenes(const SOURCE& _source, const XML_ELEMENT* _pScenes) {
    if (!_pScenes) return;
    if (IsScene(*_pScenes)) {
        CheckScene(_source, *_pScenes, 0);
        return;
    }
    std::vector<std::string> arrNames;
    std::unordered_set<std::string> setNames;
    for (const size_t n : _pScenes->arrChildren) {
        const XML_ELEMENT& scene = _source.document.arrElements[n];
        if (!IsScene(scene)) continue;
        const XML_ATTRIBUTE* const pName = scene.Find("name");
        if (pName && !setNames.insert(pName->value).second)
            Fault(_source, pName->place, "there is a scene " + Quoted(pName->value) + " already");
        if (pName) arrNames.push_back(pName->value);
        CheckScene(_source, scene, 0);
    }
    const XML_ATTRIBUTE* const pActive = _pScenes->Find("active_scene");
    if (pActive && std::none_of(arrNames.begin(), arrNames.end(),
                                [&](const std::string& _name) { return SameName(_name, pActive->value); }))
        Fault(_source, pActive->placeOfValue,
              "there is no scene " + Quoted(pActive->value) + Hint(pActive->value, arrNames));
}

void ShowCheck::CheckScene(const SOURCE& _source, const XML_ELEMENT& _scene, int _nDepth) {
    const XML_ATTRIBUTE* const pSrc = _scene.Find("src");
    if (pSrc && !pSrc->value.empty() && _scene.arrChildren.empty())
        FollowSrc(_source, _scene, *pSrc, _nDepth);
    else
        CheckElements(_source, _scene);
}

void ShowCheck::FollowSrc(const SOURCE& _source, const XML_ELEMENT& _scene, const XML_ATTRIBUTE& _src, int _nDepth) {
    const std::string what = "src of <" + _scene.name + ">: ";
    const std::string file = InFolderOf(_source.file, _src.value);
    const auto Same = [&](const std::string& _other) {
        std::error_code code;
        return _other == file || std::filesystem::equivalent(_other, file, code);
    };
    if (LeavesFolder(_src.value)) {
        Fault(_source, _src.placeOfValue, what + _src.value + " leads out of the folder of the file");
    } else if (!Exists(file)) {
        Fault(_source, _src.placeOfValue, what + "there is no file " + file);
    } else if (std::any_of(arrOpenFiles.begin(), arrOpenFiles.end(), Same)) {
        Fault(_source, _src.placeOfValue, what + "the files name one another in a circle: " + file + " again");
    } else if (_nDepth >= kMostFiles) {
        Fault(_source, _src.placeOfValue, what + "too many files that name one another");
    } else {
        arrOpenFiles.push_back(file);
        const SOURCE source{file, ScanXml(ReadTextFile(file))};
        for (const TEXT_FAULT& fault : source.document.arrFaults) Fault(source, fault.place, fault.text);
        if (const XML_ELEMENT* const pTop = source.document.Top()) {
            CheckTree(source, *pTop, "zr_scene");
            CheckScene(source, *pTop, _nDepth + 1);
        }
        arrOpenFiles.pop_back();
    }
}

// Which streams the elements of a scene show, and ids that name two of them.
void ShowCheck::CheckElements(const SOURCE& _source, const XML_ELEMENT& _scene) {
    std::vector<std::string> arrIds;
    std::vector<std::pair<const XML_ELEMENT*, int>> arrWaiting{{&_scene, 0}};
    bool bTooDeep = false;
    while (!arrWaiting.empty()) {
        const auto [pNode, nDepth] = arrWaiting.back();
        arrWaiting.pop_back();
        if (nDepth >= kinds.MostDepth() && !pNode->arrChildren.empty() && !std::exchange(bTooDeep, true))
            Fault(_source, _source.document.arrElements[pNode->arrChildren[0]].place,
                  "what stands here is not drawn: it is more than " + std::to_string(kinds.MostDepth()) +
                      " elements deep");
        std::unordered_set<std::string> setHere;
        const auto nWaiting = static_cast<ptrdiff_t>(arrWaiting.size());
        for (const size_t n : pNode->arrChildren) {
            const XML_ELEMENT& child = _source.document.arrElements[n];
            arrWaiting.emplace_back(&child, nDepth + 1);
            if (const XML_ATTRIBUTE* const pId = child.Find("id")) {
                if (pId->value.find("::") != std::string::npos)
                    Fault(_source, pId->placeOfValue, "id of <" + child.name + ">: a \"::\" stands between ids only");
                if (!setHere.insert(pId->value).second)
                    Fault(_source, pId->place, "there is an element " + Quoted(pId->value) + " beside it already");
                arrIds.push_back(pId->value);
            }
            if (!SameName(child.name, "video")) continue;
            const XML_ATTRIBUTE* const pStream = child.Find("stream_id");
            const XML_ATTRIBUTE* const pIndex = child.Find("stream_idx");
            if (pStream && !pStream->value.empty())
                arrUses.push_back({_source.file, pStream->placeOfValue, pStream->value, false});
            else if (pIndex && !pIndex->value.empty())
                arrUses.push_back({_source.file, pIndex->placeOfValue, pIndex->value, true});
            else
                Fault(_source, child.place, "<video> names no stream: it has neither stream_id nor stream_idx");
        }
        std::reverse(arrWaiting.begin() + nWaiting, arrWaiting.end());
    }
    for (const XML_ELEMENT* p : {&_scene, _source.document.Child(&_scene, "foreground")}) {
        const XML_ATTRIBUTE* const pHighlight = p ? p->Find("highlight_item") : nullptr;
        if (!pHighlight || pHighlight->value.empty() || pHighlight->value.find("::") != std::string::npos) continue;
        if (std::find(arrIds.begin(), arrIds.end(), pHighlight->value) == arrIds.end())
            Fault(_source, pHighlight->placeOfValue,
                  "there is no element " + Quoted(pHighlight->value) + Hint(pHighlight->value, arrIds));
    }
}

void ShowCheck::CheckUses() {
    if (!bStreamsKnown) return;
    std::vector<std::string> arrIds;
    for (const STREAM& stream : arrStreams)
        if (!stream.id.empty()) arrIds.push_back(stream.id);
    for (const USE& use : arrUses) {
        const SOURCE source{use.file, {}};
        if (use.bIndex) {
            char* pEnd = nullptr;
            const unsigned long n = std::strtoul(use.id.c_str(), &pEnd, 10);
            if (*pEnd != 0 || use.id[0] < '0' || use.id[0] > '9')
                Fault(source, use.place, "stream_idx of <video>: " + Quoted(use.id) + " is no place of a stream");
            else if (n >= arrStreams.size())
                Fault(source, use.place,
                      "there is no stream " + use.id + ": the show has " + std::to_string(arrStreams.size()) +
                          ", 0 is the first");
            else
                arrStreams[n].bUsed = true;
            continue;
        }
        const auto it = mapStreams.find(use.id);
        if (it == mapStreams.end())
            Fault(source, use.place, "there is no stream " + Quoted(use.id) + Hint(use.id, arrIds));
        else
            arrStreams[it->second].bUsed = true;
    }
    for (size_t i = 0; i < arrStreams.size(); ++i) {
        const STREAM& stream = arrStreams[i];
        if (stream.bUsed || !stream.bPicture) continue;
        Fault({stream.file, {}}, stream.place,
              "no scene shows the stream " + (stream.id.empty() ? std::to_string(i) : Quoted(stream.id)) +
                  "; one that is only heard says so by <zritem_props video=\"false\"/>");
    }
}

}  // namespace zrmix
