#pragma once

#include <windows.h>

#include <atomic>
#include <string_view>

#include "monitor/printer_writer.h"
#include "xpml/document.h"

namespace portwise {

class PortContext;

/// The road of a job's bytes from the spooler's buffers to the printer.
///
/// Every buffer goes through the port's XPML document, which runs the sections and hands the plain bytes to the writer
/// here. Bytes that the printer did not take stay as the document's pending output, and bytes that the parser took in a
/// call that failed are skipped when the spooler passes them again, so a buffer may be repeated any number of times
/// without losing or doubling a byte; that holds for calls that end in an exception too. In a monitored job the data
/// waits for the printer: before its first byte, after pages that are verified, and at its end.
///
/// Used by one thread at a time, the spooler's for this port, but for what says otherwise.
class PrintPath {
 public:
  explicit PrintPath(PortContext& port);

  XPML_Document& Document() { return document_; }

  /// Forgets what an earlier job left behind.
  void BeginJob();

  /// Delivers what is still pending, and what the parser kept because a section might have gone on, within the send
  /// timeout, unless the job is being deleted; false when some of it stays undelivered.
  bool EndJob();

  /// Takes a buffer of the job; `*written` is set in every case, and the spooler goes on behind it. FALSE when the
  /// printer reports an error, with that as the last error; with ERROR_IO_DEVICE when it takes nothing for the send
  /// timeout or does not answer, or while kept output is undelivered; with the last error as it was when the printer
  /// cannot be reached and is not monitored. TRUE with less than was passed while the printer is not done with a page
  /// or with the job.
  BOOL Write(const BYTE* buffer, DWORD size, DWORD* written);

  /// Print data out of a section of the job's document. What cannot be written of it is kept.
  void WritePacket(std::string_view bytes);

  /// The job's data is at its end, by its own word. Any thread.
  void MarkEnd();
  /// The data's end was not reached yet, or the printer is not done with it. Any thread.
  bool IsJobOpen() const { return !endMarkerSeen_; }
  /// The printer has a part of the job, and the rest is not all that is waited for. Sure under the connection's lock.
  bool IsInData() const { return inData_; }
  /// The job's data had an end, and the printer was done with it when that was asked for.
  bool IsConfirmed() const { return endConfirmed_; }
  /// A part of the job was not printed: a plug-in failed with it.
  void NoteFailedPart() { whole_ = false; }
  /// Nothing of the job was dropped.
  bool IsWhole() const { return whole_ && !document_.IsCut(); }
  /// The job has not written yet since it waits for the printer. Any thread.
  bool IsFirstWritePending() const { return firstWritePending_; }
  void AwaitFirstWrite() { firstWritePending_ = true; }

 private:
  enum class Verdict { GoOn, ReturnTrue, ReturnFalse };

  static bool WritePlainText(XPML_Document& document, void* path);
  void Deliver(XPML_Document& document, std::string_view bytes);
  void AccountForPages(XPML_Document& document);
  /// What a plug-in has silenced is dropped.
  bool IsDropped();
  bool DeliverPending(bool* sent);
  size_t WriteBytes(std::string_view bytes);
  void RethrowFailure();

  Verdict WaitForPages();
  Verdict WaitForFirstWrite();
  Verdict WaitForHealth();
  BOOL Take(const BYTE* buffer, DWORD size, DWORD skipped, DWORD* written);
  Verdict Parse(const BYTE* buffer, DWORD size, DWORD skipped, DWORD* written);
  Verdict JudgeMonitored(bool parsed, DWORD consumed, DWORD size, DWORD skipped, DWORD* written);
  Verdict JudgeUnmonitored(DWORD consumed, DWORD skipped, DWORD* written);
  BOOL WaitForEnd(DWORD all, DWORD skipped, DWORD* written);
  bool WaitForQueries();
  Verdict WaitForJob();
  /// Whether the printer is done with the job, asked for again and again.
  bool IsDoneWithin(DWORD milliseconds);

  PortContext& port_;
  XPML_Document document_;
  DWORD skipCount_ = 0;
  bool bufferParsed_ = false;  // all of the buffer that is passed again has been parsed
  size_t takenOfText_ = 0;     // bytes of the document's plain text that were written although its handling failed
  bool whole_ = true;
  std::atomic<bool> inData_ = false;
  WriteOutcome outcome_;  // of the current call
  std::atomic<bool> endMarkerSeen_ = false;
  std::atomic<bool> completionConfirmed_ = false;
  std::atomic<bool> endConfirmed_ = false;
  std::atomic<bool> firstWritePending_ = true;
  DWORD errorBefore_ = 0;  // the last error of the caller of Write
};

}  // namespace portwise
