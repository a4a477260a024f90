#pragma once

#include <memory>
#include <string>
#include <string_view>

struct pcre2_real_code_8;
struct pcre2_real_match_context_8;
struct pcre2_real_match_data_8;

namespace portwise {

/// A pattern that recognizes a complete answer: a regular expression as Perl has them, over bytes, found anywhere in
/// the answer. A dot matches any byte but LF. One thread at a time.
///
/// Patterns come from print jobs, so the work of a search is bounded. A pattern that does not compile never matches,
/// nor does one that once asked for more work than it may do.
class ResponsePattern {
 public:
  explicit ResponsePattern(std::string_view pattern);
  ~ResponsePattern();
  ResponsePattern(const ResponsePattern&) = delete;
  ResponsePattern& operator=(const ResponsePattern&) = delete;

  /// Looks for the pattern in the bytes up to the first NUL.
  bool Matches(std::string_view response);
  /// Why the pattern never matches, in English; empty as long as it may.
  const std::string& Problem() const { return problem_; }

 private:
  struct Deleter {
    void operator()(pcre2_real_code_8* code) const;
    void operator()(pcre2_real_match_context_8* context) const;
    void operator()(pcre2_real_match_data_8* data) const;
  };

  void SetProblem(int error);

  std::unique_ptr<pcre2_real_code_8, Deleter> code_;
  std::unique_ptr<pcre2_real_match_context_8, Deleter> context_;
  std::unique_ptr<pcre2_real_match_data_8, Deleter> data_;
  std::string problem_;
};

/// A pattern as it was written in an attribute, with its entities decoded: "&#" and a decimal number and ";" give that
/// byte, "&amp;", "&lt;", "&gt;" and "&quot;" their characters, and any other entity "?". Without a ";" among the next
/// ten bytes an ampersand is itself.
std::string DecodePatternEntities(std::string_view text);

}  // namespace portwise
