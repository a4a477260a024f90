#include "core/fault/exception_report.h"

#include "core/message_box.h"
#include "core/ostring.h"

namespace portwise {
namespace {

constexpr const char* kLineEnd = "\r\n";
// Styles and the answer, from the SDK's <winuser.h>.
constexpr UINT kOkWithErrorIcon = 0x10;
constexpr UINT kYesNoWithErrorIcon = 0x14;
constexpr int kYes = 6;

std::string ProgramName() {
  WCHAR path[MAX_PATH] = {};
  GetModuleFileNameW(GetModuleHandleW(nullptr), path, MAX_PATH);
  const OString text(path);
  return text.Mid(text.ReverseFindAny("\\/") + 1).Narrow();
}

std::string Trim(const std::string& text) {
  constexpr const char* kBlank = " \t\r\n";
  const size_t first = text.find_first_not_of(kBlank);
  return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::string LocationLine(const OException& exception) {
  if (exception.Function().empty()) return std::string();
  return "Function: " + exception.Function() + " in " + exception.File() + " (" + std::to_string(exception.Line()) +
         ")" + kLineEnd;
}

}  // namespace

ExceptionReport::ExceptionReport(const OException& exception, const char* scopeName, const std::string& dumpLine)
    : exception_(exception),
      module_(ProgramName()),
      message_(Trim(exception.Message())),
      location_(LocationLine(exception)),
      caught_(std::string("Caught in [") + scopeName + "]" + kLineEnd),
      dump_(dumpLine.empty() ? std::string() : dumpLine + kLineEnd) {}

std::string ExceptionReport::EventText() const { return "Error: " + message_ + kLineEnd + location_ + caught_ + dump_; }

void ExceptionReport::WriteToStandardError() const {
  const std::string text = "+++ " + module_ + " exception: " + message_ + kLineEnd + location_ + caught_ +
                           exception_.Detail() + (dump_.empty() ? std::string() : kLineEnd + dump_);
  const HANDLE stream = GetStdHandle(STD_ERROR_HANDLE);
  DWORD written = 0;
  if (stream && stream != INVALID_HANDLE_VALUE) {
    WriteFile(stream, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  }
}

void ExceptionReport::ShowMessageBox() const {
  const std::string caption = module_ + " Error";
  std::string text = std::string("An unrecoverable error occurred, and execution cannot continue.") + kLineEnd +
                     kLineEnd + EventText();
  if (!exception_.Detail().empty()) {
    const std::string question = text + kLineEnd + "Trace call stack?";
    if (portwise::ShowMessageBox(question.c_str(), caption.c_str(), kYesNoWithErrorIcon) != kYes) return;
    text += kLineEnd + exception_.Detail();
  }
  portwise::ShowMessageBox(text.c_str(), caption.c_str(), kOkWithErrorIcon);
}

}  // namespace portwise
