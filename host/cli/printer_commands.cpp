#include <memory>

#include "host/cli/client.h"
#include "host/cli/commands.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

struct PrinterArguments {
  std::string name;
  std::string port, driver, dataFile, share, comment, location;
  bool json = false;
};

struct {
  const char* option;
  const char* field;
  std::string PrinterArguments::*member;
  const char* help;
} constexpr kOptions[] = {
    {"--port", "port", &PrinterArguments::port, "The port that the printer is reached at"},
    {"--driver", "driver", &PrinterArguments::driver, "The printer driver's file"},
    {"--data-file", "data", &PrinterArguments::dataFile, "The driver's data file, which names the printer's family"},
    {"--share", "share", &PrinterArguments::share, "The name that the printer is shared under; empty for none"},
    {"--comment", "comment", &PrinterArguments::comment, "A comment"},
    {"--location", "location", &PrinterArguments::location, "Where the printer stands"},
};

void AddOptions(CLI::App* command, const std::shared_ptr<PrinterArguments>& arguments, const char* operation) {
  command->add_option("NAME", arguments->name, "The printer's name")->required();
  for (const auto& row : kOptions) command->add_option(row.option, *arguments.*row.member, row.help);
  command->get_option("--driver")->needs("--data-file");
  command->get_option("--data-file")->needs("--driver");
  command->callback([command, arguments, operation] {
    Json order{{"op", operation}, {"name", arguments->name}};
    for (const auto& row : kOptions) {
      if (command->count(row.option) > 0) order[row.field] = *arguments.*row.member;
    }
    if (order.contains("driver")) order["driver"] = AbsolutePath(arguments->driver);
    Client().Ask(order);
  });
}

void List(const PrinterArguments& arguments) {
  Json printers = Client().AskList({{"op", "printer-list"}});
  if (arguments.json) return PrintJson(printers);
  std::vector<std::vector<std::string>> rows{{"PRINTER", "PORT", "SHARE", "JOBS", "COMMENT"}};
  for (const Json& printer : printers) {
    rows.push_back({printer.value("name", ""), printer.value("port", ""), printer.value("share", ""),
                    std::to_string(printer.value("jobs", 0u)), printer.value("comment", "")});
  }
  PrintTable(rows);
}

void Show(const PrinterArguments& arguments) {
  Json printer = Client().Ask({{"op", "printer-get"}, {"name", arguments.name}}).head;
  printer.erase("error");
  if (arguments.json) return PrintJson(printer);
  std::vector<std::vector<std::string>> rows;
  for (const char* field : {"name", "port", "driver", "share", "comment", "location"})
    rows.push_back({std::string(field) + ":", printer.value(field, "")});
  rows.push_back({"jobs:", std::to_string(printer.value("jobs", 0u))});
  PrintTable(rows);
}

}  // namespace

void AddPrinterCommands(CLI::App& app) {
  CLI::App* printer = app.add_subcommand("printer", "Printers")->require_subcommand(1);
  auto arguments = std::make_shared<PrinterArguments>();

  CLI::App* add = printer->add_subcommand("add", "Add a printer");
  AddOptions(add, arguments, "printer-add");
  add->get_option("--port")->required();

  CLI::App* list = printer->add_subcommand("list", "List the printers");
  list->add_flag("--json", arguments->json, "As JSON");
  list->callback([arguments] { List(*arguments); });

  CLI::App* show = printer->add_subcommand("show", "Show one printer");
  show->add_option("NAME", arguments->name, "The printer's name")->required();
  show->add_flag("--json", arguments->json, "As JSON");
  show->callback([arguments] { Show(*arguments); });

  AddOptions(printer->add_subcommand("set", "Change a printer; what is not named stays"), arguments, "printer-set");

  CLI::App* remove = printer->add_subcommand("remove", "Remove a printer that has no jobs");
  remove->add_option("NAME", arguments->name, "The printer's name")->required();
  remove->callback([arguments] { Client().Ask({{"op", "printer-remove"}, {"name", arguments->name}}); });
}

}  // namespace portwise
