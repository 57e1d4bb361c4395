#pragma once
// The enumerations of frames, formats and objects. Names and values are part of the public contract: a host in any
// language passes them as plain 32-bit numbers, so none of them ever changes.
//
// Every one is 32 bits wide and may hold a value that has no name. Those that are numbers are signed, as a host
// compares them with zero (an error state is -1). Those that are sets of bits or four-character codes are unsigned, as
// their top bit is a bit like the others: shifts and hexadecimal output must not see a sign.

#include <cstdint>
#include <type_traits>

namespace zr {

// State of an object or a file.
enum eZrState : int32_t {
    eZrS_Error = -1,
    eZrS_Closed = 0,
    eZrS_Stopped = 1,
    eZrS_Paused = 2,
    eZrS_Running = 3,
    eZrS_Break = 4,
};

// Pixel format: a little-endian four-character code, or for RGB formats the first 32 bits of the media subtype.
enum eZrFCC : uint32_t {
    eZrFCC_Default = 0x0,
    eZrFCC_v210 = 0x30313276,    // 4:2:2, 10 bits, six pixels in 16 bytes
    eZrFCC_I420 = 0x30323449,    // 4:2:0 planar, Y U V
    eZrFCC_YV12 = 0x32315659,    // 4:2:0 planar, Y V U
    eZrFCC_NV12 = 0x3231564E,    // 4:2:0, a Y plane and a plane of U V pairs
    eZrFCC_YUY2 = 0x32595559,    // 4:2:2 packed, Y0 U Y1 V
    eZrFCC_HDYC = 0x43594448,    // as UYVY, with the colour matrix of BT.709
    eZrFCC_YVYU = 0x55595659,    // 4:2:2 packed, Y0 V Y1 U
    eZrFCC_UYVY = 0x59565955,    // 4:2:2 packed, U Y0 V Y1
    eZrFCC_RGB24 = 0xE436EB7D,   // B G R
    eZrFCC_RGB32 = 0xE436EB7E,   // B G R x
    eZrFCC_ARGB32 = 0x773C9AC0,  // B G R A
    eZrFCC_RGB8 = 0xE436EB7A,    // palette index
};

// Field order. The deinterlace values ask for one field to be spread over the picture; they do not combine with a
// field order.
enum eZrInterlace : int32_t {
    eZrI_Default = 0,
    eZrI_Field1First = 1,
    eZrI_Field2First = 2,
    eZrI_Progressive = 3,
    eZrI_Inverse = 4,
    eZrI_OneField = 5,
    eZrI_DeinterlaceF1 = 256,
    eZrI_DeinterlaceF2 = 512,
};

// How a picture of another shape is fitted.
enum eZrScaleType : int32_t {
    eZrST_Default = 0,
    eZrST_IgnoreAR = 1,
    eZrST_LetterBox = 2,
    eZrST_Crop = 3,
    eZrST_NoScale = 4,
};

// Stereoscopic layout. The layout bits are also added to the value of a video format.
enum eZr3DFormat : uint32_t {
    eZr3D_None = 0,
    eZr3D_Auto = 1,
    eZr3D_SideBySide = 512,
    eZr3D_TopAndBottom = 1024,
    eZr3D_Tile = 2048,
    eZr3D_FullFlag = 4096,  // each eye has a whole picture
    eZr3D_FullSideBySide = 4608,
    eZr3D_FullTopAndBottom = 5120,
};

// Named video format: raster, rate and field order in one value. The low byte is the 2D format, the bits above it the
// stereoscopic layout (eZr3DFormat). Interlaced formats are named by their field rate, except for NTSC and PAL.
enum eZrVideoFormat : int32_t {
    eZrVF_Custom = 0,
    eZrVF_NTSC = 1,
    eZrVF_NTSC_2398 = 2,
    eZrVF_NTSC_16x9 = 3,
    eZrVF_PAL = 4,
    eZrVF_PAL_16x9 = 5,
    eZrVF_HD720_50p = 6,
    eZrVF_HD720_5994p = 7,
    eZrVF_HD720_60p = 8,
    eZrVF_HD1080_2398p = 9,
    eZrVF_HD1080_24p = 10,
    eZrVF_HD1080_25p = 11,
    eZrVF_HD1080_2997p = 12,
    eZrVF_HD1080_30p = 13,
    eZrVF_HD1080_50i = 14,
    eZrVF_HD1080_5994i = 15,
    eZrVF_HD1080_60i = 16,
    eZrVF_HD1080_50p = 17,
    eZrVF_HD1080_5994p = 18,
    eZrVF_HD1080_60p = 19,
    eZrVF_2K_DCI_2398p = 20,
    eZrVF_2K_DCI_24p = 21,
    eZrVF_2K_DCI_25p = 22,
    eZrVF_2K_DCI_50p = 23,
    eZrVF_2K_DCI_5994p = 24,
    eZrVF_2K_DCI_60p = 25,
    eZrVF_2K_2398p = 26,
    eZrVF_2K_24p = 27,
    eZrVF_2K_25p = 28,
    eZrVF_4K_UHD_50i = 29,
    eZrVF_4K_UHD_5994i = 30,
    eZrVF_4K_UHD_60i = 31,
    eZrVF_4K_UHD_2398p = 32,
    eZrVF_4K_UHD_24p = 33,
    eZrVF_4K_UHD_25p = 34,
    eZrVF_4K_UHD_2997p = 35,
    eZrVF_4K_UHD_30p = 36,
    eZrVF_4K_DCI_2398p = 37,
    eZrVF_4K_DCI_24p = 38,
    eZrVF_4K_DCI_25p = 39,
    eZrVF_4K_UHD_50p = 40,
    eZrVF_4K_UHD_5994p = 41,
    eZrVF_4K_UHD_60p = 42,
    eZrVF_4K_DCI_50p = 43,
    eZrVF_4K_DCI_5994p = 44,
    eZrVF_4K_DCI_60p = 45,
    eZrVF_Disabled = 46,

