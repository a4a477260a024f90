#include "network/web_server_base.h"

#include "monitor/net_mon_exception_handler.h"

namespace portwise {
namespace {

constexpr DWORD kLaunchPatience = 30000;  // ms, as are all below
constexpr DWORD kAcceptEndPatience = 1000;
constexpr DWORD kThreadsEndPatience = 1000;
constexpr DWORD kAcceptPause = 100;
constexpr DWORD kRegisterPause = 10;
constexpr int kRegisterTries = 50;
/// Accepts in a row before the accept thread looks whether it is to end.
constexpr int kAcceptsInARow = 64;

std::string AddressText(const IN_ADDR& address) {
  const ULONG host = ntohl(address.s_addr);
  return std::to_string(host >> 24) + "." + std::to_string(host >> 16 & 0xFF) + "." + std::to_string(host >> 8 & 0xFF) +
         "." + std::to_string(host & 0xFF);
}

}  // namespace

WebServerBase::WebServerBase() : launched_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

bool WebServerBase::Run(DWORD port, DWORD clientIdleTimeout, DWORD bindAddress) {
  // A thread that could not listen, or was given up, may not have ended yet.
  if (running_ || !launched_ || !acceptThread_.JoinFor(kAcceptEndPatience)) return false;
  bindAddress_ = bindAddress;
  port_ = port;
  clientIdleTimeout_ = clientIdleTimeout;
  statistics_.Reset();
  if (!library_ || !*library_) library_ = std::make_unique<SocketLibrary>();
  listener_ = std::make_unique<Listener>();
  threads_.Open();
  ResetEvent(launched_.Get());
  if (!acceptThread_.Start([](void* self) { static_cast<WebServerBase*>(self)->AcceptThread(); }, this)) return false;
  if (WaitForSingleObject(launched_.Get(), kLaunchPatience) != WAIT_OBJECT_0) return false;
  if (!running_ && threads_.ThreadCount() == 0) library_.reset();
  return true;
}

void WebServerBase::AcceptThread() {
  NetMonExceptionHandler guard("WebServerBase::AcceptThread", NetMonExceptionHandler::kReportEventLog);
  const BOOL listening = RunGuarded(guard, [this] {
    const int error = *library_ ? listener_->Open(bindAddress_, port_) : WSAVERNOTSUPPORTED;
    if (error != 0) {
      OnListenFailed(error);
      return FALSE;
    }
    running_ = true;
    OnListening();
    return TRUE;
  });
  if (!listening) {
    listener_->Close();
    running_ = false;
  }
  SetEvent(launched_.Get());
  if (!listening) return;
  while (listener_->Await()) {
    for (int i = 0; i < kAcceptsInARow && RunGuarded(guard, [this] { return AcceptClient(); }); ++i) {
    }
  }
  listener_->Close();
  running_ = false;
}

/// FALSE when there is no other client to accept now.
BOOL WebServerBase::AcceptClient() {
  SOCKADDR_IN peer = {};
  unique_socket socket = listener_->Accept(&peer);
  if (socket) return AddClient(std::move(socket), AddressText(peer.sin_addr), ntohs(peer.sin_port));
  const int error = WSAGetLastError();
  if (error == WSAECONNRESET) return TRUE;
  // Where sockets or memory are used up the client goes on waiting, and the accept would fail again at once.
  if (error != WSAEWOULDBLOCK) listener_->Pause(kAcceptPause);
  return FALSE;
}

bool WebServerBase::AddClient(unique_socket socket, const std::string& address, WORD port) {
  OnClientConnected(address, port);
  statistics_.CountClient(address);
  auto client = std::make_unique<Network_ClientThread>(*this, std::move(socket));
  // Those that are closed for others need a moment to go. Further clients wait in the system's queue meanwhile.
  int tries = 0;
  while (!clients_.RegisterClient(client.get())) {
    if (++tries == kRegisterTries) {
      client->TurnAway();
      return true;
    }
    listener_->Pause(kRegisterPause);
  }
  threads_.Serve(&client);
  return true;
}

bool WebServerBase::Shutdown() {
  if (!running_) return false;
  listener_->End();
  const bool ended = acceptThread_.JoinFor(kAcceptEndPatience);
  // Where the process ends, the system has stopped all threads wherever they were, and nothing is left to be waited
  // for.
  const bool stopped = ended && running_;
  if (!stopped) {
    clients_.CloseAllClients();
    // Clients that were given up go on using the socket library.
    if (threads_.Close(kThreadsEndPatience) && ended) {
      listener_.reset();
      library_.reset();
    }
  }
  running_ = false;
  return ended;
}

}  // namespace portwise
