#include "plugin/monitor_session.h"

#include <algorithm>

#include "core/fault/exception_handler.h"
#include "plugin/plugin_loader.h"

namespace portwise {
namespace {

constexpr LONG kLongestRequest = 64 * 1024;
constexpr DWORD kExtraCodeBits = ((1u << PluginStatus::kExtraCodes) - 1) * PluginStatus::kFirstExtraCode;

/// A plug-in that takes its version for another one writes here.
struct StatusWords1 {
  PortwiseStatus1 status{};
  DWORD more[sizeof(PortwiseStatus2) / sizeof(DWORD)] = {};
};

/// The last words to a plug-in, where nothing can be thrown. Of a plug-in that could not even begin, that failure is
/// the one to report.
template <class Body>
void CallGuarded(FaultReport* faults, bool begun, Body&& body) {
  struct : FaultReport {
    bool Admits() override { return false; }
  } nobody;
  OExceptionHandler guard("PluginUnload", OExceptionHandler::kReportEventLog);
  guard.SetReport(begun ? faults : &nobody);
  RunGuarded(guard, [&]() -> BOOL {
    body();
    return TRUE;
  });
}

/// A length that a plug-in wants for a request, or has written of one.
LONG BoundRequest(LONG length, const void* buffer, DWORD size) {
  if (buffer != nullptr) return static_cast<LONG>(std::min<DWORD>(static_cast<DWORD>(std::max<LONG>(length, 0)), size));
  return length > 0 && length <= kLongestRequest ? length : 0;
}

LONG BoundUsed(LONG used, DWORD length) {
  return used > 0 && static_cast<DWORD>(used) > length ? static_cast<LONG>(length) : used;
}

template <class Words>
PluginStatus ToStatus(const Words& words) {
  PluginStatus status;
  status.flags = words.flags;
  status.code = words.code;
  status.threshold = words.threshold;
  status.available = words.available;
  return status;
}

PluginStatus ToStatus2(const PortwiseStatus2& words) {
  PluginStatus status = ToStatus(words);
  std::copy_n(words.extraCodes, PluginStatus::kExtraCodes, status.extraCodes);
  return status;
}

/// A plug-in with a block.
class MonitorSession2 final : public MonitorSession {
 public:
  MonitorSession2(unique_module library, const PortwiseMonitorTable2& table, const OString& printerName,
                  const OString& portName, Connection& connection)
      : MonitorSession(std::move(library), printerName, portName, connection), table_(table) {}
  ~MonitorSession2() override {
    if (told_) CallGuarded(Context().Faults(), begun_, [this] { Notify(PluginEvent::Unloading); });
  }

  void Begin() override {
    told_ = true;
    Notify(PluginEvent::Loaded);
    begun_ = true;
  }
  void Notify(PluginEvent event) override {
    if (table_.notify != nullptr) table_.notify(Block(), static_cast<DWORD>(event));
  }
  PortwiseCapabilities Capabilities() override {
    PortwiseCapabilities capabilities{};
    if (table_.getCapabilities != nullptr) table_.getCapabilities(Block(), &capabilities);
    return capabilities;
  }
  LONG BuildRequest(void* buffer, DWORD size) override {
    if (table_.buildRequest == nullptr) return 0;
    return BoundRequest(table_.buildRequest(Block(), buffer, size), buffer, size);
  }
  LONG ParseResponse(const void* data, DWORD length, PluginStatus* status) override {
    if (table_.parseResponse == nullptr) return 0;
    PortwiseStatus2 words{};
    const LONG used = BoundUsed(table_.parseResponse(Block(), data, length, &words), length);
    if (used > 0) *status = ToStatus2(words);
    return used;
  }
  bool StatusWithoutRequest(PluginStatus* status) override {
    PortwiseStatus2 words{};
    if (table_.statusWithoutRequest == nullptr || table_.statusWithoutRequest(Block(), &words) == 0) return false;
    *status = ToStatus2(words);
    return true;
  }
  DWORD PassData(const void* data, DWORD length) override {
    return table_.passData != nullptr ? table_.passData(Block(), data, length) : 0;
  }
  DWORD SpecialOperation(const OString& reader, const OString& type, DWORD copies, const void* data,
                         DWORD length) override {
    if (table_.specialOperation == nullptr) return kNoSpecialOperation;
    return table_.specialOperation(Block(), reader.Wide(), type.Wide(), copies, data, length);
  }

 private:
  const PortwiseMonitorTable2 table_;
  bool told_ = false;   // that it is loaded
  bool begun_ = false;  // and had nothing against it
};

/// A plug-in with a handle.
class MonitorSession1 final : public MonitorSession {
 public:
  MonitorSession1(unique_module library, const PortwiseMonitorTable1& table, const OString& printerName,
                  const OString& portName, Connection& connection)
      : MonitorSession(std::move(library), printerName, portName, connection), table_(table) {}
  ~MonitorSession1() override {
    if (begun_ && table_.close != nullptr) CallGuarded(Context().Faults(), true, [this] { table_.close(handle_); });
  }

  void Begin() override {
    if (table_.open != nullptr) handle_ = table_.open(Block()->printerName);
    begun_ = true;
  }
  PortwiseCapabilities Capabilities() override {
    PortwiseCapabilities capabilities{};
    if (table_.getCapabilities != nullptr) table_.getCapabilities(handle_, &capabilities);
    return capabilities;
  }
  LONG BuildRequest(void* buffer, DWORD size) override {
    if (table_.buildRequest == nullptr) return 0;
    return BoundRequest(table_.buildRequest(handle_, 0, buffer, size), buffer, size);
  }
  LONG ParseResponse(const void* data, DWORD length, PluginStatus* status) override {
    if (table_.parseResponse == nullptr) return 0;
    StatusWords1 words;
    const LONG used = BoundUsed(table_.parseResponse(handle_, 0, data, length, &words.status), length);
    if (used > 0) {
      *status = ToStatus(words.status);
      status->flags &= ~kExtraCodeBits;
    }
    return used;
  }

 private:
  const PortwiseMonitorTable1 table_;
  HANDLE handle_ = nullptr;
  bool begun_ = false;
};

}  // namespace

std::shared_ptr<MonitorSession> MonitorSession::Accept(unique_module& library, const OString& printerName,
                                                       const OString& portName, Connection& connection) {
  const auto entry = PluginEntry<PortwiseMonitorInterface>(library, PORTWISE_MONITOR_INTERFACE_ENTRY);
  if (entry == nullptr) return nullptr;
  union {
    PortwiseMonitorTable2 two{};
    PortwiseMonitorTable1 one;
  } table;
  if (!PluginAccepted(entry(PORTWISE_MONITOR_INTERFACE_2, &table.two))) {
    table.two = {};
    if (!PluginAccepted(entry(PORTWISE_MONITOR_INTERFACE_1, &table.one))) return nullptr;
  }
  // Both begin with the version.
  if (table.two.version == PORTWISE_MONITOR_INTERFACE_2) {
    const PortwiseMonitorTable2 filled = table.two;
    return std::make_shared<MonitorSession2>(std::move(library), filled, printerName, portName, connection);
  }
  if (table.two.version == PORTWISE_MONITOR_INTERFACE_1) {
    const PortwiseMonitorTable1 filled = table.one;
    return std::make_shared<MonitorSession1>(std::move(library), filled, printerName, portName, connection);
  }
  return nullptr;
}

}  // namespace portwise
