#include "sources/item_start.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "attributes/attr_text.h"
#include "platform/utf.h"

namespace zr {
namespace {

namespace chrono = std::chrono;

chrono::year_month_day DateOf(const ZR_DATETIME& _time) {
    return chrono::year(_time.nYear) / chrono::month(static_cast<unsigned>(std::clamp(_time.nMonth, 0, 99))) /
           chrono::day(static_cast<unsigned>(std::clamp(_time.nDay, 0, 99)));
}

bool Between(int32_t _n, int32_t _nMost) { return _n >= 0 && _n <= _nMost; }

}  // namespace

bool IsDateTime(const ZR_DATETIME& _time) {
    return Between(_time.nYear, 9999) && DateOf(_time).ok() && Between(_time.nHour, 23) && Between(_time.nMinute, 59) &&
           Between(_time.nSecond, 59) && Between(_time.nMilliseconds, 999);
}

std::u16string DateTimeText(const ZR_DATETIME& _time) {
    char sz[96];
    const char* const szFormat =
        _time.nMilliseconds != 0 ? "%04d/%02d/%0d %02d:%02d:%02d.%03d" : "%04d/%02d/%0d %02d:%02d:%02d";
    std::snprintf(sz, sizeof sz, szFormat, _time.nYear, _time.nMonth, _time.nDay, _time.nHour, _time.nMinute,
                  _time.nSecond, _time.nMilliseconds);
    return Utf16FromUtf8(sz);
}

ZR_DATETIME ReadDateTimeText(std::u16string_view _text) {
    ZR_DATETIME time;
    char sz[64] = {};
    for (size_t i = 0; i < std::min(_text.size(), sizeof sz - 1); ++i)
        sz[i] = _text[i] < 0x80 ? static_cast<char>(_text[i]) : '?';
    const int n = std::sscanf(sz, "%4d/%2d/%2d %2d:%2d:%2d.%3d", &time.nYear, &time.nMonth, &time.nDay, &time.nHour,
                              &time.nMinute, &time.nSecond, &time.nMilliseconds);
    if (n >= 6 && IsDateTime(time)) return time;
    const AttrDateTime read = ReadDateTime(_text);
    return {read.nYear, read.nMonth, read.nDay, read.nHour, read.nMinute, read.nSecond, read.nMilliseconds};
}

ZR_DATETIME DateTimeAfter(const ZR_DATETIME& _time, double _dblSeconds) {
    if (!IsDateTime(_time) || !std::isfinite(_dblSeconds) || std::abs(_dblSeconds) > 1e11) return _time;
    const auto at = chrono::sys_days(DateOf(_time)) + chrono::hours(_time.nHour) + chrono::minutes(_time.nMinute) +
                    chrono::seconds(_time.nSecond) + chrono::milliseconds(_time.nMilliseconds) +
                    chrono::milliseconds(std::llround(_dblSeconds * 1000));
    const auto day = chrono::floor<chrono::days>(at);
    const chrono::year_month_day date(day);
    const chrono::hh_mm_ss clock(at - day);
    return {static_cast<int32_t>(date.year()),
            static_cast<int32_t>(static_cast<unsigned>(date.month())),
            static_cast<int32_t>(static_cast<unsigned>(date.day())),
            static_cast<int32_t>(clock.hours().count()),
            static_cast<int32_t>(clock.minutes().count()),
            static_cast<int32_t>(clock.seconds().count()),
            static_cast<int32_t>(clock.subseconds().count())};
}

}  // namespace zr
