#include "host/windows/orders.h"

#include <algorithm>
#include <charconv>

#include "core/handles.h"
#include "host/windows/say.h"
#include "host/windows/setup.h"
#include "settings/printer_info.h"
#include "settings/stored_request.h"

namespace portwise {
namespace {

constexpr DWORD kLook = 20;  // ms

/// Words are parted by blanks; one with blanks stands in double quotes.
std::vector<std::string> Split(const std::string& line) {
  std::vector<std::string> words;
  bool inside = false;
  bool quoted = false;
  for (const char c : line) {
    if (c == '"') {
      quoted = !quoted;
      if (!inside) words.emplace_back();
      inside = true;
    } else if (!quoted && (c == ' ' || c == '\t' || c == '\r')) {
      inside = false;
    } else {
      if (!inside) words.emplace_back();
      inside = true;
      words.back() += c;
    }
  }
  if (quoted) throw Failure{"a quote is not closed"};
  return words;
}

unsigned Number(const std::string& text, unsigned largest) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number > largest) {
    throw Failure{"\"" + text + "\" is no number up to " + std::to_string(largest)};
  }
  return number;
}

std::vector<BYTE> ReadFileContent(const std::string& path) {
  const unique_handle file(CreateFileW(FromUtf8(path).Wide(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER size = {};
  if (!file || !GetFileSizeEx(file.Get(), &size)) throw Failure{path + ": " + ErrorText(GetLastError())};
  std::vector<BYTE> content(static_cast<size_t>(size.QuadPart));
  DWORD read = 0;
  if (!content.empty() && (!ReadFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &read, nullptr) ||
                           read != content.size())) {
    throw Failure{path + ": it cannot be read"};
  }
  return content;
}

std::string Word(const std::vector<std::string>& words, size_t index) {
  return index < words.size() ? words[index] : std::string();
}

}  // namespace

struct Orders::Row {
  const char* name;
  size_t least;  // words behind the name, as is the next
  size_t most;
  std::string (Orders::*function)(const Words& words);
  const char* usage;
  const char* meaning;
};

const Orders::Row Orders::kRows[] = {
    {"port", 1, 4, &Orders::Port, "port NAME HOST NUMBER [raw|lpr]",
     "registers a TCP port; or, with NAME alone, a file"},
    {"driver", 1, 16, &Orders::Driver, "driver NAME [DRIVER DATA FILE...]", "installs a driver with its files"},
    {"printer", 3, 4, &Orders::Printer, "printer NAME PORT DRIVER [SHARE]", "adds a printer"},
    {"set", 3, 4, &Orders::Set, "set bool|dword|int|string PATH VALUE [PRINTER]", "writes a setting"},
    {"deny", 1, 2, &Orders::Deny, "deny PATH [PRINTER]", "takes all rights to a key of the settings away"},
    {"load", 0, 0, &Orders::Load, "load", "loads the print monitor, as the next ones do"},
    {"open", 1, 1, &Orders::Open, "open PRINTER", "opens the printer's port, as the next ones do"},
    {"print", 2, 3, &Orders::Print, "print PRINTER FILE [DOCUMENT]",
     "prints a file; lines that begin with the job tell"},
    {"cancel", 1, 1, &Orders::Cancel, "cancel JOB", "ends a job where it is"},
    {"wait", 1, 1, &Orders::Wait, "wait SECONDS", "waits until no job is left"},
    {"ask", 2, 2, &Orders::Ask, "ask PRINTER VALUE", "asks the monitor for a value of the printer's data"},
    {"request", 2, 2, &Orders::Request, "request PRINTER XPML", "the same for a request that lies in the registry"},
    {"read", 1, 1, &Orders::Read, "read PRINTER", "reads what the printer has sent"},
    {"close", 1, 1, &Orders::Close, "close PRINTER", "closes its port; jobs that are left end where they are"},
    {"leave", 0, 0, &Orders::Leave, "leave", "ends at once with open ports, as a spooler that is stopped"},
    {"quit", 0, 0, nullptr, "quit", "waits for the jobs and ends, as at the end of the input"},
};

std::string Orders::Help() {
  std::string help;
  for (const Row& row : kRows) {
    std::string usage = std::string("  ") + row.usage;
    usage.resize(std::max<size_t>(usage.size() + 2, 52), ' ');
    help += usage + row.meaning + "\n";
  }
  return help;
}

bool Orders::Obey(const std::string& line) {
  try {
    Words words = Split(line);
    if (words.empty() || words[0][0] == '#') return true;
    const auto* row =
        std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& r) { return words[0] == r.name; });
    if (row == std::end(kRows)) throw Failure{"there is no order " + words[0]};
    words.erase(words.begin());
    if (words.size() < row->least || words.size() > row->most) throw Failure{std::string("usage: ") + row->usage};
    if (!row->function) return false;
    const std::string answer = (this->*row->function)(words);
    Say(answer.empty() ? "ok" : "ok " + answer);
  } catch (const Failure& failure) {
    Say("failed: " + failure.text);
  }
  return true;
}

