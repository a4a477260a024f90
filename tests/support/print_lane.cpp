#include "tests/support/print_lane.h"

#include <gtest/gtest.h>
#include <winspool.h>

#include <sstream>

namespace portwise::test {

using Json = nlohmann::json;

namespace {

std::vector<std::string> LinesOf(const std::string& path) {
  std::vector<std::string> lines;
  std::istringstream text(ReadFile(path));
  for (std::string line; std::getline(text, line);) lines.push_back(line.substr(0, line.find('\r')));
  return lines;
}

}  // namespace

PrintLane::PrintLane(const SpoolerHome& home, const std::string& name, std::unique_ptr<LabelPeer> peer,
                     const std::string& driver)
    : home_(home), name_(name), peer_(std::move(peer)) {
  Json port = peer_->Place();
  port.update({{"op", "port-add"}, {"name", name}});
  Require(port);
  Json printer{{"op", "printer-add"}, {"name", name}, {"port", name}};
  printer["attributes"] = PRINTER_ATTRIBUTE_ENABLE_BIDI | PRINTER_ATTRIBUTE_LOCAL;
  if (!driver.empty()) printer.update({{"driver", ProgramFolder() + "/reference.dll"}, {"data", driver}});
  Require(printer);
  const std::string folder = " --no-header --dir " + home_.File("logs-" + name);
  for (const std::string log :
       {"jobs --fields JobName,Size,PageCount,Warnings,Errors,Status", "events --type events --fields EventID"})
    ExpectRun("log add " + name + " " + log + folder);
}

std::string PrintLane::StateOf() const {
  const Json job = GetJob(job_);
  return job.value("state", job.value("outcome", ""));
}

bool PrintLane::Carry(const std::string& step, const std::string& data) {
  const std::string verb = step.substr(0, step.find(' '));
  const std::string rest = step.substr(std::min(step.size(), verb.size() + 1));
  const auto awaits = [&](const std::function<bool()>& condition) {
    const bool came = Eventually(condition);
    EXPECT_TRUE(came) << name_ << ": " << step << ", but " << GetJob(job_);
    return came;
  };
  if (verb == "stick") {
    peer_->Order("pause");
    return Carry("print", data) && Carry("await-reason failed on the device", data);
  }
  if (verb == "print") {
    document_ = name_ + "-" + std::to_string(++number_);
    job_ = Submit(name_, data, document_);
    EXPECT_NE(job_, 0u) << name_;
  } else if (verb == "job") {
    const unsigned command = rest == "pause"    ? JOB_CONTROL_PAUSE
                             : rest == "resume" ? JOB_CONTROL_RESUME
                                                : JOB_CONTROL_CANCEL;
    EXPECT_EQ(Control(job_, command), 0u) << name_;
  } else if (verb == "printer") {
    peer_->Order(rest);
  } else if (verb == "sleep") {
    std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(rest)));
  } else if (verb == "await-end") {
    return awaits([&] { return StateOf() == "printed" || StateOf() == "held"; });
  } else if (verb == "await") {
    return awaits([&] { return StateOf() == rest; });
  } else if (verb == "await-reason") {
    return awaits([&] { return SaysWhy(job_, rest); });
  } else if (verb == "await-pages") {
    return awaits([&] { return peer_->Figure("pages") >= std::stoull(rest) && peer_->Figure("waiting") > 0; });
  } else {
    ADD_FAILURE() << "there is no step " << step;
  }
  return true;
}

JobTrace PrintLane::Trace() {
  JobTrace trace;
  trace.state = StateOf();
  if (trace.state != "printed" && trace.state != "deleted") trace.shown = RunProgram("portwise jobs " + name_).output;
  trace.arrived = peer_->Take();
  for (const std::string& line : LinesOf(home_.File("logs-" + name_ + "/jobs.csv"))) {
    if (!line.starts_with(document_ + ",")) continue;
    const auto size = document_.size() + 1, end = line.find(',', size);
    trace.loggedBytes = line.substr(size, end - size);
    trace.record += (trace.record.empty() ? "" : ";") + line.substr(end + 1);
  }
  const auto events = LinesOf(home_.File("logs-" + name_ + "/events.csv"));
  for (; eventsSeen_ < events.size(); ++eventsSeen_)
    trace.events += (trace.events.empty() ? "" : " ") + events[eventsSeen_];
  return trace;
}

std::string WarningsOf(const Json& entries, unsigned job) {
  const std::string name = "job " + std::to_string(job);
  std::string found;
  for (const Json& entry : entries) {
    const std::string text = entry.value("text", "");
    const auto at = text.find(name);
    if (at != text.npos && !isdigit(static_cast<unsigned char>(text[at + name.size()]))) found += text + "\n";
  }
  return found;
}

}  // namespace portwise::test
