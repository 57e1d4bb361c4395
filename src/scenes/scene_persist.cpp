#include "scenes/scene_persist.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/wide_text.h"
#include "scenes/element_names.h"
#include "scenes/scene_file.h"

namespace zr {
namespace {

using namespace element;

constexpr NameKey kScenes{u"zr_scenes"};
constexpr NameKey kOtherScene{u"scene"};
constexpr std::u16string_view kName = u"name", kSrc = u"src", kActive = u"active_scene";
constexpr std::u16string_view arrPathNames[] = {u"mask", u"screen_mask", u"src"};
constexpr NameKey arrOfChange[] = {kNodeFrom, kNodeHide, kClone};
constexpr size_t kMaxFiles = 16;  // that name one another

template <class F>
void ForEachBelow(const ElementPtr& _pTop, F _f) {
    std::vector<ElementPtr> arrWaiting{_pTop};
    while (!arrWaiting.empty()) {
        const ElementPtr p = std::move(arrWaiting.back());
        arrWaiting.pop_back();
        _f(*p);
        for (size_t i = p->ChildCount(); i-- > 0;)
            if (ElementPtr pChild = p->ChildAt(i); pChild && !pChild->IsText()) arrWaiting.push_back(std::move(pChild));
    }
}

bool IsSceneTag(const CoElement& _node) { return _node.HasTag(kScene) || _node.HasTag(kOtherScene); }

// --- Saving

std::u16string SchemaText() {
    static const std::u16string strText = [] {
        const ElementPtr p = CoElement::CreateTop(kInfo.text);
        p->Parse(ElementSchemaXml());
        p->Rename(kInfo.text);
        std::u16string str;
        p->Write(str);
        return str;
    }();
    return strText;
}

void LeaveOutSchema(CoElement& _scene) {
    const ElementPtr pInfo = _scene.Setting(kInfo);
    if (!pInfo) return;
    std::u16string str;
    pInfo->Write(str);
    if (str == SchemaText()) _scene.RemoveChild(pInfo.Get());
}

void LeaveOutLeaving(const ElementPtr& _pScene) {
    std::vector<ElementPtr> arrLeaving;
    ForEachBelow(_pScene, [&](CoElement& _element) {
        if (_element.AttributeOr(kRemove.text, false)) arrLeaving.emplace_back(&_element);
    });
    for (const ElementPtr& p : arrLeaving) p->Detach();
}

// A name that the process would find is written from the main file's folder on.
void MakeRelative(CoElement& _element, std::u16string_view _folder) {
    std::u16string strPath;
    for (const std::u16string_view name : arrPathNames) {
        if (!_element.GetAttribute(name, strPath) || !IsSceneFile(strPath)) continue;
        const std::u16string strWhole = AbsolutePath(strPath);
        _element.SetAttribute(name, RelativePath(_folder, strWhole));
    }
}

// A copy of a scene becomes what is saved of it, under its name.
void MakeSaved(const ScenesSet::SCENE& _copy, const PERSIST_PARAM& _param) {
    CoElement& scene = *_copy.pRoot;
    LeaveOutSchema(scene);
    LeaveOutLeaving(_copy.pRoot);
    ForEachBelow(_copy.pRoot, [&](CoElement& _element) { MakeRelative(_element, _param.Folder()); });
    const ElementPtr pNamed = CoElement::CreateTop(kScene.text);
    pNamed->SetAttribute(kName, std::u16string_view(_copy.strID));
    pNamed->CopyAttributesFrom(scene, eZrUT_AddNew);
    scene.CopyAttributesFrom(*pNamed, eZrUT_ClearDest);
}

// Ids as parts of files' names: no two scenes have one file, whatever characters were not to be in it.
class FileNames {
public:
    std::u16string Of(std::u16string_view _id) {
        constexpr size_t kMost = 80;
        std::u16string strName(_id.substr(0, kMost));
        if (!strName.empty() && (strName.back() & 0xFC00) == 0xD800) strName.pop_back();  // no half of a character
        for (char16_t& ch : strName)
            if (ch < u' ' || std::u16string_view(u"/\\:*?\"<>|").find(ch) != std::u16string_view::npos) ch = u'_';
        int32_t& nNext = mapNext.try_emplace(NameHash(strName), 1).first->second;
        std::u16string strFree = strName;
        while (!setTaken.insert(NameHash(strFree)).second) {
            strFree.assign(strName).append(u"_");
            AppendPadded(strFree, static_cast<uint64_t>(nNext++), 3);
        }
        return strFree;
    }

private:
    std::unordered_set<uint64_t> setTaken;
    std::unordered_map<uint64_t, int32_t> mapNext;  // numbers below are taken
};

}  // namespace

HRESULT SaveScenes(const ScenesSet& _scenes, CoElement& _scenesNode, const PERSIST_PARAM& _param) {
    _scenesNode.RemoveChildren();
    std::vector<ScenesSet::SCENE> arrSaved;
    {
        CRWReadScope lock(_scenes.Shared().lock);
        _scenesNode.SetAttribute(kActive, std::u16string_view(_scenes.ActiveID()));
        for (const ScenesSet::SCENE& scene : _scenes.Scenes()) {
            arrSaved.push_back({scene.strID, CoElement::CreateTop(kScene.text)});
            scene.pRoot->CopyTo(*arrSaved.back().pRoot, false, eZrUT_ClearDest, arrOfChange);
        }
    }
    for (const ScenesSet::SCENE& copy : arrSaved) MakeSaved(copy, _param);
    HRESULT hr = S_OK;
    FileNames names;
    for (const auto& [strID, pSaved] : arrSaved) {
        if (!_param.bSeparateFiles || _param.strFile.empty()) {
            _scenesNode.AppendChild(pSaved);
            continue;
        }
        const std::u16string strName = std::u16string(BareName(_param.strFile)) + u"_" + names.Of(strID) + u".xml";
        const ElementPtr pNamed = _scenesNode.Add(kScene.text);
        pNamed->SetAttribute(kName, std::u16string_view(strID));
        pNamed->SetAttribute(kSrc, std::u16string_view(strName));
        const std::u16string strFile = std::u16string(_param.Folder()) + u"/" + strName;
        const HRESULT hrFile = SaveXmlFile(*pSaved, strFile.c_str(), {_param.bXmlHeader, _param.bUnicode});
        if (Succeeded(hr)) hr = hrFile;
    }
    return hr;
}

// ---------------------------------------------------------------------------------------------------------------------
// Loading

namespace {

void ResolvePaths(CoElement& _element, std::u16string_view _folder) {
    std::u16string strPath, strResolved;
    for (const std::u16string_view name : arrPathNames) {
        if (!_element.GetAttribute(name, strPath)) continue;
        if (!ResolvePath(_folder, strPath, strResolved))
            _element.RemoveAttribute(name);
        else if (strResolved != strPath && IsSceneFile(strResolved))
            _element.SetAttribute(name, std::u16string_view(strResolved));
    }
}

// Reads the file that stands for a scene, and the one that stands for that one.
HRESULT FollowSrc(ElementPtr& _pScene, std::u16string& _strFolder) {
    std::vector<std::u16string> arrFiles;
    std::u16string strSrc, strFile;
    while (_pScene->ElementCount() == 0 && _pScene->GetAttribute(kSrc, strSrc) && !strSrc.empty()) {
        if (!ResolvePath(_strFolder, strSrc, strFile)) return Win32Error(5);
        if (arrFiles.size() >= kMaxFiles || std::find(arrFiles.begin(), arrFiles.end(), strFile) != arrFiles.end())
            return Win32Error(1059);
        arrFiles.push_back(strFile);
        const ElementPtr pRead = CoElement::CreateTop(kScene.text);
        if (const HRESULT hr = LoadXmlFile(strFile.c_str(), *pRead); Failed(hr)) return hr;
        _pScene = pRead;
        _strFolder = FolderOf(strFile);
    }
    return S_OK;
}

HRESULT ReadScene(const ScenesSet& _scenes, ElementPtr _pNode, std::u16string _strFolder, ScenesSet::SCENE& _scene) {
    _scene.strID = _pNode->AttributeOr(kName, std::u16string_view());
    const bool bSeparate = _pNode->ElementCount() == 0 && _pNode->HasAttribute(kSrc);
    if (const HRESULT hr = FollowSrc(_pNode, _strFolder); Failed(hr)) return hr;
    if (_scene.strID.empty()) _scene.strID = _pNode->AttributeOr(kName, std::u16string_view());
    _scene.pRoot = _scenes.NewScene();
    _pNode->CopyTo(*_scene.pRoot, false, eZrUT_ClearDest);
    _scene.pRoot->RemoveAttribute(kName);
    if (bSeparate) _scene.pRoot->RemoveAttribute(kSrc);
    ForEachBelow(_scene.pRoot, [&](CoElement& _element) { ResolvePaths(_element, _strFolder); });
    return S_OK;
}

}  // namespace

HRESULT LoadScenes(ScenesSet& _scenes, CoElement& _tree, const PERSIST_PARAM& _param) {
    std::vector<ElementPtr> arrNodes;
    ElementPtr pList = _tree.HasTag(kScenes) ? ElementPtr(&_tree) : _tree.FindChild(kScenes);
    if (!pList && !_tree.HasTag(u"zr_config")) {
        arrNodes.emplace_back(&_tree);
    } else if (pList) {
        for (size_t i = 0; ElementPtr p = pList->ChildAt(i); ++i)
            if (!p->IsText() && IsSceneTag(*p)) arrNodes.push_back(std::move(p));
    }
    HRESULT hr = S_OK;
    std::vector<ScenesSet::SCENE> arrScenes;
    for (const ElementPtr& pNode : arrNodes) {
        ScenesSet::SCENE scene;
        const HRESULT hrScene = ReadScene(_scenes, pNode, std::u16string(_param.Folder()), scene);
        if (Succeeded(hrScene))
            arrScenes.push_back(std::move(scene));
        else if (Succeeded(hr))
            hr = hrScene;
    }
    if (arrScenes.empty() && Failed(hr)) return hr;
    const std::u16string strActive = pList ? pList->AttributeOr(kActive, std::u16string_view()) : std::u16string();
    const HRESULT hrReplace = _scenes.ReplaceAll(std::move(arrScenes), strActive);
    return Failed(hr) ? hr : hrReplace;
}

}  // namespace zr
