#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>

#include "host/cli/client.h"
#include "host/cli/commands.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

/// What `port add` and `port set` say of a port; the options go to the spooler as they are.
struct PortArguments {
  std::string name;
  std::string tcp, device, file;
  std::string protocol, queue, byteCounting, kind, line;
  bool json = false;
};

struct {
  const char* option;
  const char* field;  ///< of the order; null when the option is not passed on as it is
  std::string PortArguments::*member;
  const char* help;
} constexpr kOptions[] = {
    {"--tcp", nullptr, &PortArguments::tcp, "HOST[:PORT] of a network printer (port 9100, or 515 with lpr)"},
    {"--protocol", "protocol", &PortArguments::protocol, "raw (usual) or lpr"},
    {"--queue", "queue", &PortArguments::queue, "The queue's name at an lpr host (lp when left out)"},
    {"--byte-counting", nullptr, &PortArguments::byteCounting,
     "on (usual): an lpr host is told the size first, and gets the job at its end; off: as it comes"},
    {"--device", nullptr, &PortArguments::device, "The path of a device, such as /dev/usb/lp0 or /dev/ttyS0"},
    {"--kind", "kind", &PortArguments::kind, "What the device is, when its path does not tell: usb, parallel, serial"},
    {"--serial", "line", &PortArguments::line,
     "SPEED,PARITY,DATABITS,STOPBITS[,FLOW] of a serial line (9600,n,8,1 when left out); FLOW is xonxoff or rtscts"},
    {"--file", nullptr, &PortArguments::file, "The file that each job is written to, in place of the one before"},
};

/// A host name as name services know it, or four numbers of an IPv4 address.
bool IsHost(const std::string& text) {
  in_addr address;
  if (text.find_first_not_of("0123456789.") == text.npos) return inet_pton(AF_INET, text.c_str(), &address) == 1;
  constexpr char kHostCharacters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._";
  const bool ascii =
      std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) > 0; });
  return text.size() <= 253 && text.front() != '-' && (!ascii || text.find_first_not_of(kHostCharacters) == text.npos);
}

/// Takes "host", "host:port", "[host]:port" apart.
void ParseTcp(const std::string& text, Json* order) {
  std::size_t colon = text.rfind(':');
  std::size_t bracket = text.rfind(']');
  bool hasPort = colon != std::string::npos && (bracket == std::string::npos || bracket < colon);
  std::string host = hasPort ? text.substr(0, colon) : text;
  if (host.size() > 1 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
  unsigned port = 1;
  if (hasPort) {
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data() + colon + 1, end, port);
    if (result.ec != std::errc() || result.ptr != end || port == 0 || port > 65535) port = 0;
  }
  if (host.empty() || port == 0) throw CommandError("--tcp takes HOST or HOST:PORT with a port from 1 to 65535");
  if (!IsHost(host)) throw CommandError("--tcp: " + host + " is neither a host name nor an IPv4 address");
  (*order)["host"] = host;
  if (hasPort) (*order)["port"] = port;
}

/// Sends what was said on the command line as the order `operation`.
void Change(const CLI::App& command, const PortArguments& arguments, const char* operation) {
  Json order{{"op", operation}, {"name", arguments.name}};
  for (const auto& row : kOptions) {
    if (command.count(row.option) == 0) continue;
    if ((arguments.*row.member).empty()) throw CommandError(std::string(row.option) + " is empty");
    if (row.field) order[row.field] = arguments.*row.member;
  }
  if (!arguments.tcp.empty()) ParseTcp(arguments.tcp, &order);
  if (!arguments.device.empty()) order["device"] = AbsolutePath(arguments.device);
  if (!arguments.file.empty()) {
    order["file"] = AbsolutePath(arguments.file);
    if (std::filesystem::is_directory(arguments.file)) throw CommandError("--file: " + arguments.file + " is a folder");
  }
  if (!arguments.byteCounting.empty()) {
    if (arguments.byteCounting != "on" && arguments.byteCounting != "off")
      throw CommandError("--byte-counting is on or off");
    order["byteCounting"] = arguments.byteCounting == "on";
  }
  if (order.size() == 2 && order["op"] == "port-set")
    throw CommandError("say what to change; --help tells what there is");
  Client().Ask(order);
}

