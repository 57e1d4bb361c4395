#pragma once
// What the library says that a saved configuration can hold.

#include <string>
#include <string_view>
#include <vector>

#include "apps/zrmix/xml_scan.h"
#include "zr/zr.h"

namespace zrmix {

// Where a key of the mixer stands: "audio_gain" is "object::audio_gain".
std::string KeyPath(const std::string& _key);

class ConfigKinds {
public:
    // Throws RunError.
    explicit ConfigKinds(zr::IUnknown* _pMixer);

    // Whatever stands in nodes of this kind is right.
    bool TakesAnything(std::string_view _kind) const;
    // The names of the kinds that a node of this kind can hold, and of its attributes.
    std::vector<std::string> Nodes(std::string_view _kind) const;
    std::vector<std::string> Attributes(std::string_view _kind) const;
    // Empty: there is none. Else nothing, or why the value of an attribute of that kind cannot be read.
    const XML_ELEMENT* Attribute(std::string_view _kind, std::string_view _name) const;
    std::string WhyUnreadable(const XML_ELEMENT& _attribute, std::string_view _value) const;
    // Empty, or why an attribute of an element of that kind, or a key of the mixer, cannot be set to the value.
    std::string WhyNoAttribute(std::string_view _kind, std::string_view _name, std::string_view _value) const;
    std::string WhyNoKey(std::string_view _key, std::string_view _value) const;
    // The value of a key of the mixer is something that it plays.
    bool IsPlayed(std::string_view _key) const;
    // The names that values of a type can have.
    std::vector<std::string> Values(std::string_view _type) const;
    bool IsValue(std::string_view _type, std::string_view _name) const;
    // How many elements may stand one in the other; what is deeper is not drawn.
    int MostDepth() const;

private:
    // The nodes of a kind and of those that it inherits from.
    std::vector<const XML_ELEMENT*> NodesOf(std::string_view _kind) const;

    XML_DOCUMENT info;
    std::vector<std::string> arrFormats;
};

}  // namespace zrmix
