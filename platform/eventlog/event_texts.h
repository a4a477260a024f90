#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/eventlog/event.h"
#include "platform/resources/resource_file.h"

namespace portwise::platform {

/// Makes the texts of entries out of their strings and the message files of their sources, each of which is read once
/// in the life of this object. One thread at a time.
class EventTexts {
 public:
  /// The message with the strings put in, without the line end; where the source has no message file
  /// ("EventMessageFile" of its key), or the files no such message, the strings alone, one on a line.
  std::u16string TextOf(const Event& event);

 private:
  using Files = std::vector<std::unique_ptr<ResourceFile>>;

  const Files& FilesOf(const Event& event);

  std::unordered_map<std::string, Files> files_;
};

}  // namespace portwise::platform
