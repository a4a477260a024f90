#include "core/fault/exception_handler.h"

#include <atomic>
#include <new>

#include "core/fault/exception_report.h"
#include "core/fault/minidump.h"

namespace portwise {
namespace {

std::atomic<FaultReport*> defaultReport = nullptr;

/// Runs a part of the report. What it throws ends here: a fault as well, whose stack may have to be mended first. False
/// when it did throw.
template <class Body>
bool Absorb(Body&& body) {
  const auto call = [](void* called) -> BOOL {
    (*static_cast<std::remove_reference_t<Body>*>(called))();
    return TRUE;
  };
  try {
    return CallTranslated(call, &body);
  } catch (const OException&) {
    EndFault();
  } catch (CMemoryException*) {
  } catch (const std::exception&) {
  }
  return false;
}

}  // namespace

OExceptionHandler::OExceptionHandler(const char* scopeName, DWORD flags)
    : previousTranslator_(SetFaultTranslator(ThrowFaultAsException)), scopeName_(scopeName), flags_(flags) {}

OExceptionHandler::~OExceptionHandler() { SetFaultTranslator(previousTranslator_); }

void OExceptionHandler::SetDefaultReport(FaultReport* report) { defaultReport = report; }

/// The line that tells of the minidump; empty when there was nothing to write one of.
std::string OExceptionHandler::TryDump(const OException& exception) {
  if (!exception.ExceptionPointers()) return std::string();
  OString library;
  Absorb([&] {
    if (FaultReport* report = defaultReport) library = report->DebugLibraryPath();
  });
  bool written = false;
  OString path;
  auto write = [&] { written = WriteMinidump(library, exception.ExceptionPointers(), &path); };
  const auto call = [](void* called) { (*static_cast<decltype(write)*>(called))(); };
  Absorb([&] { CallOnFaultStack(*exception.ExceptionPointers()->ContextRecord, call, &write); });
  const WideView kept = path.View().substr(0, MAX_PATH - 1);
  if (!kept.empty()) dumpPath_[kept.copy(dumpPath_, MAX_PATH - 1)] = 0;
  return written ? std::string("MiniDump File: ") + OString(dumpPath_).Narrow()
                 : std::string("Attemped to generate minidump file but failed");
}

void OExceptionHandler::Report(const OException& exception, const std::string& dumpLine) {
  const ExceptionReport report(exception, scopeName_, dumpLine);
  if (flags_ & kReportStandardError) Absorb([&] { report.WriteToStandardError(); });
  if (flags_ & kReportMessageBox) Absorb([&] { report.ShowMessageBox(); });
  if ((flags_ & kReportEventLog) && report_) Absorb([&] { report_->ReportError(OString(report.EventText())); });
}

void OExceptionHandler::Handle(const OException& exception) {
  const DWORD error = GetLastError();
  // What it throws is a failure of Handle: a report that is broken must not bring a dump every time.
  if (report_ && !report_->Admits()) {
    SetLastError(error);
    return;
  }
  Absorb([&] { Report(exception, TryDump(exception)); });
  SetLastError(flags_ & kSetLastError ? static_cast<DWORD>(exception.Code()) : error);
}

void OExceptionHandler::HandleCurrent() {
  // The stack has been unwound to here.
  EndFault();
  // Even an override of Handle may fault. Then the failure has at least its code.
  DWORD code = ERROR_OUTOFMEMORY;
  const bool handled = Absorb([&] { HandleInFlight(&code); });
  if (!handled && (flags_ & kSetLastError)) SetLastError(code);
}

void OExceptionHandler::HandleInFlight(DWORD* code) {
  const auto handle = [this, code](const OException& exception) {
    *code = static_cast<DWORD>(exception.Code());
    Handle(exception);
  };
  try {
    try {
      throw;
    } catch (const OException& exception) {
      handle(exception);
    } catch (CMemoryException*) {
      handle(OException::OutOfMemory());
    } catch (const std::bad_alloc&) {
      handle(OException::OutOfMemory());
    } catch (const std::exception& exception) {
      handle(OStdException(exception));
    }
  } catch (const std::bad_alloc&) {
    // There was not even memory for the wrapper.
    handle(OException::OutOfMemory());
  }
}

// A function of its own, which sees nothing of the body: otherwise the compiler might conclude that the body does not
// throw, and leave the handler out.
BOOL CallGuarded(OExceptionHandler& guard, BOOL (*function)(void* body), void* body) {
  try {
    return CallTranslated(function, body);
  } catch (...) {
    guard.HandleCurrent();
  }
  return FALSE;
}

}  // namespace portwise
