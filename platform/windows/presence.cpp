#include "platform/windows/presence.h"

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/home.h"
#include "platform/kernel/unique_fd.h"
#include "platform/spooler/channel.h"
#include "platform/spooler/frame.h"
#include "platform/windows/desktop.h"
#include "platform/windows/remote_requests.h"

namespace portwise::platform {
namespace {

// The desktop's handle lies below the first place, and handles keep clear of the sign.
constexpr unsigned kFirstPlace = 2, kLastPlace = 0x7FFE, kNowhere = 0x7FFF;
constexpr int kBacklog = 64;

bool IsOwnUser(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && (peer.uid == geteuid() || peer.uid == 0);
}

/// Answers the requests of one connection, one after the other: whoever sends a message waits at it.
void Serve(const UniqueFd& client) {
  if (!IsOwnUser(client.Get())) return;
  Message request;
  while (ReceiveFrame(client.Get(), &request) && SendFrame(client.Get(), AnswerRequest(request))) {
  }
}

void Accept(const UniqueFd& listener) {
  while (true) {
    auto client = std::make_shared<UniqueFd>(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (*client) {
      std::thread([client] { Serve(*client); }).detach();
    } else if (errno != EINTR && errno != ECONNABORTED) {
      return;
    }
  }
}

/// Threads of the platform's own leave signals to those of the program; faults they keep.
class WithoutSignals {
 public:
  WithoutSignals() {
    sigset_t all;
    sigfillset(&all);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP}) sigdelset(&all, fault);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~WithoutSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  WithoutSignals(const WithoutSignals&) = delete;
  WithoutSignals& operator=(const WithoutSignals&) = delete;

 private:
  sigset_t before_;
};

/// A place in one home; it is left when the object ends.
class Presence {
 public:
  explicit Presence(std::string home) : home_(std::move(home)) {
    // The numbers go on from the last one, so that handles of processes that ended are not soon those of others.
    ChangeDesktop([this](nlohmann::json& shared) {
      const unsigned last = shared.value("place", kFirstPlace - 1);
      for (unsigned step = 1; step <= kLastPlace && place_ == kNowhere; ++step) {
        const unsigned place = kFirstPlace + (last - kFirstPlace + step) % (kLastPlace - kFirstPlace + 1);
        if (Listen(place)) shared["place"] = place_ = place;
      }
    });
    if (place_ == kNowhere) return;
    const WithoutSignals quiet;
    std::thread([listener = listener_] { Accept(*listener); }).detach();
  }
  ~Presence() {
    if (place_ == kNowhere) return;
    unlink(SpoolerAddress(WindowsFolderOf(home_), std::to_string(place_)).Path().c_str());
    shutdown(listener_->Get(), SHUT_RDWR);
  }
  Presence(const Presence&) = delete;
  Presence& operator=(const Presence&) = delete;

  const std::string& HomeFolder() const { return home_; }
  unsigned Place() const { return place_; }

 private:
  static std::string WindowsFolderOf(const std::string& home) { return home + "/windows"; }

  /// Takes the place unless somebody is there; what a process that was killed left behind goes.
  bool Listen(unsigned place) {
    const SpoolerAddress address(WindowsFolderOf(home_), std::to_string(place));
    const auto* name = reinterpret_cast<const sockaddr*>(&address.Get());
    const UniqueFd probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (connect(probe.Get(), name, sizeof(sockaddr_un)) == 0) return false;
    unlink(address.Path().c_str());
    UniqueFd listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (bind(listener.Get(), name, sizeof(sockaddr_un)) != 0 || listen(listener.Get(), kBacklog) != 0) return false;
    listener_ = std::make_shared<UniqueFd>(std::move(listener));
    return true;
  }

  const std::string home_;
  unsigned place_ = kNowhere;
  std::shared_ptr<UniqueFd> listener_;
};

struct Current {
  std::mutex mutex;
  std::unique_ptr<Presence> presence;
  unsigned lastWindow = 0;
};
Current& TheCurrent() {
  static auto& current = *new Current;
  return current;
}

/// Leaves the place when the process ends in order.
struct Leave {
  ~Leave() {
    std::lock_guard lock(TheCurrent().mutex);
    TheCurrent().presence.reset();
  }
} leave;

}  // namespace

HWND NextWindowHandle() {
  Current& current = TheCurrent();
  std::lock_guard lock(current.mutex);
  const std::string home = Home();
  if (!current.presence || current.presence->HomeFolder() != home) {
    current.presence.reset();
    current.presence = std::make_unique<Presence>(home);
  }
  current.lastWindow = current.lastWindow % 0xFFFF + 1;
  return WindowOf(current.presence->Place() << 16 | current.lastWindow);
}

unsigned PlaceOf(HWND window) { return NumberOf(window) >> 16; }

unsigned OwnPlace() {
  const std::string home = Home();
  std::lock_guard lock(TheCurrent().mutex);
  const auto& presence = TheCurrent().presence;
  return presence && presence->HomeFolder() == home ? presence->Place() : 0;
}

std::vector<unsigned> Places() {
  std::vector<unsigned> places;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(WindowsFolder(), error)) {
    const std::string name = entry.path().filename().string();
    unsigned place = 0;
    const auto [end, fault] = std::from_chars(name.data(), name.data() + name.size(), place);
    if (fault == std::errc() && *end == '\0' && place >= kFirstPlace && place <= kLastPlace) places.push_back(place);
  }
  std::sort(places.begin(), places.end());
  return places;
}

}  // namespace portwise::platform
