#include "monitor/print_path.h"

#include <algorithm>
#include <climits>
#include <string>
#include <utility>

#include "monitor/port_context.h"
#include "monitor/spooler_queries.h"
#include "xpml/request.h"

namespace portwise {
namespace {

constexpr DWORD kQueryPause = 200;     // ms between looks at a run of queries
constexpr DWORD kAfterQueries = 2000;  // ms for which the run's outcome can be read

}  // namespace

PrintPath::PrintPath(PortContext& port) : port_(port) {
  document_.SetTextHandler(WritePlainText, this);
  RegisterPortCommands(&port, document_);
}

void PrintPath::BeginJob() {
  document_.Reset();
  skipCount_ = 0;
  bufferParsed_ = false;
  takenOfText_ = 0;
  whole_ = true;
  // A job within a job may come in the midst of a label.
  if (port_.Documents().JobDepth() <= 1) inData_ = false;
  outcome_ = WriteOutcome();
  endMarkerSeen_ = false;
  completionConfirmed_ = false;
  endConfirmed_ = false;
}

bool PrintPath::EndJob() {
  outcome_ = WriteOutcome();
  const DWORD start = GetTickCount();
  bool streamEnded = false;
  bool delivered = false;
  bool sent = false;
  do {
    if (port_.JobIsDeleted()) {
      document_.FreePending();
      return false;
    }
    delivered = DeliverPending(&sent);
    if (delivered && !streamEnded && !outcome_.failure) {
      document_.EndStream();
      streamEnded = true;
      delivered = DeliverPending(&sent);
    }
  } while (!delivered && !outcome_.Failed() && GetTickCount() - start <= port_.SendTimeout());
  RethrowFailure();
  if (delivered && sent) port_.Pages().CloseBlock();
  // Of what came behind the end that was announced the printer has said nothing yet: it is asked again.
  if (delivered && endConfirmed_ && port_.Printed().HasMoreBehindEnd())
    endConfirmed_ = IsDoneWithin(port_.SendTimeout());
  return delivered;
}

bool PrintPath::IsDoneWithin(DWORD milliseconds) {
  const DWORD start = GetTickCount();
  while (WaitForJob() != Verdict::GoOn) {
    if (port_.JobIsDeleted() || GetTickCount() - start > milliseconds) return false;
    Sleep(kQueryPause);
  }
  return true;
}

void PrintPath::MarkEnd() {
  completionConfirmed_ = true;  // before the other, which a write may look at in between
  endMarkerSeen_ = true;
}

BOOL PrintPath::Write(const BYTE* buffer, DWORD size, DWORD* written) {
  *written = 0;
  outcome_ = WriteOutcome();
  errorBefore_ = GetLastError();
  size = std::min<DWORD>(size, INT_MAX);
  bool sent = false;
  if (!DeliverPending(&sent)) {
    RethrowFailure();
    SetLastError(ERROR_IO_DEVICE);
    return FALSE;
  }
  // A block that was announced and has no data yet stays open.
  if (sent) port_.Pages().CloseBlock();
  for (const auto wait : {&PrintPath::WaitForPages, &PrintPath::WaitForFirstWrite, &PrintPath::WaitForHealth}) {
    const Verdict verdict = (this->*wait)();
    if (verdict != Verdict::GoOn) return verdict == Verdict::ReturnTrue;
  }
  return Take(buffer, size, std::min(size, skipCount_), written);
}

/// The pages that were sent last must be done before more is taken.
PrintPath::Verdict PrintPath::WaitForPages() {
  if (port_.Pages().Pending() == 0) return Verdict::GoOn;
  const bool verify = port_.Monitoring().VerifiesPages();
  bool failed = false;
  if (verify && !port_.Monitoring().IsPageComplete(&failed)) {
    document_.SetContinue(false);
    return failed ? Verdict::ReturnFalse : Verdict::ReturnTrue;
  }
  // A status that stands for one that cannot be had any more verifies nothing.
  port_.Pages().FinishPending(verify && port_.Monitoring().IsOn());
  document_.SetContinue(true);
  return Verdict::GoOn;
}

PrintPath::Verdict PrintPath::WaitForFirstWrite() {
  if (!firstWritePending_ || !port_.Monitoring().IsOn()) return Verdict::GoOn;
  const bool answered = port_.Monitoring().RequestStatus();
  firstWritePending_ = false;
  port_.Plugin().Notify(PluginEvent::FirstWrite);
  if (answered) return Verdict::GoOn;
  port_.Monitoring().ReportWriteFailure();
  return Verdict::ReturnFalse;
}

/// Nothing is taken while the printer reports an error. Until that is over it is asked, and not while it prints: to ask
/// may break the connection off in the midst of a label.
PrintPath::Verdict PrintPath::WaitForHealth() {
  if (!port_.Monitoring().IsOn()) return Verdict::GoOn;
  const bool error = port_.Monitoring().PublishCurrent().IsError();
  if (error || port_.StatusWatch().IsMonitoringJob()) port_.StatusWatch().AllowPolling(error);
  return error ? Verdict::ReturnFalse : Verdict::GoOn;
}

/// `skipped` leading bytes were parsed in an earlier call. Until the parser has the rest, an exception leaves the skip
/// count as it was.
BOOL PrintPath::Take(const BYTE* buffer, DWORD size, DWORD skipped, DWORD* written) {
  if (size == skipped && !bufferParsed_) {
    skipCount_ -= skipped;
    if (!endMarkerSeen_) {
      *written = size;
      return TRUE;
    }
    bufferParsed_ = true;
    skipped = 0;
  }
  if (!bufferParsed_) {
    const Verdict verdict = Parse(buffer + skipped, size - skipped, skipped, written);
    if (verdict != Verdict::GoOn) return verdict == Verdict::ReturnTrue;
  }
  if (endMarkerSeen_) return WaitForEnd(size, skipped, written);
  bufferParsed_ = false;
  *written = size;
  return TRUE;
}

PrintPath::Verdict PrintPath::Parse(const BYTE* buffer, DWORD size, DWORD skipped, DWORD* written) {
  // When monitoring ends on the way, what the parser stopped at still comes again.
  const bool monitored = port_.Monitoring().IsOn();
  int consumed = 0;
  const bool parsed = document_.Parse(reinterpret_cast<const char*>(buffer), static_cast<int>(size), &consumed);
  skipCount_ = 0;
  const auto taken = static_cast<DWORD>(consumed);
  if (outcome_.failure || !monitored) return JudgeUnmonitored(taken, skipped, written);
  return JudgeMonitored(parsed, taken, size, skipped, written);
}

PrintPath::Verdict PrintPath::JudgeMonitored(bool parsed, DWORD consumed, DWORD size, DWORD skipped, DWORD* written) {
  // The end of the job waits for the printer, so its last buffer must come again.
  const bool lastBuffer = endMarkerSeen_ && consumed == size;
  *written = lastBuffer ? skipped : skipped + consumed;
  bufferParsed_ = lastBuffer;
  if (outcome_.timedOut || outcome_.unreachable) {
    port_.Monitoring().ReportWriteFailure();
    return Verdict::ReturnFalse;
  }
  if (outcome_.printerError && WaitForHealth() == Verdict::ReturnFalse) return Verdict::ReturnFalse;
  if (!parsed || (lastBuffer && document_.Pending())) return Verdict::ReturnTrue;
  return Verdict::GoOn;
}

PrintPath::Verdict PrintPath::JudgeUnmonitored(DWORD consumed, DWORD skipped, DWORD* written) {
  if (!outcome_.Failed()) return Verdict::GoOn;
  skipCount_ = consumed;
  *written = skipped;
  RethrowFailure();
  SetLastError(outcome_.timedOut ? ERROR_IO_DEVICE : errorBefore_);
  return Verdict::ReturnFalse;
}

/// All of the buffer, `all` bytes, is parsed, and the job's data has ended: waits until the job's queries have run or
/// the printer is done. Until then only the skipped bytes count as taken, so that the buffer comes again.
BOOL PrintPath::WaitForEnd(DWORD all, DWORD skipped, DWORD* written) {
  bufferParsed_ = true;
  if (port_.Documents().JobDepth() <= 1) inData_ = false;
  *written = skipped;
  const bool queries = port_.StatusWatch().QueriesAdded();
  if (queries && !WaitForQueries()) return TRUE;
  // A job of queries alone has nothing else to wait for.
  if (!queries || port_.Printed().Sent() > 0) {
    const Verdict verdict = WaitForJob();
    if (verdict != Verdict::GoOn) return verdict == Verdict::ReturnTrue;
    endMarkerSeen_ = false;
  }
  endConfirmed_ = completionConfirmed_.load();
  port_.Printed().NoteEnd();
  bufferParsed_ = false;
  *written = all;
  return TRUE;
}

bool PrintPath::WaitForQueries() {
  if (port_.StatusWatch().BeginQueries()) SetEvent(port_.Events().Query());
  if (port_.StatusWatch().IsQuerying()) {
    Sleep(kQueryPause);
    return false;
  }
  Sleep(kAfterQueries);
  port_.StatusWatch().ClearQueriesAdded();
  return true;
}

PrintPath::Verdict PrintPath::WaitForJob() {
  JobMonitoring& monitoring = port_.Monitoring();
  if (!monitoring.IsOn()) return Verdict::GoOn;
  port_.StatusWatch().AllowPolling(true);
  if (JobStatus(port_.JobPrinter(), port_.JobId()) == JOB_STATUS_DELETING) return Verdict::GoOn;
  if (!monitoring.VerifiesJob() && !monitoring.VerifiesPages() && JobsQueued(port_.JobPrinter()) != 1) {
    return Verdict::GoOn;
  }
  if (!monitoring.RequestStatus(true)) {
    monitoring.ReportWriteFailure();
    return Verdict::ReturnFalse;
  }
  const PrinterStatus status = monitoring.PublishCurrent();
  if (status.IsReady()) return Verdict::GoOn;
  return status.IsError() ? Verdict::ReturnFalse : Verdict::ReturnTrue;
}

/// The document's text handler. When it throws the same text comes again; what was written of it is not.
bool PrintPath::WritePlainText(XPML_Document& document, void* path) {
  static_cast<PrintPath*>(path)->Deliver(document, document.PlainText());
  return true;
}

/// What is not written becomes pending output, which stops the parser.
void PrintPath::Deliver(XPML_Document& document, std::string_view bytes) {
  if (takenOfText_ < bytes.size()) takenOfText_ += WriteBytes(bytes.substr(takenOfText_));
  if (takenOfText_ < bytes.size()) {
    if (!IsDropped()) document.SetPending(bytes.substr(takenOfText_));
  } else {
    AccountForPages(document);
  }
  // Of a longer text that came before, the rest comes with the next.
  takenOfText_ -= std::min(takenOfText_, bytes.size());
}

void PrintPath::AccountForPages(XPML_Document& document) {
  PageTracker& pages = port_.Pages();
  pages.CloseBlock();
  if (pages.Pending() == 0) {
    document.SetContinue(true);
    return;
  }
  port_.StatusWatch().Touch();
  if (!port_.Monitoring().VerifiesPages()) return;
  bool failed = false;
  const bool complete = port_.Monitoring().IsPageComplete(&failed);
  if (complete) pages.FinishPending(port_.Monitoring().IsOn());
  document.SetContinue(complete);
}

void PrintPath::WritePacket(std::string_view bytes) {
  if (bytes.empty()) return;
  takenOfText_ = 0;
  try {
    Deliver(document_, bytes);
  } catch (...) {
    if (takenOfText_ < bytes.size()) whole_ = false;
    takenOfText_ = 0;
    throw;
  }
}

bool PrintPath::IsDropped() {
  if (!port_.Writer().IsSilenced()) return false;
  whole_ = false;
  return true;
}

/// `*sent` tells that there was some and the printer has it; what is silenced is dropped.
bool PrintPath::DeliverPending(bool* sent) {
  PendingOutput* pending = document_.Pending();
  if (!pending) return true;
  if (!IsDropped()) {
    const auto written =
        static_cast<DWORD>(WriteBytes(std::string_view(pending->data.get() + pending->offset, pending->length)));
    pending->offset += written;
    pending->length -= written;
    if (pending->length > 0) return false;
    *sent = true;
  }
  document_.FreePending();
  return true;
}

/// Returns the bytes written, also when the connection threw.
size_t PrintPath::WriteBytes(std::string_view bytes) {
  const bool before = inData_.exchange(true);
  const size_t done = port_.Writer().Write(bytes, &outcome_);
  port_.Printed().Add(done);
  if (done == 0 && !before) inData_ = false;
  if (outcome_.unreachable) port_.NoteSilence();
  return done;
}

void PrintPath::RethrowFailure() {
  if (outcome_.failure) std::rethrow_exception(std::exchange(outcome_.failure, nullptr));
}

}  // namespace portwise
