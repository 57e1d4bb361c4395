#include <cstdio>
#include <memory>
#include <string>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/run_error.h"

namespace zrmix {
namespace {

void ListKeys(const std::string& _filter) {
    zr::ZrPtr<zr::IZrProps> pProps;
    Check(zr::ZrCreateInstance(zr::kClsidZrMixer, pProps), "mixer");
    for (const char16_t* szNode : {u"", u"object", u"file"}) {
        int32_t nCount = 0;
        if (zr::Failed(pProps->PropsGetCount(szNode, &nCount))) continue;
        for (int32_t i = 0; i < nCount; ++i) {
            zr::Text name, value;
            int32_t bNode = 0;
            if (zr::Failed(pProps->PropsGetByIndex(szNode, i, name.Out(), value.Out(), &bNode)) || bNode) continue;
            const std::string path = (*szNode ? zr::ToUtf8(szNode) + "::" : std::string()) + name.Utf8();
            if (path.find(_filter) == std::string::npos) continue;
            std::printf("%-36s %s\n", path.c_str(), value.Utf8().c_str());
        }
    }
}

}  // namespace

void AddKeys(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("keys", "List the mixer's keys with the values they start with.");
    const auto pFilter = std::make_shared<std::string>();
    pCommand->add_option("FILTER", *pFilter, "Only keys with this in their name.");
    pCommand->callback([pFilter] { ListKeys(*pFilter); });
}

}  // namespace zrmix
