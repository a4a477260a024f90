#include <unistd.h>
#include <windows.h>
#include <winspool.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>

#include "core/hex.h"
#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/driver_channel.h"
#include "host/cli/interruption.h"

namespace portwise {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kNoAnswer = 2;  // exit codes
constexpr int kInterrupted = 130;
constexpr double kLongestTimeout = 3600;  // seconds
/// How long a request outlives the wait for it; afterwards the monitor forgets it.
constexpr long kKeptMilliseconds = 5000;
/// A pause of the printer within an answer that does not end it, in milliseconds; the monitor waits half of it.
constexpr int kInterval = 1000;
constexpr std::size_t kLongestCommand = std::size_t{16} << 20;
/// How long a request that was cancelled may take to end.
constexpr std::chrono::milliseconds kCancelTime{2000};

/// What the monitor calls the states of a request.
enum class State { Pending, Active, Complete, Cancelled, Failed, Gone };

struct QueryArguments {
  std::string printer;
  std::string command = "-";
  std::string pattern;
  double timeout = 30;
  bool noAnswer = false;
};

std::string ReadCommand() {
  std::string command;
  char chunk[65536];
  while (const std::size_t got = std::fread(chunk, 1, sizeof chunk, stdin)) {
    command.append(chunk, got);
    if (command.size() > kLongestCommand) throw CommandError("the command is longer than 16 MiB");
  }
  if (std::ferror(stdin)) throw CommandError("the command cannot be read from standard input");
  return command;
}

constexpr struct {
  char letter;
  char byte;
} kEscapes[] = {{'r', '\r'}, {'n', '\n'}, {'t', '\t'}, {'e', '\x1b'}, {'0', '\0'}, {'\\', '\\'}};

/// The byte of the escape at `at`, where a backslash stands; moves `at` to its last character.
char DecodeEscape(const std::string& text, std::size_t* at) {
  const std::string escape = text.substr(*at, 2);
  if (escape == "\\x") {
    std::string byte;
    const std::string digits = text.substr(*at + 2, 2);
    if (digits.size() != 2 || !DecodeHex(digits, &byte)) throw CommandError("two hexadecimal digits follow \\x");
    *at += 3;
    return byte[0];
  }
  for (const auto& row : kEscapes) {
    if (escape.size() == 2 && escape[1] == row.letter) {
      ++*at;
      return row.byte;
    }
  }
  throw CommandError("there is no escape " + escape + "; there are \\xHH, \\r, \\n, \\t, \\e, \\0 and \\\\");
}

std::string DecodeEscapes(const std::string& text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) bytes += text[at] == '\\' ? DecodeEscape(text, &at) : text[at];
  return bytes;
}

/// Bytes as XPML takes them in an element and in an attribute, whatever they are.
std::string ToXpml(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    const bool plain =
        byte == ' ' || (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
    text += plain ? std::string(1, byte) : "&#" + std::to_string(static_cast<BYTE>(byte)) + ";";
  }
  return text;
}

/// A request among those of the printer's port.
class Request {
 public:
  explicit Request(const DriverChannel& driver)
      : driver_(driver), id_("portwise-" + std::to_string(getpid()) + "-" + std::to_string(GetTickCount())) {}

  void Send(const std::string& command, const QueryArguments& arguments) const {
    const long timeout = static_cast<long>(arguments.timeout * 1000);
    const auto number = [](const char* name, long value) {
      return std::string(" ") + name + "='" + std::to_string(value) + "'";
    };
    std::string request = "<query id='" + id_ + "' name='portwise query'><request id='1' name='query'";
    request += number("sendTimeout", timeout) + number("receiveStartTimeout", timeout) +
               number("receiveIntervalTimeout", kInterval) + number("expirationTime", timeout + kKeptMilliseconds);
    if (arguments.noAnswer) request += " parameters='read=false;'";
    if (!arguments.pattern.empty()) request += " responsePattern='" + ToXpml(arguments.pattern) + "'";
    driver_.AskStored(request + ">" + ToXpml(command) + "</request></query>");
  }

  State Ask() const {
    std::string number(16, '\0');
    const DWORD error = driver_.Ask("<request query='" + id_ + "' id='1' get='status'/>", &number);
    if (error == ERROR_FILE_NOT_FOUND) return State::Gone;
    if (error != ERROR_SUCCESS) driver_.Fail(error);
    if (number.size() != 1 || number[0] < '0' || number[0] > '4') return State::Gone;
    return static_cast<State>(number[0] - '0');
  }

