#include <algorithm>
#include <cstdio>
#include <memory>

#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/parse.h"
#include "host/cli/printer_settings.h"
#include "host/cli/status_command.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

/// Where the settings lie among the printer's data.
constexpr char kSettingsKey[] = "PrinterDriverData/Settings/";

struct PrinterArguments {
  std::string name;
  std::string port, driver, driverName, dataFile, server, share, comment, location, attributes;
  std::vector<std::string> data, removedData, settings, removedSettings;
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
    {"--driver-name", "driverName", &PrinterArguments::driverName,
     "What the driver is called (the file's name when left out), or alone a driver that is there already"},
    {"--server", "server", &PrinterArguments::server, "The computer that the printer belongs to; empty for this one"},
    {"--share", "share", &PrinterArguments::share, "The name that the printer is shared under; empty for none"},
    {"--comment", "comment", &PrinterArguments::comment, "A comment"},
    {"--location", "location", &PrinterArguments::location, "Where the printer stands"},
};

Json DataOrder(const char* operation, const std::string& printer, const PrinterData& data) {
  return {{"op", operation}, {"printer", printer}, {"key", data.key}, {"value", data.value}, {"type", data.type}};
}

/// What `set` changes below "Settings:".
struct SettingChanges {
  std::vector<PrinterSetting> saved;
  std::vector<const Setting*> removed;
};

SettingChanges ParseSettings(const PrinterArguments& arguments) {
  SettingChanges changes;
  for (const std::string& text : arguments.settings) changes.saved.push_back(ParsePrinterSetting(text));
  for (const std::string& text : arguments.removedSettings) changes.removed.push_back(&ParseSettingPath(text));
  return changes;
}

void Apply(const SettingChanges& changes, const std::string& printer) {
  if (changes.saved.empty() && changes.removed.empty()) return;
  const PrinterRegistry registry(OString(printer, CP_UTF8));
  for (const PrinterSetting& setting : changes.saved) {
    SaveSetting(registry, setting);
    if (setting.setting->use == SettingUse::NotReadYet)
      std::fprintf(stderr, "portwise: nothing reads the setting \"%s\" yet\n", PathOf(*setting.setting).c_str());
  }
  for (const Setting* setting : changes.removed) {
    if (!RemoveSetting(registry, *setting))
      throw CommandError("the setting \"" + PathOf(*setting) + "\" of printer " + printer + " has its default already");
  }
}

/// Sends an order that makes or changes a printer, then its data and settings. Nothing is sent when a text does not
/// parse.
void Change(const Json& order, const PrinterArguments& arguments) {
  std::vector<PrinterData> data, removed;
  for (const std::string& text : arguments.data) data.push_back(ParsePrinterData(text));
  for (const std::string& text : arguments.removedData) removed.push_back(ParsePrinterDataName(text));
  const SettingChanges settings = ParseSettings(arguments);
  Client client;
  client.Ask(order);
  for (const PrinterData& entry : data) client.Ask(DataOrder("printer-data-set", arguments.name, entry), entry.data);
  for (const PrinterData& entry : removed) client.Ask(DataOrder("printer-data-delete", arguments.name, entry));
  Apply(settings, arguments.name);
}

