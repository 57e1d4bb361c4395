#pragma once
// Gains as texts have them: in dB, one or a list.

#include <string_view>
#include <vector>

namespace zr {

// Linear in amplitude; more than 60 dB is 60 dB. -60 dB is 0.001: no gain of a text is silence.
double LinearOfDb(double _dblDb);
double DbOfLinear(double _dblLinear);

// The numbers in a text such as "-6" or "0, -12.5", whatever is between them.
void ReadGains(std::u16string_view _text, std::vector<double>* _parrDb);

}  // namespace zr
