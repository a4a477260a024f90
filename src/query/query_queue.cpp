#include "query/query_queue.h"

#include <algorithm>

namespace portwise {
namespace {

void Count(DWORD* counter, size_t bytes) {
  *counter += static_cast<DWORD>(std::min<size_t>(bytes, 0xFFFFFFFF - *counter));
}

}  // namespace

void QueryQueue::Add(std::string_view command, std::string_view name) {
  const OScopedLock locked(lock_);
  queries_.push_back({std::string(command), std::string(name), std::string()});
  progress_.runStatus = QueryProgress::kRunning;
  queriesAdded_ = true;
}

void QueryQueue::Cancel() {
  const OScopedLock locked(lock_);
  progress_.runStatus = QueryProgress::kCancelled;
}

void QueryQueue::Reset() {
  const OScopedLock locked(lock_);
  queries_.clear();
  progress_ = QueryProgress();
  queriesAdded_ = querying_ = false;
}

bool QueryQueue::QueriesAdded() const {
  const OScopedLock locked(lock_);
  return queriesAdded_;
}

void QueryQueue::ClearQueriesAdded() {
  const OScopedLock locked(lock_);
  queriesAdded_ = false;
}

QueryProgress QueryQueue::Progress() const {
  const OScopedLock locked(lock_);
  QueryProgress progress = progress_;
  progress.total = static_cast<LONG>(queries_.size());
  return progress;
}

std::optional<std::string> QueryQueue::NameAt(LONG index) const {
  const OScopedLock locked(lock_);
  const auto at = static_cast<size_t>(index);
  return index >= 0 && at < queries_.size() ? std::optional(queries_[at].name) : std::nullopt;
}

std::optional<std::string> QueryQueue::ResponseAt(LONG index) const {
  const OScopedLock locked(lock_);
  const auto at = static_cast<size_t>(index);
  return index >= 0 && at < queries_.size() ? std::optional(queries_[at].response) : std::nullopt;
}

std::optional<std::string> QueryQueue::ResponseOf(std::string_view name) const {
  const OScopedLock locked(lock_);
  for (const QueryProperties& query : queries_) {
    if (query.name == name) return query.response;
  }
  return std::nullopt;
}

bool QueryQueue::BeginQueries() {
  const OScopedLock locked(lock_);
  if (querying_ || HasEnded() || progress_.complete > 0 || queries_.empty()) return false;
  querying_ = true;
  ++run_;
  progress_.current = -1;
  progress_.bytesRead = progress_.bytesWritten = 0;
  Advance();
  return querying_;
}

bool QueryQueue::IsQuerying() const {
  const OScopedLock locked(lock_);
  return querying_;
}

std::optional<QueryQueue::Step> QueryQueue::CurrentStep() {
  const OScopedLock locked(lock_);
  if (HasEnded()) querying_ = false;
  if (!querying_) return std::nullopt;
  return Step{run_, queries_[static_cast<size_t>(progress_.current)].command};
}

bool QueryQueue::IsOver(DWORD run) const {
  const OScopedLock locked(lock_);
  return !IsRun(run) || HasEnded();
}

void QueryQueue::SetDisplayStatus(DWORD run, const OString& text) {
  const OScopedLock locked(lock_);
  if (IsRun(run)) progress_.displayStatus = text;
}

void QueryQueue::CountWritten(DWORD run, size_t bytes) {
  const OScopedLock locked(lock_);
  if (IsRun(run)) Count(&progress_.bytesWritten, bytes);
}

void QueryQueue::CountRead(DWORD run, size_t bytes) {
  const OScopedLock locked(lock_);
  if (IsRun(run)) Count(&progress_.bytesRead, bytes);
}

void QueryQueue::Complete(DWORD run, std::string response) {
  const OScopedLock locked(lock_);
  if (!IsRun(run)) return;
  Store(std::move(response));
  Advance();
}

void QueryQueue::CompleteAndEnd(DWORD run, std::string response) {
  const OScopedLock locked(lock_);
  if (!IsRun(run) || HasEnded()) return;
  progress_.runStatus = QueryProgress::kEnded;
  Store(std::move(response));
  Advance();
}

void QueryQueue::Abandon(DWORD run) {
  const OScopedLock locked(lock_);
  if (IsRun(run)) EndRun();
}

void QueryQueue::Abandon() {
  const OScopedLock locked(lock_);
  if (querying_) EndRun();
}

void QueryQueue::AbandonAll() {
  const OScopedLock locked(lock_);
  if (!queries_.empty()) EndRun();
}

void QueryQueue::EndRun() {
  if (!HasEnded()) progress_.runStatus = QueryProgress::kEnded;
  querying_ = false;
}

void QueryQueue::Store(std::string response) {
  ++progress_.complete;
  queries_[static_cast<size_t>(progress_.current)].response = std::move(response);
}

/// The next query becomes current. When there is none, or the run has ended, the last one stays it.
void QueryQueue::Advance() {
  const LONG last = static_cast<LONG>(queries_.size()) - 1;
  if (++progress_.current > last && !HasEnded()) progress_.runStatus = QueryProgress::kEnded;
  if (HasEnded()) {
    progress_.current = last;
    querying_ = false;
  } else {
    progress_.displayStatus = "Querying";
    progress_.runStatus = QueryProgress::kRunning;
  }
}

}  // namespace portwise
