#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/job.h"
#include "platform/kernel/unique_fd.h"

namespace portwise {

/// The jobs on disk: NNNNN.json is a job's record, NNNNN.spl its data, NNNNN.progress the bytes that the monitor took
/// of it. A record appears, changes and disappears as a whole; data without a record belongs to a job that was never
/// acknowledged. Any thread, but only one at a time for the same job. `why` gets what went wrong, for people.
class SpoolFolder {
 public:
  /// Creates the folder when it is missing. Null when it cannot be used.
  static std::unique_ptr<SpoolFolder> Open(const std::string& home, std::string* why);

  /// The jobs, by id; clears away what unacknowledged and deleted jobs have left. A job that had begun comes back
  /// held. Called once, before anything else.
  std::vector<Job> Load();

  /// The highest id that was ever used.
  DWORD LastId() const { return lastId_; }
  /// The id is on disk when this returns true.
  bool SaveLastId(DWORD id, std::string* why);

  /// The record is on disk when this returns true; the data is the caller's to sync.
  bool SaveJob(const Job& job, std::string* why);
  platform::UniqueFd CreateData(DWORD id, std::string* why);
  platform::UniqueFd OpenData(DWORD id, std::string* why);
  /// Opens the job's progress file, set to 0. SaveProgress survives the end of the process, not that of the machine.
  platform::UniqueFd CreateProgress(DWORD id, std::string* why);
  static void SaveProgress(const platform::UniqueFd& file, std::uint64_t taken);

  /// Removes the job's files, the record first; false when that cannot be removed.
  bool Remove(DWORD id, std::string* why);

 private:
  explicit SpoolFolder(platform::UniqueFd folder) : folder_(std::move(folder)) {}

  platform::UniqueFd OpenFile(const std::string& name, int flags, std::string* why);
  bool WriteDurably(const std::string& name, const std::string& content, std::string* why);
  std::string ReadFile(const std::string& name);
  std::optional<Job> LoadJob(const std::string& name);
  void CheckData(Job* job);

  platform::UniqueFd folder_;
  DWORD lastId_ = 0;
};

}  // namespace portwise
