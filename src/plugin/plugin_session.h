#pragma once

#include <windows.h>

#include <memory>
#include <utility>
#include <vector>

#include "core/handles.h"
#include "core/ostring.h"
#include "core/synchronizer.h"
#include "plugin/plugin_context.h"

namespace portwise {

/// One loading of a plug-in: its library and its block, from the accepted entry point until nobody calls it any more.
/// Derived classes add the table; their destructor says goodbye to the plug-in. No lock is held while the plug-in runs.
class PluginSession {
 public:
  PluginSession(const PluginSession&) = delete;
  PluginSession& operator=(const PluginSession&) = delete;
  virtual ~PluginSession() = default;

  /// Tells the plug-in that it is loaded. Called once, before anything else is asked of it.
  virtual void Begin() = 0;

  bool IsFor(const OString& printerName) const { return loadedFor_ == printerName; }
  /// What the plug-in gets of the port; one without a block never sees it.
  PluginContext& Context() { return context_; }

  /// A call of the plug-in begins and ends on this thread; calls may nest.
  void Enter();
  void Leave();
  bool IsCalledByThisThread();

  /// The session, by a pointer to itself, stays for good, with the block that the plug-in has.
  void Keep(std::shared_ptr<PluginSession> self) { self_ = std::move(self); }

 protected:
  PluginSession(unique_module library, const OString& printerName, const OString& portName, Connection& connection);

  PortwiseBlock* Block() { return context_.Block(); }

 private:
  const unique_module library_;  // goes last
  const OString loadedFor_;
  PluginContext context_;
  OCriticalSection lock_;
  std::vector<DWORD> callers_;  // thread ids, one for each call under way
  std::shared_ptr<PluginSession> self_;
};

}  // namespace portwise
