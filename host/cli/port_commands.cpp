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

constexpr unsigned kRawPort = 9100;

struct PortArguments {
  std::string name;
  std::string tcp;
  std::string file;
  bool json = false;
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
  unsigned port = kRawPort;
  if (hasPort) {
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data() + colon + 1, end, port);
    if (result.ec != std::errc() || result.ptr != end || port == 0 || port > 65535) port = 0;
  }
  if (host.empty() || port == 0) throw CommandError("--tcp takes HOST:PORT with a port from 1 to 65535");
  if (!IsHost(host)) throw CommandError("--tcp: " + host + " is neither a host name nor an IPv4 address");
  (*order)["host"] = host;
  (*order)["port"] = port;
}

void Add(const PortArguments& arguments) {
  Json order{{"op", "port-add"}, {"name", arguments.name}};
  if (arguments.tcp.empty() == arguments.file.empty())
    throw CommandError("say where the port leads to: --tcp HOST:PORT or --file PATH");
  if (arguments.tcp.empty()) {
    order["file"] = AbsolutePath(arguments.file);
    if (std::filesystem::is_directory(arguments.file)) throw CommandError("--file: " + arguments.file + " is a folder");
  } else {
    ParseTcp(arguments.tcp, &order);
  }
  Client().Ask(order);
}

void List(const PortArguments& arguments) {
  Json ports = Client().AskList({{"op", "port-list"}});
  if (arguments.json) return PrintJson(ports);
  std::vector<std::vector<std::string>> rows{{"PORT", "LEADS TO", "PRINTERS"}};
  for (const Json& port : ports) {
    std::string target = port.contains("file") ? port.value("file", "")
                                               : port.value("host", "") + ":" + std::to_string(port.value("port", 0u));
    std::string printers;
    for (const Json& printer : port["printers"])
      printers += (printers.empty() ? "" : ", ") + printer.get<std::string>();
    rows.push_back({port.value("name", ""), target, printers});
  }
  PrintTable(rows);
}

}  // namespace

void AddPortCommands(CLI::App& app) {
  CLI::App* port = app.add_subcommand("port", "Ports: where printers are reached")->require_subcommand(1);
  auto arguments = std::make_shared<PortArguments>();

  CLI::App* add = port->add_subcommand("add", "Add a port");
  add->add_option("NAME", arguments->name, "The port's name")->required();
  add->add_option("--tcp", arguments->tcp, "HOST:PORT of a network printer (port 9100 when left out)");
  add->add_option("--file", arguments->file, "The file that each job is written to, in place of the one before");
  add->callback([arguments] { Add(*arguments); });

  CLI::App* list = port->add_subcommand("list", "List the ports");
  list->add_flag("--json", arguments->json, "As JSON");
  list->callback([arguments] { List(*arguments); });

  CLI::App* remove = port->add_subcommand("remove", "Remove a port that no printer uses");
  remove->add_option("NAME", arguments->name, "The port's name")->required();
  remove->callback([arguments] { Client().Ask({{"op", "port-remove"}, {"name", arguments->name}}); });
}

}  // namespace portwise