void Orders::Finish() {
  while (!IsIdle()) Sleep(kLook);
  ports_.clear();
  if (monitor_) monitor_->Shutdown();
}

std::string Orders::Port(const Words& words) {
  if (words.size() == 1) {
    AddFilePort(words[0]);
    return {};
  }
  const std::string protocol = words.size() > 3 ? words[3] : "raw";
  if (words.size() < 3 || (protocol != "raw" && protocol != "lpr")) throw Failure{"a TCP port has a host and a number"};
  AddTcpPort(words[0], words[1], Number(words[2], 65535), protocol == "lpr");
  return {};
}

std::string Orders::Driver(const Words& words) {
  AddDriver(words[0], Words(words.begin() + 1, words.end()));
  return {};
}

std::string Orders::Printer(const Words& words) {
  AddPrinter(words[0], words[1], words[2], Word(words, 3));
  return {};
}

std::string Orders::Set(const Words& words) {
  SetSetting(words[0], words[1], words[2], Word(words, 3));
  return {};
}

std::string Orders::Deny(const Words& words) {
  DenyKey(words[0], Word(words, 1));
  return {};
}

/// Says the size that its table has.
std::string Orders::Load(const Words&) { return std::to_string(Library().Functions().cbSize); }

std::string Orders::Open(const Words& words) {
  QueueOf(words[0]);
  return {};
}

std::string Orders::Close(const Words& words) {
  const PrinterInfo info(FromUtf8(words[0]));
  if (ports_.erase(ToUtf8(info.portName)) == 0) throw Failure{"its port is not open"};
  return {};
}

std::string Orders::Print(const Words& words) {
  std::vector<BYTE> data = ReadFileContent(words[1]);
  const std::string document = words.size() > 2 ? words[2] : words[1];
  return "job " + std::to_string(QueueOf(words[0]).Print(FromUtf8(words[0]), FromUtf8(document), std::move(data)));
}

std::string Orders::Cancel(const Words& words) {
  const unsigned number = Number(words[0], ~0u);
  for (const auto& [name, port] : ports_) {
    if (port->Cancel(number)) return {};
  }
  throw Failure{"there is no such job"};
}

std::string Orders::Wait(const Words& words) {
  const DWORD begin = GetTickCount();
  const DWORD patience = Number(words[0], 86400) * 1000;
  while (!IsIdle()) {
    if (GetTickCount() - begin >= patience) throw Failure{"jobs are left"};
    Sleep(kLook);
  }
  return {};
}

std::string Orders::Ask(const Words& words) {
  std::string answer;
  if (!QueueOf(words[0]).Port().Ask(FromUtf8(words[1]), &answer)) throw Failure{ErrorText(GetLastError())};
  return Shown(answer);
}

std::string Orders::Request(const Words& words) {
  PortQueue& queue = QueueOf(words[0]);
  StoredRequest stored;
  if (!stored.Store(words[1])) throw Failure{"the registry does not take the request"};
  std::string answer;
  if (!queue.Port().Ask(stored.ValueName(FromUtf8(words[0])), &answer)) throw Failure{ErrorText(GetLastError())};
  if (!stored.Read(&answer)) throw Failure{"there is no reply in the registry"};
  return Shown(answer);
}

std::string Orders::Read(const Words& words) {
  std::string answer;
  if (!QueueOf(words[0]).Port().Read(&answer)) throw Failure{ErrorText(GetLastError())};
  return Shown(answer);
}

std::string Orders::Leave(const Words&) { ExitProcess(0); }

MonitorLibrary& Orders::Library() {
  if (!monitor_) monitor_ = std::make_unique<MonitorLibrary>(library_);
  return *monitor_;
}

PortQueue& Orders::QueueOf(const std::string& printer) {
  const PrinterInfo info(FromUtf8(printer));
  if (info.portName.IsEmpty()) throw Failure{"there is no printer " + printer};
  auto& queue = ports_[ToUtf8(info.portName)];
  if (!queue) {
    const HANDLE port = Library().OpenPort(info.portName, info.printerName);
    if (!port) throw Failure{"the port cannot be opened: " + ErrorText(GetLastError())};
    queue = std::make_unique<PortQueue>(Library().Functions(), port);
  }
  return *queue;
}

bool Orders::IsIdle() {
  return std::all_of(ports_.begin(), ports_.end(),
                     [](const auto& each) { return !each.second || each.second->IsIdle(); });
}

}  // namespace portwise
