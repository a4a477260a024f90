#include <windows.h>

#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <utility>

#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/terminal_text.h"
#include "platform/eventlog/event_reader.h"
#include "platform/eventlog/event_texts.h"
#include "platform/registry/registry_control.h"
#include "platform/text.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

/// Entries that are read at once, and what --follow shows of those that are there already.
constexpr std::size_t kPage = 500;
constexpr std::size_t kFollowed = 10;
constexpr DWORD kPollMilliseconds = 250;

struct SeverityRow {
  WORD type;
  const char* name;
};
constexpr SeverityRow kSeverities[] = {
    {EVENTLOG_INFORMATION_TYPE, "information"}, {EVENTLOG_WARNING_TYPE, "warning"}, {EVENTLOG_ERROR_TYPE, "error"}};

struct EventArguments {
  bool follow = false;
  bool json = false;
  std::string source;
  std::string severity;
  std::optional<std::size_t> last;
};

WORD TypeOf(const std::string& severity) {
  for (const SeverityRow& row : kSeverities) {
    if (severity == row.name) return row.type;
  }
  return 0;
}

const char* SeverityOf(WORD type) {
  for (const SeverityRow& row : kSeverities) {
    if (type == row.type) return row.name;
  }
  return "unknown";
}

/// "2031-05-04 13:02:01.250" in local time; for machines in UTC, as ISO 8601 writes it.
std::string TimeText(std::int64_t milliseconds, bool forMachines) {
  const std::time_t seconds = milliseconds / 1000;
  std::tm parts{};
  if (forMachines) {
    gmtime_r(&seconds, &parts);
  } else {
    localtime_r(&seconds, &parts);
  }
  char text[64];
  std::size_t length =
      std::strftime(text, sizeof text, forMachines ? "%Y-%m-%dT%H:%M:%S" : "%Y-%m-%d %H:%M:%S", &parts);
  std::snprintf(text + length, sizeof text - length, ".%03d%s", static_cast<int>(milliseconds % 1000),
                forMachines ? "Z" : "");
  return text;
}

std::string ToLine(const platform::Event& event, const std::string& text) {
  char id[16];
  std::snprintf(id, sizeof id, "0x%08X", event.id);
  return TimeText(event.time, false) + "  " + event.log + "  " + HarmlessLines(event.source) + "  " +
         SeverityOf(event.type) + "  " + id + "  " + HarmlessLines(text);
}

Json ToJson(const platform::Event& event, const std::string& text) {
  Json strings = Json::array();
  for (const std::u16string& string : event.strings) strings.push_back(platform::ToUtf8(string));
  return {{"record", event.record},
          {"time", TimeText(event.time, true)},
          {"log", event.log},
          {"source", event.source},
          {"severity", SeverityOf(event.type)},
          {"category", event.category},
          {"id", event.id},
          {"text", text},
          {"strings", strings},
          {"process", event.process},
          {"computer", event.computer}};
}

void Require(LSTATUS error) {
  if (error == ERROR_SUCCESS) return;
  std::string fault = platform::RegistryFault();
  throw CommandError(fault.empty() ? "the event log cannot be read" : fault);
}

/// Hands what the filter wants to `show`, in order. With `follow` it goes on for good.
template <typename Show>
void ForEach(std::int64_t after, const platform::EventFilter& filter, bool follow, Show show) {
  for (std::vector<platform::Event> events;;) {
    const LSTATUS error = platform::ReadEvents(&after, filter, kPage, &events);
    // One who watches does not give up because of one who keeps the file for a while.
    if (!follow || error != ERROR_BUSY) Require(error);
    // Message files may have come since the page before.
    platform::EventTexts texts;
    for (const platform::Event& event : events) show(event, platform::ToUtf8(texts.TextOf(event)));
    if (events.size() == kPage) continue;
    if (!follow) return;
    FlushOutput();
    Sleep(kPollMilliseconds);
  }
}

void List(const EventArguments& arguments) {
  const platform::EventFilter filter{arguments.source, TypeOf(arguments.severity)};
  std::int64_t after = 0;
  if (arguments.last || arguments.follow)
    Require(platform::FindLastEvents(filter, arguments.last.value_or(kFollowed), &after));
  if (!arguments.json) {
    return ForEach(after, filter, arguments.follow, [](const platform::Event& event, const std::string& text) {
      std::puts(ToLine(event, text).c_str());
    });
  }
  if (arguments.follow) {
    return ForEach(after, filter, true, [](const platform::Event& event, const std::string& text) {
      std::puts(ToJson(event, text).dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
    });
  }
  Json list = Json::array();
  ForEach(after, filter, false,
          [&](const platform::Event& event, const std::string& text) { list.push_back(ToJson(event, text)); });
  PrintJson(list);
}

}  // namespace

void AddEventCommand(CLI::App& app) {
  auto arguments = std::make_shared<EventArguments>();
  CLI::App* events = app.add_subcommand("events", "Show the event log, oldest first; works without the spooler");
  events->add_option("--source", arguments->source, "Only entries of this source");
  events->add_option("--severity", arguments->severity, "Only entries of this severity")
      ->check(CLI::IsMember({"information", "warning", "error"}));
  events->add_option("--last", arguments->last, "Only the last N of these entries");
  events->add_flag("--follow", arguments->follow,
                   "Go on with entries as they come, after the last 10 or what --last says");
  events->add_flag("--json", arguments->json, "As JSON: a list, or with --follow one object a line");
  events->callback([arguments] { List(*arguments); });
}

}  // namespace portwise
