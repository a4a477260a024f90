#include "host/session.h"

namespace portwise {

using platform::Message;

Message Session::Call(const Message& request) {
  try {
    std::string order = TextOf(request.head, "op");
    if (order.starts_with("submit-")) return Submit(order, request);
  } catch (const OrderError& error) {
    return platform::Failure(error.Code(), error.what());
  } catch (const std::exception& error) {
    return platform::Failure(ERROR_INTERNAL_ERROR, error.what());
  }
  return spooler_.CallFromClient(request);
}

Message Session::Submit(const std::string& order, const Message& request) {
  if (order == "submit-begin") {
    nlohmann::json head = request.head;
    if (TextOf(head, "user").empty()) head["user"] = user_;
    submission_.reset();
    submission_ = spooler_.BeginJob(head);
    return {{{"error", 0u}, {"job", submission_->Id()}}, {}};
  }
  if (!submission_) throw OrderError(ERROR_INVALID_FUNCTION, "no job has been begun");
  std::string why;
  if (order == "submit-data") {
    if (submission_->Append(request.body, &why)) return {{{"error", 0u}}, {}};
  } else if (order == "submit-end") {
    if (submission_->Commit(NumberOf(request.head, "size", UINT64_MAX), &why)) {
      DWORD job = submission_->Id();
      submission_.reset();
      spooler_.JobArrived(job);
      return {{{"error", 0u}, {"job", job}}, {}};
    }
  } else {
    throw OrderError(ERROR_INVALID_FUNCTION, "there is no order " + order);
  }
  submission_.reset();
  throw OrderError(ERROR_CANTWRITE, why);
}

}  // namespace portwise
