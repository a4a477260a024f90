#include <unistd.h>
#include <windows.h>

#include <cstring>
#include <memory>

#include "core/folders.h"
#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/log_settings.h"
#include "platform/error_text.h"
#include "platform/home.h"
#include "platform/text.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

struct LogArguments {
  std::string printer, name;
  std::string type = "jobs", format = "csv", directory, organization = "log";
  std::string timeFormat = "%Y-%m-%d %H:%M:%S";
  std::vector<std::string> fields, events;
  unsigned column = 20;
  bool noHeader = false, emptyFields = false, disabled = false, json = false;
};

std::string ToText(const OString& text) { return platform::ToUtf8(text.View()); }
OString ToOString(const std::string& text) { return OString(text, CP_UTF8); }

/// The printer's name as it is spelled; CommandError when there is none.
std::string PrinterName(const std::string& printer) {
  return Client().Ask({{"op", "printer-get"}, {"name", printer}}).head.value("name", printer);
}

/// Makes the folder, and a file in it that is removed again: what a log finds out only when a job prints, and tells
/// nobody.
void RequireWritable(const OString& directory) {
  SetLastError(ERROR_SUCCESS);
  if (!CreateFolder(directory))
    throw CommandError("the folder " + ToText(directory) + " cannot be made: " + platform::ErrorText(GetLastError()));
  const OString probe = directory + "\\portwise-" + OString::FromInt(getpid()) + ".tmp";
  const HANDLE file = CreateFileW(probe.Wide(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE)
    throw CommandError("the folder " + ToText(directory) +
                       " cannot be written: " + platform::ErrorText(GetLastError()));
  CloseHandle(file);
  DeleteFileW(probe.Wide());
}

OString DirectoryOf(const LogArguments& arguments) {
  std::string directory = AbsolutePath(arguments.directory);
  while (directory.size() > 1 && (directory.back() == '/' || directory.back() == '\\')) directory.pop_back();
  return ToOString(directory);
}

DWORD EventsFilterOf(const LogArguments& arguments) {
  DWORD filter = 0;
  for (const LogChoice& event : kLogEvents) filter |= event.value;
  if (arguments.events.empty()) return filter;
  filter = 0;
  for (const std::string& event : arguments.events) {
    if (event != "none") filter |= ValueOf(kLogEvents, "kind of event", event);
  }
  return filter;
}

/// The records of an event log are entries of the kind that this field tells; it stays out of their text.
void AddCategory(std::vector<logField>* fields) {
  for (const logField& field : *fields) {
    if (field.key == "Category") return;
  }
  logField category;
  category.key = category.name = "Category";
  category.format = 1;
  fields->insert(fields->begin(), category);
}

Log LogOf(const LogArguments& arguments, const std::string& printer) {
  Log log;
  log.printer = ToOString(printer);
  log.name = ToOString(arguments.name);
  log.enabled = !arguments.disabled;
  log.logType = ValueOf(kLogTypes, "type", arguments.type);
  log.format = ValueOf(kLogFormats, "format", arguments.format);
  log.organization = ValueOf(kLogOrganizations, "way to name files", arguments.organization);
  log.dataOffset = arguments.column;
  log.eventsFilter = EventsFilterOf(arguments);
  log.displayEmptyFields = arguments.emptyFields;
  log.includeHeaderRecord = !arguments.noHeader;
  log.fields = ParseLogFields(arguments.fields, static_cast<LogType>(log.logType), ToOString(arguments.timeFormat));
  if (arguments.format == "eventlog") AddCategory(&log.fields);
  return log;
}

void Add(const LogArguments& arguments) {
  if (const std::string fault = LogNameFault(arguments.name); !fault.empty()) throw CommandError(fault);
  const bool file = arguments.format != "eventlog";
  if (file == arguments.directory.empty())
    throw CommandError(file ? "a log of files needs --dir, their folder"
                            : "an event log has no folder; leave out --dir");
  const std::string printer = PrinterName(arguments.printer);
  Log log = LogOf(arguments, printer);
  if (HasLog(log.printer, log.name))
    throw CommandError("printer " + printer + " has a log " + arguments.name + " already; remove it first");
  if (file) {
    log.directory = DirectoryOf(arguments);
    RequireWritable(log.directory);
  }
  SaveLog(log);
}

Json ToJson(const Log& log) {
  Json fields = Json::array();
  for (const logField& field : log.fields) {
    fields.push_back({{"key", ToText(field.key)},
                      {"caption", ToText(field.name)},
                      {"format", field.format},
                      {"order", field.order},
                      {"parameters", ToText(field.parameters)}});
  }
  Json events = Json::array();
  for (const LogChoice& event : kLogEvents) {
    if (log.eventsFilter & event.value) events.push_back(event.name);
  }
  return {{"printer", ToText(log.printer)},
          {"name", ToText(log.name)},
          {"enabled", log.enabled},
          {"type", NameOf(kLogTypes, log.logType)},
          {"format", log.format == kLogLinearToo ? "text" : NameOf(kLogFormats, log.format)},
          {"directory", ToText(log.directory)},
          {"organization", NameOf(kLogOrganizations, log.organization)},
          {"column", log.dataOffset},
          {"events", events},
          {"emptyFields", log.displayEmptyFields},
          {"header", log.includeHeaderRecord},
          {"fields", fields}};
}

std::vector<std::string> PrintersOf(const LogArguments& arguments) {
  if (!arguments.printer.empty()) return {PrinterName(arguments.printer)};
  std::vector<std::string> printers;
  for (const Json& printer : Client().AskList({{"op", "printer-list"}})) printers.push_back(printer.value("name", ""));
  return printers;
}

void List(const LogArguments& arguments) {
  Json list = Json::array();
  for (const std::string& printer : PrintersOf(arguments)) {
    for (const OString& name : LogNames(ToOString(printer)))
      list.push_back(ToJson(Log::Load(ToOString(printer), name, {})));
  }
  if (arguments.json) return PrintJson(list);
  std::vector<std::vector<std::string>> rows{{"PRINTER", "NAME", "TYPE", "FORMAT", "ENABLED", "FOLDER"}};
  for (const Json& log : list) {
    rows.push_back(
        {log["printer"], log["name"], log["type"], log["format"], log["enabled"] ? "yes" : "no", log["directory"]});
  }
  PrintTable(rows);
}

/// The log's name as it is spelled; CommandError when there is none.
OString RequireLog(const std::string& printer, const std::string& name) {
  for (const OString& other : LogNames(ToOString(printer))) {
    if (other.EqualsNoCase(ToOString(name))) return other;
  }
  // The registry ignores the case of more letters than those of ASCII.
  if (!name.empty() && HasLog(ToOString(printer), ToOString(name))) return ToOString(name);
  throw CommandError("printer " + printer + " has no log " + name + "; 'portwise log list' shows them");
}

void Show(const LogArguments& arguments) {
  const std::string printer = PrinterName(arguments.printer);
  const Json log = ToJson(Log::Load(ToOString(printer), RequireLog(printer, arguments.name), {}));
  if (arguments.json) return PrintJson(log);
  std::vector<std::vector<std::string>> rows;
  for (const char* text : {"printer", "name", "type", "format", "directory", "organization"})
    rows.push_back({std::string(text) + ":", log[text]});
  for (const char* flag : {"enabled", "header", "emptyFields"})
    rows.push_back({std::string(flag) + ":", log[flag] ? "yes" : "no"});
  rows.push_back({"column:", log["column"].dump()});
  std::string events;
  for (const std::string event : log["events"]) events += (events.empty() ? "" : ",") + event;
  rows.push_back({"events:", events});
  for (const Json& field : log["fields"]) {
    const std::string key = field["key"], caption = field["caption"], parameters = field["parameters"];
    rows.push_back({"field:", key + "=" + caption + (parameters.empty() ? "" : " (" + parameters + ")")});
  }
  PrintTable(rows);
}

void Remove(const LogArguments& arguments) {
  const std::string printer = PrinterName(arguments.printer);
  const OString name = RequireLog(printer, arguments.name);
  if (!RemoveLog(ToOString(printer), name)) throw CommandError("the log " + ToText(name) + " cannot be removed");
}

std::string NamesOf(std::span<const LogChoice> choices) {
  std::string names;
  for (const LogChoice& choice : choices) names += std::string(names.empty() ? "" : "|") + choice.name;
  return names;
}

void AddLogOptions(CLI::App* add, const std::shared_ptr<LogArguments>& arguments) {
  std::string keys;
  for (const LogFieldRow& row : LogFields()) keys += std::string(keys.empty() ? "" : ", ") + row.key;
  add->add_option("--type", arguments->type, "What a record is of: " + NamesOf(kLogTypes) + " (jobs)");
  add->add_option("--format", arguments->format, "Where records go: " + NamesOf(kLogFormats) + " (csv)");
  add->add_option("--dir", arguments->directory, "The folder of the files; made when it is missing");
  add->add_option("--fields", arguments->fields,
                  "KEY or KEY=CAPTION, with commas between them, in their order (those that suit the type): " + keys)
      ->delimiter(',')
      ->allow_extra_args(false);
  add->add_option("--time-format", arguments->timeFormat, "How times are written, as for strftime");
  add->add_option("--file-by", arguments->organization,
                  "What files are named by: " + NamesOf(kLogOrganizations) + " (log)");
  add->add_option("--events", arguments->events,
                  "Which events a log of events has, with commas between them (all): none|" + NamesOf(kLogEvents))
      ->delimiter(',')
      ->allow_extra_args(false);
  add->add_option("--column", arguments->column, "text: the column that values begin in")->check(CLI::Range(0, 10000));
  add->add_flag("--empty-fields", arguments->emptyFields, "text: fields without a value have a line, too");
  add->add_flag("--no-header", arguments->noHeader, "csv: files do not begin with the captions");
  add->add_flag("--disabled", arguments->disabled, "Write nothing for the time being");
}

}  // namespace

