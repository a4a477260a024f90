#include "network/client_thread.h"

#include <algorithm>
#include <string>

#include "monitor/net_mon_exception_handler.h"
#include "network/web_server_base.h"

namespace portwise {
namespace {

constexpr LONG kEvents = FD_READ | FD_WRITE | FD_CLOSE;
constexpr size_t kMaxSend = 200000;
/// A request that comes more slowly than this much in the time after which clients give way to others counts as one
/// that does not come.
constexpr size_t kProgress = 100000;
constexpr DWORD kLinger = 2000;  // ms, as is the next
constexpr DWORD kLongestLinger = 30000;
constexpr int kDropped = 4096;
constexpr DWORD kUnavailable = 503;
/// So much each client's texts may take besides the budget, so that small requests are answered whatever the others do.
constexpr size_t kFreeTexts = size_t{64} << 10;
/// What the system takes of a large response before somebody has read it: not more than a slow reader takes in the time
/// after which it counts as one that does not read.
constexpr int kSystemBuffer = 128 << 10;
// Those that are closed for others need a moment to go.
constexpr DWORD kRoomPause = 10;  // ms, as is the next
constexpr DWORD kRoomPatience = 500;
constexpr DWORD kBufferPause = 100;

}  // namespace

Network_ClientThread::Network_ClientThread(WebServerBase& server, unique_socket socket)
    : server_(server), socket_(std::move(socket)), share_(server.Budget()) {}

class Network_ClientThread::Texts final : public TextAllowance {
 public:
  explicit Texts(Network_ClientThread& client) : client_(client) {}

 private:
  bool Cover(size_t bytes, Need need) override {
    const size_t counted = client_.request_.Capacity() + bytes - std::min(bytes, kFreeTexts);
    return need == Need::May ? client_.share_.Hold(counted) : client_.Hold(counted, false);
  }

