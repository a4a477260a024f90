#pragma once

#include <windows.h>

#include <memory>
#include <utility>

#include "core/open_printer.h"
#include "core/process_end.h"
#include "core/synchronizer.h"
#include "plugin/plugin_loader.h"
#include "plugin/plugin_session.h"

namespace portwise {

/// Where a port keeps a plug-in of one kind, and what lets calls of it and its unloading meet: a call that finds the
/// plug-in keeps it until the call is over. `Session` derives from PluginSession and has
/// `static std::shared_ptr<Session> Accept(unique_module& library, printer, port, connection)`, which asks the entry
/// point and takes the library when that accepts.
///
/// Load and Unload are for one thread at a time, everything else for any thread at any moment. No lock is held while
/// the plug-in runs.
template <class Session>
class PluginSlot {
 public:
  /// A call of the plug-in; false when there is none.
  class Call {
   public:
    explicit Call(std::shared_ptr<Session> session) : session_(std::move(session)) {
      if (session_) session_->Enter();
    }
    ~Call() {
      if (session_) session_->Leave();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    explicit operator bool() const { return session_ != nullptr; }
    Session* operator->() const { return session_.get(); }

   private:
    const std::shared_ptr<Session> session_;
  };

  PluginSlot() = default;
  PluginSlot(const PluginSlot&) = delete;
  PluginSlot& operator=(const PluginSlot&) = delete;
  ~PluginSlot() { Unload(); }

  Call Enter() { return Call(Current()); }
  bool IsLoaded() { return Current() != nullptr; }

  /// As MonitorInterfacePlugin::Load. The plug-in can be called once it has been told that it is loaded.
  PluginLoad Load(const OString& printerName, const OString& portName, Connection& connection) {
    if (const auto loaded = Current(); loaded && loaded->IsFor(printerName)) return PluginLoad::PrinterOpened;
    Unload();
    std::shared_ptr<Session> session;
    {
      const unique_printer printer = OpenPrinterByName(printerName, PRINTER_ALL_ACCESS);
      if (!printer) return PluginLoad::PrinterNotOpened;
      unused_ = LoadPluginLibrary(printerName);
      session = Session::Accept(unused_, printerName, portName, connection);
    }
    if (!session) return PluginLoad::PrinterOpened;
    session->Begin();
    OScopedLock lock(lock_);
    session_ = std::move(session);
    return PluginLoad::PrinterOpened;
  }

  /// Takes the plug-in away from later calls, waits for those that are under way, and unloads it. Calls that take more
  /// than 5000 ms are left to themselves once they run no callback; the last of them then unloads the plug-in, whose
  /// callbacks fail meanwhile. Called from inside a call of the plug-in it does not wait at all.
  ///
  /// Where the process ends it only has the callbacks fail. The threads of the calls may be gone, and the plug-in may
  /// have heard of the end before, so nothing more is asked of it.
  void Unload() {
    const bool ending = ProcessIsEnding();
    if (ending) {
      unused_.Detach();
    } else {
      unused_.Reset();
    }
    std::shared_ptr<Session> session;
    {
      OScopedLock lock(lock_);
      session.swap(session_);
    }
    if (!session) return;
    if (ending) {
      session->Context().Disconnect();
      session->Keep(session);
      return;
    }
    const DWORD start = GetTickCount();
    while (session.use_count() > 1 && !session->IsCalledByThisThread()) {
      if (GetTickCount() - start >= kPatience && session->Context().Disconnect()) return;
      Sleep(kLook);
    }
    if (session.use_count() > 1) session->Context().Disconnect();
  }

 private:
  static constexpr DWORD kPatience = 5000;  // ms
  static constexpr DWORD kLook = 5;         // ms

  std::shared_ptr<Session> Current() {
    OScopedLock lock(lock_);
    return session_;
  }

  OCriticalSection lock_;
  std::shared_ptr<Session> session_;
  unique_module unused_;  // a library whose entry point is missing or did not accept
};

}  // namespace portwise
