// Picture files made by hand, byte by byte, and what must be seen in them.

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

#include "media/premultiply.h"
#include "support/row_test.h"
#include "video/picture_file_bmp.h"
#include "video/picture_file_tga.h"

namespace zr {
namespace {

using test::Bytes;

// Keeps the picture; rows run downwards or, _bUp, upwards in memory.
class Target final : public PictureTarget {
public:
    explicit Target(bool _bUp = false) : bUp(_bUp) {}
    HRESULT Make(PICTURE_ROWS* _pRows) override {
        cbPixel = _pRows->fccType == eZrFCC_RGB24 ? 3 : 4;
        const size_t cbRow = cbPixel * static_cast<size_t>(_pRows->nWidth);
        bytes.assign(cbRow * static_cast<size_t>(_pRows->nHeight), 0x77);
        _pRows->nStride = bUp ? -static_cast<ptrdiff_t>(cbRow) : static_cast<ptrdiff_t>(cbRow);
        _pRows->pTop = bytes.data() + (bUp ? cbRow * static_cast<size_t>(_pRows->nHeight - 1) : 0);
        rows = *_pRows;
        return S_OK;
    }
    // One letter a pixel: black, white, red, green, blue, . for grey of 0x40..0xC0; lower case when it is transparent.
    std::string Text() const {
        std::string text;
        for (int32_t y = 0; y < rows.nHeight; ++y) {
            const uint8_t* p = rows.pTop + y * rows.nStride;
            for (int32_t x = 0; x < rows.nWidth; ++x, p += cbPixel) {
                const int n = (p[2] > 0xC0) << 2 | (p[1] > 0xC0) << 1 | (p[0] > 0xC0);
                char c = "KB G R  W"[n == 0 ? 0 : n == 1 ? 1 : n == 2 ? 3 : n == 4 ? 5 : n == 7 ? 8 : 2];
                if (n == 0 && p[0] > 0x40) c = '.';
                text += cbPixel == 4 && p[3] < 128 ? static_cast<char>(c | 0x20) : c;
            }
            text += '/';
        }
        return text;
    }
    Bytes bytes;
    PICTURE_ROWS rows;
    size_t cbPixel = 0;
    bool bUp;
};

Bytes Join(std::initializer_list<Bytes> _parts) {
    Bytes all;
    for (const Bytes& part : _parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}
uint8_t Low(int32_t _n) { return static_cast<uint8_t>(_n); }
uint8_t High(int32_t _n) { return static_cast<uint8_t>(_n >> 8); }
Bytes Word(int32_t _n) { return {Low(_n), High(_n), Low(_n >> 16), High(_n >> 16)}; }

// A BMP with a header of 40 bytes; _more stands between header and pixels.
Bytes Bmp(int32_t _nWidth, int32_t _nHeight, int _nBits, int _nCompression, const Bytes& _more, const Bytes& _pixels) {
    return Join({{'B', 'M'},
                 Word(0),
                 Word(0),
                 Word(54 + static_cast<int32_t>(_more.size())),
                 Word(40),
                 Word(_nWidth),
                 Word(_nHeight),
                 {1, 0, Low(_nBits), 0},
                 Word(_nCompression),
                 Word(0),
                 Word(0),
                 Word(0),
                 Word(0),
                 Word(0),
                 _more,
                 _pixels});
}
const Bytes kRgbkPalette = {0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0};  // red, green, blue, black

struct FILE_CASE {
    const char* szName;
    Bytes file;
    HRESULT hr;
    const char* szPicture;
};

TEST(Bmp, ReadsEveryKind) {
    const Bytes mask565 = Join({Word(0xF800), Word(0x07E0), Word(0x001F)});
    const FILE_CASE arrCases[] = {
        {"bottom_up_24", Bmp(2, 2, 24, 0, {}, {255, 0, 0, 0, 255, 0, 9, 9, 0, 0, 255, 255, 255, 255, 9, 9}), S_OK,
         "RW/BG/"},
        {"top_down_32", Bmp(1, -2, 32, 0, {}, {0, 0, 255, 0, 0, 255, 0, 0}), S_OK, "R/G/"},
        {"palette_8", Bmp(3, 1, 8, 0, kRgbkPalette, {2, 1, 200, 0}), S_OK, "BGK/"},
        {"palette_4", Bmp(3, 1, 4, 0, kRgbkPalette, {0x01, 0x20, 0, 0}), S_OK, "RGB/"},
        {"palette_1", Bmp(10, 1, 1, 0, kRgbkPalette, {0x0F, 0x80, 0, 0}), S_OK, "RRRRGGGGGR/"},
        {"fields_555", Bmp(2, 1, 16, 0, {}, {0x00, 0x7C, 0x1F, 0x00}), S_OK, "RB/"},
        {"fields_565", Bmp(2, 1, 16, 3, mask565, {0xE0, 0x07, 0x00, 0xF8}), S_OK, "GR/"},
        {"fields_10_bits", Bmp(1, 1, 32, 3, Join({Word(0x3FF00000), Word(0xFFC00), Word(0x3FF)}), {0, 0, 0xF0, 0x3F}),
         S_OK, "R/"},
        {"run_lengths_8",  // two rows: a run, plain pixels with padding; then a move and a run that leaves the row
         Bmp(4, 3, 8, 1, kRgbkPalette, {3, 1, 1, 2, 0, 0, 0, 3, 0, 1, 2, 9, 0, 0, 0, 2, 2, 0, 9, 2, 0, 1}), S_OK,
         "RRBB/RGBR/GGGB/"},
        {"run_lengths_4", Bmp(5, 1, 4, 2, kRgbkPalette, {2, 0x12, 0, 3, 0x01, 0x30, 0, 1}), S_OK, "GBRGK/"},
        {"run_lengths_end_at_the_last_pixel", Bmp(2, 1, 8, 1, kRgbkPalette, {2, 1}), S_OK, "GG/"},
        {"run_lengths_end_too_soon", Bmp(3, 1, 8, 1, kRgbkPalette, {2, 1}), ZR_E_INVALID_DATA, ""},
        {"too_short", Bmp(2, 2, 24, 0, {}, Bytes(15)), ZR_E_INVALID_DATA, ""},
        {"too_large", Bmp(32769, 1, 24, 0, {}, Bytes(99000)), ZR_E_INVALID_DATA, ""},
        {"huge_from_few_bytes", Bmp(30000, 30000, 8, 1, {}, Bytes(500)), ZR_E_INVALID_DATA, ""},
        {"no_height", Bmp(1, 0, 24, 0, {}, Bytes(99)), ZR_E_INVALID_DATA, ""},
        {"least_height", Bmp(1, INT32_MIN, 24, 0, {}, Bytes(99)), ZR_E_INVALID_DATA, ""},
        {"torn_mask", Bmp(1, 1, 32, 3, Join({Word(0x00FF00), Word(0x0F0F), Word(1)}), Bytes(4)), ZR_E_INVALID_DATA, ""},
        {"run_lengths_of_24_bits", Bmp(1, 1, 24, 1, {}, Bytes(4)), ZR_E_INVALID_DATA, ""},
        {"jpeg_inside", Bmp(1, 1, 0, 4, {}, Bytes(4)), ZR_E_NOT_SUPPORTED, ""},
        {"mark_only", {'B', 'M'}, ZR_E_INVALID_DATA, ""},
    };
    for (const FILE_CASE& c : arrCases)
        for (const bool bUp : {false, true}) {
            SCOPED_TRACE(c.szName);
            Target target(bUp);
            const Bytes file(c.file);  // of its very size
            EXPECT_EQ(
                ReadBmp(c.szName[0] == 'e' ? reinterpret_cast<const uint8_t*>("") : file.data(), file.size(), &target),
                c.hr);
            if (Succeeded(c.hr)) {
                EXPECT_EQ(target.Text(), c.szPicture);
            }
        }
    const Bytes core = Join({{'B', 'M'},
                             Word(0),
                             Word(0),
                             Word(32),
                             Word(12),
                             {2, 0, 1, 0, 1, 0, 1, 0},
                             {0, 255, 0, 255, 0, 0},
                             {0x40, 0, 0, 0}});
    Target target;
    EXPECT_EQ(ReadBmp(core.data(), core.size(), &target), S_OK);
    EXPECT_EQ(target.Text(), "GB/");
}

// A TGA: type, palette entries and their bits, width, height, depth, descriptor, then what follows the header.
Bytes Tga(int _nType, int _nMapCount, int _nMapBits, int _nWidth, int _nHeight, int _nDepth, int _nDescriptor,
          const Bytes& _rest) {
    return Join({{2, Low(_nMapCount > 0), Low(_nType), 1, 0, Low(_nMapCount), 0, Low(_nMapBits), 0, 0, 0, 0,
                  Low(_nWidth), High(_nWidth), Low(_nHeight), High(_nHeight), Low(_nDepth), Low(_nDescriptor)},
                 {'i', 'd'},
                 _rest});
}
// An extended file whose extension says _nAlphaKind.
Bytes Extended(Bytes _file, uint8_t _nAlphaKind) {
    const auto nAt = static_cast<int32_t>(_file.size());
    Bytes extension(495);
    extension.back() = _nAlphaKind;
    const char szMark[] = "TRUEVISION-XFILE.";
    return Join({_file, extension, Word(nAt), Word(0), Bytes(szMark, szMark + 18)});
}

TEST(Tga, ReadsEveryKind) {
    const Bytes map = {0, 0, 255, 0, 255, 0, 255, 0, 0};  // entries 1 to 3: red, green, blue
    const Bytes half = {0, 0, 200, 64};                   // red, a quarter opaque
    const FILE_CASE arrCases[] = {
        {"true_colour", Tga(2, 0, 0, 2, 2, 24, 0, {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}), S_OK, "RW/BG/"},
        {"right_to_left_top_down", Tga(2, 0, 0, 2, 1, 24, 0x30, {255, 0, 0, 0, 255, 0}), S_OK, "GB/"},
        {"15_bits", Tga(2, 0, 0, 2, 1, 16, 0x20, {0x00, 0x7C, 0xE0, 0x03}), S_OK, "RG/"},
        {"alpha", Tga(2, 0, 0, 1, 1, 32, 8, half), S_OK, "r/"},
        {"alpha_not_counted", Tga(2, 0, 0, 1, 1, 32, 0, half), S_OK, "R/"},
        {"alpha_without_meaning", Extended(Tga(2, 0, 0, 1, 1, 32, 8, half), 2), S_OK, "R/"},
        {"alpha_with_meaning", Extended(Tga(2, 0, 0, 1, 1, 32, 8, half), 3), S_OK, "r/"},
        {"alpha_multiplied", Extended(Tga(2, 0, 0, 1, 1, 32, 8, {0, 0, 60, 64}), 4), S_OK, "r/"},
        {"grey", Tga(3, 0, 0, 3, 1, 8, 0, {0, 128, 255}), S_OK, "K.W/"},
        {"grey_alpha", Tga(3, 0, 0, 2, 1, 16, 8, {255, 255, 255, 0}), S_OK, "Ww/"},
        {"palette", Tga(1, 3, 24, 5, 1, 8, 0, Join({map, {1, 2, 3, 0, 4}})), S_OK, "RGBKK/"},
        {"palette_runs", Tga(9, 3, 24, 2, 3, 8, 0x20, Join({map, {0x84, 2, 0x00, 1}})), S_OK, "GG/GG/GR/"},
        {"runs", Tga(10, 0, 0, 4, 1, 24, 0, {0x01, 255, 0, 0, 0, 255, 0, 0x81, 0, 0, 255}), S_OK, "BGRR/"},
        {"grey_runs", Tga(11, 0, 0, 3, 1, 8, 0, {0x82, 255}), S_OK, "WWW/"},
        {"runs_end_too_soon", Tga(10, 0, 0, 4, 1, 24, 0, {0x81, 0, 0, 255, 0x00, 1}), ZR_E_INVALID_DATA, ""},
        {"type_0", Tga(0, 0, 0, 1, 1, 24, 0, Bytes(3)), E_FAIL, ""},
        {"type_4", Tga(4, 0, 0, 1, 1, 24, 0, Bytes(3)), E_FAIL, ""},
        {"type_8", Tga(8, 0, 0, 1, 1, 24, 0, Bytes(3)), E_FAIL, ""},
        {"type_12", Tga(12, 0, 0, 1, 1, 24, 0, Bytes(3)), E_FAIL, ""},
        {"palette_missing", Tga(1, 0, 0, 1, 1, 8, 0, Bytes(3)), E_FAIL, ""},
        {"palette_missing_of_runs", Tga(9, 0, 0, 1, 1, 8, 0, Bytes(3)), E_FAIL, ""},
        {"palette_without_need", Tga(2, 1, 24, 1, 1, 24, 0, Bytes(6)), E_FAIL, ""},
        {"no_width", Tga(2, 0, 0, 0, 1, 24, 0, Bytes(3)), E_FAIL, ""},
        {"no_height", Tga(2, 0, 0, 1, 0, 24, 0, Bytes(3)), E_FAIL, ""},
        {"depth_0", Tga(2, 0, 0, 1, 1, 0, 0, Bytes(3)), E_FAIL, ""},
        {"depth_33", Tga(2, 0, 0, 1, 1, 33, 0, Bytes(5)), E_FAIL, ""},
        {"palette_entries_of_8_bits", Tga(1, 3, 8, 1, 1, 8, 0, Bytes(9)), ZR_E_INVALID_DATA, ""},
        {"too_short", Tga(2, 0, 0, 2, 1, 24, 0, Bytes(5)), ZR_E_INVALID_DATA, ""},
        {"huge_from_few_bytes", Tga(10, 0, 0, 30000, 30000, 24, 0, Bytes(400)), ZR_E_INVALID_DATA, ""},
        {"header_only", Bytes(17), E_FAIL, ""},
    };
    for (const FILE_CASE& c : arrCases) {
        SCOPED_TRACE(c.szName);
        Target target;
        EXPECT_EQ(ReadTga(c.file.data(), c.file.size(), &target), c.hr);
        if (Succeeded(c.hr)) {
            EXPECT_EQ(target.Text(), c.szPicture);
        }
    }
}

// What is written reads back the same, and says what it is to other readers.
TEST(PictureFiles, WrittenPicturesReadBack) {
    std::mt19937 rng(3);
    for (const eZrFCC fcc : {eZrFCC_RGB24, eZrFCC_RGB32, eZrFCC_ARGB32})
        for (const bool bUp : {false, true}) {
            SCOPED_TRACE(testing::Message() << std::hex << fcc << " up " << bUp);
            Target picture(bUp);
            PICTURE_ROWS rows{fcc, 7, 5};
            picture.Make(&rows);
            std::ranges::copy(test::HarshBytes(rng, picture.bytes.size()), picture.bytes.begin());
            if (fcc == eZrFCC_RGB32)
                for (size_t i = 3; i < picture.bytes.size(); i += 4) picture.bytes[i] = 255;
            Bytes bmp, tga;
            ASSERT_EQ(WriteBmp(picture.rows, &bmp), S_OK);
            ASSERT_EQ(WriteTga(picture.rows, &tga), S_OK);
            Target fromBmp(bUp), fromTga(bUp);
            ASSERT_EQ(ReadBmp(bmp.data(), bmp.size(), &fromBmp), S_OK);
            ASSERT_EQ(ReadTga(tga.data(), tga.size(), &fromTga), S_OK);
            EXPECT_EQ(fromBmp.rows.fccType, fcc);
            EXPECT_EQ(fromBmp.bytes, picture.bytes);
            if (fcc != eZrFCC_RGB32) {
                EXPECT_EQ(fromTga.bytes, picture.bytes);
            }
            EXPECT_EQ(std::memcmp(&tga[tga.size() - 18], "TRUEVISION-XFILE.", 18), 0);
            EXPECT_EQ(bmp.size(), static_cast<size_t>(bmp[2] | bmp[3] << 8));
        }
    Bytes file;
    EXPECT_EQ(WriteBmp({eZrFCC_UYVY, 2, 2, file.data(), 4}, &file), E_INVALIDARG);
    EXPECT_EQ(WriteTga({eZrFCC_RGB24, 0, 2, file.data(), 4}, &file), E_INVALIDARG);
}

TEST(Premultiply, DividedAndMultipliedAgainIsTheSame) {
    for (int nAlpha = 0; nAlpha < 256; ++nAlpha)
        for (int n = 0; n < 256; ++n) {
            uint8_t arr[4] = {Low(n), Low(n), 0, Low(nAlpha)}, arrBack[4];
            UnpremultiplyRow(arr, arrBack, 1);
            PremultiplyRow(arrBack, arrBack, 1);
            ASSERT_EQ(arrBack[0], std::min(n, nAlpha));
            PremultiplyRow(arr, arrBack, 1);
            ASSERT_EQ(arrBack[1], (2 * n * nAlpha + 255) / 510) << n << " by " << nAlpha;  // to nearest; no ties
        }
}

}  // namespace
}  // namespace zr
