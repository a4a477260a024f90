#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace portwise::platform {

/// Lays out structures with their texts in a caller's buffer, the structures first. Used twice over by nature: it
/// collects everything, and writes only when all of it fits.
template <class Structure>
class Packer {
 public:
  /// Adds a structure; texts that follow belong to it.
  void Add(const Structure& structure) { structures_.push_back(structure); }

  /// Sets a text member of the structure added last.
  void Text(LPWSTR Structure::*member, std::u16string_view text) {
    texts_.push_back({structures_.size() - 1, member, characters_.size()});
    characters_.append(text.substr(0, text.find(u'\0')));
    characters_.push_back(u'\0');
  }

  /// Writes `needed` in every case, then everything into `buffer` when it holds it; otherwise FALSE with
  /// ERROR_INSUFFICIENT_BUFFER and the buffer untouched.
  BOOL Write(LPBYTE buffer, DWORD size, LPDWORD needed);

 private:
  struct TextPlace {
    std::size_t structure;
    LPWSTR Structure::*member;
    std::size_t offset;
  };

  std::vector<Structure> structures_;
  std::vector<TextPlace> texts_;
  std::u16string characters_;
};

}  // namespace portwise::platform
