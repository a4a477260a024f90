#include "plugin/port_plugins.h"

namespace portwise {
namespace {

constexpr DWORD kPatience = 5000;  // ms
constexpr DWORD kLook = 5;         // ms

}  // namespace

void PortPlugins::EnsureProtocolLoaded(const OString& printerName, const OString& portName, Connection& connection) {
  const DWORD start = GetTickCount();
  Turn turn;
  while ((turn = TakeTurn(printerName)) == Turn::kOthers && GetTickCount() - start < kPatience) Sleep(kLook);
  if (turn != Turn::kMine) return;
  /// Also when the loading throws, which counts as an attempt.
  struct Ending {
    ~Ending() { plugins->EndTurn(); }
    PortPlugins* plugins;
  } ending{this};
  protocol_.Load(printerName, portName, connection);
}

void PortPlugins::PrinterRenamed(const OString& printerName) {
  monitor_.SetPrinterName(printerName);
  OScopedLock lock(lock_);
  tried_.reset();
}

void PortPlugins::Unload() {
  monitor_.Unload();
  protocol_.Unload();
  OScopedLock lock(lock_);
  tried_.reset();
}

PortPlugins::Turn PortPlugins::TakeTurn(const OString& printerName) {
  OScopedLock lock(lock_);
  const DWORD self = GetCurrentThreadId();
  if (loadingThread_ != 0) return loadingThread_ == self ? Turn::kDone : Turn::kOthers;
  if (tried_ == printerName) return Turn::kDone;
  // A name that comes while this one is loaded forgets it again.
  tried_ = printerName;
  loadingThread_ = self;
  return Turn::kMine;
}

void PortPlugins::EndTurn() {
  OScopedLock lock(lock_);
  loadingThread_ = 0;
}

}  // namespace portwise
