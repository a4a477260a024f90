#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace portwise::platform {

/// Where a module may lie that LoadLibraryW or GetModuleHandleW is asked for: absolute Linux paths in the order in
/// which they are tried. A name without an extension means "name.dll", and in each folder "name.dll" comes before
/// "libname.so".
std::vector<std::string> ModuleFiles(std::u16string_view name);

/// True when a loaded file is what a module name without a folder means.
bool IsModuleFile(std::string_view path, std::u16string_view name);

/// True when the name has no folder.
bool IsBareName(std::u16string_view name);

}  // namespace portwise::platform
