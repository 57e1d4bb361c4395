#include <algorithm>
#include <cmath>

#include "attributes/attr_text.h"
#include "attributes/char_class.h"
#include "attributes/number_text.h"

namespace zr {

namespace {

// A time read from its end: what each number is depends on how many have been read behind it.
class TimeFromEnd {
public:
    void AddDigit(char16_t _ch) {
        dblNumber += (_ch - u'0') * dblWeight;
        dblWeight = std::min(dblWeight * 10, 1e100);  // further digits say nothing about a time of day
    }

    // _ch: the separator in front of the number, or any character when the number begins the text.
    void CloseNumber(char16_t _ch) {
        switch (nPosition) {
            case 0:
                if (_ch == u'.') {
                    dblFraction = std::min(dblNumber / dblWeight, 1.0);
                    bSecondsPresent = true;
                } else {
                    dblSeconds += dblNumber;
                    nPosition = 1;
                }
                break;
            case 1: dblSeconds += dblNumber; break;
            case 2: dblSeconds += dblNumber * 60; break;
            case 3:
                dblSeconds += dblNumber * 3600;
                bSecondsPresent = true;
                break;
            default: break;
        }
        dblNumber = 0;
        dblWeight = 1;
    }

    void PassSeparator(char16_t _ch) {
        switch (ToLower(_ch)) {
            case u's': nPosition = 1; break;
            case u'm': nPosition = 2; break;
            case u'h': nPosition = 3; break;
            default: nPosition = std::min(nPosition + 1, 4);
        }
    }

    // As a time of day.
    void Store(AttrDateTime& _time) const {
        const auto nMilliseconds = static_cast<uint32_t>(std::round(dblFraction * 1000));  // 1000 carries over
        const double dblTotal = (bSecondsPresent ? 1 : 60) * dblSeconds + nMilliseconds / 1000;
        const auto nTotal = static_cast<uint32_t>(std::fmod(dblTotal, 24 * 3600));
        _time.nHour = static_cast<uint16_t>(nTotal / 3600);
        _time.nMinute = static_cast<uint16_t>(nTotal / 60 % 60);
        _time.nSecond = static_cast<uint16_t>(nTotal % 60);
        _time.nMilliseconds = static_cast<uint16_t>(nMilliseconds % 1000);
    }

private:
    double dblNumber = 0;
    double dblWeight = 1;
    int nPosition = 0;
    double dblSeconds = 0;
    double dblFraction = 0;
    bool bSecondsPresent = false;
};

bool IsTimeBlank(char16_t _ch) { return _ch == u' ' || _ch == u'\r' || _ch == u'\n' || _ch == u'\t'; }

bool IsTimeSeparator(char16_t _ch) {
    const char16_t ch = ToLower(_ch);
    return ch == u':' || ch == u'.' || ch == u'h' || ch == u'm' || ch == u's' || IsTimeBlank(ch);
}

// Three numbers with _chSeparator between them; what follows does not matter.
bool ReadTriple(std::u16string_view _text, char16_t _chSeparator, uint16_t (&_arr)[3]) {
    uint16_t arr[3];
    for (size_t i = 0; i < 3; ++i) {
        if (i > 0) {
            if (!_text.starts_with(_chSeparator)) return false;
            _text.remove_prefix(1);
        }
        const INTEGER_TEXT number = ReadInteger(_text, 10, UINT32_MAX);
        if (number.nUsed == 0) return false;
        arr[i] = static_cast<uint16_t>(number.nValue);
        _text.remove_prefix(number.nUsed);
    }
    std::copy(arr, arr + 3, _arr);
    return true;
}

void ReadDate(std::u16string_view _text, AttrDateTime& _time) {
    uint16_t arr[3];
    if (ReadTriple(_text, u'-', arr)) {
        _time.nYear = arr[0];
        _time.nMonth = arr[1];
        _time.nDay = arr[2];
    } else if (ReadTriple(_text, u'/', arr) || ReadTriple(_text, u'.', arr)) {
        _time.nDay = arr[0];
        _time.nMonth = arr[1];
        _time.nYear = arr[2];
    }
}

}  // namespace

AttrDateTime ReadDateTime(std::u16string_view _text, DateParts _eParts) {
    AttrDateTime time{};
    TimeFromEnd scan;
    size_t i = _text.size();
    while (i > 0) {
        const char16_t ch = _text[--i];
        const bool bSeparator = IsTimeSeparator(ch);
        if (ch >= u'0' && ch <= u'9') scan.AddDigit(ch);
        if (bSeparator || i == 0) scan.CloseNumber(ch);
        if (bSeparator) scan.PassSeparator(ch);
        if (IsTimeBlank(ch)) break;
    }
    scan.Store(time);
    if (i > 0 && _eParts == DateParts::kDateAndTime) ReadDate(_text, time);
    return time;
}

void PrintDateTime(const AttrDateTime& _time, TreeText& _out) {
    if (_time.nYear != 0 || _time.nMonth != 0 || _time.nDay != 0) {
        PrintPadded(_time.nYear, 4, _out);
        _out.Append(u"-");
        PrintPadded(_time.nMonth, 2, _out);
        _out.Append(u"-");
        PrintPadded(_time.nDay, 2, _out);
        _out.Append(u" ");
    }
    PrintPadded(_time.nHour, 2, _out);
    _out.Append(u":");
    PrintPadded(_time.nMinute, 2, _out);
    _out.Append(u":");
    PrintPadded(_time.nSecond, 2, _out);
    if (_time.nMilliseconds == 0) return;
    _out.Append(u".");
    PrintPadded(_time.nMilliseconds, 3, _out);
}

}  // namespace zr
