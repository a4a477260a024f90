#pragma once

#include <windows.h>

#include <exception>
#include <string_view>

#include "xpml/document.h"

namespace portwise {

class PortContext;

/// The road of a job's bytes from the spooler's buffers to the connection.
///
/// Every buffer goes through the port's XPML document, which runs the sections and hands the plain bytes to the writer
/// here. Bytes that the printer did not take stay as the document's pending output, and bytes that the parser took in a
/// call that failed are skipped when the spooler passes them again, so a buffer may be repeated any number of times
/// without losing or doubling a byte; that holds for calls that end in an exception too. Used by one thread at a time,
/// the spooler's for this port.
class PrintPath {
 public:
  explicit PrintPath(PortContext& port);

  XPML_Document& Document() { return document_; }

  /// Forgets what an earlier job left behind.
  void BeginJob();

  /// Delivers what is still pending, and what the parser kept because a section might have gone on, within the send
  /// timeout, unless the job is being deleted; false when some of it stays undelivered.
  bool EndJob();

  /// Takes a buffer of the job; `*written` is set in every case, and the spooler goes on behind it. FALSE with
  /// ERROR_IO_DEVICE when no attempt succeeded for longer than the send timeout, or while kept output is undelivered;
  /// FALSE with the last error as it was when the printer cannot be reached.
  BOOL Write(const BYTE* buffer, DWORD size, DWORD* written);

  /// Bytes of the job that the connection has taken.
  ULONGLONG SentBytes() const { return sent_; }

 private:
  static bool WritePlainText(XPML_Document& document, void* path);
  bool DeliverPending();
  size_t WriteBytes(std::string_view bytes);
  void LowLevelWrite(std::string_view bytes, size_t* done);
  void RethrowFailure();
  BOOL Parse(const BYTE* buffer, DWORD size, DWORD skipped, DWORD* written);

  PortContext& port_;
  XPML_Document document_;
  DWORD skipCount_ = 0;
  size_t takenOfText_ = 0;  // bytes of the document's plain text that were written although its handling failed
  ULONGLONG sent_ = 0;
  bool timedOut_ = false;
  bool unreachable_ = false;
  std::exception_ptr failure_;  // what the connection threw while bytes were written
};

}  // namespace portwise
