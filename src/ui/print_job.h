#pragma once

#include <windows.h>

#include <optional>

#include "core/ostring.h"

namespace portwise {

/// A job in the queue of a printer, as the person sees it who sent it. Each call asks the spooler anew.
class PrintJob {
 public:
  PrintJob(const OString& printer, DWORD id) : printer_(printer), id_(id) {}

  const OString& Printer() const { return printer_; }

  /// Its JOB_STATUS_ bits; those of a job without any are "spooling". Nothing when the spooler does not know the job.
  std::optional<DWORD> Status() const;
  /// Whether it is in the queue, and not about to leave it unprinted.
  bool IsAlive() const;
  /// Whether it has reached the printer.
  bool HasBegun() const;

  /// Puts it before all others. Not every spooler does.
  bool MakeFirst() const;
  bool Delete() const;

 private:
  OString printer_;
  DWORD id_;
};

/// The last job of that very document name in the printer's queue, compared as the ANSI code page tells them apart; 0
/// when there is none.
DWORD FindJobOfName(const OString& printer, const OString& document);

}  // namespace portwise
