#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace portwise {

/// What a file holds; empty when there is none.
inline std::string ReadBytes(const std::filesystem::path& path) {
  if (!std::filesystem::is_regular_file(path)) return {};
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

/// In place of what the file held.
inline void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace portwise
