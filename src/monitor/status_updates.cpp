#include "monitor/status_updates.h"

#include <winspool.h>

#include "settings/spooler_buffer.h"

namespace portwise {
namespace {

constexpr DWORD kPrintingBits = JOB_STATUS_ERROR | JOB_STATUS_PRINTING | JOB_STATUS_OFFLINE | JOB_STATUS_PAPEROUT;

constexpr WCHAR kNoBreakSpace = 0xA0;
constexpr WCHAR kMarker[] = {';', kNoBreakSpace, 0};
constexpr int kMarkerLength = 2;

/// What people wrote in a comment.
OString PeoplesPart(const OString& comment) {
  const int marker = comment.Find(kMarker);
  if (marker >= 0) return comment.Mid(marker + kMarkerLength);
  return comment[comment.Length() - 1] == kNoBreakSpace ? OString() : comment;
}

}  // namespace

void UpdateJobStatus(HANDLE printer, DWORD job, DWORD flags, const OString& text) {
  OBuffer buffer;
  const auto* info = FetchFromSpooler<JOB_INFO_1W>(
      buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) { return GetJobW(printer, job, 1, data, size, needed); });
  if (!info) return;
  JOB_INFO_1W changed = *info;
  changed.Status = (changed.Status & ~kPrintingBits) | flags;
  changed.pStatus = const_cast<LPWSTR>(text.Wide());
  // The queue may have moved on since it was read; the job must not go back to where it was.
  changed.Position = JOB_POSITION_UNSPECIFIED;
  SetJobW(printer, job, 1, reinterpret_cast<LPBYTE>(&changed), 0);
}

void UpdatePrinterStatus(HANDLE printer, DWORD flags) {
  SetPrinterW(printer, 0, reinterpret_cast<LPBYTE>(ULONG_PTR{flags}), PRINTER_CONTROL_SET_STATUS);
}

void UpdateComment(HANDLE printer, const OString& statusText) {
  OBuffer buffer;
  const auto* info = FetchFromSpooler<PRINTER_INFO_2W>(
      buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) { return GetPrinterW(printer, 2, data, size, needed); });
  if (!info) return;
  const OString comment(info->pComment);
  const OString updated = CommentWithStatus(comment, statusText);
  if (updated == comment) return;
  PRINTER_INFO_2W changed = *info;
  changed.pComment = const_cast<LPWSTR>(updated.Wide());
  // Null leaves the rights on the printer as they are.
  changed.pSecurityDescriptor = nullptr;
  SetPrinterW(printer, 2, reinterpret_cast<LPBYTE>(&changed), 0);
}

OString CommentWithStatus(const OString& comment, const OString& statusText) {
  const OString people = PeoplesPart(comment);
  if (statusText.IsEmpty()) return people;
  return people.IsEmpty() ? statusText + OString(WideView(&kNoBreakSpace, 1)) : statusText + kMarker + people;
}

}  // namespace portwise
