#include "host/server.h"

#include <grp.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "host/session.h"
#include "platform/spooler/frame.h"

namespace portwise {

using platform::UniqueFd;

namespace {

constexpr std::size_t kMaximumClients = 256;

std::string UserName(uid_t user) {
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found) return found->pw_name;
  return std::to_string(user);
}

std::vector<gid_t> PeerGroups(int client) {
  std::vector<gid_t> groups(64);
  for (;;) {
    auto size = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    int result = getsockopt(client, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size);
    if (result != 0 && errno != ERANGE) return {};
    groups.resize(size / sizeof(gid_t));
    if (result == 0) return groups;
  }
}

}  // namespace

std::unique_ptr<Server> Server::Start(const std::string& home, Spooler& spooler, std::string* why) {
  platform::SpoolerAddress address(home);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  // A socket file of a spooler that was killed; the home's lock says that none is running.
  unlink(address.Path().c_str());
  struct stat status {};
  // Nobody can connect before the listen, so the mode is right from the first client on.
  if (!socket || bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address.Get()), sizeof(sockaddr_un)) != 0 ||
      chmod(address.Path().c_str(), 0660) != 0 || stat(address.Path().c_str(), &status) != 0 ||
      listen(socket.Get(), 128) != 0) {
    *why = "cannot listen on " + address.Path() + ": " + std::strerror(errno);
    return nullptr;
  }
  return std::unique_ptr<Server>(new Server(spooler, std::move(socket), address.Path(), status.st_gid));
}

Server::Server(Spooler& spooler, UniqueFd socket, std::string path, unsigned group)
    : spooler_(spooler), socket_(std::move(socket)), path_(std::move(path)), group_(group), acceptor_([this] {
        Accept();
      }) {}

Server::~Server() {
  if (acceptor_.joinable()) acceptor_.join();
}

bool Server::Stop(std::chrono::steady_clock::time_point limit) {
  unlink(path_.c_str());
  std::unique_lock lock(mutex_);
  stopping_ = true;
  shutdown(socket_.Get(), SHUT_RDWR);
  for (auto& [client, thread] : clients_) shutdown(client, SHUT_RDWR);
  return clientEnded_.wait_until(lock, limit, [this] { return clients_.empty(); });
}

void Server::Accept() {
  for (;;) {
    UniqueFd client(accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    int error = errno;
    std::unique_lock lock(mutex_);
    if (stopping_) return;
    if (!client) {
      lock.unlock();
      // Out of descriptors or memory: the clients that are there go on, and some will end.
      if (error != ECONNABORTED && error != EINTR) std::this_thread::sleep_for(std::chrono::milliseconds(100));
      continue;
    }
    if (clients_.size() >= kMaximumClients) {
      lock.unlock();
      SendFrame(client.Get(), platform::Failure(ERROR_BUSY, "the spooler has too many clients; try again later"));
      continue;
    }
    int key = client.Get();
    clients_[key] = std::thread(
        [this, socket = std::make_shared<UniqueFd>(std::move(client))]() mutable { Serve(std::move(*socket)); });
  }
}

void Server::Serve(UniqueFd client) {
  unsigned user = 0;
  if (IsAllowed(client.Get(), &user)) {
    Session session(spooler_, UserName(user));
    platform::Message request;
    while (platform::ReceiveFrame(client.Get(), &request) && platform::SendFrame(client.Get(), session.Call(request))) {
    }
  } else {
    SendFrame(client.Get(), platform::Failure(ERROR_ACCESS_DENIED, "you are not allowed to use this spooler"));
  }
  std::lock_guard lock(mutex_);
  auto self = clients_.find(client.Get());
  self->second.detach();
  clients_.erase(self);
  // Closed under the lock: the number may be given to the next client at once.
  client = UniqueFd();
  clientEnded_.notify_all();
}

bool Server::IsAllowed(int client, unsigned* user) const {
  ucred peer{};
  socklen_t size = sizeof(peer);
  if (getsockopt(client, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
  *user = peer.uid;
  if (peer.uid == 0 || peer.uid == geteuid() || peer.gid == group_) return true;
  std::vector<gid_t> groups = PeerGroups(client);
  return std::find(groups.begin(), groups.end(), group_) != groups.end();
}

}  // namespace portwise
