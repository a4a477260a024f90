#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// What the monitor tells the print spooler about the condition of a printer, which OpenForChanges opened. Any thread;
/// where the spooler refuses, everything stays as it is and nobody is told.

/// Replaces what says how the job is printing: the JOB_STATUS_ bits of errors, offline, out of paper and printing
/// become `flags`, the job's text `text`.
void UpdateJobStatus(HANDLE printer, DWORD job, DWORD flags, const OString& text);

/// The printer's PRINTER_STATUS_ word.
void UpdatePrinterStatus(HANDLE printer, DWORD flags);

/// Shows the text, which may be empty, in front of what people wrote in the printer's comment, in place of the text
/// that stands there. Nothing is written when the comment shows it already.
void UpdateComment(HANDLE printer, const OString& statusText);

/// The comment after that: the text and the people's part with ";" and a no-break space between them; the text alone
/// with the no-break space alone, by which it is known for one.
OString CommentWithStatus(const OString& comment, const OString& statusText);

}  // namespace portwise
