#include "printer/control.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <system_error>

namespace portwise::printer {
namespace {

constexpr std::size_t kLongestLine = 256;
constexpr std::size_t kMostClients = 64;

std::string StatsLine(const Stats& stats) {
  std::array<char, 256> line;
  std::snprintf(line.data(), line.size(),
                "jobs=%" PRIu64 " bytes=%" PRIu64 " open=%zu buffered=%" PRIu64 " dropped=%" PRIu64
                " last_bytes=%" PRIu64 " last_crc32=%08" PRIx32 " pages=%" PRIu64 " waiting=%" PRIu64
                " requests=%" PRIu64,
                stats.jobs, stats.bytes, stats.open, stats.buffered, stats.dropped, stats.lastBytes, stats.lastChecksum,
                stats.pages, stats.waiting, stats.requests);
  return line.data();
}

constexpr std::string_view kWaitIdle = "wait-idle";

struct Order {
  std::string_view name;
  bool takesNumber;
  std::string (*carryOut)(LabelPrinter& printer, std::uint64_t number);  // returns what follows "ok "
  std::string_view help;
};

using Number = std::uint64_t;

/// An order that has nothing to tell.
template <auto kAction>
std::string Do(LabelPrinter& printer, Number number) {
  kAction(printer, number);
  return {};
}

constexpr auto kReady = [](LabelPrinter& printer, Number) { printer.Ready(); };
constexpr auto kRefuse = [](LabelPrinter& printer, Number) { printer.Refuse(); };
constexpr auto kPowerOff = [](LabelPrinter& printer, Number) { printer.PowerOff(); };
constexpr auto kDrop = [](LabelPrinter& printer, Number bytes) { printer.Drop(bytes); };
constexpr auto kPause = [](LabelPrinter& printer, Number) { printer.SetReading(false); };
constexpr auto kResume = [](LabelPrinter& printer, Number) { printer.SetReading(true); };
constexpr auto kSpeed = [](LabelPrinter& printer, Number bytes) { printer.Engine().SetSpeed(bytes); };
constexpr auto kPageTime = [](LabelPrinter& printer, Number ms) {
  printer.Engine().SetPageTime(std::chrono::milliseconds(ms));
};
template <unsigned kCondition>
constexpr auto kSet = [](LabelPrinter& printer, Number) { printer.Engine().Set(kCondition); };
constexpr auto kPaper = [](LabelPrinter& printer, Number pages) { printer.Engine().SetPaper(pages); };
constexpr auto kUnasked = [](LabelPrinter& printer, Number on) { printer.SetUnasked(on != 0); };
constexpr auto kDelay = [](LabelPrinter& printer, Number ms) {
  printer.Manner().delay = std::chrono::milliseconds(ms);
};
constexpr auto kPieces = [](LabelPrinter& printer, Number bytes) { printer.Manner().piece = bytes; };
constexpr auto kWrong = [](LabelPrinter& printer, Number count) { printer.Manner().wrong = count; };
constexpr auto kSilent = [](LabelPrinter& printer, Number count) { printer.Manner().silent = count; };

constexpr Order kOrders[] = {
    {"ready", false, Do<kReady>, "take connections again; paper in, head closed, online, a new ribbon"},
    {"refuse", false, Do<kRefuse>, "refuse connections, but not for status; open ones stay"},
    {"power off", false, Do<kPowerOff>, "reset every connection, lose the buffer and refuse, until \"ready\""},
    {"drop", true, Do<kDrop>, "reset the newest or else the next connection after N more bytes"},
    {"pause", false, Do<kPause>, "stop reading"},
    {"resume", false, Do<kResume>, "read again"},
    {"speed", true, Do<kSpeed>, "print N bytes a second; 0 for at once"},
    {"page-time", true, Do<kPageTime>, "take N ms for each page"},
    {"paper out", false, Do<kSet<kPaperOut>>, "stop printing, until \"ready\""},
    {"head open", false, Do<kSet<kHeadOpen>>, "stop printing, until \"ready\""},
    {"offline", false, Do<kSet<kOffline>>, "stop printing and reading, but not status, until \"ready\""},
    {"ribbon low", false, Do<kSet<kRibbonLow>>, "print at half the speed, until \"ready\""},
    {"paper", true, Do<kPaper>, "be out of paper after N more pages"},
    {"unasked", true, Do<kUnasked>, "1: tell everybody connected when the status changes; 0: do not"},
    {"delay", true, Do<kDelay>, "answer N ms late"},
    {"pieces", true, Do<kPieces>, "answer N bytes at a time, 20 ms apart; 0 for all at once"},
    {"wrong", true, Do<kWrong>, "send a wrong checksum in the next N answers"},
    {"silent", true, Do<kSilent>, "do not answer the next N requests"},
    {"stats", false, [](LabelPrinter& printer, Number) { return StatsLine(printer.Figures()); },
     "figures as key=value"},
    {kWaitIdle, false, nullptr, "answer once everything sent so far is received and printed"},
};

const Order* FindOrder(std::string_view line, std::string_view* argument) {
  for (const Order& order : kOrders) {
    if (line.substr(0, order.name.size()) != order.name) continue;
    *argument = line.substr(order.name.size());
    if (argument->empty()) return &order;
    if (argument->front() != ' ') continue;
    argument->remove_prefix(1);
    return &order;
  }
  return nullptr;
}

bool ParseNumber(std::string_view text, std::uint64_t* number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
  return error == std::errc() && end == text.data() + text.size();
}

/// False when the client does not take the line at once, which a client that reads its answers always does.
bool Answer(int socket, std::string line) {
  line += '\n';
  return ::send(socket, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL) == static_cast<ssize_t>(line.size());
}

}  // namespace

Control::Control(LabelPrinter* printer, std::uint16_t port)
    : printer_(printer), listener_(BindLoopback(port)), port_(PortOf(listener_.Get())) {
  Listen(listener_.Get());
}

void Control::AddDescriptors(std::vector<pollfd>* descriptors) const {
  if (clients_.size() < kMostClients) descriptors->push_back({listener_.Get(), POLLIN, 0});
  for (const Client& client : clients_) {
    if (!client.waitsForIdle) descriptors->push_back({client.socket.Get(), POLLIN, 0});
  }
}

void Control::Serve() {
  while (clients_.size() < kMostClients) {
    UniqueFd socket = AcceptNext(listener_.Get());
    if (!socket) break;
    clients_.push_back({std::move(socket), {}, false});
  }
  std::erase_if(clients_, [this](Client& client) { return !Serve(&client); });
}

std::string Control::Help() {
  std::string help = "Orders on the control port, one a line:";
  for (const Order& order : kOrders) {
    std::string name = "  " + std::string(order.name) + (order.takesNumber ? " N" : "");
    name.resize(15, ' ');
    help += "\n" + name + std::string(order.help);
  }
  return help;
}

bool Control::Serve(Client* client) {
  if (client->waitsForIdle) {
    if (!printer_->Idle()) return true;
    client->waitsForIdle = false;
    if (!Answer(client->socket.Get(), "ok")) return false;
  } else if (!Receive(client)) {
    return false;
  }
  std::size_t end;
  while (!client->waitsForIdle && (end = client->input.find('\n')) != std::string::npos) {
    std::string line = client->input.substr(0, end);
    client->input.erase(0, end + 1);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!CarryOut(client, line)) return false;
  }
  return client->waitsForIdle || client->input.size() <= kLongestLine;
}

