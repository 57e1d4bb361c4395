#pragma once
// The classes that are found by id: what ZrCreateInstance makes, and what the objects look up among themselves. An id
// that nobody has registered gives REGDB_E_CLASSNOTREG.

#include "zr/unknown.h"

namespace zr {

// The mixer: IZrObject, IZrFormat, IZrStreams, IZrFile, IZrProps, IZrPreview, IZrPlugins, IZrPersist, IZrAudio,
// IZrScenes, IZrElements, IZrSource.
inline constexpr GUID kClsidZrMixer = GuidOf("05696A0A-596E-48B1-A459-9481F993BAF9");
// The maker of frames: IZrFFactory, IZrFrames. One object for the whole process.
inline constexpr GUID kClsidZrFrameFactory = GuidOf("58B89B60-EAFE-4B8A-AD6D-75BE69217E1A");
// The file source.
inline constexpr GUID kClsidZrFile = GuidOf("B8DBCD1F-9D76-4ADE-90B0-81686AD43C69");
// Objects of other makers of the family, for the host to register: a list of items as a source, a capture device, a
// preview window, a delay engine.
inline constexpr GUID kClsidZrPlaylist = GuidOf("38989C3C-7FA0-4C4B-A3AC-0DDFDE627557");
inline constexpr GUID kClsidZrLive = GuidOf("58825728-EB83-4718-97F9-A63F1EC246AF");
inline constexpr GUID kClsidZrPreview = GuidOf("560BEA9C-07C8-4F7C-94F1-CF53211E0E6A");
inline constexpr GUID kClsidZrDelay = GuidOf("6C18E50B-902B-4E91-85F5-7EEB8143CCF0");

}  // namespace zr
