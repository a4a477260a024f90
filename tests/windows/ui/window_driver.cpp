// Starts programs and tells what their windows show: a command a line on standard input, its words separated by tabs,
// and a line for each on standard output that begins with "ok" or "no". What a command looks for it waits for, some
// seconds long.

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <functional>
#include <iostream>
#include <map>
#include <sstream>

#include "tests/windows/ui/query_call.h"
#include "tests/windows/ui/texts.h"
#include "tests/windows/ui/window_layout.h"

namespace portwise::test {
namespace {

using Words = std::vector<std::wstring>;
using Result = std::wstring;  // begins with "ok" or "no"

constexpr DWORD kPatience = 5000;
constexpr wchar_t kMenuClass[] = L"#32768";

/// Looks until there is something to see.
bool Await(const std::function<bool()>& look) {
  const DWORD begin = GetTickCount();
  while (!look()) {
    if (GetTickCount() - begin > kPatience) return false;
    Sleep(20);
  }
  return true;
}

std::vector<HWND> WindowsTitled(const std::wstring& title) {
  std::vector<HWND> windows;
  const auto add = [](HWND window, LPARAM list) -> BOOL {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
  };
  EnumWindows(add, reinterpret_cast<LPARAM>(&windows));
  std::erase_if(windows, [&](HWND window) { return WindowText(window) != title; });
  return windows;
}

HWND WindowTitled(const std::wstring& title) {
  const std::vector<HWND> found = WindowsTitled(title);
  return found.empty() ? nullptr : found[0];
}

std::wstring Place(HWND window) {
  RECT place = {};
  GetWindowRect(window, &place);
  return std::to_wstring(place.left) + L" " + std::to_wstring(place.top) + L" " +
         std::to_wstring(place.right - place.left) + L" " + std::to_wstring(place.bottom - place.top);
}

Result Answer(bool done, const std::wstring& text = L"") { return (done ? L"ok " : L"no ") + text; }

std::map<DWORD, HANDLE> programs;

Result Run(const Words& words) {
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  PROCESS_INFORMATION program = {};
  std::wstring line = words[1];
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &program))
    return Answer(false, std::to_wstring(GetLastError()));
  CloseHandle(program.hThread);
  programs[program.dwProcessId] = program.hProcess;
  return Answer(true, std::to_wstring(program.dwProcessId));
}

/// Tells the exit code of a program that "run" has started, and lets it end if need be.
Result Ended(const Words& words) {
  const HANDLE program = programs[std::stoul(words[1])];
  DWORD code = 0;
  if (WaitForSingleObject(program, kPatience) != WAIT_OBJECT_0) {
    TerminateProcess(program, 1);
    return Answer(false, L"still runs");
  }
  GetExitCodeProcess(program, &code);
  return Answer(true, std::to_wstring(code));
}

Result Text(const Words& words) {
  std::wstring text;
  const bool shown = Await([&] {
    const HWND window = WindowTitled(words[1]);
    text = window ? WindowText(GetDlgItem(window, std::stoi(words[2]))) : L"no window";
    return text == words[3];
  });
  return Answer(shown, text);
}

/// A number of bytes in hexadecimal digits as the current user's setting.
Result Setting(const Words& words) {
  std::vector<BYTE> bytes;
  for (size_t at = 0; at + 1 < words[3].size(); at += 2)
    bytes.push_back(static_cast<BYTE>(std::stoul(words[3].substr(at, 2), nullptr, 16)));
  return Answer(RegSetKeyValueW(HKEY_CURRENT_USER, words[1].c_str(), words[2].c_str(), REG_BINARY, bytes.data(),
                                static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS);
}

const std::map<std::wstring, std::function<Result(const Words&)>> kCommands = {
    {L"run", Run},
    {L"ended", Ended},
    {L"visible",
     [](const Words& words) {
       return Answer(Await([&] { return IsWindowVisible(WindowTitled(words[1])) != FALSE; }),
                     Place(WindowTitled(words[1])));
     }},
    {L"place",
     [](const Words& words) {
       return Answer(Await([&] { return Place(WindowTitled(words[1])) == words[2]; }), Place(WindowTitled(words[1])));
     }},
    {L"control",
     [](const Words& words) {
       const HWND control = GetDlgItem(WindowTitled(words[1]), std::stoi(words[2]));
       return Answer(control != nullptr, Place(control));
     }},
    {L"hidden",
     [](const Words& words) {
       return Answer(Await([&] { return WindowTitled(words[1]) && !IsWindowVisible(WindowTitled(words[1])); }));
     }},
    {L"gone", [](const Words& words) { return Answer(Await([&] { return !WindowTitled(words[1]); })); }},
    {L"count", [](const Words& words) { return Answer(true, std::to_wstring(WindowsTitled(words[1]).size())); }},
    {L"text", Text},
    {L"layout",
     [](const Words& words) {
       const std::wstring faults = LayoutFaults(WindowTitled(words[1]));
       return Answer(faults.empty(), faults);
     }},
    {L"close",
     [](const Words& words) { return Answer(PostMessageW(WindowTitled(words[1]), WM_CLOSE, 0, 0) != FALSE); }},
    {L"menu",
     [](const Words&) { return Answer(Await([] { return IsWindowVisible(FindWindowW(kMenuClass, nullptr)); })); }},
    {L"no-menu",
     [](const Words&) { return Answer(Await([] { return !IsWindowVisible(FindWindowW(kMenuClass, nullptr)); })); }},
    {L"setting", Setting},
    {L"query", [](const Words& words) { return Answer(BeginQuery(words[1], std::stoul(words[2]))); }},
    {L"job", [](const Words& words) { return Answer(SetQueryJob(std::stoul(words[1], nullptr, 16))); }},
    {L"query-result", [](const Words&) { return Answer(true, QueryResult(kPatience)); }},
};

}  // namespace
}  // namespace portwise::test

int main() {
  using namespace portwise::test;
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  for (std::string line; std::getline(std::cin, line);) {
    Words words;
    std::wstringstream split(Wide(line));
    for (std::wstring word; std::getline(split, word, L'\t');) words.push_back(word);
    Result result = L"no such command";
    try {
      if (const auto command = kCommands.find(words.empty() ? L"" : words[0]); command != kCommands.end()) {
        words.resize(6);
        result = command->second(words);
      }
    } catch (const std::exception& failure) {
      result = L"no " + Wide(failure.what());
    }
    std::cout << Narrow(result) << std::endl;
  }
}
