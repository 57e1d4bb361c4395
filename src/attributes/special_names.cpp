#include "attributes/special_names.h"

#include "platform/module_info.h"

namespace zr {
namespace {

std::u16string ProcessIdText() {
    const std::string strId = std::to_string(ProcessId());
    return std::u16string(strId.begin(), strId.end());
}

constexpr SPECIAL_NAME arrNames[] = {
    {u"_process_name_", ProcessName, "File name of the program."},
    {u"_process_pid_", ProcessIdText, "Id of the process."},
    {u"dll-version", ModuleVersion, "Version of the library, four numbers."},
    {u"dll-file-version", ModuleVersion, "Version of the library's file, four numbers."},
    {u"dll-path", ModulePath, "File that the library was loaded from."},
    {u"dll-date", ModuleDate, "When that file was last changed, local time."},
};

}  // namespace

std::span<const SPECIAL_NAME> SpecialNames() { return arrNames; }

const SPECIAL_NAME* FindSpecialName(std::u16string_view _strName) {
    if (_strName.empty() || (_strName[0] != u'_' && _strName[0] != u'd')) return nullptr;
    for (const SPECIAL_NAME& name : arrNames)
        if (_strName == name.szName) return &name;
    return nullptr;
}

}  // namespace zr
