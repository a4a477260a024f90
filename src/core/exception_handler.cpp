#include "core/exception_handler.h"

#include <new>

namespace portwise {

void OExceptionHandler::Handle(const OException& exception) {
  if (flags_ & kSetLastError) SetLastError(static_cast<DWORD>(exception.Code()));
}

void OExceptionHandler::HandleCurrent() {
  try {
    try {
      throw;
    } catch (const OException& exception) {
      Handle(exception);
    } catch (CMemoryException*) {
      Handle(OException::OutOfMemory());
    } catch (const std::bad_alloc&) {
      Handle(OException::OutOfMemory());
    } catch (const std::exception& exception) {
      Handle(OStdException(exception));
    }
  } catch (const std::bad_alloc&) {
    // Even the report found no memory.
    Handle(OException::OutOfMemory());
  }
}

}  // namespace portwise
