#include "core/exception_handler.h"

namespace portwise {

void OExceptionHandler::Handle(const OException& exception) {
  if (flags_ & kSetLastError) SetLastError(static_cast<DWORD>(exception.Code()));
}

}  // namespace portwise
