#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "platform/kernel/fail.h"
#include "platform/kernel/module_files.h"
#include "platform/kernel/modules.h"
#include "platform/kernel/waitable.h"
#include "platform/text.h"
#include "platform/windows/desktop.h"
#include "platform/windows/inspect.h"

namespace portwise::platform {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kMostRemembered = 100;

/// A program, or the appearance of one; signalled when it has ended.
class Process final : public Waitable {
 public:
  explicit Process(bool ended) : Waitable(true, ended) {}
};

void Remember(const StartedCommand& command) {
  ChangeDesktop([&](Json& shared) {
    Json& started = shared["started"];
    started.push_back({{"command", command.commandLine}, {"show", command.show}});
    if (started.size() > kMostRemembered) started.erase(started.begin());
  });
}

/// The first word of a command line, which quotation marks may enclose; the rest begins with what follows it.
std::u16string TakeWord(std::u16string_view* rest) {
  const bool quoted = rest->starts_with(u'"');
  if (quoted) rest->remove_prefix(1);
  const auto end = std::min(rest->find(quoted ? u'"' : u' '), rest->size());
  std::u16string word(rest->substr(0, end));
  rest->remove_prefix(std::min(end + (quoted ? 1 : 0), rest->size()));
  return word;
}

/// What "rundll32" is to call: "LIBRARY,EXPORT", and the command line of it.
struct LibraryCall {
  std::u16string target, arguments;
};

/// The call, when the command line is one of a library that is there.
std::optional<LibraryCall> FindLibraryCall(std::u16string_view commandLine) {
  const std::u16string program = FoldCase(TakeWord(&commandLine));
  const auto name = program.substr(program.find_last_of(u"\\/") + 1);
  if (name != u"rundll32" && name != u"rundll32.exe") return std::nullopt;
  commandLine.remove_prefix(std::min(commandLine.find_first_not_of(u' '), commandLine.size()));
  std::u16string library;
  if (commandLine.starts_with(u'"')) {
    library = TakeWord(&commandLine);
  } else {
    const auto comma = std::min(commandLine.find(u','), commandLine.size());
    library = commandLine.substr(0, comma);
    commandLine.remove_prefix(comma);
  }
  if (!commandLine.starts_with(u',')) return std::nullopt;
  commandLine.remove_prefix(1);
  const auto end = std::min(commandLine.find(u' '), commandLine.size());
  const std::u16string function(commandLine.substr(0, end));
  commandLine.remove_prefix(std::min(end + 1, commandLine.size()));
  for (const std::string& file : ModuleFiles(library)) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) continue;
    return LibraryCall{library + u"," + function, std::u16string(commandLine)};
  }
  return std::nullopt;
}

/// Lets our own program make the call; 0 when it cannot be started.
pid_t Run(const LibraryCall& call, int show) {
  const std::string program = std::string(LibraryFolder()) + "/portwise";
  const std::string words[] = {
      program, "ui", "run", "--show", std::to_string(show), "--", ToUtf8(call.target), ToUtf8(call.arguments)};
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  pid_t process = 0;
  return posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments.data(), environ) == 0 ? process : 0;
}

}  // namespace

std::vector<StartedCommand> StartedCommands() {
  std::vector<StartedCommand> commands;
  LookAtDesktop([&](const Json& shared) {
    for (const Json& row : shared.value("started", Json::array())) {
      commands.push_back({row.value("command", ""), row.value("show", 0)});
    }
  });
  return commands;
}

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI CreateProcessW(LPCWSTR program, LPWSTR commandLine, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL,
                           DWORD, LPVOID, LPCWSTR, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information) {
  const LPCWSTR whole = commandLine ? commandLine : program;
  if (!whole || !*whole || !startup || !information) return Fail(ERROR_INVALID_PARAMETER);
  const int show = startup->dwFlags & STARTF_USESHOWWINDOW ? startup->wShowWindow : SW_SHOWNORMAL;
  const auto call = FindLibraryCall(whole);
  const pid_t started = call ? Run(*call, show) : 0;
  if (call && started == 0) return Fail(ERROR_FILE_NOT_FOUND);
  Remember({ToUtf8(whole), show});
  const auto process = std::make_shared<Process>(started == 0);
  if (started != 0) {
    std::thread([process, started] {
      while (waitpid(started, nullptr, 0) < 0 && errno == EINTR) {
      }
      process->Signal();
    }).detach();
  }
  *information = {OpenHandle(process), OpenHandle(process), static_cast<DWORD>(started), 0};
  return TRUE;
}
