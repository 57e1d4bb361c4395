#include "apps/zrmix/config_kinds.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

#include "apps/zrmix/nearest_name.h"
#include "apps/zrmix/run_error.h"

namespace zrmix {
namespace {

constexpr const char* kBlanks = " \t\r\n";

std::string Trim(std::string_view _text) {
    const size_t nBegin = _text.find_first_not_of(kBlanks);
    return nBegin == _text.npos ? std::string()
                                : std::string(_text.substr(nBegin, _text.find_last_not_of(kBlanks) + 1 - nBegin));
}

// Parts between the separators, without the blanks around them; empty ones are left out.
std::vector<std::string> Split(std::string_view _text, std::string_view _separators) {
    std::vector<std::string> arrParts;
    for (size_t n = 0; n <= _text.size();) {
        const size_t nEnd = std::min(_text.find_first_of(_separators, n), _text.size());
        if (std::string part = Trim(_text.substr(n, nEnd - n)); !part.empty()) arrParts.push_back(std::move(part));
        n = nEnd + 1;
    }
    return arrParts;
}

bool IsOneOf(std::string_view _name, const std::vector<std::string>& _arrNames) {
    return std::any_of(_arrNames.begin(), _arrNames.end(),
                       [&](const std::string& _known) { return SameName(_known, _name); });
}

bool IsNumber(const std::string& _text, bool _bWhole) {
    if (_text.empty()) return false;
    char* pEnd = nullptr;
    if (_bWhole) {
        std::strtoll(_text.c_str(), &pEnd, 0);
        return *pEnd == 0 && pEnd != _text.c_str();
    }
    const double dbl = std::strtod(_text.c_str(), &pEnd);
    return *pEnd == 0 && pEnd != _text.c_str() && std::isfinite(dbl);
}

bool IsBool(const std::string& _text) {
    for (const char* sz : {"true", "false", "yes", "no", "on", "off", "1", "0", "y", "n", "only"})
        if (SameName(_text, sz)) return true;
    return IsNumber(_text, true);
}

// A name, or two or more hexadecimal digits of which the first two are no small letters; an alpha in brackets.
std::string WhyNoColour(std::string _text, const std::vector<std::string>& _arrNames) {
    if (const size_t nBracket = _text.find('('); nBracket != _text.npos) {
        std::string alpha = _text.substr(nBracket + 1);
        if (alpha.empty() || alpha.back() != ')') return "its bracket is not closed";
        alpha.pop_back();
        if (!IsNumber(alpha, false)) return "the alpha \"" + alpha + "\" is no number";
        _text = Trim(_text.substr(0, nBracket));
    }
    if (IsOneOf(_text, _arrNames)) return {};
    if (_text.starts_with('#')) return "colours in digits have no \"#\", as in FF8000";
    const bool bHex = _text.size() >= 2 &&
                      std::all_of(_text.begin(), _text.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
    if (bHex && !std::islower(static_cast<unsigned char>(_text[0])) &&
        !std::islower(static_cast<unsigned char>(_text[1])))
        return {};
    if (bHex) return "its first digits are to be capital letters";
    if (_text.starts_with("0x") && IsNumber(_text, true)) return {};
    return "\"" + _text + "\" is no colour" + DidYouMean(_text, _arrNames);
}

std::string WhyNoOption(const std::string& _text, const std::vector<std::string>& _arrNames) {
    if (IsOneOf(_text, _arrNames)) return {};
    std::string names;
    const std::string hint = DidYouMean(_text, _arrNames);
    if (!hint.empty() || _arrNames.size() > 12) return "\"" + _text + "\" is none of its values" + hint;
    for (const std::string& name : _arrNames) names += (names.empty() ? "" : ", ") + name;
    return "\"" + _text + "\" is none of " + names;
}

// Of a key that stands with the mixer itself.
std::string_view NameInObject(std::string_view _key) {
    constexpr std::string_view kNode = "object::";
    return _key.substr(_key.starts_with(kNode) ? kNode.size() : 0);
}

}  // namespace

std::string KeyPath(const std::string& _key) { return _key.find("::") == _key.npos ? "object::" + _key : _key; }

ConfigKinds::ConfigKinds(zr::IUnknown* _pMixer) {
    std::string text;
    const auto pInfo = zr::QueryAs<zr::IZrPersistInfo>(_pMixer);
    if (!pInfo) throw RunError("the mixer says nothing of what a configuration can hold");
    Check(zr::GetText([&](zr::BSTR* _pbs) { return pInfo->PersistInfoGet(_pbs); }, text), "mixer");
    info = ScanXml(text);
    const auto pFormat = zr::QueryAs<zr::IZrFormat>(_pMixer);
    int32_t nCount = 0;
    pFormat->FormatVideoGetCount(zr::eZrFT_Convert, &nCount);
    for (int32_t i = 0; i < nCount; ++i) {
        zr::Text name;
        zr::ZR_VID_PROPS props;
        if (zr::Succeeded(pFormat->FormatVideoGetByIndex(zr::eZrFT_Convert, i, &props, name.Out())))
            arrFormats.push_back(name.Utf8());
    }
}

std::vector<const XML_ELEMENT*> ConfigKinds::NodesOf(std::string_view _kind) const {
    std::vector<const XML_ELEMENT*> arrNodes;
    std::vector<std::string> arrKinds{std::string(_kind)};
    for (size_t i = 0; i < arrKinds.size(); ++i) {
        for (const size_t n : info.Top()->arrChildren) {
            const XML_ELEMENT& node = info.arrElements[n];
            if (!SameName(node.name, arrKinds[i])) continue;
            arrNodes.push_back(&node);
            const std::string inherit = node.Value("inherit");
            if (!inherit.empty() && !IsOneOf(inherit, arrKinds)) arrKinds.push_back(inherit);
        }
    }
    return arrNodes;
}

bool ConfigKinds::TakesAnything(std::string_view _kind) const {
    const std::vector<const XML_ELEMENT*> arrNodes = NodesOf(_kind);
    return arrNodes.empty() || std::any_of(arrNodes.begin(), arrNodes.end(),
                                           [](const XML_ELEMENT* _p) { return _p->Value("any") == "true"; });
}

std::vector<std::string> ConfigKinds::Nodes(std::string_view _kind) const {
    std::vector<std::string> arrNames;
    for (const XML_ELEMENT* p : NodesOf(_kind))
        for (std::string& name : Split(p->Value("nodes"), ",")) arrNames.push_back(std::move(name));
    return arrNames;
}

std::vector<std::string> ConfigKinds::Attributes(std::string_view _kind) const {
    std::vector<std::string> arrNames;
    for (const XML_ELEMENT* p : NodesOf(_kind))
        for (const size_t n : p->arrChildren) arrNames.push_back(info.arrElements[n].name);
    return arrNames;
}

const XML_ELEMENT* ConfigKinds::Attribute(std::string_view _kind, std::string_view _name) const {
    for (const XML_ELEMENT* p : NodesOf(_kind))
        if (const XML_ELEMENT* const pFound = info.Child(p, _name)) return pFound;
    return nullptr;
}

std::string ConfigKinds::WhyNoAttribute(std::string_view _kind, std::string_view _name, std::string_view _value) const {
    if (TakesAnything(_kind)) return {};
    const XML_ELEMENT* const pKnown = Attribute(_kind, _name);
    if (!pKnown) return "the attribute " + std::string(_name) + " is not known" + DidYouMean(_name, Attributes(_kind));
    const std::string why = WhyUnreadable(*pKnown, _value);
    return why.empty() ? why : std::string(_name) + ": " + why;
}

bool ConfigKinds::IsPlayed(std::string_view _key) const {
    const XML_ELEMENT* const p = Attribute("object", NameInObject(_key));
    return p && p->Value("type") == "media";
}

// Nodes other than that of the mixer itself, as of its audio, have keys that it does not list.
std::string ConfigKinds::WhyNoKey(std::string_view _key, std::string_view _value) const {
    const std::string_view name = NameInObject(_key);
    if (name.find("::") != name.npos) return {};
    const XML_ELEMENT* const pKnown = Attribute("object", name);
    if (!pKnown)
        return "the mixer has no key " + std::string(name) + DidYouMean(name, Attributes("object")) +
               "; \"zrmix keys\" lists them";
    const std::string why = WhyUnreadable(*pKnown, _value);
    return why.empty() ? why : std::string(name) + ": " + why;
}

std::vector<std::string> ConfigKinds::Values(std::string_view _type) const {
    const XML_ELEMENT* const p = info.Child(info.Child(info.Top(), "_values_"), _type);
    return p ? Split(p->Value("values"), ",") : std::vector<std::string>();
}

bool ConfigKinds::IsValue(std::string_view _type, std::string_view _name) const {
    return IsOneOf(_name, Values(_type));
}

int ConfigKinds::MostDepth() const {
    const XML_ELEMENT* const p = info.Child(info.Top(), "_limits_");
    return p ? std::atoi(p->Value("depth").c_str()) : 0;
}

std::string ConfigKinds::WhyUnreadable(const XML_ELEMENT& _attribute, std::string_view _value) const {
    const std::string type = _attribute.Value("type"), value = Trim(_value);
    if (type == "bool") return IsBool(value) ? "" : "\"" + value + "\" is neither true nor false";
    if (type == "int") return IsNumber(value, true) ? "" : "\"" + value + "\" is no whole number";
    if (type == "double") return IsNumber(value, false) ? "" : "\"" + value + "\" is no number";
    if (type == "option") return WhyNoOption(value, Split(_attribute.Value("values"), ","));
    if (type == "position") return WhyNoOption(value, Values("position"));
    if (type == "format") return WhyNoOption(value, arrFormats);
    if (type == "color") return WhyNoColour(value, Values("color"));
    if (type == "colors") {
        for (const std::string& part : Split(value, " \t,;|"))
            if (std::string why = part == "-1" ? std::string() : WhyNoColour(part, Values("color")); !why.empty())
                return why;
    }
    if (type == "numbers") {
        for (const std::string& part : Split(value, ", ;|"))
            if (!IsNumber(part, true)) return "\"" + part + "\" is no whole number";
    }
    return {};
}

}  // namespace zrmix
