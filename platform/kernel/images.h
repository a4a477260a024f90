#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace portwise::platform {

/// A program or library that is loaded into the process. Its module handle is the address that it is loaded at.
struct Image {
  HMODULE module;
  std::string path;  // absolute
};

/// All of them, the program first. Any thread.
std::vector<Image> LoadedImages();

/// The image that `address` lies in; null when it lies in none.
HMODULE ImageOf(const void* address);

/// The image of a library that dlopen has given.
HMODULE ImageOfLibrary(void* library);

/// The image loaded at `module`, which may be any value.
std::optional<Image> FindImage(HMODULE module);

/// Whether the program was linked with the image, or with one that was: such an image comes with the program and stays
/// as long as it. Not of the program itself.
bool CameWithProgram(HMODULE module);

/// The segments of notes of the image loaded at `module`, which stay as long as the image does.
std::vector<std::string_view> NoteSegments(HMODULE module);

}  // namespace portwise::platform
