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

/// Content that is consumed. What is printed must not come again, even when the printing fails.
struct Consumed {
  explicit Consumed(XPML_Document& document) : content(document.CurrentText()) {}
  ~Consumed() { content.Clear(); }
  Consumed(const Consumed&) = delete;
  Consumed& operator=(const Consumed&) = delete;

  TextBuffer& content;
};

}  // namespace

bool RunPacket(XPML_Document& document, PortContext& port) {
  const Consumed packet(document);
  port.PrintPacket(document, packet.content.View());
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

bool RunSmartCard(XPML_Document& document, PortContext& port) {
  const Consumed card(document);
  const bool ofJob = &document == &port.Path().Document();
  DWORD code = 0;
  try {
    code = port.RunSpecialOperation(OString(document.GetAttribute("reader")), OString(document.GetAttribute("type")),
                                    AsCount(document.GetAttributeInt("copies", 1)), card.content.View());
  } catch (...) {
    if (ofJob) port.Path().NoteFailedPart();
    throw;
  }
  if (ofJob && code != 0) port.Path().NoteFailedPart();
  return true;
}

}  // namespace portwise
