#include <winspool.h>

#include <memory>

#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/flag_names.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

struct JobArguments {
  std::string printer;
  unsigned job = 0;
  bool json = false;
};

/// What the monitor says of the job, then what the queue does.
std::string Reason(const Json& job) {
  const std::string said = job.value("statusText", "");
  const std::string reason = job.value("reason", "");
  return said + (said.empty() || reason.empty() ? "" : "; ") + reason;
}

void List(const JobArguments& arguments) {
  Client client;
  Json jobs = Json::array();
  unsigned after = 0;
  for (bool more = true; more;) {
    platform::Message page = client.Ask({{"op", "job-list"}, {"printer", arguments.printer}, {"after", after}});
    more = page.head.value("more", false);
    after = page.head.value("last", after);
    for (Json& job : Json::parse(page.body)) jobs.push_back(job);
  }
  if (arguments.json) return PrintJson(jobs);
  std::vector<std::vector<std::string>> rows{
      {"JOB", "PRINTER", "STATE", "STATUS", "BYTES", "USER", "DOCUMENT", "REASON"}};
  for (const Json& job : jobs) {
    std::string bytes = std::to_string(job.value("taken", std::uint64_t{0})) + "/" +
                        std::to_string(job.value("size", std::uint64_t{0}));
    rows.push_back({std::to_string(job.value("job", 0u)), job.value("printer", ""), job.value("state", ""),
                    Joined(JobStatusNames(job.value("status", DWORD{0}))), bytes, job.value("user", ""),
                    job.value("document", ""), Reason(job)});
  }
  PrintTable(rows);
}

}  // namespace

void AddJobCommands(CLI::App& app) {
  auto arguments = std::make_shared<JobArguments>();
  CLI::App* jobs = app.add_subcommand("jobs", "List the jobs in the queue");
  jobs->add_option("PRINTER", arguments->printer, "Only this printer's jobs");
  jobs->add_flag("--json", arguments->json, "As JSON");
  jobs->callback([arguments] { List(*arguments); });

  struct {
    const char* name;
    unsigned command;
    const char* help;
  } constexpr kCommands[] = {
      {"pause", JOB_CONTROL_PAUSE, "Pause a job"},
      {"resume", JOB_CONTROL_RESUME, "Let a paused job go on; print a held one from the start"},
      {"cancel", JOB_CONTROL_CANCEL, "Delete a job"},
  };
  for (const auto& row : kCommands) {
    CLI::App* command = app.add_subcommand(row.name, row.help);
    command->add_option("PRINTER", arguments->printer, "The job's printer")->required();
    command->add_option("JOB", arguments->job, "The job's number")->required();
    command->callback([arguments, control = row.command] {
      Client().Ask(
          {{"op", "job-control"}, {"printer", arguments->printer}, {"job", arguments->job}, {"command", control}});
    });
  }
}

}  // namespace portwise
