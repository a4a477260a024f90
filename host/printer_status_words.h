#pragma once

#include <windows.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "host/names.h"

namespace portwise {

/// The PRINTER_STATUS_ words that monitors gave printers in this run of the spooler, by printer; names ignore case. Any
/// thread.
class PrinterStatusWords {
 public:
  /// Nothing when nobody gave the printer one.
  std::optional<DWORD> Find(const std::string& printer) const {
    std::lock_guard lock(mutex_);
    const auto found = words_.find(NameKey(printer));
    return found == words_.end() ? std::nullopt : std::optional(found->second);
  }
  void Set(const std::string& printer, DWORD word) {
    std::lock_guard lock(mutex_);
    words_[NameKey(printer)] = word;
  }
  void Remove(const std::string& printer) {
    std::lock_guard lock(mutex_);
    words_.erase(NameKey(printer));
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::u16string, DWORD> words_;
};

}  // namespace portwise
