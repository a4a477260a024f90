#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "host/spool_folder.h"

namespace portwise {

class Submission;

/// The queue: every job, in memory and on disk. Any thread. A change is made in memory, where everybody sees it at
/// once, and then saved; several saves of one job come one after the other, each with the job as it is then. Except
/// for the beginnings of jobs, no call waits for the disk on behalf of another job.
class JobStore {
 public:
  /// Takes up the jobs that lie in the home's spool folder. Null when the folder cannot be used.
  static std::unique_ptr<JobStore> Open(const std::string& home, std::string* why);
  JobStore(std::unique_ptr<SpoolFolder> folder, std::vector<Job> jobs);

  /// Begins to receive a job that `description` names; id, state and time are set here. Null when the spool folder
  /// does not take it. The store must outlive the submission.
  std::unique_ptr<Submission> Begin(const Job& description, std::string* why);

  std::optional<Job> Find(DWORD id) const;
  /// All jobs by id, after `after`, at most `count`.
  std::vector<Job> List(DWORD after = 0, std::size_t count = SIZE_MAX) const;
  /// True while the printer (a NameKey) has a job of any state; `active` asks for one that a port is running.
  bool HasJobs(const std::u16string& printer, bool active = false) const;

  /// How many jobs the printer has, up to the job `last`.
  std::size_t Count(const std::u16string& printer, DWORD last = UINT32_MAX) const;

  /// Gives the first job of these printers (NameKeys) that can print to the caller, who alone runs it until Release
  /// or Remove.
  std::optional<Job> Claim(const std::set<std::u16string>& printers);
  /// Why the first such job does not print, before it could be claimed.
  void Explain(const std::set<std::u16string>& printers, const std::string& reason);
  /// Ends a claim with a last change. A job that was cancelled meanwhile is removed.
  void Release(DWORD id, const std::function<void(Job&)>& change);

  /// False when there is no such job. `change` must not call the store.
  bool Change(DWORD id, const std::function<void(Job&)>& change);
  /// Writes the job's record; a job that is gone or still being received is left alone, with success.
  bool Save(DWORD id, std::string* why);
  /// Removes the job and its files; false, with the job where it is, when its record cannot be removed.
  bool Remove(DWORD id, JobOutcome outcome, std::string* why = nullptr);
  /// How a job left the queue: remembered for the last few thousand of this run.
  JobOutcome Outcome(DWORD id) const;

  SpoolFolder& Folder() { return *folder_; }

 private:
  friend class Submission;

  struct Entry {
    Job job;             ///< under the store's mutex
    std::mutex disk;     ///< held around every change of the job's files
    bool gone = false;   ///< under `disk`
    std::u16string key;  ///< NameKey of the printer
  };
  using EntryPointer = std::shared_ptr<Entry>;

  EntryPointer FindEntry(DWORD id) const;
  Entry* NextFor(const std::set<std::u16string>& printers);

  std::unique_ptr<SpoolFolder> folder_;
  std::mutex idMutex_;
  DWORD lastId_;
  mutable std::mutex mutex_;
  std::map<DWORD, EntryPointer> jobs_;
  std::map<DWORD, JobOutcome> outcomes_;
};

/// A job that is being received. Unless it is committed it leaves nothing when it is destroyed. One thread at a time.
class Submission {
 public:
  Submission(JobStore& store, DWORD id, platform::UniqueFd file) : store_(store), id_(id), file_(std::move(file)) {}
  ~Submission();
  Submission(const Submission&) = delete;
  Submission& operator=(const Submission&) = delete;

  DWORD Id() const { return id_; }
  bool Append(const std::string& data, std::string* why);
  /// The job is on disk and in the queue when this returns true. `size` must be what was appended.
  bool Commit(std::uint64_t size, std::string* why);

 private:
  JobStore& store_;
  DWORD id_;
  platform::UniqueFd file_;
  std::uint64_t size_ = 0;
  bool committed_ = false;
};

}  // namespace portwise
