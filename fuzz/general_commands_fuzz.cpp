#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "platform/kernel/system_modules.h"
#include "tests/support/files.h"
#include "tests/support/temporary_home.h"
#include "xpml/request.h"

using namespace portwise;

// What the commands reach outside of their document ends here: these functions stand in front of the system's, for all
// of the product that is linked into this program.
namespace {

constexpr std::size_t kMostInput = 1024;
constexpr std::size_t kMostStored = 4096;
constexpr std::size_t kMostLoaded = 65536;

struct World {
  std::map<std::string, std::string> variables;
  std::vector<std::string> boxes;
};
World world;

const std::filesystem::path& Scratch() {
  static const TemporaryHome home;
  return home.Path();
}

std::filesystem::path ScratchFile(char name) { return Scratch() / std::string(1, name); }

/// Whether a path names one of the files that there may be: a single letter.
bool IsFenced(WideView path) { return path.size() == 1 && path[0] >= 'a' && path[0] <= 'c'; }

int WINAPI AnswerBox(HWND, LPCSTR text, LPCSTR caption, UINT) {
  world.boxes.push_back(std::string(caption) + "\n" + text);
  return 1;
}
HANDLE WINAPI Station() { return &world; }
BOOL WINAPI DescribeStation(HANDLE, int, void* information, DWORD, DWORD*) {
  static_cast<DWORD*>(information)[2] = 1;
  return TRUE;
}

}  // namespace

HANDLE WINAPI CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                          DWORD attributes, HANDLE model) {
  static const auto open = reinterpret_cast<decltype(&CreateFileW)>(dlsym(RTLD_NEXT, "CreateFileW"));
  const WideView name(path);
  if (!IsFenced(name) || ReadBytes(ScratchFile(static_cast<char>(name[0]))).size() > kMostLoaded) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  const OString inside(ScratchFile(static_cast<char>(name[0])).string());
  return open(inside.Wide(), access, share, security, disposition, attributes, model);
}

BOOL WINAPI SetEnvironmentVariableA(LPCSTR name, LPCSTR value) {
  const std::string_view key(name), text(value);
  if (key.empty() || key.find('=') != key.npos || text.size() > kMostStored) return FALSE;
  world.variables[std::string(key)] = text;
  return TRUE;
}

DWORD WINAPI GetEnvironmentVariableA(LPCSTR name, LPSTR buffer, DWORD size) {
  const auto found = world.variables.find(name);
  if (found == world.variables.end()) return 0;
  const std::string& value = found->second;
  if (size <= value.size()) return static_cast<DWORD>(value.size() + 1);
  value.copy(buffer, value.size());
  buffer[value.size()] = '\0';
  return static_cast<DWORD>(value.size());
}

namespace {

struct Outcome {
  std::string reply;
  std::vector<std::string> boxes;
  std::map<std::string, std::string> variables;
  std::vector<std::string> files;
  bool operator==(const Outcome&) const = default;
};

Outcome Run(std::string_view request, std::size_t chunk) {
  world = World();
  for (const char name : {'a', 'b', 'c'}) std::filesystem::remove(ScratchFile(name));
  TextBuffer reply;
  XPML_Document document;
  BindDocumentToPort(nullptr, document, reply);
  document.Parse("<xpml>", 6);
  for (; !request.empty(); request.remove_prefix(std::min(chunk, request.size()))) {
    const std::string part(request.substr(0, chunk));
    document.Parse(part.data(), static_cast<int>(part.size()));
  }
  Outcome outcome{std::string(reply.View()), world.boxes, world.variables, {}};
  for (const char name : {'a', 'b', 'c'}) outcome.files.push_back(ReadBytes(ScratchFile(name)));
  return outcome;
}

std::size_t Count(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; ++at) ++count;
  return count;
}

}  // namespace

/// A request does the same in whatever chunks it comes. The first byte is the chunk's size.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool ready = [] {
    platform::RegisterSystemModule("User32.dll", {{"MessageBoxA", platform::AsFarProc(AnswerBox)},
                                                  {"GetProcessWindowStation", platform::AsFarProc(Station)},
                                                  {"GetUserObjectInformationW", platform::AsFarProc(DescribeStation)}});
    return true;
  }();
  const std::string_view input = fuzz::Bytes(data, size);
  if (!ready || input.empty() || input.size() > kMostInput) return 0;
  const std::string_view request = input.substr(1);
  // Each step multiplies its content; more of them only take the fuzzer's time and memory.
  std::string lower(request);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char byte) { return std::tolower(byte); });
  if (Count(lower, "hex") + Count(lower, "64") + Count(lower, "77") > 4) return 0;
  const Outcome whole = Run(request, request.size() + 1);
  PORTWISE_CHECK(whole == Run(request, 1 + static_cast<unsigned char>(input[0]) % 64));
  return 0;
}
