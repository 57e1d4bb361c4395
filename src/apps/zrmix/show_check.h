#pragma once
// Looks through a show for all that cannot be used.

#include <string>
#include <unordered_map>
#include <vector>

#include "apps/zrmix/config_kinds.h"
#include "apps/zrmix/xml_scan.h"

namespace zrmix {

struct SHOW_FAULT {
    std::string file;
    TEXT_PLACE place;
    std::string text;  // one sentence without a full stop
};

class ShowCheck {
public:
    explicit ShowCheck(const ConfigKinds& _kinds) : kinds(_kinds) {}

    static constexpr size_t kMostFaults = 1000;

    // The file and those that stand in it for scenes; of its faults the first kMostFaults that are found, by place.
    // Throws RunError: it cannot be read.
    std::vector<SHOW_FAULT> Check(const std::string& _file);
    // All of them.
    size_t Faults() const { return nFaults; }

private:
    struct SOURCE;  // one of the files
    struct USE {    // of a stream by an element
        std::string file;
        TEXT_PLACE place;
        std::string id;  // or, as digits, the place
        bool bIndex;
    };
    struct STREAM {
        std::string id;
        std::string file;
        TEXT_PLACE place;
        bool bPicture;  // it is there to be seen
        bool bUsed;
    };

    void CheckTree(const SOURCE& _source, const XML_ELEMENT& _top, const std::string& _kind);
    void CheckAttributes(const SOURCE& _source, const XML_ELEMENT& _node, const std::string& _kind);
    void CheckValue(const SOURCE& _source, const XML_ELEMENT& _node, const XML_ELEMENT& _known,
                    const XML_ATTRIBUTE& _attribute);
    void CheckStreams(const SOURCE& _source, const XML_ELEMENT* _pStreams);
    void CheckScenes(const SOURCE& _source, const XML_ELEMENT* _pScenes);
    void CheckScene(const SOURCE& _source, const XML_ELEMENT& _scene, int _nDepth);
    void FollowSrc(const SOURCE& _source, const XML_ELEMENT& _scene, const XML_ATTRIBUTE& _src, int _nDepth);
    void CheckElements(const SOURCE& _source, const XML_ELEMENT& _scene);
    void CheckUses();
    void Fault(const SOURCE& _source, const TEXT_PLACE& _place, std::string _text);
    // What a name might have meant, while anybody is told.
    std::string Hint(const std::string& _name, const std::vector<std::string>& _arrKnown) const;

    const ConfigKinds& kinds;
    std::vector<SHOW_FAULT> arrFaults;
    size_t nFaults = 0;
    std::vector<std::string> arrOpenFiles;  // that name one another, the show first
    bool bStreamsKnown = false;             // the file is a whole configuration
    std::vector<STREAM> arrStreams;
    std::unordered_map<std::string, size_t> mapStreams;  // id to the first place with it
    std::vector<USE> arrUses;
};

}  // namespace zrmix
