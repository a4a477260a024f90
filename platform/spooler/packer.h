#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace portwise::platform {

/// Structures and what they point to, laid out in a caller's buffer with the structures first. Used twice over by
/// nature: it collects everything, and writes only when all of it fits.
class PackedStructures {
 public:
  /// Writes `needed` in every case, then everything into `buffer`, which is aligned for pointers, when it holds it;
  /// otherwise FALSE with ERROR_INSUFFICIENT_BUFFER and the buffer untouched.
  BOOL Write(LPBYTE buffer, DWORD size, LPDWORD needed);

 protected:
  void AddStructure(const void* structure, std::size_t size);
  /// The pointer `member` bytes into the structure added last will lead to a copy of `data`.
  void Point(std::size_t member, const void* data, std::size_t size, std::size_t alignment);

 private:
  struct Pointer {
    std::size_t place;   // in structures_
    std::size_t target;  // in targets_
  };

  std::string structures_;
  std::string targets_;
  std::vector<Pointer> pointers_;
  std::size_t lastStructure_ = 0;
};

template <class Structure>
class Packer : public PackedStructures {
 public:
  /// Adds a structure; what follows belongs to it.
  void Add(const Structure& structure) { AddStructure(&structure, sizeof structure); }

  /// Sets a text member, up to the first NUL of the text.
  void Text(LPWSTR Structure::*member, std::basic_string_view<WCHAR> text) {
    const std::basic_string<WCHAR> ended(text.substr(0, text.find(WCHAR{})));
    Point(Offset(member), ended.c_str(), (ended.size() + 1) * sizeof(WCHAR), alignof(WCHAR));
  }

  /// The same for a text of bytes.
  void Text(LPSTR Structure::*member, std::string_view text) {
    const std::string ended(text.substr(0, text.find('\0')));
    Point(Offset(member), ended.c_str(), ended.size() + 1, alignof(char));
  }

  /// Sets a member to texts one behind the other, each with its NUL, and one more NUL. Empty texts are left out.
  void Texts(LPWSTR Structure::*member, const std::vector<std::basic_string<WCHAR>>& texts) {
    std::basic_string<WCHAR> list;
    for (const auto& text : texts) list += text.empty() ? text : text + WCHAR{};
    Point(Offset(member), list.c_str(), (list.size() + 1) * sizeof(WCHAR), alignof(WCHAR));
  }

  /// Sets a member that points to something else, which is aligned as pointers are.
  template <class Target>
  void Bytes(Target* Structure::*member, std::string_view data) {
    Point(Offset(member), data.data(), data.size(), alignof(void*));
  }

 private:
  template <class Member>
  static std::size_t Offset(Member Structure::*member) {
    static const Structure sample{};
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&(sample.*member)) -
                                    reinterpret_cast<const char*>(&sample));
  }
};

}  // namespace portwise::platform
