#pragma once
// Arithmetic on the description of a picture: building it from a named format, filling and correcting it, recognising a
// named format in bare numbers, comparing two. Pure functions on values: any thread, no failure.

#include <cstdint>
#include <string_view>

#include "zr/records.h"

namespace zr {

// The display aspect ratio as a number: the given one, else width to height, else 16:9. A top-down height (negative)
// without a given ratio counts as 16:9 too. 1.0 for null.
double AspectValue(const ZR_VID_PROPS* _pProps);

// 0 progressive, +1 first field first, -1 second field first; from eInterlace, or from the named format when that is
// eZrI_Default. The inverse, one-field and deinterlace values count as progressive.
int32_t InterlaceClass(const ZR_VID_PROPS* _pProps);

// The whole record of a named format. _fccType: 0 takes UYVY in standard definition and HDYC above it. Formats with
// bottom-up rows come out top-down (negative height). A format without a row gives zeros beside the two arguments.
ZR_VID_PROPS PropsFromFormat(eZrVideoFormat _eFormat, eZrFCC _fccType);

// Fills and corrects a record in place and returns its format; null and a named format without a row give 0.
//
// _bKeepOwnSize false: the record is a wish. A named format fills what is not given: row bytes, aspect, height, width
// and field order that are given stay. When rate, width and height are all given, the format becomes the one they name
// and the rate stays too; a rate alone is not looked at. A height of 1 or -1 only chooses the sign of the format's
// height.
//
// _bKeepOwnSize true: the record stands for a frame. A named format overrules everything but the scale type and a
// height that may hold the format's picture with some blanking lines (or 480 lines of an interlaced format). Field
// order and pixel format are filled in.
//
// In both: a record without a format gets the one its numbers name; pixel formats that cannot be bottom-up get a
// positive height and an even width; interlaced pictures get an even height, except a frame with all lines of its
// format, blanking included; row bytes are at least what the width needs.
//
// A record of a named format is settled after one run as a frame. In the other cases a second run may go on: a run that
// recognises a format in bare numbers sets its name only and the next fills the rest by it; a run that completes a wish
// gives the next one more to detect by; rounding an odd size may lead to a known raster.
eZrVideoFormat NormalizeProps(ZR_VID_PROPS* _pProps, bool _bKeepOwnSize);

// The named format of bare numbers, 0 when there is none. Rates match within 0.01; a field order that is given must
// match, else the interlaced format wins where both exist (1920 x 1080 at 25 is HD1080-50i). Two pictures stacked or
// side by side are recognised as stereoscopic, side by side only when the row bytes are below those of two such rows.
// _bExact: the height may not include blanking lines.
eZrVideoFormat DetectFormat(const ZR_VID_PROPS* _pProps, bool _bExact);

// True when two wishes, normalised, ask for the same. Both null: the same. _nLevel: 0 compares all; from 1 on only
// width and lines, from 2 on the pixel format too, from 3 on the row bytes too.
bool SameProps(const ZR_VID_PROPS* _pA, const ZR_VID_PROPS* _pB, int32_t _nLevel);

// _bRequireOutputForm false: the record asks for anything at all (a format alone does not count: normalise first).
// true: a frame can be made by it. False for null.
bool PropsValid(const ZR_VID_PROPS* _pProps, bool _bRequireOutputForm);

// The format of a short or enumerator name, case counts; _eDefault for any other text.
eZrVideoFormat ParseFormatName(std::u16string_view _text, eZrVideoFormat _eDefault);

}  // namespace zr
