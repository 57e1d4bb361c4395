#pragma once
// Scenes in saved configurations.

#include <string_view>

#include "attributes/persist_impl.h"
#include "scenes/scenes_set.h"

namespace zr {

// Puts all scenes below a node "zr_scenes", or into files of their own beside the main one. Changes under way count as
// ended, and what is on its way out is left away; paths below the main file's folder become relative to it.
HRESULT SaveScenes(const ScenesSet& _scenes, CoElement& _scenesNode, const PERSIST_PARAM& _param);

// Puts the scenes of a tree in the place of all: those of a node "zr_scenes" or below it, or the tree as a single
// scene. Relative paths are looked up beside the file and below; nothing leads out of there. What cannot be read is
// left out: the first failure is the result.
HRESULT LoadScenes(ScenesSet& _scenes, CoElement& _tree, const PERSIST_PARAM& _param);

}  // namespace zr
