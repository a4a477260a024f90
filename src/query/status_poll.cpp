#include "query/status_poll.h"

#include <algorithm>
#include <optional>

#include "query/query_exchange.h"
#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

constexpr size_t kLongestAnswer = 65536;
constexpr DWORD kReadPause = 100;      // ms
constexpr DWORD kParallelPause = 100;  // ms that a parallel printer needs before it answers

/// Nothing when the plug-in told no code.
std::optional<PrinterStatus> CodesOf(const PluginStatus& told) {
  std::optional<PrinterStatus> status;
  const auto add = [&](DWORD code) {
    if (status) {
      status->Add(code);
    } else {
      status.emplace(code);
    }
  };
  if (told.Has(PluginStatus::kCode)) add(told.code);
  for (int i = 0; i < PluginStatus::kExtraCodes; ++i) {
    if (told.HasExtraCode(i)) add(told.extraCodes[i]);
  }
  return status;
}

}  // namespace

StatusPoll::Result StatusPoll::Ask(DWORD timeout,
                                   const std::function<void(const std::optional<PrinterStatus>&)>& publish) {
  PluginStatus told;
  if (host_.Plugin().StatusWithoutRequest(&told)) {
    host_.TakeRoom(told);
    publish(CodesOf(told));
    return Result::Answered;
  }
  const std::string request = BuildRequest();
  QueryExchange exchange(traffic_, request, nullptr);
  const auto send = [&] {
    if (request.empty()) return false;
    host_.Plugin().Notify(PluginEvent::StatusRequested);
    return exchange.Send(kSendStatusRequest);
  };
  if (!send()) return IsDisconnected() ? Result::Offline : Result::Nothing;
  if (host_.PrinterConnection().IsParallel()) Sleep(kParallelPause);
  std::optional<PrinterStatus> found;
  bool whole = false;
  if (Receive(timeout, &found, &whole)) {
    publish(found);
    if (whole) host_.Plugin().Notify(PluginEvent::StatusAnswered);
    return Result::Answered;
  }
  return IsKnownBidirectional() && !traffic_.IsStopping() ? Result::Offline : Result::Nothing;
}

std::string StatusPoll::BuildRequest() {
  const LONG length = host_.Plugin().BuildRequest(nullptr, 0);
  if (length <= 0) return {};
  std::string request(static_cast<size_t>(length), '\0');
  const LONG built = host_.Plugin().BuildRequest(request.data(), static_cast<DWORD>(request.size()));
  request.resize(built > 0 ? std::min(static_cast<size_t>(built), request.size()) : 0);
  return request;
}

/// `*whole` tells that the printer had no more to say.
bool StatusPoll::Receive(DWORD timeout, std::optional<PrinterStatus>* status, bool* whole) {
  char buffer[QueryExchange::kReadSize];
  std::string received;
  bool silent = true;
  DWORD lastAnswer = GetTickCount();
  while (!traffic_.IsStopping()) {
    DWORD count = 0;
    host_.PrinterConnection().Read(buffer, sizeof buffer, &count);
    if (count > 0) {
      silent = false;
      lastAnswer = GetTickCount();
      received.append(buffer, count);
      *whole = count < sizeof buffer;
      if (TakeAnswers(&received, status)) return true;
      if (received.size() > kLongestAnswer) return false;
    } else {
      if (silent) host_.Plugin().Notify(PluginEvent::NothingRead);
      Sleep(kReadPause);
    }
    if (IsDisconnected() || GetTickCount() - lastAnswer > timeout) return false;
  }
  return false;
}

/// Every answer that is complete; the last one counts.
bool StatusPoll::TakeAnswers(std::string* received, std::optional<PrinterStatus>* status) {
  bool taken = false;
  for (;;) {
    PluginStatus told;
    const LONG used = host_.Plugin().ParseResponse(received->data(), static_cast<DWORD>(received->size()), &told);
    if (used <= 0) return taken;
    taken = true;
    if (told.HasStatus()) LearnBidirectional();
    if (const auto codes = CodesOf(told)) *status = codes;
    host_.TakeRoom(told);
    received->erase(0, static_cast<size_t>(used));
    if (received->empty()) return true;
  }
}

bool StatusPoll::IsDisconnected() { return host_.PrinterConnection().GetStatus(STATUS_DISCONNECTED) != 0; }

bool StatusPoll::IsKnownBidirectional() {
  const OString printer = host_.JobPrinter();
  if (printer_ != printer) {
    const Setting& setting = FindSetting(SettingId::KnownBidirectional);
    known_ = PrinterRegistry(printer).GetBool(setting.path, setting.number != 0);
    printer_ = printer;
  }
  return known_;
}

void StatusPoll::LearnBidirectional() {
  if (IsKnownBidirectional()) return;
  // Of the printer that was looked up: the port may have another one by now.
  PrinterRegistry(printer_).SetBool(FindSetting(SettingId::KnownBidirectional).path, true);
  known_ = true;
}

}  // namespace portwise
