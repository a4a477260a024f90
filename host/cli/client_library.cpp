#include "host/cli/client_library.h"

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
  // Text has one more over HTTP, so that it is a C string.
  if (answer == PORTWISE_ANSWERED_HTTP && reply.ends_with('\0')) reply.pop_back();
  return reply;
}

}  // namespace portwise
