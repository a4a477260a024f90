#include "xpml/port/print_commands.h"

#include <windows.h>

#include <algorithm>
#include <climits>

#include "core/decimal.h"
#include "monitor/port_context.h"
#include "xpml/document.h"
#include "xpml/port/length_text.h"

namespace portwise {
namespace {

constexpr LONGLONG kPitchUnit = 1000;  // tenths of a millimetre, of 0.0001 mm

DWORD AsCount(LONGLONG value) { return static_cast<DWORD>(std::clamp<LONGLONG>(value, 0, INT_MAX)); }

}  // namespace

bool RunPacket(XPML_Document& document, PortContext& port) {
  // What is printed must not come again, even when the printing fails.
  struct Emptying {
    ~Emptying() { content.Clear(); }
    TextBuffer& content;
  } packet{document.CurrentText()};
  port.Path().WritePacket(document, packet.content.View());
  return true;
}

bool RunPage(XPML_Document& document, PortContext& port) {
  port.Pages().Announce(AsCount(ReadDecimal(document.GetAttribute("quantity"))),
                        AsCount(ReadLength(document.GetAttribute("pitch")) / kPitchUnit));
  return true;
}

bool RunEnd(XPML_Document&, PortContext& port) {
  port.Path().MarkEnd();
  return true;
}

}  // namespace portwise
