#pragma once

#include <windows.h>

#include <string_view>

#include "connection/connection.h"
#include "core/ostring.h"

namespace portwise {

/// What a plug-in said about the printer: its status and how much the printer can take. Filled by one call.
struct PluginStatus {
  static constexpr DWORD kCode = 0x1;
  static constexpr DWORD kThreshold = 0x4;
  static constexpr DWORD kAvailable = 0x8;
  static constexpr DWORD kFirstExtraCode = 0x10;  ///< the next four bits are those of the other extra codes
  static constexpr int kExtraCodes = 5;

  DWORD flags = 0;      ///< which of the values hold
  DWORD code = 0;       ///< a status code
  DWORD threshold = 0;  ///< bytes; writes of at least as many need not wait for room
  DWORD available = 0;  ///< bytes that the printer has room for
  DWORD extraCodes[kExtraCodes] = {};

  /// The plug-in found something out.
  bool HasStatus() const { return flags != 0; }
  bool Has(DWORD flag) const { return (flags & flag) != 0; }
  bool HasExtraCode(int index) const { return Has(kFirstExtraCode << index); }
};

/// What the monitor-interface plug-in is told of.
enum class PluginEvent : DWORD {
  Loaded = 1,
  Unloading = 2,
  FirstWrite = 11,  ///< of a monitored job
  JobEnd = 12,
  LastJobEnd = 13,  ///< right after JobEnd, when fewer than two jobs are queued on the printer
  PageOpened = 14,
  PageClosed = 15,
  StatusRequested = 21,
  StatusAnswered = 22,
  QueryStart = 23,
  QueryAnswered = 24,
  QuerySent = 25,
  NothingRead = 31,  ///< and nothing had been read before in the exchange
};

/// What the plug-in says to the bytes that a query has received so far. Other values are no verdict.
enum class PluginVerdict : DWORD { None = 0, Complete = 1, Incomplete = 2, Failed = 3 };

/// The status code of a special operation that no plug-in offers.
constexpr DWORD kNoSpecialOperation = 0x10070;

/// The part of a printer's plug-in that knows the printer's language for status and answers: the loaded plug-in, or
/// nothing, which supports nothing and vetoes nothing. Any thread; the calls are not serialised.
class MonitorInterface {
 public:
  virtual ~MonitorInterface() = default;

  virtual bool SupportsStatus(ConnectionKind kind) = 0;
  /// Jobs and pages cannot be verified over this kind of connection.
  virtual bool VetoesVerification(ConnectionKind kind) = 0;
  /// Flow control by the room in the printer's buffer.
  virtual bool SupportsBufferSpace() = 0;
  /// On TCP, status travels over a channel of its own.
  virtual bool HasStatusChannel() = 0;

  virtual void Notify(PluginEvent event) = 0;

  /// Writes a status request to `buffer`, which holds `size` bytes; its length. With a null buffer the length alone; 0
  /// when there is no request to send.
  virtual LONG BuildRequest(void* buffer, DWORD size) = 0;
  /// Reads a status answer at the start of `data`: how many bytes it took, never more than `length`; 0 or less while it
  /// is not complete.
  virtual LONG ParseResponse(const void* data, DWORD length, PluginStatus* status) = 0;
  /// The plug-in may know the status without asking the printer; false when it does not.
  virtual bool StatusWithoutRequest(PluginStatus* status) = 0;
  /// Whether the bytes that a query has received answer it.
  virtual PluginVerdict PassData(const void* data, DWORD length) = 0;
  /// A status code, 0 for success; kNoSpecialOperation when the plug-in offers none.
  virtual DWORD SpecialOperation(const OString& reader, const OString& type, DWORD copies, const void* data,
                                 DWORD length) = 0;

  /// Lets the plug-in know what was asked last: a copy of the bytes, and the parameters of the request as text (null
  /// for none), which must stay until ForgetRequest or the next call.
  virtual void RememberRequest(std::string_view bytes, const char* parameters) = 0;
  virtual void ForgetRequest() = 0;
};

}  // namespace portwise
