#include "query/query_request.h"

#include <string_view>

namespace portwise {
namespace {

constexpr const char* kStatusNames[] = {"Pending", "Active", "Complete", "Cancelled", "Failed"};

struct ByteName {
  char byte;
  const char* name;
};

constexpr ByteName kByteNames[] = {
    {'\r', "[CR]"}, {'\n', "[LF]"}, {'\x01', "[SOH]"}, {'\x02', "[STX]"}, {'\x03', "[ETX]"}, {'\x05', "[ENQ]"},
};

void AppendReadably(std::string& text, char byte) {
  for (const ByteName& row : kByteNames) {
    if (row.byte == byte) {
      text += row.name;
      return;
    }
  }
  text += byte;
}

/// The bytes up to the first NUL.
std::string Readable(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes.substr(0, bytes.find('\0'))) AppendReadably(text, byte);
  return text;
}

}  // namespace

std::string DumpText(const QueryRequest& request) {
  const struct {
    const char* label;
    std::string text;
  } lines[] = {
      {"Query ID: ", request.queryId},
      {"Query Name: ", request.queryName},
      {"ID: ", request.id},
      {"Name: ", request.name},
      {"Status: ", kStatusNames[static_cast<DWORD>(request.status)]},
      {"Command: ", Readable(request.command)},
      {"Response: ", Readable(request.response)},
  };
  std::string dump;
  for (const auto& line : lines) dump.append(line.label).append(line.text).append("\r\n");
  return dump;
}

}  // namespace portwise
