#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/spooler/channel.h"

namespace portwise {

/// The spooler of the test's own process: printers with their ports and shares, one status for all jobs, and a record
/// of what was done to jobs.
class FakeSpooler final : public platform::SpoolerService {
 public:
  struct Printer {
    std::string port;
    std::string share;
  };

  FakeSpooler() { platform::SetLocalSpooler(this); }
  ~FakeSpooler() override { platform::SetLocalSpooler(nullptr); }

  std::map<std::string, Printer> printers;
  unsigned jobStatus = 0;
  unsigned noJob = 0;                                      ///< is not known
  nlohmann::json jobTexts = nlohmann::json::object();      ///< "document", "user", "machine" of every job
  std::vector<std::pair<unsigned, unsigned>> jobCommands;  ///< job, command

  platform::Message Call(const platform::Message& request) override {
    const std::string operation = request.head.value("op", "");
    platform::Message reply;
    reply.head = {{"error", 0}};
    if (operation == "printer-list") {
      auto list = nlohmann::json::array();
      for (const auto& [name, printer] : printers) list.push_back(Describe(name, printer));
      reply.body = list.dump();
    } else if (operation == "printer-get") {
      const auto found = printers.find(request.head.value("name", ""));
      if (found == printers.end()) return platform::Failure(1801, "no such printer");
      reply.head.update(Describe(found->first, found->second));
    } else if (operation == "job-get") {
      if (request.head["job"] == noJob) return platform::Failure(87, "no such job");
      reply.head.update({{"job", request.head["job"]}, {"status", jobStatus}});
      reply.head.update(jobTexts);
    } else if (operation == "job-control") {
      jobCommands.emplace_back(request.head["job"].get<unsigned>(), request.head["command"].get<unsigned>());
    } else {
      return platform::Failure(120, operation);
    }
    return reply;
  }

 private:
  static nlohmann::json Describe(const std::string& name, const Printer& printer) {
    return {{"name", name},
            {"port", printer.port},
            {"share", printer.share},
            {"attributes", printer.share.empty() ? 0 : 8}};
  }
};

}  // namespace portwise
