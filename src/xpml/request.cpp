#include "xpml/request.h"

#include <algorithm>
#include <climits>

namespace portwise {
namespace {

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

void ExecuteRequest(PortContext* port, std::string_view request, TextBuffer& reply) {
  XPML_Document document;
  BindDocumentToPort(port, document, reply);
  document.Parse("<xpml>", 6);
  while (!request.empty()) {
    const std::string_view part = request.substr(0, INT_MAX);
    document.Parse(part.data(), static_cast<int>(part.size()));
    request.remove_prefix(part.size());
  }
}

}  // namespace portwise
