#include "platform/call_stack.h"

#include <cstdlib>
#include <memory>

#include <execinfo.h>

namespace zr {

std::string CallStackText(int _nSkip) {
    void* arrFrames[64];
    const int nFrames = backtrace(arrFrames, 64);
    const std::unique_ptr<char*, decltype(&std::free)> pSymbols(backtrace_symbols(arrFrames, nFrames), &std::free);
    std::string text;
    for (int i = _nSkip + 1; pSymbols && i < nFrames; ++i) {
        text += pSymbols.get()[i];
        text += '\n';
    }
    return text;
}

}  // namespace zr
