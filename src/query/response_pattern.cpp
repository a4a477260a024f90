#include "query/response_pattern.h"

#include <pcre2.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace portwise {
namespace {

constexpr size_t kLongestPattern = 65536;
constexpr std::uint32_t kMatchLimit = 5000000;
constexpr std::uint32_t kDepthLimit = 500000;
constexpr std::uint32_t kHeapLimit = 65536;  // KiB

/// What one search may do, in steps and in bytes walked over: about a second. The limits above hold for each place
/// where the pattern may begin, of which a long answer has many.
constexpr std::uint64_t kSearchWork = 100000000;

struct Work {
  std::uint64_t left = kSearchWork;
  size_t position = 0;
};

/// Called before every item of the pattern that is tried.
int SpendWork(pcre2_callout_block* block, void* data) {
  auto* work = static_cast<Work*>(data);
  const size_t at = block->current_position;
  const std::uint64_t spent = 1 + std::max(at, work->position) - std::min(at, work->position);
  work->position = at;
  if (spent > work->left) return PCRE2_ERROR_CALLOUT;
  work->left -= spent;
  return 0;
}

struct Entity {
  std::string_view name;
  char byte;
};

constexpr Entity kEntities[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}};
constexpr char kUnknownEntity = '?';
constexpr size_t kEntityReach = 10;

char DecodeNumber(std::string_view digits) {
  int value = 0;
  for (const char digit : digits) {
    if (digit < '0' || digit > '9') return kUnknownEntity;
    value = std::min(value * 10 + (digit - '0'), 256);
  }
  return digits.empty() || value > 255 ? kUnknownEntity : static_cast<char>(value);
}

char DecodeName(std::string_view name) {
  if (!name.empty() && name.front() == '#') return DecodeNumber(name.substr(1));
  for (const Entity& entity : kEntities) {
    if (entity.name == name) return entity.byte;
  }
  return kUnknownEntity;
}

}  // namespace

void ResponsePattern::Deleter::operator()(pcre2_real_code_8* code) const { pcre2_code_free(code); }
void ResponsePattern::Deleter::operator()(pcre2_real_match_context_8* context) const {
  pcre2_match_context_free(context);
}
void ResponsePattern::Deleter::operator()(pcre2_real_match_data_8* data) const { pcre2_match_data_free(data); }

ResponsePattern::ResponsePattern(std::string_view pattern) {
  if (pattern.size() > kLongestPattern) {
    problem_ = "pattern is too long";
    return;
  }
  // A pattern may ask for UTF-8 itself, in which an answer that is still arriving would be an error.
  constexpr std::uint32_t kOptions = PCRE2_AUTO_CALLOUT | PCRE2_NEVER_UTF;
  int error = 0;
  PCRE2_SIZE offset = 0;
  code_.reset(
      pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), kOptions, &error, &offset, nullptr));
  if (!code_) {
    SetProblem(error);
    problem_ += " at position " + std::to_string(offset);
    return;
  }
  context_.reset(pcre2_match_context_create(nullptr));
  data_.reset(pcre2_match_data_create(1, nullptr));
  if (!context_ || !data_) throw std::bad_alloc();
  pcre2_set_match_limit(context_.get(), kMatchLimit);
  pcre2_set_depth_limit(context_.get(), kDepthLimit);
  pcre2_set_heap_limit(context_.get(), kHeapLimit);
}

ResponsePattern::~ResponsePattern() = default;

bool ResponsePattern::Matches(std::string_view response) {
  if (!problem_.empty()) return false;
  response = response.substr(0, response.find('\0'));
  Work work;
  pcre2_set_callout(context_.get(), SpendWork, &work);
  const int result = pcre2_match(code_.get(), reinterpret_cast<PCRE2_SPTR>(response.data()), response.size(), 0, 0,
                                 data_.get(), context_.get());
  if (result < 0 && result != PCRE2_ERROR_NOMATCH) SetProblem(result);
  return result >= 0;
}

void ResponsePattern::SetProblem(int error) {
  PCRE2_UCHAR text[256] = {};
  pcre2_get_error_message(error, text, sizeof text);
  problem_ = error == PCRE2_ERROR_CALLOUT ? "search takes too long" : reinterpret_cast<const char*>(text);
}

std::string DecodePatternEntities(std::string_view text) {
  std::string decoded;
  for (size_t at = 0; at < text.size(); ++at) {
    const size_t length = text[at] == '&' ? text.substr(at + 1, kEntityReach).find(';') : text.npos;
    if (length == text.npos) {
      decoded += text[at];
    } else {
      decoded += DecodeName(text.substr(at + 1, length));
      at += length + 1;
    }
  }
  return decoded;
}

}  // namespace portwise
