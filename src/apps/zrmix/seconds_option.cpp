#include "apps/zrmix/seconds_option.h"

#include <cstdlib>
#include <string>

#include "apps/zrmix/show_script.h"

namespace zrmix {
namespace {

constexpr double kLeastSeconds = 1e-6;

// What is no number fails both comparisons.
CLI::Validator SecondsFrom(double _dblLeast, const char* _szRange) {
    const auto WhyNot = [=](const std::string& _text) -> std::string {
        char* pEnd = nullptr;
        const double dbl = std::strtod(_text.c_str(), &pEnd);
        if (pEnd == _text.c_str() + _text.size() && dbl >= _dblLeast && dbl <= kMostSeconds) return {};
        return "\"" + _text + "\" is no number of seconds from " + _szRange;
    };
    return {WhyNot, ""};
}

}  // namespace

CLI::Validator IsTime() { return SecondsFrom(0, "0 to 1000000"); }

CLI::Validator IsLength() { return SecondsFrom(kLeastSeconds, "0.000001 to 1000000"); }

}  // namespace zrmix
