#pragma once

#include <string>
#include <string_view>

#include "core/ostring.h"
#include "settings/registry.h"

namespace portwise {

/// A request to a printer's monitor that waits in the registry, where its reply takes its place. Its name is its own
/// among all requests of all programs of this computer. One thread at a time; removed when destroyed.
class StoredRequest {
 public:
  StoredRequest();
  ~StoredRequest();
  StoredRequest(const StoredRequest&) = delete;
  StoredRequest& operator=(const StoredRequest&) = delete;

  /// False when the request is empty or cannot be written.
  bool Store(std::string_view request);
  /// What the spooler is asked for so that the monitor of the printer's port runs the request.
  OString ValueName(const OString& printer) const;
  /// What is there now; false when it has gone or cannot be read.
  bool Read(std::string* content) const;

 private:
  ORegistry registry_;  // as the spooler sees it, also in 32-bit programs
  const std::string name_;
  const OString path_;
};

}  // namespace portwise
