#include "network/http/http_parameters.h"

#include <algorithm>

#include "core/ascii_case.h"
#include "network/http/http_headers.h"
#include "network/http/url_coding.h"

namespace portwise {
namespace {

/// Name and value as they travel; views of the text.
struct Piece {
  std::string_view name, value;
};

/// Takes the next piece that has a name and a value off the front; false when there is none left.
bool NextPiece(std::string_view* text, Piece* piece) {
  while (!text->empty()) {
    const size_t end = std::min(text->find('&'), text->size());
    const std::string_view whole = TrimHttp(text->substr(0, end));
    text->remove_prefix(std::min(end + 1, text->size()));
    const size_t equals = whole.find('=');
    if (equals == std::string_view::npos) continue;
    *piece = {whole.substr(0, equals), whole.substr(equals + 1)};
    return true;
  }
  return false;
}

/// The most bytes that one byte is written as.
constexpr size_t kLongestByte = 3;

}  // namespace

void HTTPParameters::Add(std::string_view name, std::string_view value) {
  AddEncoded(EncodeUrl(name).append("=").append(EncodeUrl(value)));
}

void HTTPParameters::AddEncoded(std::string_view text) {
  if (!text_.empty()) text_.push_back('&');
  text_.append(text);
}

std::optional<std::string> HTTPParameters::Find(std::string_view text, std::string_view name) {
  for (Piece piece; NextPiece(&text, &piece);) {
    if (piece.name.size() > kLongestByte * name.size() || !EqualsNoCase(DecodeUrl(piece.name), name)) continue;
    // The value may be most of a large request, of which there should not be one copy more.
    std::string value = DecodeUrl(piece.value);
    value.erase(0, std::min(value.find_first_not_of(kHttpSpace), value.size()));
    value.erase(value.find_last_not_of(kHttpSpace) + 1);
    return value;
  }
  return std::nullopt;
}

std::string HTTPParameters::Encode() const {
  std::string encoded;
  std::string_view text = text_;
  for (Piece piece; NextPiece(&text, &piece);) {
    if (!encoded.empty()) encoded.push_back('&');
    encoded.append(EncodeUrl(DecodeUrl(piece.name))).append("=").append(EncodeUrl(DecodeUrl(piece.value)));
  }
  return encoded;
}

}  // namespace portwise
