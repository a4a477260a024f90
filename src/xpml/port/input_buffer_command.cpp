#include "xpml/port/input_buffer_command.h"

#include <algorithm>
#include <iterator>

#include "monitor/port_context.h"
#include "xpml/document.h"
#include "xpml/port/reply.h"

namespace portwise {
namespace {

constexpr struct {
  std::string_view action;
  void (*run)(XPML_Document& document, ResponseBuffer& responses);
} kActions[] = {
    {"size", [](XPML_Document& document,
                ResponseBuffer& responses) { ReplaceContent(document, std::to_string(responses.Size())); }},
    {"check", [](XPML_Document& document, ResponseBuffer& responses) { ReplaceContent(document, responses.Copy()); }},
    {"get", [](XPML_Document& document, ResponseBuffer& responses) { ReplaceContent(document, responses.Take()); }},
    {"flush", [](XPML_Document&, ResponseBuffer& responses) { responses.Take(); }},
};

}  // namespace

bool RunInputBuffer(XPML_Document& document, PortContext& port) {
  const std::string_view action = document.GetAttribute("action", "get");
  const auto* row = std::find_if(std::begin(kActions), std::end(kActions),
                                 [action](const auto& each) { return each.action == action; });
  if (row == std::end(kActions)) return false;
  row->run(document, port.Responses());
  return true;
}

}  // namespace portwise
