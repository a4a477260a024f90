#include "network/client/client_socket.h"

#include <algorithm>
#include <climits>

#include "connection/address.h"
#include "network/client/socket_exception.h"

namespace portwise {
namespace {

int LengthOf(size_t size) { return static_cast<int>(std::min<size_t>(size, INT_MAX)); }

[[noreturn]] void Fail() { throw SocketException(WSAGetLastError()); }

}  // namespace

ClientSocket::ClientSocket(DWORD timeout) {
  if (!library_) throw SocketException(ERROR_NO_NETWORK);
  socket_ = NewTcpSocket();
  if (!socket_) Fail();
  for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO}) {
    if (setsockopt(socket_.Get(), SOL_SOCKET, option, reinterpret_cast<const char*>(&timeout), sizeof timeout) != 0)
      Fail();
  }
}

void ClientSocket::Connect(const OString& host, DWORD port) {
  if (port == 0 || port > USHRT_MAX) throw SocketException(WSAEADDRNOTAVAIL);
  SOCKADDR_IN address = {};
  if (!ResolveAddress(host, static_cast<WORD>(port), &address)) Fail();
  if (connect(socket_.Get(), reinterpret_cast<const SOCKADDR*>(&address), sizeof address) != 0) Fail();
}

void ClientSocket::SendAll(std::string_view bytes) {
  while (!bytes.empty()) {
    const int sent = send(socket_.Get(), bytes.data(), LengthOf(bytes.size()), 0);
    if (sent <= 0) Fail();
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
}

size_t ClientSocket::Receive(char* buffer, size_t size) {
  const int received = recv(socket_.Get(), buffer, LengthOf(size), 0);
  if (received < 0) Fail();
  return static_cast<size_t>(received);
}

}  // namespace portwise
