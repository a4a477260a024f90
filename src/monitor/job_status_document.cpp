#include "monitor/job_status_document.h"

namespace portwise {
namespace {

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n";

struct Escape {
  const char* character;
  const char* entity;
};
/// The ampersand first, because the others bring new ones.
constexpr Escape kEscapes[] = {
    {"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"'", "&apos;"},
};

OString Escaped(OString text) {
  for (const auto& [character, entity] : kEscapes) text.Replace(character, entity);
  return text;
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
