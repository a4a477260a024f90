#include "monitor/job_status_document.h"

#include <algorithm>
#include <iterator>

namespace portwise {
namespace {

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n";

struct Escape {
  WCHAR unit;
  const char* entity;
};
/// What XML reserves, and the line ends and tabs that would be blanks in an attribute.
constexpr Escape kEscapes[] = {
    {'&', "&amp;"},   {'<', "&lt;"},  {'>', "&gt;"},   {'"', "&quot;"},
    {'\'', "&apos;"}, {'\t', "&#9;"}, {'\n', "&#10;"}, {'\r', "&#13;"},
};

constexpr bool IsHigh(WCHAR unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool IsLow(WCHAR unit) { return (unit & 0xFC00) == 0xDC00; }

/// What no XML document may hold, not even as a reference.
bool IsForbidden(WCHAR unit) { return unit < 0x20 || (unit & 0xF800) == 0xD800 || unit == 0xFFFE || unit == 0xFFFF; }

/// As a reference, since not every encoder of UTF-8 joins the halves.
OString ReferenceTo(WCHAR high, WCHAR low) {
  return "&#" + OString::FromUnsigned(0x10000 + ((high & 0x3FFu) << 10 | (low & 0x3FFu))) + ";";
}

OString Escaped(const OString& text) {
  OString escaped;
  const WideView units = text.View();
  for (size_t i = 0; i < units.size(); ++i) {
    const WCHAR unit = units[i];
    const auto* row = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                   [unit](const Escape& escape) { return escape.unit == unit; });
    if (row != std::end(kEscapes)) {
      escaped += row->entity;
    } else if (IsHigh(unit) && i + 1 < units.size() && IsLow(units[i + 1])) {
      escaped += ReferenceTo(unit, units[++i]);
    } else {
      escaped += IsForbidden(unit) ? WCHAR{0xFFFD} : unit;
    }
  }
  return escaped;
}

OString Attribute(const char* name, const OString& value) { return OString("   ") + name + "=\"" + value + "\"\r\n"; }

OString StatusElement(const StatusRecord_Job& record) {
  return OString("<jobStatus\r\n") + Attribute("status", JobStateName(record.state)) +
         Attribute("errorCount", OString::FromUnsigned(record.errorCount)) +
         Attribute("warningCount", OString::FromUnsigned(record.warningCount)) +
         Attribute("pagesSent", OString::FromUnsigned(record.pagesSent)) +
         Attribute("pagesVerified", OString::FromUnsigned(record.pagesVerified)) + "/>\r\n";
}

OString IdentityElement(const StatusRecord_Job& record) {
  return OString("<jobIdentity\r\n") + Attribute("name", Escaped(record.name)) +
         Attribute("userName", Escaped(record.userName)) + Attribute("machineName", Escaped(record.machineName)) +
         "/>\r\n";
}

OString JobElement(const StatusRecord_Job& record, const JobStatusParts& parts) {
  OString text = OString("<job id=\"") + OString::FromUnsigned(record.jobId) + "\">\r\n";
  if (parts.status) text += StatusElement(record);
  if (parts.identity) text += IdentityElement(record);
  return text + "</job>\r\n";
}

}  // namespace

OString JobStatusDocument(JobRecords& records, DWORD job, const OString& printer, const JobStatusParts& parts) {
  if (!parts.status && !parts.identity && !parts.pages && !parts.events) return OString();
  const OString document = kDeclaration;
  if (!parts.status && !parts.identity) return document;
  if (const JobRecords::Hold record(records, job); record) return document + JobElement(*record, parts);
  StatusRecord_Job unrecorded;
  return unrecorded.FillFromSpooler(job, printer) ? document + JobElement(unrecorded, parts) : document;
}

}  // namespace portwise
