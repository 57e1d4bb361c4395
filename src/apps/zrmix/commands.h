#pragma once
// The subcommands of zrmix, one file each. Each adds itself with its options; its run throws RunError or UsageError.

#include <CLI/CLI.hpp>
#include <string>

#include "zr/zr.h"

namespace zrmix {

void AddPlay(CLI::App& _app);
void AddMix(CLI::App& _app);
void AddRun(CLI::App& _app);
void AddSnapshot(CLI::App& _app);
void AddCheck(CLI::App& _app);
void AddConvert(CLI::App& _app);
void AddProbe(CLI::App& _app);
void AddFormats(CLI::App& _app);
void AddKeys(CLI::App& _app);

// Opens a file in a source that does not play yet. Throws RunError with the reason.
void OpenFile(zr::IZrFile* _pFile, const std::string& _file);
// The sentence for a file that could not be opened. _pProps: of the source; may be null.
std::string OpenErrorOf(zr::IZrProps* _pProps, const std::string& _file, zr::HRESULT _hr);

// Writes a picture; its name says the type. Throws RunError with the reason.
void SavePicture(zr::IZrFrame* _pFrame, const std::string& _file);

}  // namespace zrmix
