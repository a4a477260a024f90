#include "host/job_info.h"

#include "host/names.h"
#include "host/order.h"

namespace portwise {

namespace {

constexpr char kDataType[] = "RAW";

/// What every job of this queue has, and no order changes.
void RequireFixed(DWORD position, const nlohmann::json& order) {
  const std::string dataType = TextOf(order, "datatype");
  if (!dataType.empty() && NameKey(dataType) != NameKey(kDataType))
    throw OrderError(ERROR_INVALID_DATATYPE, "jobs are of the data type RAW");
  const auto priority = NumberOf(order, "priority", UINT32_MAX);
  if (priority > MAX_PRIORITY) throw OrderError(ERROR_INVALID_PRIORITY, "priorities go up to 99");
  if (priority != 0 && priority != DEF_PRIORITY)
    throw OrderError(ERROR_NOT_SUPPORTED, "all jobs have the same priority");
  const auto wanted = NumberOf(order, "position", UINT32_MAX);
  if (wanted == JOB_POSITION_UNSPECIFIED || wanted == position) return;
  RequireAdminister(order);
  throw OrderError(ERROR_NOT_SUPPORTED, "jobs keep their order");
}

}  // namespace

void SetJobInfo(JobStore& store, DWORD id, DWORD position, const nlohmann::json& order) {
  RequireFixed(position, order);
  const auto status = static_cast<DWORD>(NumberOf(order, "status", UINT32_MAX));
  const std::string text = TextOf(order, "statusText");
  const std::string document = TextOf(order, "document");
  for (const std::string* checked : {&text, &document}) RequireNone(TextFault("job's text", *checked));
  bool renamed = false;
  const bool there = store.Change(id, [&](Job& job) {
    job.toldStatus = status & kToldJobStatus;
    // Clients that write back what they read say nothing new.
    job.statusText = text == job.reason ? std::string() : text;
    renamed = order.contains("document") && job.document != document;
    if (renamed) job.document = document;
  });
  if (!there) throw OrderError(ERROR_INVALID_PARAMETER, "there is no job " + std::to_string(id) + " any more");
  std::string why;
  if (renamed && !store.Save(id, &why)) throw OrderError(ERROR_CANTWRITE, why);
}

}  // namespace portwise
