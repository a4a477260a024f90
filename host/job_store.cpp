#include "host/job_store.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "host/complain.h"
#include "host/names.h"

namespace portwise {

using platform::UniqueFd;

namespace {

constexpr std::size_t kOutcomes = 4096;

std::string Now() {
  SYSTEMTIME time;
  GetSystemTime(&time);
  char text[64];
  std::snprintf(text, sizeof(text), "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", time.wYear, time.wMonth, time.wDay,
                time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
  return text;
}

}  // namespace

std::unique_ptr<JobStore> JobStore::Open(const std::string& home, std::string* why) {
  auto folder = SpoolFolder::Open(home, why);
  if (!folder) return nullptr;
  std::vector<Job> jobs = folder->Load();
  return std::make_unique<JobStore>(std::move(folder), std::move(jobs));
}

JobStore::JobStore(std::unique_ptr<SpoolFolder> folder, std::vector<Job> jobs)
    : folder_(std::move(folder)), lastId_(folder_->LastId()) {
  for (Job& job : jobs) {
    auto entry = std::make_shared<Entry>();
    entry->key = NameKey(job.printer);
    entry->job = std::move(job);
    jobs_[entry->job.id] = entry;
  }
}

std::unique_ptr<Submission> JobStore::Begin(const Job& description, std::string* why) {
  auto entry = std::make_shared<Entry>();
  entry->job = description;
  entry->key = NameKey(description.printer);
  entry->job.state = JobState::Spooling;
  entry->job.submitted = Now();
  UniqueFd file;
  {
    std::lock_guard lock(idMutex_);
    if (!folder_->SaveLastId(lastId_ + 1, why)) return nullptr;
    entry->job.id = ++lastId_;
  }
  file = folder_->CreateData(entry->job.id, why);
  if (!file) return nullptr;
  std::lock_guard lock(mutex_);
  jobs_[entry->job.id] = entry;
  return std::make_unique<Submission>(*this, entry->job.id, std::move(file));
}

std::optional<Job> JobStore::Find(DWORD id) const {
  std::lock_guard lock(mutex_);
  auto found = jobs_.find(id);
  if (found == jobs_.end()) return std::nullopt;
  return found->second->job;
}

std::vector<Job> JobStore::List(DWORD after, std::size_t count) const {
  std::vector<Job> jobs;
  std::lock_guard lock(mutex_);
  for (auto next = jobs_.upper_bound(after); next != jobs_.end() && jobs.size() < count; ++next)
    jobs.push_back(next->second->job);
  return jobs;
}

bool JobStore::HasJobs(const std::u16string& printer, bool active) const {
  std::lock_guard lock(mutex_);
  return std::any_of(jobs_.begin(), jobs_.end(), [&](const auto& item) {
    return item.second->key == printer && (item.second->job.active || !active);
  });
}

std::size_t JobStore::Count(const std::u16string& printer, DWORD last) const {
  std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::count_if(jobs_.begin(), jobs_.upper_bound(last),
                                                [&](const auto& item) { return item.second->key == printer; }));
}

JobStore::Entry* JobStore::NextFor(const std::set<std::u16string>& printers) {
  for (const auto& [id, entry] : jobs_) {
    const Job& job = entry->job;
    bool ready = job.state == JobState::Queued || job.state == JobState::Waiting;
    if (ready && !job.paused && !job.deleting && !job.active && printers.contains(entry->key)) return entry.get();
  }
  return nullptr;
}

std::optional<Job> JobStore::Claim(const std::set<std::u16string>& printers) {
  std::lock_guard lock(mutex_);
  Entry* entry = NextFor(printers);
  if (!entry) return std::nullopt;
  entry->job.active = true;
  entry->job.left = false;
  entry->job.undelivered.clear();
  return entry->job;
}

void JobStore::Explain(const std::set<std::u16string>& printers, const std::string& reason) {
  std::lock_guard lock(mutex_);
  if (Entry* entry = NextFor(printers)) {
    entry->job.state = JobState::Waiting;
    entry->job.reason = reason;
  }
}

void JobStore::Release(DWORD id, const std::function<void(Job&)>& change) {
  bool deleting = false;
  Change(id, [&](Job& job) {
    change(job);
    job.active = false;
    job.phase = JobPhase::Idle;
    deleting = job.deleting;
  });
  if (deleting) Remove(id, JobOutcome::Deleted);
}

bool JobStore::Change(DWORD id, const std::function<void(Job&)>& change) {
  std::lock_guard lock(mutex_);
  auto found = jobs_.find(id);
  if (found == jobs_.end()) return false;
  change(found->second->job);
  return true;
}

bool JobStore::Save(DWORD id, std::string* why) {
  EntryPointer entry = FindEntry(id);
  if (!entry) return true;
  std::lock_guard disk(entry->disk);
  Job job;
  {
    std::lock_guard lock(mutex_);
    job = entry->job;
  }
  if (entry->gone || job.state == JobState::Spooling) return true;
  return folder_->SaveJob(job, why);
}

bool JobStore::Remove(DWORD id, JobOutcome outcome, std::string* why) {
  EntryPointer entry = FindEntry(id);
  if (!entry) return true;
  std::lock_guard disk(entry->disk);
  if (entry->gone) return true;
  std::string fault;
  if (!folder_->Remove(id, &fault)) {
    if (why) *why = fault;
    Complain(fault);
    return false;
  }
  entry->gone = true;
  std::lock_guard lock(mutex_);
  jobs_.erase(id);
  outcomes_[id] = outcome;
  if (outcomes_.size() > kOutcomes) outcomes_.erase(outcomes_.begin());
  return true;
}

JobOutcome JobStore::Outcome(DWORD id) const {
  std::lock_guard lock(mutex_);
  auto found = outcomes_.find(id);
  return found == outcomes_.end() ? JobOutcome::Unknown : found->second;
}

JobStore::EntryPointer JobStore::FindEntry(DWORD id) const {
  std::lock_guard lock(mutex_);
  auto found = jobs_.find(id);
  return found == jobs_.end() ? nullptr : found->second;
}

Submission::~Submission() {
  if (!committed_) store_.Remove(id_, JobOutcome::Deleted);
}

bool Submission::Append(const std::string& data, std::string* why) {
  auto job = store_.Find(id_);
  if (!job || job->deleting) {
    *why = "the job was cancelled";
    return false;
  }
  for (std::size_t done = 0; done < data.size();) {
    ssize_t written = write(file_.Get(), data.data() + done, data.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) {
      *why = std::string("the spool folder does not take the data: ") + std::strerror(errno);
      return false;
    }
    done += static_cast<std::size_t>(written);
  }
  size_ += data.size();
  store_.Change(id_, [this](Job& entry) { entry.size = size_; });
  return true;
}

bool Submission::Commit(std::uint64_t size, std::string* why) {
  if (size != size_) {
    *why = std::to_string(size_) + " of " + std::to_string(size) + " bytes arrived";
    return false;
  }
  if (fsync(file_.Get()) != 0) {
    *why = std::string("the spool folder does not keep the data: ") + std::strerror(errno);
    return false;
  }
  JobStore::EntryPointer entry = store_.FindEntry(id_);
  *why = "the job was cancelled";
  if (!entry) return false;
  std::lock_guard disk(entry->disk);
  Job job;
  {
    std::lock_guard lock(store_.mutex_);
    job = entry->job;
  }
  job.state = JobState::Queued;
  if (job.deleting || !store_.folder_->SaveJob(job, why)) return false;
  // A cancel that came while the record was written found a job in reception, and left its removal to this.
  std::lock_guard lock(store_.mutex_);
  if (entry->job.deleting) return false;
  entry->job.state = JobState::Queued;
  return committed_ = true;
}

}  // namespace portwise
