#include <cstdio>
#include <memory>
#include <string>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/run_error.h"

namespace zrmix {
namespace {

// What stands below a node, one key a line.
void PrintNode(zr::IZrProps* _pProps, const std::u16string& _node, int _nIndent) {
    int32_t nCount = 0;
    if (zr::Failed(_pProps->PropsGetCount(_node.c_str(), &nCount))) return;
    for (int32_t i = 0; i < nCount; ++i) {
        zr::Text name, value;
        int32_t bNode = 0;
        if (zr::Failed(_pProps->PropsGetByIndex(_node.c_str(), i, name.Out(), value.Out(), &bNode))) continue;
        if (bNode) {
            std::printf("%*s%s\n", _nIndent, "", name.Utf8().c_str());
            PrintNode(_pProps, _node + u"::" + std::u16string(name.View()), _nIndent + 2);
        } else {
            std::printf("%*s%-24s %s\n", _nIndent, "", name.Utf8().c_str(), value.Utf8().c_str());
        }
    }
}

void Probe(const std::string& _file) {
    zr::ZrPtr<zr::IZrFile> pFile;
    Check(zr::ZrCreateInstance(zr::kClsidZrFile, pFile), "file source");
    OpenFile(pFile.Get(), _file);
    const auto pProps = pFile.As<zr::IZrProps>();
    double dblIn = 0, dblOut = 0, dblDuration = 0;
    pFile->FileInOutGet(&dblIn, &dblOut, &dblDuration);
    std::printf("file                     %s\n", _file.c_str());
    std::printf("duration                 %.3f s\n", dblDuration);
    PrintNode(pProps.Get(), u"info", 0);
    pFile.As<zr::IZrObject>()->ObjectClose();
}

}  // namespace

void OpenFile(zr::IZrFile* _pFile, const std::string& _file) {
    const auto pProps = zr::QueryAs<zr::IZrProps>(_pFile);
    const auto pObject = zr::QueryAs<zr::IZrObject>(_pFile);
    if (_file.empty()) throw UsageError("an input has no name");
    pProps->PropsSet(u"object::auto_start", u"false");
    zr::HRESULT hr = _pFile->FileNameSet(zr::Text(std::string_view(_file)).Get(), nullptr);
    if (zr::Succeeded(hr)) hr = pObject->ObjectStart(nullptr);
    if (zr::Succeeded(hr)) return;
    throw RunError(OpenErrorOf(pProps.Get(), _file, hr));
}

std::string OpenErrorOf(zr::IZrProps* _pProps, const std::string& _file, zr::HRESULT _hr) {
    std::string reason;
    if (_pProps) zr::GetText([&](zr::BSTR* _pbs) { return _pProps->PropsGet(u"info::error", _pbs); }, reason);
    if (reason.empty()) reason = zr::StatusText(_hr);
    return reason.find(_file) == std::string::npos ? _file + ": " + reason : reason;
}

void AddProbe(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("probe", "Say what is in a file.");
    const auto pFile = std::make_shared<std::string>();
    pCommand->add_option("FILE", *pFile, "A file, a URL, a picture or a test signal.")->required();
    pCommand->callback([pFile] { Probe(*pFile); });
}

}  // namespace zrmix
