#include "host/job.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

struct {
  JobState state;
  const char* name;
  DWORD flags;
} constexpr kStates[] = {
    {JobState::Spooling, "spooling", JOB_STATUS_SPOOLING},
    {JobState::Queued, "queued", 0},
    {JobState::Waiting, "waiting", JOB_STATUS_ERROR},
    {JobState::Printing, "printing", JOB_STATUS_PRINTING},
    {JobState::Held, "held", JOB_STATUS_PAUSED | JOB_STATUS_ERROR},
};

struct {
  const char* field;
  std::string Job::*member;
} constexpr kTexts[] = {
    {"printer", &Job::printer}, {"document", &Job::document},   {"user", &Job::user},
    {"machine", &Job::machine}, {"submitted", &Job::submitted}, {"reason", &Job::reason},
};

struct {
  const char* field;
  bool Job::*member;
} constexpr kFlags[] = {{"paused", &Job::paused}, {"deleting", &Job::deleting}, {"begun", &Job::begun}};

}  // namespace

std::string StateName(const Job& job) {
  if (job.deleting) return "deleting";
  if (job.paused && job.state != JobState::Held) return "paused";
  for (const auto& row : kStates) {
    if (row.state == job.state) return row.name;
  }
  return {};
}

DWORD StatusFlags(const Job& job) {
  DWORD flags = 0;
  for (const auto& row : kStates) {
    if (row.state == job.state) flags = row.flags;
  }
  if (job.paused) flags |= JOB_STATUS_PAUSED;
  if (job.deleting) flags |= JOB_STATUS_DELETING;
  if (job.left) flags |= JOB_STATUS_PRINTED;
  if (!job.toldStatus) return flags;
  return job.active ? (flags & ~kToldJobStatus) | *job.toldStatus : flags | (*job.toldStatus & ~JOB_STATUS_PRINTING);
}

void ForgetTold(Job* job) {
  job->toldStatus.reset();
  job->statusText.clear();
}

std::string InterruptedReason(const Job& job) {
  return "interrupted after " + std::to_string(job.taken) + " of " + std::to_string(job.size) + " bytes";
}

Json ToRecord(const Job& job) {
  Json record{{"job", job.id}, {"size", job.size}, {"state", job.state == JobState::Held ? "held" : "queued"}};
  for (const auto& text : kTexts) record[text.field] = job.*text.member;
  for (const auto& flag : kFlags) record[flag.field] = job.*flag.member;
  if (job.state != JobState::Held) record["reason"] = "";
  return record;
}

std::optional<Job> FromRecord(const Json& record) {
  try {
    Job job;
    record.at("job").get_to(job.id);
    record.at("size").get_to(job.size);
    job.state = record.at("state") == "held" ? JobState::Held : JobState::Queued;
    for (const auto& text : kTexts) record.at(text.field).get_to(job.*text.member);
    for (const auto& flag : kFlags) record.at(flag.field).get_to(job.*flag.member);
    return job;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

}  // namespace portwise
