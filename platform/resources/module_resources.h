#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "platform/resources/resource_file.h"

namespace portwise::platform {

/// The resources of a module: of a file opened as data, or those in the note of the program (null) or a loaded library.
/// Null with the last error set when the module is none (ERROR_MOD_NOT_FOUND) or has no resources
/// (ERROR_RESOURCE_DATA_NOT_FOUND). Any thread.
std::shared_ptr<const ResourceFile> ResourcesOfModule(HMODULE module);

/// The same for a file by its absolute path, from memory when it is loaded and from the disk otherwise.
std::shared_ptr<const ResourceFile> ResourcesOfFile(const std::string& path);

/// Opens a file as data; null with the last error set. Each opening has a handle of its own, with the lowest bit set,
/// which no loaded image has.
HMODULE OpenDataModule(const std::string& path);
/// The path of a file that is open as data; empty for other modules.
std::string PathOfDataModule(HMODULE module);
/// False when the module is no file open as data.
bool CloseDataModule(HMODULE module);

}  // namespace portwise::platform
