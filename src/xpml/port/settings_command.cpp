#include "xpml/port/settings_command.h"

#include "monitor/port_context.h"
#include "settings/settings_exchange.h"
#include "xpml/document.h"
#include "xpml/port/reply.h"
#include "xpml/tag.h"

namespace portwise {

bool RunSettings(XPML_Document& document, PortContext& port) {
  const std::string_view action = document.GetAttribute("action");
  TextBuffer& content = document.CurrentText();
  PrinterRegistry registry(port.PrinterOf(document));
  if (EqualsNoCase(action, "request")) {
    const std::string_view request = content.View().substr(0, content.View().find('\0'));
    ReplaceContent(document, SettingsDifferences(registry, request, TextBuffer::kMaxLength));
  } else if (EqualsNoCase(action, "update")) {
    ApplySettings(registry, content.View());
    content.Clear();
  } else if (EqualsNoCase(action, "unrestrict")) {
    UnrestrictSettings(registry);
    content.Clear();
  }
  return true;
}

}  // namespace portwise
