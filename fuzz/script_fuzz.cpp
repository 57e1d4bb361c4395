// Any text as the script of a show, and as the XML of one: read, and each command written as the library takes it.

#include <cmath>
#include <cstdlib>

#include "apps/zrmix/show_script.h"
#include "apps/zrmix/xml_scan.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    using namespace zrmix;
    const std::string_view text(reinterpret_cast<const char*>(_pData), _cb);
    const SHOW_SCRIPT script = ReadScript(text);
    double dblLast = 0;
    for (const SCRIPT_COMMAND& command : script.arrCommands) {
        if (!(command.dblTime >= dblLast) || !std::isfinite(command.dblChange)) std::abort();
        dblLast = command.dblTime;
        if (command.Line().empty() != command.arrAttributes.empty()) std::abort();
    }
    const XML_DOCUMENT document = ScanXml(text);
    for (size_t i = 0; i < document.arrElements.size(); ++i)
        for (const size_t n : document.arrElements[i].arrChildren)
            if (n <= i || n >= document.arrElements.size()) std::abort();
    return 0;
}
