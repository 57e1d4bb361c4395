#pragma once
// The values of an element at a time: as it says them, or on the way from old ones to new ones, or in steady motion.
//
// A change is no timer. It is a node "node_from" below the element with the values at its start, while the element
// has those at its end already; whoever draws asks for the values at the time of his frame.

#include <cmath>
#include <cstdint>
#include <optional>

#include "scenes/element.h"

namespace zr {

// The attributes that the drawing reads as numbers, all of which can change over time.
enum class eTimed : uint8_t { Show, X, Y, W, H, Sx, Sy, Sw, Sh, Alpha, AudioGain };
inline constexpr size_t kTimedNames = 11;

struct TIMED_NAME {
    NameKey key;
    double dblFallback;  // where the element says nothing
    std::u16string_view szFallback;
};
const TIMED_NAME& TimedName(eTimed _e);
// No value: the name is not one of them.
std::optional<eTimed> TimedByHash(uint64_t _nHash);
inline bool IsTimedName(const NameKey& _key) { return TimedByHash(_key.nHash).has_value(); }

// How far "add" moves a value: the steps of a frame, and whether the new value is kept. Of the passes that draw one
// frame the first moves and the others read what it kept.
struct MOTION {
    double dblStep = 0;  // seconds
    bool bStore = false;

    // _dblRate: of the output in frames per second; 0: not known.
    static MOTION NextFrame(double _dblRate) { return {_dblRate > 0 ? 1 / _dblRate : 1.0 / 30, true}; }
};

// All of an element's numbers at one time, read from it at once: what the drawing asks for at each frame. Allocates
// nothing but at the first frame of a change.
class ElementValues {
public:
    // _dblNow: stream time in seconds; below 0 the last time that was seen, without the oscillation of "vary". Keeps
    // the time in the element's change. Any thread.
    ElementValues(CoElement& _element, double _dblNow, const MOTION& _motion)
        : ElementValues(
              _element, _dblNow, _motion, [](std::u16string_view) { return true; }, [](uint64_t, AttrValue&) {}) {}
    // _begin(tag): false, and nothing else is read. _other(hash of the name, AttrValue&): receives the own attributes
    // that are none of these. Both are called with the attribute lock of the element held.
    template <class B, class F>
    ElementValues(CoElement& _element, double _dblNow, const MOTION& _motion, B&& _begin, F&& _other) {
        SIDE own;
        const bool bWanted = _element.VisitOwnAttributes(_begin, [&](uint64_t _nHash, AttrValue& _value) {
            if (!own.Take(_nHash, _value)) _other(_nHash, _value);
        });
        if (bWanted) Resolve(_element, own, _dblNow, _motion);
    }

    double operator[](eTimed _e) const { return arrValues[static_cast<size_t>(_e)]; }
    // The element says so itself. Of "audio_gain": and it is a number.
    bool Has(eTimed _e) const { return (nPresent >> static_cast<unsigned>(_e) & 1) != 0; }
    // Its "audio_gain" is no number.
    bool HasNoGain() const { return bNoGain; }
    bool Shown() const { return (*this)[eTimed::Show] != 0; }
    // The place of the change that is under way, 0 to 1; above 1 it is over and EndChange is due. Without one 0.
    double Progress() const { return dblProgress; }
    bool IsChanging() const { return bChanging; }
    bool HasChildren() const { return bHasChildren; }

private:
    // What one node says: of the names that it has.
    struct SIDE {
        double arr[kTimedNames];
        uint32_t nPresent = 0;
        bool bNoGain = false;

        bool Take(uint64_t _nHash, AttrValue& _value);
        void Read(const XMLNodeBase& _node);
        std::optional<double> Get(size_t _i) const {
            return nPresent >> _i & 1 ? std::optional<double>(arr[_i]) : std::nullopt;
        }
    };
    void Resolve(CoElement& _element, SIDE& _own, double _dblNow, const MOTION& _motion);

    double arrValues[kTimedNames];
    double dblProgress = 0;
    uint32_t nPresent = 0;
    bool bChanging = false;
    bool bHasChildren = false;
    bool bNoGain = false;
};

// --- The parts that this is made of

// Progress of time in a change with a soft start and end: 0 to 1. _dblAccel: 1 as a rule, more is steeper in the
// middle, 0 and below is steady.
double Ease(double _dblT, double _dblAccel);

// The place of an element's change: above 1 it is over. _pFrom may be null, which gives 0. _dblNow as above.
double Progress(XMLNodeBase* _pFrom, double _dblNow);

// The value of one attribute by its name, where all of them are not wanted.
double AnimatedValue(CoElement& _element, const NameKey& _key, double _dblFallback, double _dblNow, double _dblWrap,
                     const MOTION& _motion = {});

// A value and how it moves by itself.
struct MOVED_VALUE {
    std::optional<double> value;
    bool bMoves = false;  // it has a node "add"
    double dblSpeed = 0;  // units per second
};
// One step of motion. _dblWrap above 0: modulo that; below 0: comes back at the other side of plus and minus that.
double Advance(const MOVED_VALUE& _value, double _dblFallback, double _dblWrap, double _dblStep);

// The two ends of a change of one attribute, and its oscillation.
struct COMBINED_SIDES {
    MOVED_VALUE target;
    MOVED_VALUE from;
    bool bFrom = false;  // there is a change
    double dblAmplitude = 0;
    double dblPeriod = 10;
};
// What Combine found the two ends to be now, to be kept where they move.
struct COMBINED_VALUE {
    double dblValue;
    double dblTarget;
    double dblFrom;
};
COMBINED_VALUE Combine(const COMBINED_SIDES& _sides, double _dblFallback, double _dblProgress, double _dblNow,
                       double _dblWrap, double _dblStep);

// Drops the change of an element, which then is what it says. For the drawing, when Progress is above 1.
void EndChange(CoElement& _element);

}  // namespace zr
