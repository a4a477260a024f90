#include "core/exception.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

#include "core/fault/fault_table.h"
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

/// A fault as it was.
struct FaultCopy {
  explicit FaultCopy(const EXCEPTION_POINTERS& fault) : record(*fault.ExceptionRecord), context(*fault.ContextRecord) {}

  EXCEPTION_RECORD record;
  CONTEXT context;
  EXCEPTION_POINTERS pointers = {&record, &context};
};

constexpr size_t kBlock = sizeof(FaultCopy) + 64;

/// Makes one object in a block from malloc, which becomes its own.
template <class Value>
struct BlockAllocator {
  using value_type = Value;

  explicit BlockAllocator(void* memory) : block(memory) {}
  template <class Other>
  explicit BlockAllocator(const BlockAllocator<Other>& other) : block(other.block) {}
  bool operator==(const BlockAllocator&) const = default;

  Value* allocate(size_t) {
    static_assert(sizeof(Value) <= kBlock && alignof(Value) <= alignof(std::max_align_t));
    return static_cast<Value*>(block);
  }
  void deallocate(Value* value, size_t) { std::free(value); }

  void* block;
};

/// When memory runs out, what the thread itself remembers has to do. A std::bad_alloc would be taken for the exception
/// that the fault becomes, also when it is caught here.
std::shared_ptr<EXCEPTION_POINTERS> Copy(EXCEPTION_POINTERS* fault) {
  void* const block = std::malloc(kBlock);
  if (!block) return {std::shared_ptr<FaultCopy>(), fault};
  const auto copy = std::allocate_shared<FaultCopy>(BlockAllocator<FaultCopy>(block), *fault);
  return {copy, &copy->pointers};
}

const OException outOfMemory(ERROR_OUTOFMEMORY);

}  // namespace

OException::OException(LONG code, std::string message, std::string detail)
    : code_(code), message_(message.empty() ? SystemMessage(code) : std::move(message)), detail_(std::move(detail)) {}

OException::OException(LONG code, std::string message, EXCEPTION_POINTERS* exceptionPointers)
    : code_(code), message_(std::move(message)), exceptionPointers_(Copy(exceptionPointers)) {
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
