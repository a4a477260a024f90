#include "xpml/port/network_command.h"

#include <algorithm>
#include <iterator>

#include "monitor/network_service.h"
#include "monitor/port_context.h"
#include "monitor/spooler_queries.h"
#include "xpml/document.h"
#include "xpml/port/reply.h"
#include "xpml/tag.h"

namespace portwise {
namespace {

void Enumerate(XPML_Document& document, PortContext&) {
  AppendToContent(document, LocalPrinters().ToNarrowBuffer(ListLayout::Lines, kCodePageUtf8));
}

void Restart(XPML_Document&, PortContext&) {
  if (NetworkService* service = TheNetworkService()) service->Restart();
}

void Shutdown(XPML_Document&, PortContext& port) { port.PrinterConnection().Abort(); }

constexpr struct {
  const char* action;
  void (*run)(XPML_Document& document, PortContext& port);
} kActions[] = {{"enumerate", Enumerate}, {"restart", Restart}, {"shutdown", Shutdown}};

}  // namespace

bool RunNetwork(XPML_Document& document, PortContext& port) {
  const std::string_view action = document.GetAttribute("action");
  const auto* row = std::find_if(std::begin(kActions), std::end(kActions),
                                 [action](const auto& each) { return EqualsNoCase(action, each.action); });
  if (row != std::end(kActions)) row->run(document, port);
  return true;
}

}  // namespace portwise
