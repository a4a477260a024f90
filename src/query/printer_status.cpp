#include "query/printer_status.h"

#include <windows.h>
#include <winspool.h>

#include <algorithm>
#include <functional>

#include "core/hex.h"
#include "locale/ulocale.h"

namespace portwise {
namespace {

/// Holds the locks of two records, in the order that every thread takes.
class BothLocked {
 public:
  BothLocked(OCriticalSection& one, OCriticalSection& other)
      : first_(std::less<>()(&one, &other) ? one : other), second_(std::less<>()(&one, &other) ? other : one) {}

 private:
  const OScopedLock first_;
  const OScopedLock second_;
};

/// The number that a printer gave a code of its own: decimal, or four hexadecimal digits.
OString OwnNumber(DWORD code) {
  if (code >> 28 == 0xA) return OString::FromUnsigned(code & 0xFFFFFF);
  return OString(EncodeHexNumber(static_cast<WORD>(code)));
}

OString TextOf(ULocale& locale, const StatusCodeRow& row) {
  if (row.text == 0) return OString();
  OString text = locale.LoadString(row.text);
  if (row.code >> 28 == 0xA || row.code >> 28 == 0xB) text.Replace("%1", OwnNumber(row.code));
  return text;
}

}  // namespace

PrinterStatus& PrinterStatus::operator=(const PrinterStatus& other) {
  const BothLocked locked(lock_, other.lock_);
  codes_ = other.codes_;
  return *this;
}

void PrinterStatus::Set(DWORD code) {
  const OScopedLock locked(lock_);
  // A list that shrinks needs no memory.
  if (codes_.SetSize(1)) codes_[0] = code;
}

void PrinterStatus::Add(DWORD code) {
  const OScopedLock locked(lock_);
  codes_.Append(code);
}

OTypedArray<DWORD> PrinterStatus::Codes() const {
  const OScopedLock locked(lock_);
  return codes_;
}

bool operator==(const PrinterStatus& left, const PrinterStatus& right) {
  const BothLocked locked(left.lock_, right.lock_);
  return std::equal(left.codes_.begin(), left.codes_.end(), right.codes_.begin(), right.codes_.end());
}

DWORD PrinterStatus::Primary() const {
  const OScopedLock locked(lock_);
  return codes_.IsEmpty() ? kStatusReady : codes_[0];
}

Severity PrinterStatus::Severity() const {
  const OScopedLock locked(lock_);
  auto worst = Severity::Normal;
  for (const DWORD code : codes_) {
    const auto severity = DescribeStatusCode(code).severity;
    if (severity == Severity::Error) return severity;
    if (severity == Severity::Warning) worst = severity;
  }
  return worst;
}

bool PrinterStatus::IsBusy() const {
  const DWORD primary = Primary();
  return primary == kStatusProcessing || primary == kStatusPrinting || primary == kStatusBusy ||
         primary == kStatusFeeding;
}

bool PrinterStatus::IsWaiting() const {
  const DWORD primary = Primary();
  return primary == kStatusPaused || primary == kStatusLabelPresent;
}

OString PrinterStatus::Text(ULocale& locale, DWORD options) const {
  const OString separator = options & kDashes ? " - " : options & kCommas ? ", " : "";
  OString joined;
  // Loading texts may read files; the record must not wait for that.
  for (const DWORD code : Codes()) {
    const StatusCodeRow row = DescribeStatusCode(code);
    if ((options & kWithoutSpoolerFlags) && row.spoolerShows) continue;
    const OString text = TextOf(locale, row);
    if (text.IsEmpty()) continue;
    if (!joined.IsEmpty()) joined += separator;
    joined += text;
  }
  return joined;
}

DWORD PrinterStatus::UniteFlags(DWORD StatusCodeRow::*flag) const {
  const OScopedLock locked(lock_);
  DWORD flags = 0;
  for (const DWORD code : codes_) flags |= DescribeStatusCode(code).*flag;
  return flags;
}

DWORD PrinterStatus::SpoolerFlags() const { return UniteFlags(&StatusCodeRow::printerFlag); }

DWORD PrinterStatus::JobFlags() const {
  const DWORD flags = UniteFlags(&StatusCodeRow::jobFlag);
  return flags != 0 ? flags : DWORD{JOB_STATUS_PRINTING};
}

DWORD PrinterStatus::ErrorCode() const { return DescribeStatusCode(Primary()).error; }

DWORD PrinterStatus::Flags2() const { return UniteFlags(&StatusCodeRow::flags2); }

}  // namespace portwise
