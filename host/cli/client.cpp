#include "host/cli/client.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "platform/home.h"
#include "platform/text.h"

namespace portwise {

using Json = nlohmann::json;

platform::Message Client::Call(const Json& order, const std::string& body) {
  platform::Message reply = connection_.Call({order, body});
  if (reply.head["error"] == RPC_S_SERVER_UNAVAILABLE)
    throw CommandError("no spooler answers for " + platform::Home() + "; start portwise-spooler with this home");
  return reply;
}

platform::Message Client::Ask(const Json& order, const std::string& body) {
  platform::Message reply = Call(order, body);
  if (reply.head["error"] != ERROR_SUCCESS)
    throw CommandError(reply.head.value("reason", "the spooler refused the order"));
  return reply;
}

Json Client::AskList(const Json& order) {
  Json list = Json::parse(Ask(order).body, nullptr, false);
  if (!list.is_array()) throw CommandError("the spooler's answer cannot be read; is it of the same version?");
  return list;
}

std::vector<std::string> FormatTable(const std::vector<std::vector<std::string>>& rows) {
  auto width = [](const std::string& cell) { return platform::ToUtf16(cell).size(); };
  std::vector<std::size_t> widths(rows.front().size());
  for (const auto& row : rows) {
    for (std::size_t column = 0; column < row.size(); ++column)
      widths[column] = std::max(widths[column], width(row[column]));
  }
  std::vector<std::string> lines;
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t column = 0; column < row.size(); ++column)
      line += row[column] + std::string(widths[column] - width(row[column]) + 2, ' ');
    line.erase(line.find_last_not_of(' ') + 1);
    lines.push_back(line);
  }
  return lines;
}

void PrintTable(const std::vector<std::vector<std::string>>& rows) {
  for (const std::string& line : FormatTable(rows)) std::puts(line.c_str());
}

void PrintJson(const Json& value) { std::puts(value.dump(2, ' ', false, Json::error_handler_t::replace).c_str()); }

void FlushOutput() {
  // What did not fit into the buffer may have failed long before.
  const bool lost = std::fflush(stdout) != 0 || std::ferror(stdout) != 0;
  if (lost) throw CommandError("the output cannot be written");
}

std::string AbsolutePath(const std::string& path) {
  bool drive = path.size() >= 2 && path[1] == ':';
  if (path.empty() || path[0] == '/' || drive) return path;
  return std::filesystem::absolute(path).lexically_normal().string();
}

}  // namespace portwise