bool Control::Receive(Client* client) {
  std::array<char, kLongestLine> chunk;
  const ssize_t received = ::recv(client->socket.Get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
  if (received < 0) return errno == EAGAIN || errno == EINTR;
  client->input.append(chunk.data(), static_cast<std::size_t>(received));
  return received > 0;
}

bool Control::CarryOut(Client* client, std::string_view line) {
  const int socket = client->socket.Get();
  std::string_view argument;
  const Order* order = FindOrder(line, &argument);
  if (order == nullptr) return Answer(socket, "error unknown order");
  std::uint64_t number = 0;
  if (order->takesNumber && !ParseNumber(argument, &number)) return Answer(socket, "error a number is missing");
  if (!order->takesNumber && !argument.empty()) return Answer(socket, "error the order takes nothing more");
  if (order->carryOut == nullptr) {
    client->waitsForIdle = !printer_->Idle();
    return client->waitsForIdle || Answer(socket, "ok");
  }
  // What was connected or sent before the order counts as before it.
  printer_->Serve();
  try {
    const std::string result = order->carryOut(*printer_, number);
    printer_->Serve();
    return Answer(socket, result.empty() ? "ok" : "ok " + result);
  } catch (const std::system_error& failure) {
    return Answer(socket, std::string("error ") + failure.what());
  }
}

}  // namespace portwise::printer
