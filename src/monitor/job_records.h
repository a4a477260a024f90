#pragma once

#include <windows.h>

#include <memory>

#include "core/pointer_array.h"
#include "core/synchronizer.h"
#include "monitor/job_record.h"

namespace portwise {

/// The jobs that a port has printed lately. A record stays for ten minutes after its last change of state, until the
/// next job is added. Any thread.
class JobRecords {
 public:
  /// A record that is held: no other thread gets at any record of the port until this is destroyed, so hold briefly and
  /// call no other operation of the table meanwhile.
  class Hold {
   public:
    /// Of the job, when there is a record of it.
    Hold(JobRecords& records, DWORD job);
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    explicit operator bool() const { return record_ != nullptr; }
    StatusRecord_Job* operator->() const { return record_; }
    StatusRecord_Job& operator*() const { return *record_; }

   private:
    JobRecords& records_;
    StatusRecord_Job* record_;
  };

  /// Adds the record under its job's id, beside any other of that id. Removes what is too old when that was not done
  /// for 15 seconds.
  void Add(std::unique_ptr<StatusRecord_Job> record);
  /// Removes the first record of the job.
  void Remove(DWORD job);
  /// Removes every record whose state is older than ten minutes.
  void Purge();

  void AddPagesSent(DWORD job, DWORD pages);
  void AddPagesVerified(DWORD job, DWORD pages);

 private:
  static constexpr DWORD kBuckets = 16;
  using Bucket = OPointerArray<StatusRecord_Job>;

  Bucket& BucketOf(DWORD job) { return buckets_[job % kBuckets]; }
  /// Its index in the bucket, -1 when there is none. Under the lock.
  int Find(DWORD job);

  OCriticalSection lock_;
  DWORD purgedAt_ = 0;  // tick count
  Bucket buckets_[kBuckets];
};

}  // namespace portwise