void AddLogCommands(CLI::App& app) {
  CLI::App* log = app.add_subcommand("log", "Logs of the jobs, pages and events of printers")->require_subcommand(1);
  auto arguments = std::make_shared<LogArguments>();
  struct {
    const char* name;
    const char* help;
    void (*run)(const LogArguments&);
  } constexpr kCommands[] = {{"add", "Add a log; it counts from the printer's next job on", Add},
                             {"show", "Show the settings of a log", Show},
                             {"remove", "Remove a log; its files stay", Remove}};
  for (const auto& row : kCommands) {
    CLI::App* command = log->add_subcommand(row.name, row.help);
    command->add_option("PRINTER", arguments->printer, "The printer")->required();
    command->add_option("NAME", arguments->name, "The log's name")->required();
    command->callback([arguments, run = row.run] { run(*arguments); });
  }
  AddLogOptions(log->get_subcommand("add"), arguments);
  log->get_subcommand("show")->add_flag("--json", arguments->json, "As JSON");
  CLI::App* list = log->add_subcommand("list", "List the logs");
  list->add_option("PRINTER", arguments->printer, "Only this printer's logs");
  list->add_flag("--json", arguments->json, "As JSON");
  list->callback([arguments] { List(*arguments); });
}

}  // namespace portwise
