#pragma once
// A picture description in attributes, as an item or an object is given it. The attribute set itself is the caller's:
// a reader here only asks for texts by name.

#include <string>
#include <string_view>
#include <type_traits>

#include "zr/records.h"

namespace zr {

// Refers to a function that finds an attribute: true when it exists, and its text, which must stay until the function
// is asked again. Holds no copy: for use as an argument only.
class AttributeLookup {
public:
    template <class F>
    requires(!std::is_same_v<std::remove_cvref_t<F>, AttributeLookup> &&
             std::is_invocable_r_v<bool, F&, const char16_t*, std::u16string_view&>) AttributeLookup(F&& _find)
        : pvFind(const_cast<void*>(static_cast<const void*>(&_find))),
          pfnCall([](void* _pvFind, const char16_t* _szName, std::u16string_view& _value) -> bool {
              return (*static_cast<std::remove_reference_t<F>*>(_pvFind))(_szName, _value);
          }) {}

    bool operator()(const char16_t* _szName, std::u16string_view& _value) const {
        return pfnCall(pvFind, _szName, _value);
    }

private:
    void* pvFind;
    bool (*pfnCall)(void*, const char16_t*, std::u16string_view&);
};

// Lays the attributes that exist over a record and normalises it as a wish; attributes that do not exist leave what the
// record holds. A record whose format is locked must not be given. The attributes, in the order in which they are read:
//   video_format                   a format name; its whole record is taken over first
//   width, height                  pixels, lines
//   rate                           frames a second
//   pixel_format, else colorspace  as ParsePixelFormat
//   aspect_ratio, else aspect-ratio   two whole numbers with one character between them; needs a digit
//   interlace, scale_type (else keep-aspect), format_3d   keywords
void ReadVidProps(const AttributeLookup& _find, ZR_VID_PROPS* _pProps);

// The attribute line that asks a source for a format, with a leading blank: video_format and pixel_format of a named
// format, else width, height, rate, interlace and pixel_format.
std::u16string VidPropsLine(const ZR_VID_PROPS& _props);

}  // namespace zr
