#pragma once

#include "monitor/job_records.h"

namespace portwise {

/// Which parts of a job a status document tells.
struct JobStatusParts {
  bool status = false;
  bool identity = false;
  /// Nothing of these is kept; asked for alone they give a document without a job.
  bool pages = false;
  bool events = false;
};

/// The XML document with what is known of a job: from its record, else from the spooler. Without any part it is empty;
/// of a job that nobody knows it is the declaration alone. Any thread.
OString JobStatusDocument(JobRecords& records, DWORD job, const OString& printer, const JobStatusParts& parts);

}  // namespace portwise
