#include "host/cli/status_command.h"

#include <memory>

#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/flag_names.h"
#include "host/cli/status_watch.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

struct StatusArguments {
  std::string printer;
  bool json = false, watch = false;
};

/// One printer's description, or that of all.
Json Ask(const std::string& printer) {
  Client client;
  if (printer.empty()) return client.AskList({{"op", "printer-list"}});
  return Json::array({client.Ask({{"op", "printer-get"}, {"name", printer}}).head});
}

void Show(const StatusArguments& arguments) {
  if (arguments.watch) return WatchStatus(arguments.printer, arguments.json);
  Json list = Json::array();
  std::vector<std::vector<std::string>> rows{{"PRINTER", "STATUS", "JOBS", "COMMENT"}};
  for (const Json& printer : Ask(arguments.printer)) {
    const auto status = printer.value("status", DWORD{0});
    list.push_back({{"name", printer.value("name", "")},
                    {"status", status},
                    {"statusKnown", printer.value("statusKnown", false)},
                    {"statusNames", PrinterStatusNames(status)},
                    {"jobs", printer.value("jobs", 0u)},
                    {"comment", printer.value("comment", "")}});
    rows.push_back({printer.value("name", ""), PrinterCondition(printer), std::to_string(printer.value("jobs", 0u)),
                    printer.value("comment", "")});
  }
  if (arguments.json) return PrintJson(list);
  PrintTable(rows);
}

}  // namespace

std::string PrinterCondition(const Json& printer) {
  if (!printer.value("statusKnown", false)) return "unknown";
  const auto status = printer.value("status", DWORD{0});
  return status == 0 ? "ready" : Joined(PrinterStatusNames(status));
}

void AddStatusCommand(CLI::App& app) {
  auto arguments = std::make_shared<StatusArguments>();
  CLI::App* status = app.add_subcommand("status", "Show the status of the printers, as their monitors told it");
  status->add_option("PRINTER", arguments->printer, "Only this printer");
  status->add_flag("--watch", arguments->watch,
                   "Go on until Ctrl-C: on a terminal as a table in its place, elsewhere with a line for each change");
  status->add_flag("--json", arguments->json, "As JSON: a list, or with --watch one object a line");
  status->callback([arguments] { Show(*arguments); });
}

}  // namespace portwise
