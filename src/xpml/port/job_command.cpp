#include "xpml/port/job_command.h"

#include <windows.h>

#include "monitor/job_status_document.h"
#include "monitor/port_context.h"
#include "xpml/document.h"
#include "xpml/port/reply.h"
#include "xpml/tag.h"

namespace portwise {

bool RunJob(XPML_Document& document, PortContext& port) {
  OString reply;
  if (EqualsNoCase(document.GetAttribute("action"), "get")) {
    JobStatusParts parts;
    parts.status = document.GetAttributeBool("jobStatus", true);
    parts.identity = document.GetAttributeBool("jobIdentity", true);
    parts.pages = document.GetAttributeBool("pages", false);
    parts.events = document.GetAttributeBool("events", false);
    const auto job = static_cast<DWORD>(document.GetAttributeInt("id", -1));
    reply = JobStatusDocument(port.Jobs(), job, port.PrinterOf(document), parts);
  }
  ReplaceContent(document, reply.InCodePage(kCodePageUtf8));
  return true;
}

}  // namespace portwise
