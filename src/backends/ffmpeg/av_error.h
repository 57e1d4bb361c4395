#pragma once
// What a failure of the libav libraries is called here.

#include <string>
#include <string_view>

#include "zr/status.h"
#include "zr/text.h"

namespace zr {

// The status for an error number of the libraries; 0 or more gives S_OK.
HRESULT StatusFromAv(int _nError);
// What a person is told about it, as a clause without a full stop: "the disk is full".
std::string AvReason(int _nError);
// The same for a status.
std::string StatusReason(HRESULT _hr);

// A copy of a UTF-8 text for an interface; null for an empty one.
HRESULT GiveText(std::string_view _svUtf8, BSTR* _pbs);

// Once in a process: the libraries write to the standard error only what cannot be told in another way. A level that
// the host has set is kept.
void QuietAvLog();

}  // namespace zr
