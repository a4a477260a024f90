#include "xpml/general/message_command.h"

#include <windows.h>

#include "core/message_box.h"
#include "core/ostring.h"
#include "logging/event_log.h"
#include "logging/printer_port_event_log.h"
#include "xpml/document.h"

namespace portwise {
namespace {

constexpr UINT kOkOnly = 0;  // the style, from the SDK's <winuser.h>

void LogMessage(const std::string& title, const std::string& text) {
  OString entry(title.c_str());
  if (!entry.IsEmpty()) entry += "\r\n";
  entry += OString(text.c_str());
  OEventLog(kPrintMonitorSource, OEventLog::kSystemLog).Information(entry, 0);
}

}  // namespace

std::string ReplaceReferences(std::string_view text, size_t limit, const AttributeFinder& find) {
  std::string result;
  const auto append = [&](std::string_view part) { result.append(part.substr(0, limit - result.size())); };
  while (result.size() < limit) {
    const size_t sign = text.find('$');
    // Where one bracket is missing it is missing for every "$" from here on.
    const size_t open = sign == text.npos ? sign : text.find('[', sign);
    const size_t close = open == text.npos ? open : text.find(']', open);
    if (close == text.npos) break;
    append(text.substr(0, sign));
    append(find(text.substr(sign + 1, open - sign - 1), text.substr(open + 1, close - open - 1)));
    text.remove_prefix(close + 1);
  }
  append(text);
  return result;
}

bool RunMessage(XPML_Document& document, void*) {
  TextBuffer& content = document.CurrentText();
  const std::string title(document.GetAttribute("title"));
  const std::string text = ReplaceReferences(
      content.View(), TextBuffer::kMaxLength,
      [&](std::string_view element, std::string_view attribute) { return document.FindAttribute(element, attribute); });
  if (HasInteractiveUser()) {
    ShowMessageBox(text.c_str(), title.c_str(), kOkOnly);
  } else {
    LogMessage(title, text);
  }
  if (!document.GetAttributeBool("copy", false)) content.Clear();
  return true;
}

}  // namespace portwise
