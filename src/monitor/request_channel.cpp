#include "monitor/request_channel.h"

#include <algorithm>
#include <string>

#include "core/buffer.h"
#include "monitor/port_context.h"
#include "settings/registry.h"
#include "settings/settings_catalogue.h"
#include "xpml/request.h"

namespace portwise {
namespace {

constexpr std::string_view kStored = "XPML:";
constexpr std::string_view kMonitoringQuery = "Monitoring Enabled";

class Answer {
 public:
  Answer(void* out, DWORD size, DWORD* returned) : out_(static_cast<BYTE*>(out)), size_(size), returned_(returned) {}

  bool CanTell() const { return returned_ != nullptr; }
  void SetReturned(size_t size) const {
    if (returned_) *returned_ = static_cast<DWORD>(size);
  }
  /// Says what is needed when it does not fit.
  bool HasRoomFor(size_t size) const {
    if (size == 0 || (size <= size_ && out_)) return true;
    SetReturned(size);
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return false;
  }
  bool Give(const void* data, size_t size) const {
    if (!HasRoomFor(size)) return false;
    std::copy_n(static_cast<const BYTE*>(data), size, out_);
    SetReturned(size);
    return true;
  }

 private:
  BYTE* const out_;
  const DWORD size_;
  DWORD* const returned_;
};

bool Run(PortContext& port, std::string_view request, TextBuffer& reply) {
  const bool done = ExecuteRequest(&port, request, reply);
  if (!done) SetLastError(ERROR_OPERATION_ABORTED);
  return done;
}

/// The request lies in the registry, and so does its reply afterwards; the answer is the reply's length.
bool AnswerStored(PortContext& port, std::string_view valueName, const Answer& answer) {
  const size_t comma = valueName.find(',');
  if (comma == std::string_view::npos) {
    answer.SetReturned(0);
    return false;
  }
  const std::string_view printer = valueName.substr(kStored.size(), comma - kStored.size());
  if (printer.empty()) return false;
  if (!answer.HasRoomFor(sizeof(DWORD))) return false;
  // The bytes may lack characters of the name that the port has in full.
  if (port.PrinterName().InCodePage(kCodePageAnsi) != printer) port.SetPrinterName(OString(printer));
  const OString path = OString(SettingPath(SettingId::XpmlValues, valueName.substr(comma + 1)));
  const ORegistry registry;
  DWORD size = 0;
  if (!registry.GetValueInfo(path, nullptr, &size) || !answer.CanTell()) return false;
  OBuffer request;
  if (!request.Allocate(size)) return false;
  const int read = registry.GetBinary(path, request.Data(), size);
  if (read < 1) return false;
  TextBuffer reply;
  if (!Run(port, {reinterpret_cast<const char*>(request.Data()), static_cast<size_t>(read)}, reply)) return false;
  const auto length = static_cast<DWORD>(reply.Length());
  if (registry.SetBinary(path, reply.Data(), length) < 1) return false;
  return answer.Give(&length, sizeof length);
}

bool AnswerInline(PortContext& port, std::string_view request, const Answer& answer) {
  TextBuffer reply;
  if (!Run(port, request, reply)) return false;
  if (!answer.Give(reply.Data(), reply.Length())) return false;
  return true;
}

}  // namespace

bool AnswerRequest(PortContext& port, std::string_view valueName, void* out, DWORD outSize, DWORD* returned) {
  const Answer answer(out, outSize, returned);
  if (valueName.starts_with(kStored)) return AnswerStored(port, valueName, answer);
  if (valueName.starts_with('<')) return AnswerInline(port, valueName, answer);
  if (valueName.starts_with(kMonitoringQuery)) {
    constexpr BYTE kEnabled = 1;
    return answer.Give(&kEnabled, sizeof kEnabled);
  }
  return false;
}

}  // namespace portwise