    // Two half-width pictures side by side.
    eZrVF_3D_SbS_720_50p = 512 + eZrVF_HD720_50p,
    eZrVF_3D_SbS_720_5994p = 512 + eZrVF_HD720_5994p,
    eZrVF_3D_SbS_720_60p = 512 + eZrVF_HD720_60p,
    eZrVF_3D_SbS_1080_2398p = 512 + eZrVF_HD1080_2398p,
    eZrVF_3D_SbS_1080_24p = 512 + eZrVF_HD1080_24p,
    eZrVF_3D_SbS_1080_25p = 512 + eZrVF_HD1080_25p,
    eZrVF_3D_SbS_1080_2997p = 512 + eZrVF_HD1080_2997p,
    eZrVF_3D_SbS_1080_30p = 512 + eZrVF_HD1080_30p,
    eZrVF_3D_SbS_1080_50i = 512 + eZrVF_HD1080_50i,
    eZrVF_3D_SbS_1080_5994i = 512 + eZrVF_HD1080_5994i,
    eZrVF_3D_SbS_1080_60i = 512 + eZrVF_HD1080_60i,
    eZrVF_3D_SbS_1080_50p = 512 + eZrVF_HD1080_50p,
    eZrVF_3D_SbS_1080_5994p = 512 + eZrVF_HD1080_5994p,
    eZrVF_3D_SbS_1080_60p = 512 + eZrVF_HD1080_60p,

    // Two half-height pictures, one above the other.
    eZrVF_3D_TnB_720_50p = 1024 + eZrVF_HD720_50p,
    eZrVF_3D_TnB_720_5994p = 1024 + eZrVF_HD720_5994p,
    eZrVF_3D_TnB_720_60p = 1024 + eZrVF_HD720_60p,
    eZrVF_3D_TnB_1080_2398p = 1024 + eZrVF_HD1080_2398p,
    eZrVF_3D_TnB_1080_24p = 1024 + eZrVF_HD1080_24p,
    eZrVF_3D_TnB_1080_25p = 1024 + eZrVF_HD1080_25p,
    eZrVF_3D_TnB_1080_2997p = 1024 + eZrVF_HD1080_2997p,
    eZrVF_3D_TnB_1080_30p = 1024 + eZrVF_HD1080_30p,
    eZrVF_3D_TnB_1080_50p = 1024 + eZrVF_HD1080_50p,
    eZrVF_3D_TnB_1080_5994p = 1024 + eZrVF_HD1080_5994p,
    eZrVF_3D_TnB_1080_60p = 1024 + eZrVF_HD1080_60p,

