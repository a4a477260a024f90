#include "core/source_location.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/thread_local_singleton.h"

namespace portwise {
namespace {

// One a thread, so that threads may raise at the same time.
struct ThreadLocation : ThreadLocalObject {
  SourceLocation location = {};
};

template <size_t Size>
void CopyCut(const char* text, char (&buffer)[Size]) {
  const size_t length = text ? std::min(std::strlen(text), Size - 1) : 0;
  std::copy_n(text, length, buffer);
  buffer[length] = 0;
}

}  // namespace

void RaiseWithLocation(DWORD line, const char* function, const char* file, const char* extra) {
  ULONG_PTR parameter = 0;
  if (auto* thread = ThreadLocalSingleton<ThreadLocation>::Instance()) {
    SourceLocation& location = thread->location;
    location.line = line;
    CopyCut(function, location.function);
    CopyCut(file, location.file);
    CopyCut(extra, location.extra);
    parameter = reinterpret_cast<ULONG_PTR>(&location);
  }
  RaiseException(ERROR_INTERNAL_ERROR, EXCEPTION_NONCONTINUABLE, 1, &parameter);
  std::abort();
}

const SourceLocation* FindSourceLocation(const EXCEPTION_RECORD& record) {
  if (record.ExceptionCode != ERROR_INTERNAL_ERROR || record.NumberParameters < 1) return nullptr;
  auto* thread = ThreadLocalSingleton<ThreadLocation>::Instance();
  const auto parameter = reinterpret_cast<const SourceLocation*>(record.ExceptionInformation[0]);
  return thread && parameter == &thread->location ? parameter : nullptr;
}

}  // namespace portwise
