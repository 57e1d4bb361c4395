#include "mixer/config_info.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "attributes/attr_text.h"
#include "attributes/file_keys.h"
#include "attributes/key_lists.h"
#include "attributes/mixer_keys.h"
#include "media/vid_props_text.h"
#include "platform/wide_text.h"
#include "scenes/element_names.h"
#include "scenes/placing.h"
#include "scenes/scene_draw.h"
#include "scenes/scenes_set.h"

namespace zr {
namespace {

constexpr std::u16string_view kStructure =
#include "mixer/config_info.inc"
    ;

constexpr std::u16string_view kSettings = u"on_show, on_hide, on_select, add, vary";
std::u16string Joined(std::initializer_list<std::u16string_view> _arrNames) {
    std::u16string text;
    for (const std::u16string_view name : _arrNames) text.append(text.empty() ? u"" : u", ").append(name);
    return text;
}

const char16_t* TypeOf(const PROP_KEY& _key) {
    switch (_key.eType) {
        case eZrKeyType::Bool: return u"bool";
        case eZrKeyType::Int: return u"int";
        case eZrKeyType::Double: return u"double";
        default: return u"string";
    }
}

bool IsIn(std::u16string_view _name, KeyNames _names) {
    for (const std::u16string_view name : _names)
        if (EqualNoCase(name, _name)) return true;
    return false;
}

void AppendAttribute(std::u16string& _out, std::u16string_view _name, std::u16string_view _type) {
    _out.append(u"<").append(_name).append(u" type=\"").append(_type).append(u"\"/>");
}

void AppendOption(std::u16string& _out, std::u16string_view _name, std::u16string_view _values) {
    _out.append(u"<").append(_name).append(u" type=\"option\" values=\"").append(_values).append(u"\"/>");
}

// A key stands where start-up moves it to, so each is in both places: a configuration may have either.
void AppendKeys(std::u16string& _out, std::u16string_view _node, const PROPS_PROFILE& _profile) {
    _out.append(u"<").append(_node).append(u">");
    for (const PROP_KEY& key : _profile.arrKeys) AppendAttribute(_out, key.szName, TypeOf(key));
    for (const KeyNames names : {_profile.arrFileNames, _profile.arrRootNames})
        for (const std::u16string_view name : names) {
            bool bKnown = false;
            for (const PROP_KEY& key : _profile.arrKeys) bKnown |= EqualNoCase(key.szName, name);
            if (!bKnown) AppendAttribute(_out, name, u"string");
        }
    for (const std::u16string_view name : PreviewKeyNames())
        if (!IsIn(name, _profile.arrRootNames)) AppendAttribute(_out, name, u"string");
    for (const std::u16string_view name : DelayKeyNames()) AppendAttribute(_out, name, u"string");
    _out.append(u"</").append(_node).append(u">");
}

void AppendElementKinds(std::u16string& _out) {
    std::u16string_view schema = ElementSchemaXml();  // without its top
    schema = schema.substr(schema.find(u'>') + 1);
    _out += schema.substr(0, schema.rfind(u"</"));
    const std::u16string strTypes = ElementTypesText() + u", item, view, foreground, light, camera, scene_3d, object";
    for (const std::u16string_view kind : {u"scene_root", u"element"}) {
        _out.append(u"<").append(kind).append(u" nodes=\"").append(strTypes).append(u", ").append(kSettings);
        _out.append(u"\"/>");
    }
}

// As the schema lists them; a file is as good.
std::u16string_view MaskNames() {
    constexpr std::u16string_view values = u"values='";
    std::u16string_view text = ElementSchemaXml();
    text.remove_prefix(std::min(text.find(u"<mask "), text.size()));
    text.remove_prefix(std::min(text.find(values), text.size() - values.size()) + values.size());
    return text.substr(0, text.find(u'\''));
}

void AppendPictureFormat(std::u16string& _out) {
    _out += u"<picture_format>";
    AppendOption(
        _out, u"interlace",
        Joined({InterlaceKeyword(eZrI_Default), InterlaceKeyword(eZrI_Field1First), InterlaceKeyword(eZrI_Field2First),
                InterlaceKeyword(eZrI_Progressive), InterlaceKeyword(eZrI_Inverse), InterlaceKeyword(eZrI_OneField)}));
    AppendOption(
        _out, u"scale_type",
        Joined({ScaleTypeKeyword(eZrST_Default), ScaleTypeKeyword(eZrST_IgnoreAR), ScaleTypeKeyword(eZrST_LetterBox),
                ScaleTypeKeyword(eZrST_Crop), ScaleTypeKeyword(eZrST_NoScale), u"none"}));
    AppendOption(_out, u"pixel_format", u"ARGB32, RGB32, RGB24, YUY2, YVYU, UYVY, YV12, HDYC, I420, NV12, v210");
    _out += u"</picture_format>";
}

}  // namespace

std::u16string ConfigInfoXml() {
    std::u16string text = u"<zr_config_info>";
    text += kStructure;
    AppendKeys(text, u"zr_config", MixerProfile());
    AppendKeys(text, u"object", MixerProfile());
    AppendKeys(text, u"file", FileProfile());
    AppendPictureFormat(text);
    AppendElementKinds(text);
    text.append(u"<_values_><color values=\"").append(ColourNamesText()).append(u"\"/><position values=\"");
    text.append(PositionNamesText()).append(u"\"/>");
    text.append(u"<mask values=\"").append(MaskNames()).append(u"\"/></_values_><_limits_ depth=\"");
    AppendInt(text, kMaxDrawDepth);
    text += u"\"/></zr_config_info>";
    return text;
}

}  // namespace zr
