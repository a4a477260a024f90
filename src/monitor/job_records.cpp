#include "monitor/job_records.h"

namespace portwise {
namespace {

constexpr DWORD kPurgePause = 15000;  // ms
constexpr DWORD kLifetime = 600000;   // ms since the state was set

}  // namespace

JobRecords::Hold::Hold(JobRecords& records, DWORD job) : records_(records) {
  records_.lock_.Lock();
  const int index = records_.Find(job);
  record_ = index < 0 ? nullptr : records_.BucketOf(job)[index];
  if (!record_) records_.lock_.Unlock();
}

JobRecords::Hold::~Hold() {
  if (record_) records_.lock_.Unlock();
}

void JobRecords::Add(std::unique_ptr<StatusRecord_Job> record) {
  OScopedLock lock(lock_);
  if (GetTickCount() - purgedAt_ > kPurgePause) Purge();
  if (BucketOf(record->jobId).Append(record.get()) >= 0) static_cast<void>(record.release());
}

void JobRecords::Remove(DWORD job) {
  OScopedLock lock(lock_);
  const int index = Find(job);
  if (index >= 0) BucketOf(job).RemoveAt(index);
}

void JobRecords::Purge() {
  OScopedLock lock(lock_);
  purgedAt_ = GetTickCount();
  for (Bucket& bucket : buckets_) {
    for (int i = bucket.Size() - 1; i >= 0; --i) {
      if (purgedAt_ - bucket[i]->stateTime > kLifetime) bucket.RemoveAt(i);
    }
  }
}

void JobRecords::AddPagesSent(DWORD job, DWORD pages) {
  if (const Hold record(*this, job); record) record->pagesSent += pages;
}

void JobRecords::AddPagesVerified(DWORD job, DWORD pages) {
  if (const Hold record(*this, job); record) record->pagesVerified += pages;
}

int JobRecords::Find(DWORD job) {
  const Bucket& bucket = BucketOf(job);
  for (int i = 0; i < bucket.Size(); ++i) {
    if (bucket[i]->jobId == job) return i;
  }
  return -1;
}

}  // namespace portwise
