#pragma once

#include <portwise/plugin.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "connection/connection.h"
#include "core/ostring.h"
#include "core/synchronizer.h"

namespace portwise {

/// The block that a plug-in gets of a port, with the callbacks to the port's connection.
///
/// Any thread. Callbacks take none of the locks here, and let no exception out: what they meet is reported as a failure
/// of the connection's port.
class PluginContext {
 public:
  /// The connection must outlive the object, or Disconnect be called before it goes until it returns true.
  PluginContext(const OString& printerName, const OString& portName, Connection& connection);
  PluginContext(const PluginContext&) = delete;
  PluginContext& operator=(const PluginContext&) = delete;

  PortwiseBlock* Block() { return &block_; }

  /// What the plug-in reads from now on. The name before stays readable as long as the object lives.
  void SetPrinterName(const OString& printerName);

  /// Puts a copy of a request into the block. What was there stays readable until FreeOld.
  void SetRequest(std::string_view bytes, const char* parameters);
  void ClearRequest();
  /// Frees the copies that are no longer in the block. Only while no function of the plug-in runs.
  void FreeOld();

  /// Callbacks fail from now on. False while one is under way that had begun before.
  bool Disconnect();
  /// Where failures of the plug-in are reported; null for nowhere.
  FaultReport* Faults() const;

 private:
  struct Request {
    std::string bytes;
    std::string parameters;
  };
  class Callback;

  static DWORD WINAPI Write(PortwiseBlock* block, const void* data, DWORD length, DWORD* written);
  static DWORD WINAPI Read(PortwiseBlock* block, void* buffer, DWORD size, DWORD* read);
  static DWORD WINAPI Control(PortwiseBlock* block, DWORD code, const char* input, void* output, DWORD size);
  static DWORD WINAPI Check(PortwiseBlock* block, DWORD mask);

  PortwiseBlock block_{};
  std::atomic<Connection*> connection_;
  std::atomic<int> callbacks_ = 0;  // under way

  OCriticalSection lock_;  // for what follows, and for writing to the block
  std::vector<OString> names_;
  std::unique_ptr<Request> request_;
  std::vector<std::unique_ptr<Request>> oldRequests_;
};

}  // namespace portwise
