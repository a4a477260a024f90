#pragma once

#include <windows.h>

#include <exception>
#include <memory>
#include <string>

namespace portwise {

/// A failure inside the library: a Windows error code, a message, and where it came from when that is known. Thrown
/// by value, caught by reference at the entry points.
class OException {
 public:
  /// Memory ran out: made when the library is loaded, so that telling needs no memory.
  static const OException& OutOfMemory();

  /// The code of a failure that was raised with a source location.
  static constexpr LONG kRaised = -1;

  /// An empty message is replaced by the system's message for `code`.
  explicit OException(LONG code, std::string message = std::string(), std::string detail = std::string());

  /// A failure that the system raised. With kRaised the location and the message come from the source-location record
  /// that the exception carries.
  OException(LONG code, std::string message, EXCEPTION_POINTERS* exceptionPointers);
  virtual ~OException() = default;

  LONG Code() const { return code_; }
  const std::string& Message() const { return message_; }
  const std::string& Detail() const { return detail_; }

  /// The source location; an empty function and line -1 when there is none.
  void SetLocation(std::string function, std::string file, LONG line);
  const std::string& Function() const { return function_; }
  const std::string& File() const { return file_; }
  LONG Line() const { return line_; }

  /// Those of the processor fault; null when it was none. Copies of what the thread knew, which is overwritten by its
  /// next fault; they live as long as a copy of the exception.
  EXCEPTION_POINTERS* ExceptionPointers() const { return exceptionPointers_.get(); }

 private:
  LONG code_;
  std::string message_;
  std::string detail_;
  std::string function_;
  std::string file_;
  LONG line_ = -1;
  std::shared_ptr<EXCEPTION_POINTERS> exceptionPointers_;
};

/// The translator of the guards: throws an OException with what the fault means.
[[noreturn]] void ThrowFaultAsException(EXCEPTION_POINTERS* pointers);

/// A failure of the standard library, reported as an internal error with its text.
class OStdException : public OException {
 public:
  explicit OStdException(const std::exception& cause);
};

/// Memory ran out. Thrown as a pointer to the one instance, so that throwing it needs no memory.
class CMemoryException {
 public:
  static CMemoryException* Instance();
};

}  // namespace portwise