void AddOptions(CLI::App* command, const std::shared_ptr<PrinterArguments>& arguments, const char* operation) {
  command->add_option("NAME", arguments->name, "The printer's name")->required();
  for (const auto& row : kOptions) command->add_option(row.option, *arguments.*row.member, row.help);
  command->get_option("--driver")->needs("--data-file");
  command->get_option("--data-file")->needs("--driver");
  command->add_option("--attributes", arguments->attributes,
                      "Attributes in place of those it has: a number, or names such as bidi,network,local; shared "
                      "follows --share. A printer that is added with a driver is local,bidi when they are left out");
  command
      ->add_option("--setting", arguments->settings,
                   "PATH=VALUE of a setting of the printer, such as 'Status/Verify Job Complete=true'; PATH is what "
                   "stands behind \"Settings:\" in the list of settings")
      ->allow_extra_args(false);
  command
      ->add_option("--data", arguments->data,
                   "[KEY/]VALUE[:TYPE]=CONTENT of printer data, of type string, dword or binary; below the key "
                   "PrinterDriverData when none is named")
      ->allow_extra_args(false);
  command->callback([command, arguments, operation] {
    Json order{{"op", operation}, {"name", arguments->name}};
    for (const auto& row : kOptions) {
      if (command->count(row.option) > 0) order[row.field] = *arguments.*row.member;
    }
    if (order.contains("driver")) order["driver"] = AbsolutePath(arguments->driver);
    if (command->count("--attributes") > 0) order["attributes"] = ParseAttributes(arguments->attributes);
    Change(order, *arguments);
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

/// All printer data, each value as text.
Json ReadData(Client& client, const std::string& printer) {
  Json list = Json::array();
  for (const Json& entry : client.AskList({{"op", "printer-data-list"}, {"printer", printer}})) {
    PrinterData data{entry.value("key", ""), entry.value("value", ""), REG_NONE, {}};
    const platform::Message reply = client.Call(DataOrder("printer-data-get", printer, data));
    // It may have been removed meanwhile.
    if (reply.head.value("error", 0u) != ERROR_SUCCESS) continue;
    data.type = reply.head.value("type", DWORD{REG_NONE});
    data.data = reply.body;
    std::replace(data.key.begin(), data.key.end(), '\\', '/');
    list.push_back({{"key", data.key}, {"value", data.value}, {"type", data.type}, {"content", ToReadable(data)}});
  }
  return list;
}

Json ToJson(const PrinterSetting& setting) {
  return setting.setting->kind == SettingKind::Text ? Json(setting.value) : Json::parse(setting.value);
}

void Show(const PrinterArguments& arguments) {
  Client client;
  Json printer = client.Ask({{"op", "printer-get"}, {"name", arguments.name}}).head;
  printer.erase("error");
  const Json driver = client.Call({{"op", "driver-get"}, {"printer", arguments.name}}).head;
  printer["driverFile"] = driver.value("file", "");
  printer["dataFile"] = driver.value("dataFile", "");
  printer["data"] = ReadData(client, arguments.name);
  printer["settings"] = Json::object();
  for (const PrinterSetting& setting : ListChangedSettings(PrinterRegistry(OString(arguments.name, CP_UTF8))))
    printer["settings"][PathOf(*setting.setting)] = ToJson(setting);
  if (arguments.json) return PrintJson(printer);
  std::vector<std::vector<std::string>> rows;
  for (const char* field :
       {"name", "server", "port", "driver", "driverFile", "dataFile", "share", "comment", "location"})
    rows.push_back({std::string(field) + ":", printer.value(field, "")});
  rows.push_back({"attributes:", AttributeNames(printer.value("attributes", DWORD{0}))});
  rows.push_back({"status:", PrinterCondition(printer)});
  rows.push_back({"jobs:", std::to_string(printer.value("jobs", 0u))});
  for (const auto& [path, value] : printer["settings"].items()) {
    const bool read = ParseSettingPath(path).use == SettingUse::Read;
    rows.push_back({"setting:", path + " = " + (value.is_string() ? value.get<std::string>() : value.dump()) +
                                    (read ? "" : " (not read yet)")});
  }
  for (const Json& entry : printer["data"]) {
    const std::string name = entry.value("key", "") + "/" + entry.value("value", "");
    const bool told =
        name.starts_with(kSettingsKey) && printer["settings"].contains(name.substr(sizeof kSettingsKey - 1));
    if (!told) rows.push_back({"data:", name + " = " + entry.value("content", "")});
  }
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

  CLI::App* set = printer->add_subcommand("set", "Change a printer; what is not named stays");
  AddOptions(set, arguments, "printer-set");
  set->add_option("--remove-data", arguments->removedData, "[KEY/]VALUE of printer data that is removed")
      ->allow_extra_args(false);
  set->add_option("--default-setting", arguments->removedSettings, "PATH of a setting that gets its default again")
      ->allow_extra_args(false);

  CLI::App* remove = printer->add_subcommand("remove", "Remove a printer that has no jobs");
  remove->add_option("NAME", arguments->name, "The printer's name")->required();
  remove->callback([arguments] { Client().Ask({{"op", "printer-remove"}, {"name", arguments->name}}); });
}

}  // namespace portwise
