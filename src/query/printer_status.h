#pragma once

#include "core/ostring.h"
#include "core/synchronizer.h"
#include "core/typed_array.h"
#include "query/status_codes.h"

namespace portwise {

class ULocale;

/// The condition of a printer: its status codes in the order in which they were found, and what follows from them. Any
/// thread; each call sees one list.
class PrinterStatus {
 public:
  /// How Text joins the texts; the second form wins.
  static constexpr DWORD kCommas = 1;
  static constexpr DWORD kDashes = 2;
  /// Leaves out what the spooler's own flags tell already.
  static constexpr DWORD kWithoutSpoolerFlags = 4;

  explicit PrinterStatus(DWORD code = 0) { codes_.Append(code); }
  PrinterStatus(const PrinterStatus& other) : codes_(other.Codes()) {}
  PrinterStatus& operator=(const PrinterStatus& other);

  /// The list becomes this one code.
  void Set(DWORD code);
  void Add(DWORD code);
  /// The list becomes the code 0.
  void Clear() { Set(0); }
  /// A copy of the list.
  OTypedArray<DWORD> Codes() const;
  /// The same codes in the same order.
  friend bool operator==(const PrinterStatus& left, const PrinterStatus& right);

  /// The first code; 1, ready, when there is none.
  DWORD Primary() const;
  /// An error outweighs warnings, and these outweigh all else.
  portwise::Severity Severity() const;

  bool IsReady() const { return Primary() == kStatusReady; }
  bool IsOffline() const { return Primary() == kStatusOffline; }
  bool IsBusy() const;
  bool IsWaiting() const;
  bool IsError() const { return Severity() == Severity::Error; }

  /// The texts of the codes, in the language of `locale`, which is the calling thread's. Codes without one add nothing.
  OString Text(ULocale& locale, DWORD options) const;

  /// PRINTER_STATUS_... flags of all codes.
  DWORD SpoolerFlags() const;
  /// JOB_STATUS_... flags for the job being printed, never 0.
  DWORD JobFlags() const;
  /// The Windows error code of the first code, 0 when it is no error.
  DWORD ErrorCode() const;
  /// The word "Status Flags 2".
  DWORD Flags2() const;

 private:
  DWORD UniteFlags(DWORD StatusCodeRow::*flag) const;

  mutable OCriticalSection lock_;
  OTypedArray<DWORD> codes_;
};

}  // namespace portwise
