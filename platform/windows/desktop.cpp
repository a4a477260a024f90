#include "platform/windows/desktop.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <fstream>

#include "platform/home.h"
#include "platform/kernel/unique_fd.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

using Json = nlohmann::json;

constexpr std::uint32_t kDesktopNumber = 0x10010;
constexpr UINT kFirstRegistered = 0xC000, kLastRegistered = 0xFFFF;

/// Tells one start of the machine from another.
const std::string& Session() {
  static const auto& session = *new std::string([] {
    std::string id;
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), id);
    return id;
  }());
  return session;
}

/// What is shared, locked while the object lives. It is replaced as a whole, so that a process that is killed in
/// between leaves the old or the new one.
class SharedFile {
 public:
  explicit SharedFile(int lock)
      : path_(WindowsFolder() + "/desktop"),
        lock_(open((path_ + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    while (lock_ && flock(lock_.Get(), lock) != 0 && errno == EINTR) {
    }
  }

  explicit operator bool() const { return static_cast<bool>(lock_); }

  Json Read() const {
    std::ifstream file(path_);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    Json shared = Json::parse(text, nullptr, false);
    if (!shared.is_object() || shared.value("session", "") != Session()) shared = Json{{"session", Session()}};
    return shared;
  }

  bool Write(const Json& shared) const {
    const std::string next = path_ + ".new";
    std::ofstream file(next, std::ios::trunc);
    file << shared.dump(-1, ' ', false, Json::error_handler_t::replace);
    file.close();
    return file && rename(next.c_str(), path_.c_str()) == 0;
  }

 private:
  const std::string path_;
  const UniqueFd lock_;
};

}  // namespace

std::string WindowsFolder() {
  const std::string folder = Home() + "/windows";
  mkdir(folder.c_str(), 0700);
  return folder;
}

bool IsDesktop(HWND window) { return NumberOf(window) == kDesktopNumber; }

bool ChangeDesktop(const std::function<void(Json& shared)>& change) {
  const SharedFile file(LOCK_EX);
  if (!file) return false;
  Json shared = file.Read();
  change(shared);
  return file.Write(shared);
}

bool LookAtDesktop(const std::function<void(const Json& shared)>& look) {
  const SharedFile file(LOCK_SH);
  if (!file) return false;
  look(file.Read());
  return true;
}

POINT CursorPosition() {
  POINT position{};
  LookAtDesktop([&](const Json& shared) {
    const auto place = shared.value("cursor", std::array<LONG, 2>{});
    position = {place[0], place[1]};
  });
  return position;
}

void SetCursorPosition(POINT position) {
  ChangeDesktop([&](Json& shared) { shared["cursor"] = std::array<LONG, 2>{position.x, position.y}; });
}

HWND ForegroundWindow() {
  std::uint32_t window = 0;
  LookAtDesktop([&](const Json& shared) { window = shared.value("foreground", 0u); });
  return WindowOf(window);
}

void SetForeground(HWND window) {
  ChangeDesktop([&](Json& shared) { shared["foreground"] = NumberOf(window); });
}

UINT RegisteredMessage(const std::u16string& name) {
  UINT number = 0;
  ChangeDesktop([&](Json& shared) {
    Json& messages = shared["messages"];
    const std::string key = ToUtf8(name);
    if (!messages.contains(key)) {
      const auto next = static_cast<UINT>(kFirstRegistered + messages.size());
      if (next <= kLastRegistered) messages[key] = next;
    }
    number = messages.value(key, 0u);
  });
  return number;
}

}  // namespace portwise::platform

using namespace portwise::platform;

HWND WINAPI GetDesktopWindow() { return WindowOf(kDesktopNumber); }

BOOL WINAPI GetCursorPos(LPPOINT point) {
  *point = CursorPosition();
  return TRUE;
}