  std::string Response() const { return driver_.AskStored("<request query='" + id_ + "' id='1' get='response'/>"); }

  /// Ends the request, and returns when it has, or does not for a while. The state in which the cancel left it.
  State Cancel() const {
    driver_.AskStored("<query id='" + id_ + "' action='cancel'/>");
    const State left = Ask();
    for (const auto begin = Clock::now(); Ask() == State::Active && Clock::now() - begin < kCancelTime;) Sleep(50);
    return left;
  }

 private:
  const DriverChannel& driver_;
  const std::string id_;
};

/// Returns when the request was complete at the last moment.
void FailInTime(const Request& request, State state, const QueryArguments& arguments) {
  const State left = request.Cancel();
  if (left == State::Complete) return;
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%g s", arguments.timeout);
  // It may have been sent at the last moment.
  if (state == State::Pending && left == State::Cancelled) {
    throw CommandError("the printer was not free within " + std::string(seconds) +
                           "; the command was not sent ('portwise status' and 'portwise jobs' tell why)",
                       kNoAnswer);
  }
  throw CommandError("the printer gave no complete answer within " + std::string(seconds), kNoAnswer);
}

/// Returns when the request is complete, otherwise throws what became of it.
void WaitFor(const Request& request, const QueryArguments& arguments) {
  const Interruption interruption;
  const auto begin = Clock::now();
  for (int pause = 10;; pause = std::min(pause * 2, 100)) {
    const State state = request.Ask();
    if (state == State::Complete) return;
    if (interruption.WaitFor(state == State::Pending || state == State::Active ? pause : 0)) {
      request.Cancel();
      throw CommandError("interrupted; the request was cancelled", kInterrupted);
    }
    if (state == State::Cancelled) throw CommandError("another one cancelled the request", kNoAnswer);
    if (state == State::Gone) throw CommandError("the monitor has forgotten the request", kNoAnswer);
    if (state == State::Failed) {
      throw CommandError(
          "the printer did not take the command, or gave no complete answer; 'portwise events' may "
          "tell more",
          kNoAnswer);
    }
    if (Clock::now() - begin > std::chrono::duration<double>(arguments.timeout)) {
      FailInTime(request, state, arguments);
      return;
    }
  }
}

void Query(const QueryArguments& arguments) {
  const std::string command = arguments.command == "-" ? ReadCommand() : DecodeEscapes(arguments.command);
  if (command.empty()) throw CommandError("the command is empty");
  const DriverChannel driver(arguments.printer);
  if (!(driver.Description().value("attributes", DWORD{0}) & PRINTER_ATTRIBUTE_ENABLE_BIDI)) {
    throw CommandError("printer " + driver.Name() +
                       " is not bidirectional, so nothing is asked of it; 'portwise printer set' gives it the "
                       "attribute bidi");
  }
  const Request request(driver);
  request.Send(command, arguments);
  WaitFor(request, arguments);
  if (arguments.noAnswer) return;
  const std::string response = request.Response();
  if (std::fwrite(response.data(), 1, response.size(), stdout) != response.size())
    throw CommandError("the output cannot be written");
}

}  // namespace

void AddQueryCommand(CLI::App& app) {
  auto arguments = std::make_shared<QueryArguments>();
  CLI::App* query =
      app.add_subcommand("query", "Send a command to a printer; the answer's bytes go to standard output");
  query->add_option("PRINTER", arguments->printer, "The printer")->required();
  query
      ->add_option("COMMAND", arguments->command,
                   "The command, with the escapes \\xHH, \\r, \\n, \\t, \\e, \\0 and \\\\; - is standard input, of "
                   "which every byte counts")
      ->required();
  query->add_option("--pattern", arguments->pattern,
                    "What a complete answer has in it, as a Perl regular expression; without it the printer's plug-in "
                    "decides, or a pause");
  query
      ->add_option("--timeout", arguments->timeout,
                   "How long all may take, in seconds; the waiting for a job that prints counts as well (30)")
      ->check(CLI::Range(0.1, kLongestTimeout));
  CLI::Option* noAnswer = query->add_flag("--no-answer", arguments->noAnswer, "Only send; wait for no answer");
  noAnswer->excludes("--pattern");
  query->footer(
      "Exit codes: 0 the answer is complete; 1 the command could not be carried out; 2 no complete answer;\n"
      "130 interrupted.");
  query->callback([arguments] { Query(*arguments); });
}

}  // namespace portwise
