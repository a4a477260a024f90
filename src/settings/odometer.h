#pragma once

#include <windows.h>

#include "core/synchronizer.h"

namespace portwise {

/// The running totals of a printer's use, kept in the printer's data by the spooler. Any thread.
class Odometer {
 public:
  /// `pageLength` is in tenths of a millimetre.
  void Add(DWORD pageCount, DWORD pageLength);

  /// Takes what is stored; false, with both totals as they were, unless both are there.
  bool Load(HANDLE printer);
  /// The printer must have been opened with PRINTER_ALL_ACCESS. True when both totals were stored.
  bool Save(HANDLE printer);

  DWORD Pages() const;
  /// In millimetres.
  double Distance() const;

 private:
  mutable OCriticalSection lock_;
  DWORD pages_ = 0;
  double distance_ = 0;
};

}  // namespace portwise
