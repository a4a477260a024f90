#pragma once

#include <string_view>

#include "core/file.h"
#include "settings/driver_settings.h"

namespace portwise {

/// Keeps a copy of what a job sends to the printer, in a file of its own, when the printer's settings ask for it. What
/// cannot be written is lost without a message. One thread at a time: the one that holds the connection.
class PrintCodeRecorder {
 public:
  /// Chooses the file for a document's recording; it is created with the first bytes.
  void Start(const OString& document, DriverSettings& settings);
  void Append(std::string_view bytes);
  void Stop();

  /// Empty while nothing is recorded.
  const OString& FilePath() const { return path_; }

 private:
  OString ChoosePath(const OString& document, bool overwrite) const;

  OString directory_;
  OString path_;
  OFile file_;
  bool failed_ = false;  // the file could not be created: one attempt a job
};

}  // namespace portwise
