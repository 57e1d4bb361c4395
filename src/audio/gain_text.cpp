#include "audio/gain_text.h"

#include <algorithm>
#include <cmath>

#include "attributes/number_text.h"

namespace zr {

double LinearOfDb(double _dblDb) {
    constexpr double kMostDb = 60;
    return std::pow(10.0, std::min(_dblDb, kMostDb) / 20.0);
}

double DbOfLinear(double _dblLinear) { return 20.0 * std::log10(_dblLinear); }

void ReadGains(std::u16string_view _text, std::vector<double>* _parrDb) {
    _parrDb->clear();
    for (size_t n = 0; (n = _text.find_first_of(u"-+.0123456789", n)) != _text.npos;) {
        const DOUBLE_TEXT number = ReadDouble(_text.substr(n));
        n += std::max<size_t>(number.nUsed, 1);
        if (number.nUsed > 0) _parrDb->push_back(number.dblValue);
    }
}

}  // namespace zr
