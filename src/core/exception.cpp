#include "core/exception.h"

#include <utility>

namespace portwise {
namespace {

std::string SystemMessage(LONG code) {
  char text[512];
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                      static_cast<DWORD>(code), 0, text, sizeof text, nullptr);
  return std::string(text, length);
}

const OException outOfMemory(ERROR_OUTOFMEMORY);

}  // namespace

OException::OException(LONG code, std::string message, std::string detail)
    : code_(code), message_(message.empty() ? SystemMessage(code) : std::move(message)), detail_(std::move(detail)) {}

void OException::SetLocation(std::string function, std::string file, LONG line) {
  function_ = std::move(function);
  file_ = std::move(file);
  line_ = line;
}

const OException& OException::OutOfMemory() { return outOfMemory; }

OStdException::OStdException(const std::exception& cause) : OException(ERROR_INTERNAL_ERROR, cause.what()) {}

CMemoryException* CMemoryException::Instance() {
  static CMemoryException instance;
  return &instance;
}

}  // namespace portwise
