#include "plugin/port_plugins.h"

namespace portwise {
namespace {

constexpr DWORD kPatience = 5000;  // ms
constexpr DWORD kLook = 5;         // ms

}  // namespace

void PortPlugins::EnsureProtocolLoaded(const OString& printerName, const OString& portName, Connection& connection) {
  const DWORD start = GetTickCount();
  DWORD renames = 0;
  Turn turn;
  while ((turn = TakeTurn(&renames)) == Turn::kOthers && GetTickCount() - start < kPatience) Sleep(kLook);
  if (turn != Turn::kMine) return;
  /// Also when the loading throws, which counts as an attempt.
  struct Ending {
    ~Ending() { plugins->EndTurn(renames); }
    PortPlugins* plugins;
    DWORD renames;
  } ending{this, renames};
  protocol_.Load(printerName, portName, connection);
}

void PortPlugins::PrinterRenamed(const OString& printerName) {
  monitor_.SetPrinterName(printerName);
  OScopedLock lock(lock_);
  loadAttempted_ = false;
  ++renames_;
}

void PortPlugins::Unload() {
  monitor_.Unload();
  protocol_.Unload();
  OScopedLock lock(lock_);
  loadAttempted_ = false;
}

PortPlugins::Turn PortPlugins::TakeTurn(DWORD* renames) {
  OScopedLock lock(lock_);
  const DWORD self = GetCurrentThreadId();
  if (loadingThread_ != 0) return loadingThread_ == self ? Turn::kDone : Turn::kOthers;
  if (loadAttempted_) return Turn::kDone;
  loadingThread_ = self;
  *renames = renames_;
  return Turn::kMine;
}

void PortPlugins::EndTurn(DWORD renames) {
  OScopedLock lock(lock_);
  loadingThread_ = 0;
  // A name that came meanwhile has not been tried.
  loadAttempted_ = renames == renames_;
}

}  // namespace portwise
