#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/spooler/spooler_service.h"

namespace portwise {

/// The spooler of the test's own process: printers with their drivers and data, one status for all jobs, and a record
/// of what was asked of it and said of jobs and printers. Any thread may call; the test changes the members while
/// nobody does, or by Change.
class FakeSpooler final : public platform::SpoolerService {
 public:
  struct Printer {
    std::string port;
    std::string share;
    nlohmann::json facts = nlohmann::json::object();   ///< more fields of its description
    nlohmann::json driver = nlohmann::json::object();  ///< none when empty
    std::string devMode = {};
    std::map<std::string, std::pair<unsigned, std::string>> data = {};  ///< type and bytes by "key\\value"
  };

  FakeSpooler() { platform::SetLocalSpooler(this); }
  ~FakeSpooler() override { platform::SetLocalSpooler(nullptr); }

  std::map<std::string, Printer> printers;
  std::atomic<unsigned> jobStatus = 0;                     ///< of every job
  unsigned noJob = 0;                                      ///< is not known
  nlohmann::json jobTexts = nlohmann::json::object();      ///< "document", "user", "machine" of every job
  std::vector<std::pair<unsigned, unsigned>> jobCommands;  ///< job, command
  std::map<std::string, int> orders;                       ///< how often each came
  std::vector<nlohmann::json> changes;  ///< orders that change a job's or printer's information, or add a port

  /// What ports said of their jobs since the last call, one line each: the kind of word, a colon and the reason.
  std::string TakeReports() {
    const std::lock_guard lock(mutex_);
    return std::exchange(reports_, {});
  }

  /// Changes members while others may call.
  template <class Body>
  void Change(Body&& body) {
    const std::lock_guard lock(mutex_);
    body();
  }

  platform::Message Call(const platform::Message& request) override {
    std::this_thread::yield();  // or threads would come one after the other even without a lock of theirs
    std::lock_guard lock(mutex_);
    const std::string operation = request.head.value("op", "");
    ++orders[operation];
    if (request.head.contains("printer") && !operation.starts_with("job")) return CallOnPrinter(operation, request);
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
      reply.body = found->second.devMode;
    } else if (operation == "printer-set" || operation == "printer-status-set") {
      const auto found = printers.find(request.head.value("name", ""));
      if (found == printers.end()) return platform::Failure(1801, "no such printer");
      if (!(request.head.value("access", 0u) & 4)) return platform::Failure(5, "not opened to be changed");
      found->second.facts.update(request.head);
      changes.push_back(request.head);
    } else if (operation == "job-set" || operation == "port-add") {
      changes.push_back(request.head);
    } else if (operation == "job-get") {
      if (request.head["job"] == noJob) return platform::Failure(87, "no such job");
      reply.head.update({{"job", request.head["job"]}, {"status", jobStatus.load()}, {"user", "ann"}});
      reply.head.update(jobTexts);
    } else if (operation == "job-control") {
      jobCommands.emplace_back(request.head["job"].get<unsigned>(), request.head["command"].get<unsigned>());
    } else if (operation == "job-report") {
      for (const char* field : {"reason", "undelivered"}) {
        if (request.head.contains(field)) reports_ += std::string(field) + ": " + request.head.value(field, "") + "\n";
      }
    } else {
      return platform::Failure(120, operation);
    }
    return reply;
  }

 private:
  platform::Message CallOnPrinter(const std::string& operation, const platform::Message& request) {
    const auto found = printers.find(request.head.value("printer", ""));
    if (found == printers.end()) return platform::Failure(1801, "no such printer");
    Printer& printer = found->second;
    platform::Message reply{{{"error", 0}}, {}};
    if (operation == "driver-get") {
      if (printer.driver.empty()) return platform::Failure(1797, "no such driver");
      reply.head.update(printer.driver);
      return reply;
    }
    const std::string value = request.head.value("key", "") + "\\" + request.head.value("value", "");
    if (operation == "printer-data-set") {
      printer.data[value] = {request.head.value("type", 0u), request.body};
      return reply;
    }
    if (operation != "printer-data-get") return platform::Failure(120, operation);
    const auto stored = printer.data.find(value);
    if (stored == printer.data.end()) return platform::Failure(2, value);
    reply.head["type"] = stored->second.first;
    reply.body = stored->second.second;
    return reply;
  }

  static nlohmann::json Describe(const std::string& name, const Printer& printer) {
    nlohmann::json description{{"name", name},
                               {"port", printer.port},
                               {"share", printer.share},
                               {"attributes", printer.share.empty() ? 0 : 8}};
    if (printer.facts.is_object()) description.update(printer.facts);
    return description;
  }

  std::mutex mutex_;
  std::string reports_;
};

}  // namespace portwise
