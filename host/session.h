#pragma once

#include <memory>
#include <string>

#include "host/spooler.h"

namespace portwise {

/// The orders of one client. Receives at most one job at a time: "submit-begin" names the printer and the document,
/// "submit-data" brings the data, and "submit-end" answers when the job is on disk. A job that is not complete when
/// the session ends leaves nothing. One thread at a time.
class Session final : public platform::SpoolerService {
 public:
  /// `user` is whom jobs belong to that name nobody.
  Session(Spooler& spooler, std::string user) : spooler_(spooler), user_(std::move(user)) {}

  platform::Message Call(const platform::Message& request) override;

 private:
  platform::Message Submit(const std::string& order, const platform::Message& request);

  Spooler& spooler_;
  std::string user_;
  std::unique_ptr<Submission> submission_;
};

}  // namespace portwise
