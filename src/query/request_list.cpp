#include "query/request_list.h"

#include <algorithm>

#include "core/decimal.h"
#include "query/ticks.h"

namespace portwise {
namespace {

constexpr DWORD kKeepFinished = 600000;

bool IsSelected(const QueryRequest& request, std::string_view queryId) {
  return queryId == "*" || request.queryId == queryId;
}

DWORD TimeUntilStart(const QueryRequest& request, DWORD now) {
  return request.startTime != 0 ? TimeUntil(now, request.startTime) : 0;
}

bool IsOutdated(const QueryRequest& request, DWORD now) {
  if (request.expirationTime != 0 && TimeUntil(now, request.expirationTime) == 0) return true;
  return request.IsFinished() && now - request.statusTime > kKeepFinished;
}

void TakeOutcome(QueryRequest& stored, const QueryRequest& ran) {
  stored.SetStatus(ran.status);
  if (ran.status == RequestStatus::Complete) stored.response = ran.response;
}

}  // namespace

void RequestList::Add(std::unique_ptr<QueryRequest> request) {
  if (!request) return;
  const OScopedLock locked(lock_);
  // A port whose status nobody asks for has no other occasion.
  Purge();
  request->serial = ++serial_;
  requests_.push_back(std::move(request));
}

const QueryRequest* RequestList::Find(std::string_view queryId, std::string_view request) const {
  const bool byNumber = !request.empty() && request.front() == '#';
  LONGLONG left = request == "*" ? 1 : byNumber ? ReadDecimal(request.substr(1)) : 0;
  for (const auto& candidate : requests_) {
    if (!IsSelected(*candidate, queryId)) continue;
    if (candidate->id == request || --left == 0) return candidate.get();
  }
  return nullptr;
}

std::optional<QueryRequest> RequestList::FindCopy(std::string_view queryId, std::string_view request) const {
  const OScopedLock locked(lock_);
  const QueryRequest* found = Find(queryId, request);
  return found ? std::optional(*found) : std::nullopt;
}

std::vector<std::string> RequestList::ListIds(std::string_view queryId) const {
  const OScopedLock locked(lock_);
  std::vector<std::string> ids;
  for (const auto& request : requests_) {
    if (IsSelected(*request, queryId)) ids.push_back(request->id);
  }
  return ids;
}

void RequestList::Change(std::string_view queryId, RequestStatus from, RequestStatus to) {
  for (const auto& request : requests_) {
    if (request->status == from && IsSelected(*request, queryId)) request->SetStatus(to);
  }
}

void RequestList::Cancel(std::string_view queryId) {
  const OScopedLock locked(lock_);
  if (running_) stopping_ = true;
  Change(queryId, RequestStatus::Pending, RequestStatus::Cancelled);
}

void RequestList::FailPending(std::string_view queryId) {
  const OScopedLock locked(lock_);
  Change(queryId, RequestStatus::Pending, RequestStatus::Failed);
}

void RequestList::Retry(std::string_view queryId) {
  const OScopedLock locked(lock_);
  Change(queryId, RequestStatus::Failed, RequestStatus::Pending);
}

bool RequestList::AnyPending() const { return TimeUntilDue().has_value(); }

std::optional<DWORD> RequestList::TimeUntilDue() const {
  const OScopedLock locked(lock_);
  const DWORD now = GetTickCount();
  std::optional<DWORD> least;
  for (const auto& request : requests_) {
    if (!request->IsPending()) continue;
    const DWORD time = TimeUntilStart(*request, now);
    if (!least || time < *least) least = time;
    if (time == 0) break;
  }
  return least;
}

void RequestList::Purge() {
  const OScopedLock locked(lock_);
  const DWORD now = GetTickCount();
  std::erase_if(requests_, [now](const auto& request) { return IsOutdated(*request, now); });
}

void RequestList::BeginRun() {
  const OScopedLock locked(lock_);
  running_ = true;
  runBegin_ = GetTickCount();
}

void RequestList::EndRun() {
  const OScopedLock locked(lock_);
  running_ = stopping_ = false;
}

bool RequestList::IsStopping() const {
  const OScopedLock locked(lock_);
  return stopping_;
}

std::optional<QueryRequest> RequestList::TakeDue() {
  const OScopedLock locked(lock_);
  for (const auto& request : requests_) {
    if (!request->IsPending() || TimeUntilStart(*request, runBegin_) > 0) continue;
    request->SetStatus(RequestStatus::Active);
    return *request;
  }
  return std::nullopt;
}

void RequestList::Record(const QueryRequest& ran) {
  const OScopedLock locked(lock_);
  for (const auto& request : requests_) {
    if (request->serial == ran.serial) {
      TakeOutcome(*request, ran);
      if (request->repeatInterval != 0) {
        request->startTime = TickAfter(request->repeatInterval);
        request->SetStatus(RequestStatus::Pending);
      }
      return;
    }
    if (request->IsFinished() && request->queryId == ran.queryId && request->id == ran.id) TakeOutcome(*request, ran);
  }
}

}  // namespace portwise
