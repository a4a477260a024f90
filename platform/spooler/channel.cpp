#include "platform/spooler/channel.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <windows.h>

#include <cstring>
#include <mutex>
#include <shared_mutex>

#include "platform/home.h"
#include "platform/spooler/frame.h"

namespace portwise::platform {

namespace {

struct LocalSpooler {
  std::shared_mutex mutex;
  SpoolerService* service = nullptr;
};

LocalSpooler& Local() {
  static auto* local = new LocalSpooler;
  return *local;
}

}  // namespace

void SetLocalSpooler(SpoolerService* service) {
  std::unique_lock lock(Local().mutex);
  Local().service = service;
}

Message CallSpooler(const Message& request) {
  {
    std::shared_lock lock(Local().mutex);
    if (Local().service) return Local().service->Call(request);
  }
  return SpoolerConnection().Call(request);
}

Message Failure(unsigned error, const std::string& reason) { return {{{"error", error}, {"reason", reason}}, {}}; }

SpoolerAddress::SpoolerAddress(const std::string& folder, const std::string& name) : path_(folder + "/" + name) {
  address_.sun_family = AF_UNIX;
  std::string path = path_;
  if (path.size() >= sizeof(address_.sun_path)) {
    folder_ = UniqueFd(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    path = "/proc/self/fd/" + std::to_string(folder_.Get()) + "/" + name;
  }
  std::memcpy(address_.sun_path, path.c_str(), path.size() + 1);
}

SpoolerConnection::SpoolerConnection() : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  SpoolerAddress address(Home());
  if (connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address.Get()), sizeof(sockaddr_un)) != 0)
    socket_ = UniqueFd();
}

Message SpoolerConnection::Call(const Message& request) {
  Message reply;
  if (!socket_) return Failure(RPC_S_SERVER_UNAVAILABLE, "no spooler is running");
  if (!FitsFrame(request)) return Failure(ERROR_INVALID_PARAMETER, "what the spooler is asked is too long");
  // An answer may lie ready although the order could not be sent: a spooler that refuses a client says why and closes.
  SendFrame(socket_.Get(), request);
  if (ReceiveFrame(socket_.Get(), &reply) && reply.head.contains("error") && reply.head["error"].is_number_unsigned())
    return reply;
  socket_ = UniqueFd();
  return Failure(RPC_S_SERVER_UNAVAILABLE, "the spooler closed the connection");
}

}  // namespace portwise::platform