    // Two full pictures side by side: twice the width.
    eZrVF_3D_Full_SbS_720_50p = 4608 + eZrVF_HD720_50p,
    eZrVF_3D_Full_SbS_720_5994p = 4608 + eZrVF_HD720_5994p,
    eZrVF_3D_Full_SbS_720_60p = 4608 + eZrVF_HD720_60p,
    eZrVF_3D_Full_SbS_1080_2398p = 4608 + eZrVF_HD1080_2398p,
    eZrVF_3D_Full_SbS_1080_24p = 4608 + eZrVF_HD1080_24p,
    eZrVF_3D_Full_SbS_1080_25p = 4608 + eZrVF_HD1080_25p,
    eZrVF_3D_Full_SbS_1080_2997p = 4608 + eZrVF_HD1080_2997p,
    eZrVF_3D_Full_SbS_1080_30p = 4608 + eZrVF_HD1080_30p,
    eZrVF_3D_Full_SbS_1080_50i = 4608 + eZrVF_HD1080_50i,
    eZrVF_3D_Full_SbS_1080_5994i = 4608 + eZrVF_HD1080_5994i,
    eZrVF_3D_Full_SbS_1080_60i = 4608 + eZrVF_HD1080_60i,

    // Two full pictures, one above the other: twice the height.
    eZrVF_3D_Full_TnB_720_50p = 5120 + eZrVF_HD720_50p,
    eZrVF_3D_Full_TnB_720_5994p = 5120 + eZrVF_HD720_5994p,
    eZrVF_3D_Full_TnB_720_60p = 5120 + eZrVF_HD720_60p,
    eZrVF_3D_Full_TnB_1080_2398p = 5120 + eZrVF_HD1080_2398p,
    eZrVF_3D_Full_TnB_1080_24p = 5120 + eZrVF_HD1080_24p,
    eZrVF_3D_Full_TnB_1080_25p = 5120 + eZrVF_HD1080_25p,
    eZrVF_3D_Full_TnB_1080_2997p = 5120 + eZrVF_HD1080_2997p,
    eZrVF_3D_Full_TnB_1080_30p = 5120 + eZrVF_HD1080_30p,
    eZrVF_3D_Full_TnB_1080_50i = 5120 + eZrVF_HD1080_50i,
    eZrVF_3D_Full_TnB_1080_5994i = 5120 + eZrVF_HD1080_5994i,
    eZrVF_3D_Full_TnB_1080_60i = 5120 + eZrVF_HD1080_60i,
};

// State bits of a frame (low half) and its coded picture type (bits 16 to 19). A repeated and a held frame carry the
// break bit too: to mark a real break clear 0x31 and set eZrFF_Break.
enum eZrFrameFlags : uint32_t {
    eZrFF_None = 0,
    eZrFF_Break = 0x1,  // discontinuity: the time line restarts at this frame
    eZrFF_Last = 0x2,   // last frame of the media
    eZrFF_Last_Break = 0x3,
    eZrFF_Dup = 0x11,    // a repeat of the previous frame
    eZrFF_Pause = 0x21,  // held while paused
    eZrFF_Live = 0x100,  // from a live source
    eZrFF_Net = 0x200,   // from a network source
    eZrFF_Reverse = 0x1000,
    eZrFF_Main_Mask = 0xFFFF,

