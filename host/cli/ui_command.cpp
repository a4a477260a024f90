#include <windows.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <thread>

#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/entry_point.h"
#include "host/cli/window_screen.h"
#include "platform/text.h"
#include "platform/windows/inspect.h"

namespace portwise {

namespace {

struct UiArguments {
  std::string printer, verb = "open", document, target, commandLine;
  int job = 0, show = SW_SHOWNORMAL;
  bool iconOnly = false, another = false;
};

/// As the library takes tokens: in quotation marks, which no printer's name has.
std::string Quoted(const std::string& text) {
  if (text.find('"') != text.npos) throw CommandError(text + ": names have no quotation marks");
  return "\"" + text + "\"";
}

/// The windows themselves say nothing of a printer that is not there.
void ExpectPrinter(const std::string& printer) { Client().Ask({{"op", "printer-get"}, {"name", printer}}); }

/// Runs the entry point on a thread of its own, as a program of its own would, and shows its windows meanwhile.
void RunShown(const std::string& target, const std::string& commandLine, int show, WayToClose close) {
  const EntryPoint entry(target);
  platform::SetInteractive(true);
  std::atomic<bool> over = false;
  std::thread program([&] {
    entry.Call(commandLine, show);
    over = true;
  });
  ShowWindows(over, close);
  program.join();
}

void RunStatus(const UiArguments& arguments) {
  std::string line = arguments.verb + " " + Quoted(arguments.printer);
  // What a printer that was deleted has left is still closed and cleaned up.
  if (arguments.verb == "open" || arguments.verb == "init") ExpectPrinter(arguments.printer);
  if (arguments.iconOnly) line += " -i";
  if (arguments.another) line += " -f";
  RunShown("portwise.dll,StatusMonitor", line, SW_SHOWNORMAL, WayToClose::ForGood);
}

void RunQuery(const UiArguments& arguments) {
  std::string line = "open " + Quoted(arguments.printer);
  ExpectPrinter(arguments.printer);
  if (arguments.job > 0) line += " -ji " + std::to_string(arguments.job);
  if (!arguments.document.empty()) line += " -jn " + Quoted(arguments.document);
  RunShown("portwise.dll,Query", line, SW_SHOWNORMAL, WayToClose::TitleBar);
}

void RunAny(const UiArguments& arguments) {
  const bool named = arguments.target.find(',') != std::string::npos;
  RunShown(named ? arguments.target : "portwise.dll," + arguments.target, arguments.commandLine, arguments.show,
           WayToClose::TitleBar);
}

}  // namespace

void AddUiCommand(CLI::App& app) {
  CLI::App* ui =
      app.add_subcommand("ui", "The windows of the driver, as text; without a terminal a line for each change")
          ->require_subcommand(1);
  auto arguments = std::make_shared<UiArguments>();
  CLI::App* status = ui->add_subcommand("status", "The status window of a printer");
  status->add_option("PRINTER", arguments->printer, "The printer")->required();
  status->add_option("--verb", arguments->verb, "What is done with the window")
      ->check(CLI::IsMember({"open", "init", "show", "hide", "close", "cleanup"}))
      ->capture_default_str();
  status->add_flag("--icon-only", arguments->iconOnly, "With open: begin with the notification icon alone");
  status->add_flag("--another", arguments->another, "Open one more when one is there");
  status->callback([arguments] { RunStatus(*arguments); });

  CLI::App* query =
      ui->add_subcommand("query", "The dialog that follows the queries of a job; closing it cancels the job");
  query->add_option("PRINTER", arguments->printer, "The printer")->required();
  query->add_option("--job", arguments->job, "The job's number");
  query->add_option("--name", arguments->document, "The document's name, when the number is not known");
  query->callback([arguments] { RunQuery(*arguments); });

  CLI::App* run = ui->add_subcommand("run", "Call any entry point of a library, as rundll32 does");
  run->add_option("ENTRY", arguments->target, "EXPORT of portwise.dll, or LIBRARY,EXPORT")->required();
  run->add_option("COMMAND-LINE", arguments->commandLine, "What the entry point is given");
  run->add_option("--show", arguments->show, "How the window is to be shown: 0 hidden, 1 as usual");
  run->callback([arguments] { RunAny(*arguments); });
}

}  // namespace portwise
