#include "xpml/request.h"

namespace portwise {
namespace {

/// A request of many commands looks behind each part whether it is to end.
constexpr size_t kPart = 16384;

CommandSet* portCommands = nullptr;

bool AppendToReply(XPML_Document& document, void* reply) {
  static_cast<TextBuffer*>(reply)->Append(document.PlainText());
  return true;
}

}  // namespace

void SetPortCommands(CommandSet* commands) { portCommands = commands; }

void RegisterPortCommands(PortContext* port, XPML_Document& document) {
  if (portCommands) portCommands->RegisterOn(document, port);
}

void BindDocumentToPort(PortContext* port, XPML_Document& document, TextBuffer& reply) {
  document.SetTextHandler(AppendToReply, &reply);
  RegisterPortCommands(port, document);
}

bool ExecuteRequest(PortContext* port, std::string_view request, TextBuffer& reply) {
  XPML_Document document(reply.Allowance());
  BindDocumentToPort(port, document, reply);
  document.Parse("<xpml>", 6);
  while (!request.empty()) {
    const std::string_view part = request.substr(0, kPart);
    document.Parse(part.data(), static_cast<int>(part.size()));
    request.remove_prefix(part.size());
    if (!request.empty() && portCommands && portCommands->IsClosing(port)) return false;
  }
  return true;
}

}  // namespace portwise
