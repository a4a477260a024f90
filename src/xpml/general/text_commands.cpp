#include "xpml/general/text_commands.h"

#include <algorithm>
#include <cstring>

#include "xpml/document.h"

namespace portwise {
namespace {

/// The content up to its first NUL, to be changed in place.
char* ContentEnd(TextBuffer& content) {
  if (content.IsEmpty()) return content.Data();
  void* end = std::memchr(content.Data(), '\0', content.Length());
  return end ? static_cast<char*>(end) : content.Data() + content.Length();
}

}  // namespace

bool RunLowercase(XPML_Document& document, void*) {
  TextBuffer& content = document.CurrentText();
  for (char *at = content.Data(), *end = ContentEnd(content); at != end; ++at) {
    if (*at >= 'A' && *at <= 'Z') *at = static_cast<char>(*at + ('a' - 'A'));
  }
  return true;
}

bool RunUppercase(XPML_Document& document, void*) {
  TextBuffer& content = document.CurrentText();
  for (char *at = content.Data(), *end = ContentEnd(content); at != end; ++at) {
    if (*at >= 'a' && *at <= 'z') *at = static_cast<char>(*at - ('a' - 'A'));
  }
  return true;
}

bool RunReverse(XPML_Document& document, void*) {
  TextBuffer& content = document.CurrentText();
  std::reverse(content.Data(), ContentEnd(content));
  return true;
}

bool RunPush(XPML_Document& document, void*) {
  TextBuffer& content = document.CurrentText();
  if (document.HoldText().Append(content.View())) content.Clear();
  return true;
}

bool RunPop(XPML_Document& document, void*) {
  TextBuffer& hold = document.HoldText();
  if (document.CurrentText().Append(hold.View())) hold.Clear();
  return true;
}

}  // namespace portwise
