#include "host/monitors/device_port_monitors.h"

#include <algorithm>
#include <atomic>

#include "host/monitors/device_file.h"
#include "host/monitors/device_request.h"
#include "host/monitors/fail_slowly.h"
#include "host/monitors/monitor_table.h"
#include "host/monitors/open_slot.h"

namespace portwise {

namespace {

constexpr DWORD kDefaultWriteTime = 10000;  // ms
constexpr DWORD kDefaultReadTime = 500;     // ms
constexpr DWORD kLongestTime = 600000;      // ms
constexpr DWORD kPauseAfterFailure = 250;   // ms

constexpr char kGone[] = "the device went away";

class DevicePort {
 public:
  explicit DevicePort(Port port) : port_(std::move(port)) {}

  bool StartDoc(const Port& registered, const Document& document) {
    {
      std::lock_guard lock(mutex_);
      const bool changed = port_.path != registered.path || port_.line != registered.line;
      port_ = registered;
      if (changed) device_.Set(nullptr);
    }
    watch_.Begin(document);
    // One that went away and came back under the same name since the last document is another device.
    if (const auto device = device_.Get(); device && device->IsGone()) device_.Drop(device);
    if (const auto device = Need()) {
      printing_ = device;
      return true;
    }
    watch_.End();
    return false;
  }

  bool Write(const BYTE* buffer, DWORD size, LPDWORD written) {
    const auto device = NeedForPrinting();
    if (!device) return FailSlowly(kPauseAfterFailure);
    const DWORD given = writeTime_;
    if (device->Write(buffer, size, given ? given : kDefaultWriteTime, &watch_, written)) {
      watch_.CountTaken(*written);
      return true;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_SEM_TIMEOUT) return false;
    if (error != ERROR_OUT_OF_PAPER && error != ERROR_PRINT_CANCELLED) {
      device_.Drop(device);
      watch_.BreakOff(kGone);
    }
    SetLastError(error);
    return FailSlowly(kPauseAfterFailure);
  }

  bool Read(BYTE* buffer, DWORD size, LPDWORD read) {
    const auto device = Need();
    if (!device) return FailSlowly(kPauseAfterFailure);
    const DWORD total = readTotal_;
    if (device->Read(buffer, size, total ? total : kDefaultReadTime, readInterval_, read)) return true;
    const DWORD error = GetLastError();
    if (error != ERROR_NOT_SUPPORTED) device_.Drop(device);
    SetLastError(error);
    return FailSlowly(kPauseAfterFailure);
  }

  bool EndDoc() {
    watch_.BeginEnd();
    CheckDevice();
    const auto device = device_.Get();
    if (watch_.IsBroken()) SetLastError(ERROR_NOT_READY);
    const bool drained = !watch_.IsBroken() && device && device->Drain(&watch_);
    const DWORD error = GetLastError();
    if (!drained && !watch_.IsBroken()) {
      device_.Drop(device);
      watch_.Fail(std::string(error == ERROR_PRINT_CANCELLED ? "the spooler ended" : "the device went away") +
                  " before the printer had taken all of the job; it may have printed a part");
    }
    watch_.End();
    SetLastError(error);
    return drained;
  }

  void SetTimeouts(const COMMTIMEOUTS& timeouts) {
    readTotal_ = std::min(timeouts.ReadTotalTimeoutConstant, kLongestTime);
    readInterval_ = std::min(timeouts.ReadIntervalTimeout, kLongestTime);
    writeTime_ = std::min(timeouts.WriteTotalTimeoutConstant, kLongestTime);
  }

 protected:
  /// The open device; null with the last error.
  std::shared_ptr<DeviceFile> Need() {
    std::lock_guard lock(mutex_);
    if (auto device = device_.Get()) return device;
    LineSettings line;
    std::string why;
    const bool serial = port_.kind == PortKind::Serial;
    if (serial && !LineSettings::Parse(port_.line, &line, &why)) {
      SetLastError(ERROR_INVALID_DATA);
      return nullptr;
    }
    auto device = DeviceFile::Open(port_.path, serial ? &line : nullptr);
    if (device) device_.Set(device);
    return device;
  }

 private:
  /// A read or a request may have put the document's device away, and opened another one.
  void CheckDevice() {
    if (const auto device = device_.Get(); !device || device != printing_.lock()) watch_.BreakOff(kGone);
  }

  /// The device that goes on with the document; null with the last error.
  std::shared_ptr<DeviceFile> NeedForPrinting() {
    CheckDevice();
    if (watch_.IsBroken()) {
      SetLastError(ERROR_NOT_READY);
      return nullptr;
    }
    auto device = Need();
    printing_ = device;
    return device;
  }

  std::mutex mutex_;  // held while the device is opened
  Port port_;         // under the mutex
  OpenSlot<DeviceFile> device_;
  std::weak_ptr<DeviceFile> printing_;  // what the document goes to; of the thread that prints, as is the next
  JobWatch watch_;
  std::atomic<DWORD> readTotal_ = 0;
  std::atomic<DWORD> readInterval_ = 0;
  std::atomic<DWORD> writeTime_ = 0;
};

/// A device port that also takes the requests of its kind.
template <bool (*kCarryOut)(int device, const DeviceRequest& request)>
class RequestPort : public DevicePort {
 public:
  using DevicePort::DevicePort;

  bool Control(const DeviceRequest& request) {
    const auto device = Need();
    return device && kCarryOut(device->Descriptor(), request);
  }
};

template <class PortType>
PortMonitor Monitor() {
  MONITOR2* table = MonitorTable<PortType>::Get();
  return {table, table};
}

}  // namespace

PortMonitor UsbPortMonitor() { return Monitor<RequestPort<CarryOutUsbRequest>>(); }

PortMonitor ParallelPortMonitor() { return Monitor<RequestPort<CarryOutParallelRequest>>(); }

PortMonitor SerialPortMonitor() { return Monitor<DevicePort>(); }

}  // namespace portwise
