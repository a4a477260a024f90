#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/label_peer.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {

/// All that can be seen of a job from outside.
struct JobTrace {
  std::vector<std::string> arrived;  ///< by connection
  std::string state;                 ///< of the queue, or how the job left it
  std::string shown;                 ///< what `portwise jobs` shows of it
  std::string record;                ///< of the jobs log: pages,warnings,errors,status; empty without one
  std::string loggedBytes;           ///< of the jobs log
  std::string events;                ///< of the events log: their numbers, with a blank between
};

/// A printer with its port, its queue, a log of jobs and one of events. One thread.
class PrintLane {
 public:
  /// `driver` names the data file of a driver in the programs' folder; empty for none.
  PrintLane(const SpoolerHome& home, const std::string& name, std::unique_ptr<LabelPeer> peer,
            const std::string& driver = {});

  LabelPeer& Peer() { return *peer_; }
  const std::string& Name() const { return name_; }
  unsigned Job() const { return job_; }

  /// A step of a script: "print", "stick" (to a printer that stops reading, until the job shows it), "job
  /// pause|resume|cancel", "printer ORDER", "await STATE", "await-end" (printed or held), "await-reason TEXT",
  /// "await-pages N" (printed, and more wait), "sleep MS". False, with a failure of the test, when what is awaited does
  /// not happen.
  bool Carry(const std::string& step, const std::string& data);
  /// Of the job that was printed last, once it has ended.
  JobTrace Trace();

 private:
  std::string StateOf() const;

  const SpoolerHome& home_;
  const std::string name_;
  const std::unique_ptr<LabelPeer> peer_;
  std::string document_;
  unsigned number_ = 0;
  unsigned job_ = 0;
  std::size_t eventsSeen_ = 0;
};

/// What the event log warns of a job, by its number, with all that the texts say.
std::string WarningsOf(const nlohmann::json& entries, unsigned job);

}  // namespace portwise::test
