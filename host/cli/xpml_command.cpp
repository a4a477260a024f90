#include <windows.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "host/cli/client.h"
#include "host/cli/client_library.h"
#include "host/cli/commands.h"
#include "host/cli/driver_channel.h"
#include "platform/error_text.h"
#include "platform/text.h"
#include "settings/printer_info.h"

namespace portwise {

namespace {

constexpr char kMonitoringQuery[] = "Monitoring Enabled";
/// The largest answer that the spooler passes on. A request must not run twice, so there is no asking for the size.
constexpr DWORD kLargestAnswer = DWORD{4} << 20;
constexpr std::size_t kLargestRequest = std::size_t{64} << 20;

struct XpmlArguments {
  std::string printer;
  std::string request = "-";
  std::string channel = "any";
};

std::string ReadRequest(const std::string& argument) {
  if (argument != "-") return argument;
  std::string request;
  char chunk[65536];
  while (const std::size_t got = std::fread(chunk, 1, sizeof chunk, stdin)) {
    request.append(chunk, got);
    if (request.size() > kLargestRequest) throw CommandError("the request is longer than 64 MiB");
  }
  if (std::ferror(stdin)) throw CommandError("the request cannot be read from standard input");
  return request;
}

[[noreturn]] void FailOverHttp(const DriverChannel& driver, DWORD error) {
  switch (error) {
    case ERROR_INVALID_PRINTER_NAME:
      throw CommandError("the network service does not know printer " + driver.Name() + ", or its port is not open");
    case ERROR_INVALID_DATA:
      throw CommandError("what answers for printer " + driver.Name() +
                         " is no network service of a monitor, or one that refuses a request which is too large or "
                         "comes while there is too much to do");
    case ERROR_CAN_NOT_COMPLETE:
      throw CommandError("the network service has run the request for printer " + driver.Name() +
                         ", but had no memory for the reply, or the port was closed meanwhile, or it failed inside");
    case ERROR_NOT_SUPPORTED:
      throw CommandError(
          "the settings of printer " + driver.Name() + " close the way over the network (\"NETWORK:" +
          (PrinterInfo(platform::ToUtf16(driver.Name())).remote ? "Network Communication" : "TCP Enabled") + "\")");
    default:
      throw CommandError("no network service answers for printer " + driver.Name() + ": " + platform::ErrorText(error));
  }
}

std::string AskOverHttp(const DriverChannel& driver, const std::string& request) {
  if (request.find('\0') != request.npos)
    throw CommandError("a request over the network has no byte 0; --channel stored takes any bytes");
  const ClientLibrary library;
  const auto reply = library.Ask(library.SendHttp(), driver.Name(), request);
  if (!reply) FailOverHttp(driver, GetLastError());
  return *reply;
}

/// As other programs ask.
std::string AskAnyWay(const DriverChannel& driver, const std::string& request) {
  if (request.find('\0') != request.npos) return driver.AskStored(request);
  const ClientLibrary library;
  const auto reply = library.Ask(library.Send(), driver.Name(), request);
  if (reply) return *reply;
  if (GetLastError() == ERROR_CAN_NOT_COMPLETE) FailOverHttp(driver, ERROR_CAN_NOT_COMPLETE);
  driver.Fail(GetLastError());
}

std::string AskThroughRegistry(const DriverChannel& driver, const std::string& request) {
  return driver.AskStored(request);
}

std::string AskInline(const DriverChannel& driver, const std::string& request) {
  if (!request.starts_with('<')) throw CommandError("an inline request begins with \"<\"");
  if (request.find('\0') != request.npos || platform::ToUtf8(platform::ToUtf16(request)) != request)
    throw CommandError("an inline request is text in UTF-8; --channel stored takes any bytes");
  std::string reply(kLargestAnswer, '\0');
  if (const DWORD error = driver.Ask(request, &reply); error != ERROR_SUCCESS) driver.Fail(error);
  return reply;
}

std::string AskMonitoring(const DriverChannel& driver, const std::string&) {
  std::string reply(1, '\0');
  if (const DWORD error = driver.Ask(kMonitoringQuery, &reply); error != ERROR_SUCCESS) driver.Fail(error);
  return reply;
}

struct {
  const char* name;
  std::string (*ask)(const DriverChannel& driver, const std::string& request);
  bool takesRequest;
} constexpr kChannels[] = {{"any", AskAnyWay, true},
                           {"http", AskOverHttp, true},
                           {"stored", AskThroughRegistry, true},
                           {"inline", AskInline, true},
                           {"monitoring", AskMonitoring, false}};

void Send(const XpmlArguments& arguments) {
  for (const auto& channel : kChannels) {
    if (arguments.channel != channel.name) continue;
    const DriverChannel driver(arguments.printer);
    const std::string request = channel.takesRequest ? ReadRequest(arguments.request) : std::string();
    if (channel.takesRequest && request.empty()) throw CommandError("the request is empty");
    const std::string reply = channel.ask(driver, request);
    if (std::fwrite(reply.data(), 1, reply.size(), stdout) != reply.size())
      throw CommandError("the output cannot be written");
  }
}

}  // namespace

void AddXpmlCommand(CLI::App& app) {
  auto arguments = std::make_shared<XpmlArguments>();
  CLI::App* xpml = app.add_subcommand(
      "xpml", "Send a request to the monitor of a printer's port; the reply's bytes go to standard output");
  xpml->add_option("PRINTER", arguments->printer, "The printer")->required();
  xpml->add_option("REQUEST", arguments->request, "The request; - or nothing is standard input");
  xpml->add_option(
          "--channel", arguments->channel,
          "How it travels: over http, to the network service, where a reply of text loses a NUL at its end; stored in "
          "the registry, which takes any bytes; any, which is the first of these that answers, and what is taken "
          "without this option; inline, as the name of a value; "
          "or monitoring, which has no request: it asks whether the port is monitored, and the reply is the byte 1")
      ->check(CLI::IsMember({"any", "http", "stored", "inline", "monitoring"}));
  xpml->callback([arguments] { Send(*arguments); });
}

}  // namespace portwise
