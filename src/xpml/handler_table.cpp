#include "xpml/handler_table.h"

#include <utility>

namespace portwise {
namespace {

// The commands of a document that is bound to a port, and some more.
constexpr size_t kUsualCommands = 32;

}  // namespace

int HandlerTable::Add(std::string path, HandlerFunction function, void* context) {
  const auto count = static_cast<int>(opening_.size() + closing_.size());
  paths_.push_front(std::move(path));
  Append(paths_.front(), function, context);
  return count;
}

void HandlerTable::Add(std::span<const XPML_Command> commands, void* context) {
  if (closing_.empty()) closing_.reserve(kUsualCommands);
  for (const XPML_Command& command : commands) Append(command.path, command.run, context);
}

void HandlerTable::Append(std::string_view path, HandlerFunction function, void* context) {
  const bool closing = path.starts_with('/');
  (closing ? closing_ : opening_).push_back({closing ? path.substr(1) : path, function, context});
}

}  // namespace portwise
