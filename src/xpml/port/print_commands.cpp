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

PortContext& PortOf(void* context) { return *static_cast<PortContext*>(context); }

}  // namespace

bool RunPacket(XPML_Document& document, void* port) {
  // What is printed must not come again, even when the printing fails.
  struct Emptying {
    ~Emptying() { content.Clear(); }
    TextBuffer& content;
  } packet{document.CurrentText()};
  PortOf(port).Path().WritePacket(document, packet.content.View());
  return true;
}

bool RunPage(XPML_Document& document, void* port) {
  PortOf(port).Pages().Announce(AsCount(ReadDecimal(document.GetAttribute("quantity"))),
                                AsCount(ReadLength(document.GetAttribute("pitch")) / kPitchUnit));
  return true;
}

bool RunEnd(XPML_Document&, void* port) {
  PortOf(port).Path().MarkEnd();
  return true;
}

}  // namespace portwise