std::string Target(const Json& port) {
  if (!port.contains("host")) return port.value("file", port.value("device", ""));
  const std::string host = port.value("host", "");
  const bool brackets = host.find(':') != host.npos;
  return (brackets ? "[" + host + "]" : host) + ":" + std::to_string(port.value("port", 0u));
}

std::string Printers(const Json& port) {
  std::string printers;
  for (const Json& printer : port["printers"]) printers += (printers.empty() ? "" : ", ") + printer.get<std::string>();
  return printers;
}

void List(const PortArguments& arguments) {
  Json ports = Client().AskList({{"op", "port-list"}});
  if (arguments.json) return PrintJson(ports);
  std::vector<std::vector<std::string>> rows{{"PORT", "KIND", "LEADS TO", "PRINTERS"}};
  for (const Json& port : ports) {
    const std::string kind = port.value("kind", "");
    rows.push_back(
        {port.value("name", ""), kind == "tcp" ? port.value("protocol", "") : kind, Target(port), Printers(port)});
  }
  PrintTable(rows);
}

void Show(const PortArguments& arguments) {
  Json port = Client().Ask({{"op", "port-get"}, {"name", arguments.name}}).head;
  port.erase("error");
  if (arguments.json) return PrintJson(port);
  std::vector<std::vector<std::string>> rows{
      {"name:", port.value("name", "")}, {"kind:", port.value("kind", "")}, {"leads to:", Target(port)}};
  for (const char* field : {"protocol", "queue", "line"}) {
    if (port.contains(field)) rows.push_back({std::string(field) + ":", port.value(field, "")});
  }
  if (port.contains("byteCounting"))
    rows.push_back({"byte counting:", port.value("byteCounting", true) ? "on" : "off"});
  rows.push_back({"printers:", Printers(port)});
  PrintTable(rows);
}

void AddOptions(CLI::App* command, const std::shared_ptr<PortArguments>& arguments, const char* operation) {
  command->add_option("NAME", arguments->name, "The port's name")->required();
  for (const auto& row : kOptions) command->add_option(row.option, *arguments.*row.member, row.help);
  command->callback([command, arguments, operation] { Change(*command, *arguments, operation); });
}

}  // namespace

void AddPortCommands(CLI::App& app) {
  CLI::App* port = app.add_subcommand("port", "Ports: where printers are reached")->require_subcommand(1);
  auto arguments = std::make_shared<PortArguments>();

  AddOptions(port->add_subcommand("add",
                                  "Add a port. The monitor talks to printers at ports whose names are of their "
                                  "kind, such as USB001, LPT1 and COM1"),
             arguments, "port-add");
  AddOptions(port->add_subcommand("set",
                                  "Change a port; what is not named stays. Open ports take it from the next job "
                                  "on"),
             arguments, "port-set");

  CLI::App* list = port->add_subcommand("list", "List the ports");
  list->add_flag("--json", arguments->json, "As JSON");
  list->callback([arguments] { List(*arguments); });

  CLI::App* show = port->add_subcommand("show", "Show one port");
  show->add_option("NAME", arguments->name, "The port's name")->required();
  show->add_flag("--json", arguments->json, "As JSON");
  show->callback([arguments] { Show(*arguments); });

  CLI::App* remove = port->add_subcommand("remove", "Remove a port that no printer uses");
  remove->add_option("NAME", arguments->name, "The port's name")->required();
  remove->callback([arguments] { Client().Ask({{"op", "port-remove"}, {"name", arguments->name}}); });
}

}  // namespace portwise
