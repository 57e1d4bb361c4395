#pragma once
// What of a source's frames is seen in a slot of an output of another rate: whole frames or fields. Fields are counted
// as InterlaceClass does: 0 a progressive picture, else two fields.

#include <cstdint>

namespace zr {

// What a slot of the output's line shows.
enum class SlotPicture {
    Whole,       // the frame as it is
    FirstField,  // of an interlaced frame, spread over the picture: first and second in time
    SecondField,
    Woven,  // in the first field the frame that was kept for it, in the second this one
};

// Frames a second that are no different.
inline constexpr double kSameFrameRate = 0.001;

// Whether frames go into the fields of the output, each for the time that it is on screen. Those of 40 a second and
// less are shown in both fields of a frame: what stands still for so long is better seen sharp.
constexpr bool FillsFields(int32_t _nFields, double _dblRate, int32_t _nOutputFields, double _dblOutputRate) {
    constexpr double kLeast = 40;
    return _nFields == 0 && _nOutputFields != 0 && _dblRate > kLeast && _dblRate > _dblOutputRate + kSameFrameRate;
}

// Whether a frame of another rate than the output shows its fields apart, so that nothing moves backwards.
// _bOften: it fills more than one slot.
constexpr bool ShowsFields(int32_t _nFields, int32_t _nOutputFields, bool _bOften) {
    return _nFields != 0 && (_bOften || _nOutputFields == 0);
}

}  // namespace zr