    eZrFF_Intra = 0x10000,
    eZrFF_Predicted = 0x20000,
    eZrFF_Bidir_Predicted = 0x30000,
    eZrFF_S_GMC_VOP_MPEG4 = 0x40000,
    eZrFF_Switching_Intra = 0x50000,
    eZrFF_Switching_Predicted = 0x60000,
    eZrFF_BI = 0x70000,
    eZrFF_Type_Mask = 0xF0000,
};

// Kind and origin of a time code. Bits 8 to 11 number the frame, from 1, among those that share one time code at more
// than 30 frames a second: 0x100 the even (first), 0x200 the odd (second), 0x300 to 0x800 the third to the eighth.
// A time code from the source or from the user is a rate row with that bit added: eZrTCF_Rate_25 | eZrTCF_SrcTC.
enum eZrTimecodeFlags : uint32_t {
    eZrTCF_NonDropFrame = 0,
    eZrTCF_DropFrame = 1,
    eZrTCF_Rate = 0xFF0,  // mask of the rate field
    eZrTCF_Rate_24 = 0x10,
    eZrTCF_Rate_25 = 0x20,
    eZrTCF_Rate_30 = 0x40,
    eZrTCF_Rate_30_DF = 0x41,
    eZrTCF_Progressive_Even_Frame = 0x100,
    eZrTCF_Progressive_Odd_Frame = 0x200,
    eZrTCF_Rate_50 = 0x120,
    eZrTCF_Rate_60 = 0x140,
    eZrTCF_Rate_60_DF = 0x141,
    eZrTCF_Rate_50_Odd = 0x220,
    eZrTCF_Rate_60_Odd = 0x240,
    eZrTCF_Rate_60_DF_Odd = 0x241,
    eZrTCF_SrcTC = 0x1000,
    eZrTCF_UserTC = 0x2000,
    eZrTCF_LocalTimeTC = 0x10000,
    eZrTCF_Invalid = 0x80000000,
};

// What a clone of a frame takes over. Bits: 0x1 video copied, 0x2 video by reference, 0x10 audio, 0x100 data, 0x200
// attached objects.
enum eZrFrameClone : uint32_t {
    eZrFC_Props = 0x0,
    eZrFC_Video = 0x1,
    eZrFC_VideoRef = 0x2,
    eZrFC_Audio = 0x10,
    eZrFC_VideoRef_Audio = 0x12,
    eZrFC_Data = 0x100,
    eZrFC_Obj = 0x200,
    eZrFC_Data_Audio = 0x110,
    eZrFC_ObjData_Audio = 0x310,
    eZrFC_Reference = 0x312,
    eZrFC_Full = 0x311,
};

enum eZrANCFlags : uint32_t {
    eZrAF_None = 0,
    eZrAF_AL_Valid = 2,  // the level blocks are valid
};

enum eZrItemType : int32_t {
    eZrPIT_File = 0,
    eZrPIT_Live = 1,
    eZrPIT_Playlist = 2,
    eZrPIT_Command = 3,
};

// How an item starts.
enum eZrStartType : int32_t {
    eZrST_Off = 0,
    eZrST_Auto = 1,
    eZrST_Specified = 2,  // at its start time
};

// How attributes or nodes are laid over existing ones.
enum eZrUpdateType : int32_t {
    eZrUT_AddNew = 0,
    eZrUT_Update = 1,
    eZrUT_ClearDest = 2,
};

// What is asked about a property or an attribute.
enum eZrInfoType : int32_t {
    eZrIT_Help = 0,
    eZrIT_Type = 1,
    eZrIT_Default = 2,
    eZrIT_Values = 3,
    eZrIT_Min = 4,
    eZrIT_Max = 5,
    eZrIT_Dynamic = 6,
};

// Which format of an object is meant.
enum eZrFormatType : int32_t {
    eZrFT_Input = 0,
    eZrFT_Convert = 1,
    eZrFT_Override = 2,
    eZrFT_Output = 3,
};

enum eZrAudioTrackMode : int32_t {
    eZrAT_Disabled = 0,
    eZrAT_Enabled = 1,
    eZrAT_Exclusive = 2,
    eZrAT_Mix_Exclusive = 3,
    eZrAT_Enabled_AddTo = 4,
    eZrAT_Disabled_AddTo = 5,
};

// Units of a rectangle.
enum eZrFRectType : int32_t {
    eZrFRT_Absolute = 0,  // pixels
    eZrFRT_Relative = 1,  // 0 to 1 of the picture
    eZrFRT_FixedCC_15x32 = 2,
    eZrFRT_Fixed14 = 14,
    eZrFRT_Fixed20 = 20,
    eZrFRT_Fixed24 = 24,
    eZrFRT_Fixed32 = 32,
    eZrFRT_Fixed40 = 40,
};

enum eZrFOverlayFlags : uint32_t {
    eZrFOF_NoScale = 0x0,
    eZrFOF_LetterBox = 0x1,
    eZrFOF_Crop = 0x2,
    eZrFOF_NoAR = 0x4,
    eZrFOF_ScaleMask = 0xF,
    eZrFOF_FirstField = 0x1000,
    eZrFOF_SecondField = 0x2000,
};

// Where and how a text is printed: line (vertical part) and position in it (horizontal part). In the centre and bottom
// lines the justified rows are the right-aligned ones; hosts rely on these numbers.
enum eZrFTextFlags : uint32_t {
    eZrFTF_TopLeft = 0x0,
    eZrFTF_TopCenter = 0x1,
    eZrFTF_TopRight = 0x2,
    eZrFTF_TopJustify = 0x3,
    eZrFTF_CenterLeft = 0x10,
    eZrFTF_CenterCenter = 0x11,
    eZrFTF_CenterRight = 0x12,
    eZrFTF_CenterJustify = 0x12,
    eZrFTF_BottomLeft = 0x20,
    eZrFTF_BottomCenter = 0x21,
    eZrFTF_BottomRight = 0x22,
    eZrFTF_BottomJustify = 0x22,
    eZrFTF_HPos_Mask = 0x3,
    eZrFTF_VPos_Mask = 0x30,
    eZrFTF_WordBreak = 0x100,
    eZrFTF_RightToLeft = 0x200,
    eZrFTF_Vertical = 0x400,
    eZrFTF_FirstField = 0x1000,
    eZrFTF_SecondField = 0x2000,
};

// Cursor over a preview window, by the usual system numbers.
enum eZrCursorType : int32_t {
    eZrCT_NOCURSOR = 0,
    eZrCT_ARROW = 32512,
    eZrCT_IBEAM = 32513,
    eZrCT_WAIT = 32514,
    eZrCT_CROSS = 32515,
    eZrCT_UPARROW = 32516,
    eZrCT_SIZE = 32640,
    eZrCT_ICON = 32641,
    eZrCT_SIZENWSE = 32642,
    eZrCT_SIZENESW = 32643,
    eZrCT_SIZEWE = 32644,
    eZrCT_SIZENS = 32645,
    eZrCT_SIZEALL = 32646,
    eZrCT_NO = 32648,
    eZrCT_HAND = 32649,
    eZrCT_APPSTARTING = 32650,
};

// The enumerations that are sets of bits keep their type under | & ^ ~ and their assigning forms.
template <class E>
concept FlagEnum = std::is_same_v<E, eZrFrameFlags> || std::is_same_v<E, eZrTimecodeFlags> ||
    std::is_same_v<E, eZrFrameClone> || std::is_same_v<E, eZrANCFlags> || std::is_same_v<E, eZrFOverlayFlags> ||
    std::is_same_v<E, eZrFTextFlags> || std::is_same_v<E, eZr3DFormat>;

template <FlagEnum E>
constexpr E operator|(E _a, E _b) {
    return static_cast<E>(static_cast<uint32_t>(_a) | static_cast<uint32_t>(_b));
}
template <FlagEnum E>
constexpr E operator&(E _a, E _b) {
    return static_cast<E>(static_cast<uint32_t>(_a) & static_cast<uint32_t>(_b));
}
template <FlagEnum E>
constexpr E operator^(E _a, E _b) {
    return static_cast<E>(static_cast<uint32_t>(_a) ^ static_cast<uint32_t>(_b));
}
template <FlagEnum E>
constexpr E operator~(E _a) {
    return static_cast<E>(~static_cast<uint32_t>(_a));
}
template <FlagEnum E>
constexpr E& operator|=(E& _a, E _b) {
    return _a = _a | _b;
}
template <FlagEnum E>
constexpr E& operator&=(E& _a, E _b) {
    return _a = _a & _b;
}
template <FlagEnum E>
constexpr E& operator^=(E& _a, E _b) {
    return _a = _a ^ _b;
}

}  // namespace zr
