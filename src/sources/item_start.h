#pragma once
// When an item starts, and dates in texts.

#include <string>
#include <string_view>

#include "zr/enums.h"
#include "zr/records.h"

namespace zr {

struct ITEM_START {
    eZrStartType eType = eZrST_Off;
    ZR_DATETIME time;  // of eZrST_Specified
};

bool IsDateTime(const ZR_DATETIME& _time);
// "2026/11/24 20:15:00", with ".250" when there are milliseconds.
std::u16string DateTimeText(const ZR_DATETIME& _time);
// Reads that, and whatever else a date attribute may hold.
ZR_DATETIME ReadDateTimeText(std::u16string_view _text);
// So many seconds later; a date that is none stays as it is.
ZR_DATETIME DateTimeAfter(const ZR_DATETIME& _time, double _dblSeconds);

}  // namespace zr
