#pragma once

#include <memory>

#include "plugin/plugin_session.h"

namespace portwise {

/// A loaded protocol plug-in. What the plug-in returns is brought into bounds here.
class ProtocolSession final : public PluginSession {
 public:
  /// Null, with `library` untouched, when the library is none, lacks the entry point, or does not accept version 1.
  static std::shared_ptr<ProtocolSession> Accept(unique_module& library, const OString& printerName,
                                                 const OString& portName, Connection& connection);

  ProtocolSession(unique_module library, const PortwiseProtocolTable& table, const OString& printerName,
                  const OString& portName, Connection& connection);

  void Begin() override;
  /// As the plug-in said in Begin.
  bool IsActive() const { return active_; }
  void Notify(DWORD code);
  bool Write(const void* data, DWORD length, DWORD* written);
  bool Read(void* buffer, DWORD size, DWORD* read);
  /// A status code; PORTWISE_NO_SPECIAL_OPERATION when the plug-in offers none.
  DWORD SpecialOperation(const OString& reader, const OString& type, DWORD copies, const void* data, DWORD length);

 private:
  const PortwiseProtocolTable table_;
  bool active_ = false;
};

}  // namespace portwise
