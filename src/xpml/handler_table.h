#pragma once

#include <forward_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "xpml/handler.h"

namespace portwise {

/// The handlers of a document in the order of their registration. Of several with one path the first is found.
class HandlerTable {
 public:
  HandlerTable() = default;
  HandlerTable(const HandlerTable&) = delete;
  HandlerTable& operator=(const HandlerTable&) = delete;

  /// Adds a handler with a copy of its path; returns how many there were before.
  int Add(std::string path, HandlerFunction function, void* context);
  /// Adds the rows of a table, which must outlive the handlers, so that none of them needs memory of its own.
  void Add(std::span<const XPML_Command> commands, void* context);

  /// The handler of a tag that opens or closes; null when there is none.
  const XPML_Handler* Find(bool closing, std::string_view name) const {
    for (const XPML_Handler& handler : closing ? closing_ : opening_) {
      if (handler.name == name) return &handler;
    }
    return nullptr;
  }

 private:
  void Append(std::string_view path, HandlerFunction function, void* context);

  std::vector<XPML_Handler> opening_;
  std::vector<XPML_Handler> closing_;
  std::forward_list<std::string> paths_;  // those of single handlers
};

}  // namespace portwise
