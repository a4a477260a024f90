#include <unistd.h>
#include <windows.h>
#include <winspool.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "core/printer_handle.h"
#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/registry_path.h"
#include "platform/error_text.h"
#include "platform/text.h"
#include "settings/registry.h"

namespace portwise {

namespace {

constexpr char kMonitoringQuery[] = "Monitoring Enabled";
/// The largest answer that the spooler passes on. A request must not run twice, so there is no asking for the size.
constexpr DWORD kLargestAnswer = DWORD{4} << 20;
constexpr std::size_t kLargestRequest = std::size_t{64} << 20;

struct XpmlArguments {
  std::string printer;
  std::string request = "-";
  std::string channel = "stored";
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

/// A printer, opened to ask its driver's questions.
class Driver {
 public:
  explicit Driver(const std::string& printer)
      : name_(Client().Ask({{"op", "printer-get"}, {"name", printer}}).head.value("name", printer)) {
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, PRINTER_ACCESS_ADMINISTER};
    if (!OpenPrinterW(platform::ToUtf16(name_).data(), printer_.Put(), &defaults))
      throw CommandError("printer " + name_ + " cannot be opened: " + platform::ErrorText(GetLastError()));
  }

  const std::string& Name() const { return name_; }

  /// The error of the call; `answer` has room for what comes.
  DWORD Ask(const std::string& value, std::string* answer) const {
    DWORD type = 0, size = 0;
    std::u16string name = platform::ToUtf16(value);
    const DWORD error = GetPrinterDataW(printer_.Get(), name.data(), &type, reinterpret_cast<LPBYTE>(answer->data()),
                                        static_cast<DWORD>(answer->size()), &size);
    if (error == ERROR_SUCCESS) answer->resize(size);
    return error;
  }

  [[noreturn]] void Fail(DWORD error) const {
    switch (error) {
      case ERROR_NOT_READY:
        throw CommandError("the port of printer " + name_ + " is not open");
      case ERROR_FILE_NOT_FOUND:
        throw CommandError("the monitor of printer " + name_ + " does not answer this request");
      case ERROR_MORE_DATA:
        throw CommandError("the reply is longer than the spooler passes on; the request has run");
      default:
        throw CommandError("printer " + name_ + " does not answer: " + platform::ErrorText(error));
    }
  }

 private:
  std::string name_;
  unique_printer printer_;
};

/// A request in the registry, which its reply takes the place of; removed when destroyed.
class StoredRequest {
 public:
  explicit StoredRequest(const std::string& request)
      : name_(std::to_string(GetTickCount()) + "-" + std::to_string(getpid()) + "-1"),
        path_(OString("LOCAL:XPML/") + OString(name_)) {
    const auto size = static_cast<DWORD>(request.size());
    if (registry_.SetBinary(path_, request.data(), size) != static_cast<int>(size))
      FailAtRegistry("the request cannot be put into the registry");
  }
  ~StoredRequest() { registry_.Delete(path_); }
  StoredRequest(const StoredRequest&) = delete;
  StoredRequest& operator=(const StoredRequest&) = delete;

  const std::string& Name() const { return name_; }
  std::string Content() const {
    DWORD size = 0;
    if (!registry_.GetValueInfo(path_, nullptr, &size)) FailAtRegistry("the reply has gone from the registry");
    std::string content(size, '\0');
    if (size > 0 && registry_.GetBinary(path_, content.data(), size) != static_cast<int>(size))
      FailAtRegistry("the reply cannot be read from the registry");
    return content;
  }

 private:
  const ORegistry registry_;
  const std::string name_;
  const OString path_;
};

std::string AskStored(const Driver& driver, const std::string& request) {
  const StoredRequest stored(request);
  std::string length(sizeof(DWORD), '\0');
  const DWORD error = driver.Ask("XPML:" + driver.Name() + "," + stored.Name(), &length);
  std::string reply = stored.Content();
  // A reply of nothing is stored as well, but the monitor does not tell it from a failure.
  if (error != ERROR_SUCCESS && !reply.empty()) driver.Fail(error);
  return reply;
}

std::string AskInline(const Driver& driver, const std::string& request) {
  if (!request.starts_with('<')) throw CommandError("an inline request begins with \"<\"");
  if (request.find('\0') != request.npos || platform::ToUtf8(platform::ToUtf16(request)) != request)
    throw CommandError("an inline request is text in UTF-8; --channel stored takes any bytes");
  std::string reply(kLargestAnswer, '\0');
  if (const DWORD error = driver.Ask(request, &reply); error != ERROR_SUCCESS) driver.Fail(error);
  return reply;
}

std::string AskMonitoring(const Driver& driver, const std::string&) {
  std::string reply(1, '\0');
  if (const DWORD error = driver.Ask(kMonitoringQuery, &reply); error != ERROR_SUCCESS) driver.Fail(error);
  return reply;
}

struct {
  const char* name;
  std::string (*ask)(const Driver& driver, const std::string& request);
  bool takesRequest;
} constexpr kChannels[] = {
    {"stored", AskStored, true}, {"inline", AskInline, true}, {"monitoring", AskMonitoring, false}};

void Send(const XpmlArguments& arguments) {
  for (const auto& channel : kChannels) {
    if (arguments.channel != channel.name) continue;
    const Driver driver(arguments.printer);
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
          "How it travels: stored in the registry, which takes any bytes; inline, as the name of a value; or "
          "monitoring, which has no request: it asks whether the port is monitored, and the reply is the byte 1")
      ->check(CLI::IsMember({"stored", "inline", "monitoring"}));
  xpml->callback([arguments] { Send(*arguments); });
}

}  // namespace portwise
