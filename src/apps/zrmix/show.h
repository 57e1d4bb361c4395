#pragma once
// A show: a saved configuration, loaded into a mixer that has not started.

#include <string>
#include <vector>

#include "apps/zrmix/config_kinds.h"
#include "apps/zrmix/xml_scan.h"
#include "zr/zr.h"

namespace zrmix {

struct SHOW_OPTIONS {
    std::string file;
    std::string format;               // by name; empty: as the file says, else 1920x1080 at 25
    std::vector<std::string> arrSet;  // "key=value", "element::attribute=value"
};

class Show {
public:
    // Throws RunError, UsageError.
    Show(const SHOW_OPTIONS& _options, bool _bFast);

    zr::IZrObject* Mixer() const { return pMixer.Get(); }
    template <class T>
    zr::ZrPtr<T> As() const {
        return pMixer.As<T>();
    }
    const std::string& File() const { return file; }
    double Rate() const { return props.dblRate; }
    // Seconds to the end of the last source that plays once; 0: there is none.
    double Length() const;
    // The show and the files that it names, one more than once perhaps.
    std::vector<std::string> Files() const;

private:
    std::string WhyNotLoaded(zr::HRESULT _hr) const;
    void CheckStreams(const SHOW_OPTIONS& _options) const;
    void SetFormat(const SHOW_OPTIONS& _options);
    void Set(const std::string& _pair);

    const std::string file;
    zr::ZrPtr<zr::IZrObject> pMixer;
    zr::ZR_VID_PROPS props;
    XML_DOCUMENT document;
};

// The bytes of a file. Throws RunError.
std::string ReadTextFile(const std::string& _file);
// A name in a show, as the file itself would be opened: from the show's folder on, unless it is no relative path.
std::string PathInShow(const std::string& _show, const std::string& _path);

// ".." in it climbs higher than the folder of the file that it stands in.
bool LeavesFolder(const std::string& _path);
// Empty, or why a source cannot play what a show names.
std::string WhyNotPlayed(const std::string& _show, const std::string& _path);
// The same with the colour that a name without a dot might have meant.
std::string WhyNoMedia(const ConfigKinds& _kinds, const std::string& _show, const std::string& _value);
// Empty, or why a key of the mixer cannot be set to the value in that show.
std::string WhyNoKey(const ConfigKinds& _kinds, const std::string& _show, const std::string& _key,
                     const std::string& _value);

zr::Text ToText(std::string_view _text);

// A stream by its id, "background" for what is beneath them all; null: none.
zr::ZrPtr<zr::IZrItem> FindItem(zr::IUnknown* _pMixer, const std::string& _id);
// An element by its id or its path of ids, in the active scene or else the first of the others that has it; null: none.
zr::ZrPtr<zr::IZrElement> FindElement(zr::IUnknown* _pMixer, const std::string& _id);

std::vector<std::string> StreamIds(zr::IUnknown* _pMixer);
std::vector<std::string> SceneIds(zr::IUnknown* _pMixer);
// Of the elements of all scenes.
std::vector<std::string> ElementIds(zr::IUnknown* _pMixer);

}  // namespace zrmix
