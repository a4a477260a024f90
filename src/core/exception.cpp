#include "core/exception.h"

#include <utility>

#include "core/fault_table.h"
#include "core/source_location.h"

namespace portwise {
namespace {

/// Empty when the system has none. The last error stays as it is.
std::string SystemMessage(LONG code) {
  const DWORD error = GetLastError();
  char text[512];
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                      static_cast<DWORD>(code), 0, text, sizeof text, nullptr);
  SetLastError(error);
  return std::string(text, length);
}

const OException outOfMemory(ERROR_OUTOFMEMORY);

}  // namespace

OException::OException(LONG code, std::string message, std::string detail)
    : code_(code), message_(message.empty() ? SystemMessage(code) : std::move(message)), detail_(std::move(detail)) {}

OException::OException(LONG code, std::string message, EXCEPTION_POINTERS* exceptionPointers)
    : code_(code), message_(std::move(message)), exceptionPointers_(exceptionPointers) {
  const auto* location = code == kRaised ? FindSourceLocation(*exceptionPointers->ExceptionRecord) : nullptr;
  if (location) {
    SetLocation(location->function, location->file, static_cast<LONG>(location->line));
    message_ = location->extra;
  }
  if (message_.empty()) message_ = SystemMessage(code);
}

void OException::SetLocation(std::string function, std::string file, LONG line) {
  function_ = std::move(function);
  file_ = std::move(file);
  line_ = line;
}

const OException& OException::OutOfMemory() { return outOfMemory; }

void ThrowFaultAsException(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
  if (FindSourceLocation(record)) throw OException(OException::kRaised, std::string(), pointers);
  const FaultMeaning meaning = MeaningOfFault(record.ExceptionCode);
  throw OException(meaning.error, meaning.text, pointers);
}

OStdException::OStdException(const std::exception& cause) : OException(ERROR_INTERNAL_ERROR, cause.what()) {}

CMemoryException* CMemoryException::Instance() {
  static CMemoryException instance;
  return &instance;
}

}  // namespace portwise
