#pragma once
// Files of scenes and configurations, and the names of other files in them.

#include <string>
#include <string_view>

namespace zr {

// Whether a text is the name of a file that is there, and not a description.
bool IsSceneFile(std::u16string_view _text);

bool IsAbsolutePath(std::u16string_view _path);
// "/shows/news/main.xml" gives "/shows/news", "main.xml" gives nothing.
std::u16string_view FolderOf(std::u16string_view _file);
// "main.xml" without folder and extension.
std::u16string_view BareName(std::u16string_view _file);

// A name as a file in _folder says it: what is absolute or no path stays, the rest is in that folder or below it.
// False: it leads out of it.
bool ResolvePath(std::u16string_view _folder, std::u16string_view _path, std::u16string& _strResolved);
// The other way: a path below _folder becomes relative to it, another one stays.
std::u16string_view RelativePath(std::u16string_view _folder, std::u16string_view _path);

}  // namespace zr
