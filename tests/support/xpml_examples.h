#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "core/hex.h"
#include "tests/support/files.h"

namespace portwise {

/// A request of the language's page with the reply that the page promises.
struct XpmlExample {
  std::string needs;  // "port", or empty
  std::string request;
  std::string reply;
};

/// The bytes of a block: without its line breaks, and with `\xHH` for any byte.
inline std::string BlockBytes(std::istream& page) {
  std::string text, line, bytes;
  while (std::getline(page, line) && line != "```") text += line;
  for (size_t at = 0; at < text.size(); ++at) {
    std::string byte(1, text[at]);
    if (text.compare(at, 2, "\\x") == 0 && DecodeHex(text.substr(at + 2, 2), &byte)) at += 3;
    bytes += byte;
  }
  return bytes;
}

/// All examples of a page, in its order: each a block marked "xpml" or "xpml port", and the next one, marked "reply". A
/// reply without a request has an empty one, and the other way round.
inline std::vector<XpmlExample> ReadXpmlExamples(const std::filesystem::path& page) {
  std::istringstream lines(ReadBytes(page));
  std::vector<XpmlExample> examples;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("```xpml")) {
      examples.push_back({line.substr(std::min<size_t>(line.size(), 8)), BlockBytes(lines), "(no reply block)"});
    } else if (line == "```reply") {
      if (examples.empty() || examples.back().reply != "(no reply block)") examples.emplace_back();
      examples.back().reply = BlockBytes(lines);
    }
  }
  return examples;
}

}  // namespace portwise
