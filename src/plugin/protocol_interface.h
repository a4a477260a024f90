#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// What the protocol plug-in is told of.
enum class ProtocolEvent : DWORD {
  Loaded = 1,
  JobStart = 11,
  JobEnd = 12,
  QueryStart = 16,
  QueryAnswered = 17,
  QuerySent = 18,
};

/// The part of a printer's plug-in that may take over the traffic with the printer: the loaded plug-in, or nothing,
/// which is never active. While it is active, what is to be written or read goes through it instead of the connection.
/// Any thread; the calls are not serialised.
class ProtocolInterface {
 public:
  virtual ~ProtocolInterface() = default;

  virtual bool IsActive() = 0;
  virtual void Notify(ProtocolEvent event) = 0;
  /// As Connection::Write and Connection::Read. `written` and `read` are set in every case, never to more than was
  /// offered.
  virtual bool Write(const void* data, DWORD length, DWORD* written) = 0;
  virtual bool Read(void* buffer, DWORD size, DWORD* read) = 0;
  /// As MonitorInterface::SpecialOperation.
  virtual DWORD SpecialOperation(const OString& reader, const OString& type, DWORD copies, const void* data,
                                 DWORD length) = 0;
};

}  // namespace portwise