  Network_ClientThread& client_;
};

Network_ClientThread::~Network_ClientThread() {
  // Whoever looks for memory must find in the list whatever is taken of it.
  request_.Clear();
  share_.Hold(0);
  server_.Clients().UnregisterClient(this);
}

void Network_ClientThread::ThreadProc() {
  NetMonExceptionHandler guard("Network_ClientThread::ThreadProc", NetMonExceptionHandler::kReportEventLog);
  RunGuarded(guard, [this] {
    Serve();
    return TRUE;
  });
}

bool Network_ClientThread::BeginHandling() {
  if (stopping_) return false;
  stage_ = Stage::Handling;
  return true;
}

void Network_ClientThread::RequestStop() {
  stopping_ = true;
  Wake();
}

void Network_ClientThread::RequestEnd() {
  if (!ending_.exchange(true)) Wake();
}

void Network_ClientThread::Wake() {
  if (const WSAEVENT stop = stop_; stop != WSA_INVALID_EVENT) WSASetEvent(stop);
}

void Network_ClientThread::Abandon() {
  RequestStop();
  shutdown(socket_.Get(), SD_BOTH);
}

void Network_ClientThread::Serve() {
  bool keep = true;
  while (keep) {
    keep = false;
    if (!ReceiveRequest() || !server_.Clients().BeginHandling(this)) {
      // One that gives way to others hears of it, unless it has not said anything yet.
      if (IsOver() && request_.Refusal() == 0 && !request_.Bytes().empty()) request_.Refuse();
      if (request_.Refusal() != 0) Refuse();
      return;
    }
    if (!Answer(&keep)) return;
  }
  Linger();
}

bool Network_ClientThread::Answer(bool* keep) {
  Texts texts(*this);
  ServerResponse response(&texts);
  if (!server_.HandleRequest(request_, &response, keep)) return false;
  request_.Clear();
  texts.Return(0);  // what the request's bytes took is counted no longer
  const bool sent = Send(response.head, response.body.View());
  if (response.failure) {
    // The report may take its time.
    if (sent) Linger();
    shutdown(socket_.Get(), SD_SEND);
    throw OException(*response.failure);
  }
  return sent;
}

bool Network_ClientThread::ReceiveRequest() {
  progress_ = GetTickCount();
  stage_ = Stage::Receiving;
  size_t noted = 0;     // so much of the request has counted as progress
  while (!stopping_) {  // at the service's end, too, what is there already is read
    if (!Hold(request_.NextCapacity(), true)) {
      request_.Refuse();
      return false;
    }
    char* const room = request_.Room();
    if (!room) return false;
    const int received = recv(socket_.Get(), room, static_cast<int>(request_.RoomSize()), 0);
    if (received > 0) {
      request_.Filled(static_cast<size_t>(received));
      if (const size_t size = request_.Bytes().size(); noted == 0 || size - noted >= kProgress) {
        noted = size;
        progress_ = GetTickCount();
      }
      server_.Statistics().CountReceived(static_cast<size_t>(received));
      if (server_.IsRequestComplete(request_)) return true;
      if (request_.Refusal() != 0) return false;
    } else {
      if (received == 0) return false;
      const int error = WSAGetLastError();
      request_.NotFilled();
      if (!AwaitMore(error, server_.ClientIdleTimeout())) return false;
    }
  }
  return false;
}

/// Takes what the client needs in all of the memory that they have together; clients that do nothing give way. One that
/// waits does so a while although nobody gives way, since others may come to their end.
bool Network_ClientThread::Hold(size_t bytes, bool waits) {
  const DWORD begin = GetTickCount();
  while (!share_.Hold(bytes)) {
    if (IsOver() || GetTickCount() - begin > kRoomPatience) return false;
    if (!server_.Clients().MakeRoomInBudget(this, server_.Budget(), share_.Missing(bytes)) && !waits) return false;
    Sleep(kRoomPause);
  }
  return true;
}

bool Network_ClientThread::Send(std::string_view head, std::string_view body) {
  // A client that has just begun to be sent to has not been idle.
  progress_ = GetTickCount();
  stage_ = Stage::Sending;
  const size_t size = head.size() + body.size();
  if (size > kMaxSend) {
    setsockopt(socket_.Get(), SOL_SOCKET, SO_SNDBUF, reinterpret_cast<const char*>(&kSystemBuffer),
               sizeof kSystemBuffer);
    if (!SendPart(head) || !SendPart(body)) return false;
  } else {
    if (!SendPart(std::string(head).append(body))) return false;
  }
  server_.Statistics().CountSent(size);
  server_.OnDataSent(size);
  return true;
}

bool Network_ClientThread::SendPart(std::string_view bytes) {
  size_t sent = 0;
  bool closed = false;
  while (sent < bytes.size()) {
    const size_t piece = std::min(bytes.size() - sent, kMaxSend);
    const int taken = send(socket_.Get(), bytes.data() + sent, static_cast<int>(piece), 0);
    if (taken >= 0) {
      sent += static_cast<size_t>(taken);
      progress_ = GetTickCount();
      continue;
    }
    if (closed || WSAGetLastError() != WSAEWOULDBLOCK) return false;
    const LONG happened = Await(server_.ClientIdleTimeout());
    closed = (happened & FD_CLOSE) != 0;
    if (happened == 0 || (closed && (happened & FD_WRITE) == 0)) return false;
  }
  return true;
}

void Network_ClientThread::TurnAway() {
  std::string response;
  server_.MakeRefusal(kUnavailable, &response);
  send(socket_.Get(), response.data(), static_cast<int>(response.size()), 0);
  // A close with bytes unread would take the response back.
  shutdown(socket_.Get(), SD_SEND);
  char dropped[kDropped];
  recv(socket_.Get(), dropped, kDropped, 0);
}

void Network_ClientThread::Refuse() {
  std::string response;
  server_.MakeRefusal(request_.Refusal(), &response);
  refused_ = true;
  request_.Clear();
  share_.Hold(0);
  if (Send(response, {})) Linger();
}

/// A client that has sent more than was asked for would lose the response, were the connection closed before that has
/// been taken. Of what is refused the rest may still be on its way, and goes on coming until the client has read why.
void Network_ClientThread::Linger() {
  char dropped[kDropped];
  if (recv(socket_.Get(), dropped, kDropped, 0) <= 0 && !refused_) return;
  shutdown(socket_.Get(), SD_SEND);
  stage_ = Stage::Receiving;
  const DWORD begin = GetTickCount();
  DWORD heard = begin;
  for (DWORD now = begin; now - heard < kLinger && now - begin < kLongestLinger && !IsOver(); now = GetTickCount()) {
    const int received = recv(socket_.Get(), dropped, kDropped, 0);
    if (received > 0) {
      if (refused_) heard = now;
    } else if (received == 0 || !AwaitMore(WSAGetLastError(), kLinger - (now - heard))) {
      return;
    }
  }
}

bool Network_ClientThread::Select() {
  if (networkEvent_) return true;
  networkEvent_.Reset(WSACreateEvent());
  stopEvent_.Reset(WSACreateEvent());
  if (!networkEvent_ || !stopEvent_) return false;
  stop_ = stopEvent_.Get();
  return WSAEventSelect(socket_.Get(), networkEvent_.Get(), kEvents) == 0;
}

/// Waits after a receive that failed; false when it failed for good, or the client is to be waited for no longer.
bool Network_ClientThread::AwaitMore(int error, DWORD timeout) {
  // Where the system has no buffers left, the wait ends at once.
  if (error == WSAENOBUFS) Sleep(kBufferPause);
  return (error == WSAEWOULDBLOCK || error == WSAENOBUFS) && Await(timeout) != 0;
}

/// What happens at the socket next; 0 when the client is to be waited for no longer. With a timeout of 0 there is none.
LONG Network_ClientThread::Await(DWORD timeout) {
  if (!Select()) return 0;
  const WSAEVENT events[] = {stopEvent_.Get(), networkEvent_.Get()};
  while (true) {
    // Set as well when the service ends, which is nothing to one that is being sent to. A stop is seen in what follows,
    // also one from before there was an event for it.
    WSAResetEvent(stopEvent_.Get());
    if (IsOver()) return 0;
    const DWORD ended = WSAWaitForMultipleEvents(2, events, FALSE, timeout == 0 ? WSA_INFINITE : timeout, FALSE);
    if (ended == WSA_WAIT_EVENT_0) continue;
    if (ended != WSA_WAIT_EVENT_0 + 1) return 0;
    WSANETWORKEVENTS happened = {};
    if (WSAEnumNetworkEvents(socket_.Get(), networkEvent_.Get(), &happened) != 0) return 0;
    if (happened.lNetworkEvents != 0) return happened.lNetworkEvents;
  }
}

}  // namespace portwise
