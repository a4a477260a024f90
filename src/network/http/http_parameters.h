#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace portwise {

/// The named values of a form or of the query of a URI. Names and values are bytes.
///
/// They are kept as they travel and decoded when asked for: a hostile form of many short pieces takes no more memory
/// than its text.
class HTTPParameters {
 public:
  void Clear() { text_.clear(); }
  bool IsEmpty() const { return text_.empty(); }

  void Add(std::string_view name, std::string_view value);
  /// Adds those of a query or a form behind those that are there. A piece between "&" that has no "=" counts for
  /// nothing.
  void AddEncoded(std::string_view text);

  /// The first value of that name, the case of ASCII letters aside, without white space at both ends; empty without
  /// one.
  std::string Get(std::string_view name) const { return Find(name).value_or(std::string()); }
  std::optional<std::string> Find(std::string_view name) const { return Find(text_, name); }
  /// The same in a query or a form as it travels; nothing without one.
  static std::optional<std::string> Find(std::string_view text, std::string_view name);

  /// All of them as a query or a form carries them.
  std::string Encode() const;

 private:
  std::string text_;  // pieces behind each other with "&" between them
};

}  // namespace portwise
