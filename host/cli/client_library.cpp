#include "host/cli/client_library.h"

#include <algorithm>

#include "host/cli/client.h"
#include "platform/error_text.h"
#include "platform/text.h"

namespace portwise {

namespace {

template <class Function>
void Find(HMODULE library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
  if (!*function) throw CommandError("the library portwise.dll has no function " + std::string(name));
}

/// Whether the network service has put a NUL behind the reply, so that it is a C string, as it does with text. Text
/// that ends in a NUL of its own looks the same.
bool IsTerminatedText(const std::string& reply) {
  return reply.ends_with('\0') && std::all_of(reply.begin(), reply.end() - 1, [](char byte) {
           return static_cast<unsigned char>(byte) >= 32 || byte == '\n' || byte == '\r';
         });
}

}  // namespace

ClientLibrary::ClientLibrary() {
  const HMODULE library = LoadLibraryW(u"portwise.dll");
  if (!library) throw CommandError("the library portwise.dll cannot be loaded: " + platform::ErrorText(GetLastError()));
  Find(library, "SendXPMLRequest", &send_);
  Find(library, "SendXPMLRequest_HTTP", &sendHttp_);
  Find(library, "HTTPResponse_Size", &size_);
  Find(library, "HTTPResponse_Data", &data_);
  Find(library, "HTTPResponse_Free", &free_);
}

std::optional<std::string> ClientLibrary::Ask(SendFunction send, const std::string& printer,
                                              const std::string& request) const {
  PortwiseResponse* response = nullptr;
  const int answer = send(platform::ToUtf16(printer).c_str(), request.c_str(), &response);
  if (answer == PORTWISE_NO_ANSWER) return std::nullopt;
  std::string reply(static_cast<std::size_t>(size_(response)), '\0');
  reply.resize(static_cast<std::size_t>(data_(response, reply.data())));
  free_(response);
  if (answer == PORTWISE_ANSWERED_HTTP && IsTerminatedText(reply)) reply.pop_back();
  return reply;
}

}  // namespace portwise
