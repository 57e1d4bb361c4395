#include "media/picture_codec.h"

#include <string_view>

#include "platform/wide_text.h"

namespace zr {

ePictureType PictureTypeOf(const char16_t* _szFileName) {
    if (!_szFileName) return ePictureType::Unknown;
    const std::u16string_view svName(_szFileName);
    const size_t nDot = svName.find_last_of(u"./\\");
    if (nDot == std::u16string_view::npos || svName[nDot] != u'.') return ePictureType::Unknown;
    static constexpr struct {
        std::u16string_view svExtension;
        ePictureType eType;
    } arrTypes[] = {
        {u"png", ePictureType::Png},   {u"jpg", ePictureType::Jpeg}, {u"jpeg", ePictureType::Jpeg},
        {u"bmp", ePictureType::Bmp},   {u"tga", ePictureType::Tga},  {u"tif", ePictureType::Tiff},
        {u"tiff", ePictureType::Tiff},
    };
    for (const auto& type : arrTypes)
        if (EqualNoCase(svName.substr(nDot + 1), type.svExtension)) return type.eType;
    return ePictureType::Unknown;
}

}  // namespace zr
