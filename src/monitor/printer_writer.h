#pragma once

#include <windows.h>

#include <atomic>
#include <exception>
#include <string_view>

namespace portwise {

class PortContext;

/// What kept bytes from being written.
struct WriteOutcome {
  bool timedOut = false;      ///< nothing was taken for longer than the send timeout, or nobody answered
  bool printerError = false;  ///< the printer reports an error, and its buffer is full
  bool unreachable = false;
  std::exception_ptr failure;  ///< what the connection threw

  bool Failed() const { return timedOut || unreachable || failure != nullptr; }
};

/// The one place where print data reaches the connection.
class PrinterWriter {
 public:
  explicit PrinterWriter(PortContext& port) : port_(port) {}

  /// Writes until all is written, the printer has taken nothing for the send timeout, it cannot be reached or has no
  /// room, or the job is being deleted. The bytes that were taken; what stopped the rest is added to `*outcome`.
  /// Nothing is written once a plug-in has reported a status. Any thread, one at a time for the time of the write.
  size_t Write(std::string_view bytes, WriteOutcome* outcome);
  /// The same for the bytes of a request, which flow control has admitted. The port's close does not wait for them.
  size_t WriteRequest(std::string_view bytes, WriteOutcome* outcome);

  /// A plug-in reported a status: nothing goes to the printer until the next job, and what would is dropped. Any
  /// thread.
  void Silence() { silenced_ = true; }
  void EndSilence() { silenced_ = false; }
  bool IsSilenced() const { return silenced_; }

 private:
  enum class Source { Job, Request };

  size_t WriteAdmitted(Source source, std::string_view bytes, WriteOutcome* outcome);
  void WriteAll(Source source, std::string_view bytes, size_t* done, WriteOutcome* outcome);
  bool WriteSome(std::string_view bytes, size_t* done);

  PortContext& port_;
  std::atomic<bool> silenced_ = false;
};

}  // namespace portwise
