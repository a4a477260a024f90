#include "network/client/request_sender.h"

#include <string>

#include "network/client/client_socket.h"
#include "network/client/socket_exception.h"
#include "network/http/http_message_parser.h"

namespace portwise {
namespace {

constexpr size_t kPiece = 1024;
constexpr DWORD kStatusDone = 200;
constexpr DWORD kStatusBadRequest = 400;

/// All of a response and perhaps more; empty when it passes the limits of responses.
std::string ReceiveResponse(ClientSocket* socket) {
  HTTPMessageParser parser(kResponseLimits);
  std::string received;
  while (true) {
    char piece[kPiece];
    const size_t size = socket->Receive(piece, sizeof piece);
    if (size == 0) throw SocketException(WSAECONNRESET);
    received.append(piece, size);
    switch (parser.Look(received)) {
      case HTTPMessageState::Complete:
        return received;
      case HTTPMessageState::TooLarge:
        return std::string();
      case HTTPMessageState::Incomplete:
        break;
    }
  }
}

/// ERROR_SUCCESS when the response is an answer.
DWORD Exchange(std::string_view bytes, const OString& host, DWORD port, DWORD timeout, HTTPResponse* response) {
  std::string received;
  try {
    ClientSocket socket(timeout);
    socket.Connect(host, port);
    socket.SendAll(bytes);
    received = ReceiveResponse(&socket);
  } catch (const SocketException& failure) {
    // A failure may have left no error behind.
    return failure.Code() != 0 ? static_cast<DWORD>(failure.Code()) : DWORD{WSAECONNRESET};
  }
  if (!response->Parse(received.data(), received.size(), true)) return ERROR_INVALID_DATA;
  if (response->StatusCode() == kStatusDone) return ERROR_SUCCESS;
  if (response->HasHeader(kHasRunHeader)) return kHasRunWithoutReply;
  return response->StatusCode() == kStatusBadRequest ? ERROR_INVALID_PRINTER_NAME : ERROR_INVALID_DATA;
}

}  // namespace

std::unique_ptr<HTTPResponse> SendRequest(std::string_view bytes, const OString& host, DWORD port, DWORD timeout) {
  auto response = std::make_unique<HTTPResponse>();
  const DWORD error = Exchange(bytes, host, port, timeout, response.get());
  if (error == ERROR_SUCCESS) return response;
  SetLastError(error);
  return nullptr;
}

}  // namespace portwise
