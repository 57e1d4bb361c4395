#include "apps/zrmix/nearest_name.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zrmix {
namespace {

constexpr size_t kLongest = 64;

char Lower(char _ch) { return _ch >= 'A' && _ch <= 'Z' ? static_cast<char>(_ch + 32) : _ch; }

// Letters put in, left out, exchanged, and neighbours swapped: the restricted distance of Damerau and Levenshtein.
// From _nMost on any number that is not less. At most kLongest letters each.
size_t Distance(std::string_view _a, std::string_view _b, size_t _nMost) {
    if (std::max(_a.size(), _b.size()) - std::min(_a.size(), _b.size()) >= _nMost) return _nMost;
    std::array<size_t, kLongest + 1> arrBefore{}, arrLast{}, arrNow{};
    for (size_t k = 0; k <= _b.size(); ++k) arrLast[k] = k;
    for (size_t i = 1; i <= _a.size(); ++i) {
        arrNow[0] = i;
        size_t nLeast = i;
        for (size_t k = 1; k <= _b.size(); ++k) {
            const bool bSame = Lower(_a[i - 1]) == Lower(_b[k - 1]);
            arrNow[k] = std::min({arrLast[k] + 1, arrNow[k - 1] + 1, arrLast[k - 1] + (bSame ? 0 : 1)});
            if (i > 1 && k > 1 && Lower(_a[i - 1]) == Lower(_b[k - 2]) && Lower(_a[i - 2]) == Lower(_b[k - 1]))
                arrNow[k] = std::min(arrNow[k], arrBefore[k - 2] + 1);
            nLeast = std::min(nLeast, arrNow[k]);
        }
        // Two swapped letters reach back over one row.
        if (nLeast >= _nMost + 1) return _nMost;
        std::swap(arrBefore, arrLast);
        std::swap(arrLast, arrNow);
    }
    return arrLast[_b.size()];
}

}  // namespace

std::string NearestName(std::string_view _name, const std::vector<std::string>& _arrKnown) {
    if (_name.size() > kLongest) return {};
    size_t nLeast = std::max<size_t>(_name.size() / 3, 1) + 1;
    std::string nearest;
    for (const std::string& known : _arrKnown) {
        if (known.size() > kLongest) continue;
        const size_t n = Distance(_name, known, nLeast);
        if (n < nLeast && n < std::max(_name.size(), known.size())) {
            nLeast = n;
            nearest = known;
        }
    }
    return nearest;
}

std::string DidYouMean(std::string_view _name, const std::vector<std::string>& _arrKnown) {
    const std::string nearest = NearestName(_name, _arrKnown);
    return nearest.empty() ? nearest : "; did you mean " + nearest + "?";
}

}  // namespace zrmix
