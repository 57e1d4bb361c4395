#pragma once
// Pictures that are made instead of read, by the name that stands in place of a file name.

#include <string_view>

#include "attributes/attr_types.h"
#include "platform/status.h"
#include "zr/frame.h"
#include "zr/ptr.h"
#include "zr/records.h"

namespace zr {

// One such picture. Names: "none" and "transparent"; the colours as the attributes know them, by name ("black",
// "Red(128)") or in hexadecimal ("F00", "FF0000", "80FF0000", also with a "#" in front); the test signals "colorbars",
// "colorbars-pal", "-75", "-100", "-ntsc", "-hd", "-hd1080", "bars", "bars75", "bars100", "videoq".
class BuiltInPicture {
public:
    // What a name stands for; false when it is none of these names. Case does not count.
    static bool Find(std::u16string_view _name, BuiltInPicture* _pPicture);

    // Completes a wish with what the picture has of its own: size, rate, pixel format. A picture that lets something
    // show through has alpha whatever is asked for.
    ZR_VID_PROPS Format(const ZR_VID_PROPS& _wanted) const;
    // The picture in a format that Format has completed.
    HRESULT Make(const ZR_VID_PROPS& _props, ZrPtr<IZrFFrame>* _ppFrame) const;

private:
    AttrColour colour{0};
    const struct TEST_SIGNAL* pSignal = nullptr;  // a row of a fixed table; null: the colour all over
};

}  // namespace zr
