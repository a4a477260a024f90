#include "monitor/printer_writer.h"

#include <algorithm>

#include "connection/connection_use.h"
#include "monitor/port_context.h"

namespace portwise {

size_t PrinterWriter::Write(std::string_view bytes, WriteOutcome* outcome) {
  if (bytes.empty() || IsSilenced()) return 0;
  try {
    if (!port_.Flow().Admits(bytes.size(), outcome)) return 0;
  } catch (...) {
    outcome->failure = std::current_exception();
    return 0;
  }
  return WriteAdmitted(Source::Job, bytes, outcome);
}

size_t PrinterWriter::WriteRequest(std::string_view bytes, WriteOutcome* outcome) {
  return WriteAdmitted(Source::Request, bytes, outcome);
}

size_t PrinterWriter::WriteAdmitted(Source source, std::string_view bytes, WriteOutcome* outcome) {
  if (bytes.empty() || IsSilenced()) return 0;
  size_t done = 0;
  // What the connection took before it threw must not be sent again.
  try {
    WriteAll(source, bytes, &done, outcome);
  } catch (...) {
    outcome->failure = std::current_exception();
  }
  return done;
}

void PrinterWriter::WriteAll(Source source, std::string_view bytes, size_t* done, WriteOutcome* outcome) {
  Connection& connection = port_.PrinterConnection();
  const ConnectionUse use(connection);
  if (IsSilenced()) return;
  const DWORD sendTimeout = port_.SendTimeout();
  DWORD lastProgress = GetTickCount();
  for (bool again = false; *done < bytes.size(); again = true) {
    if (again && port_.JobIsDeleted()) return;
    if (source == Source::Request && port_.IsClosing()) return;
    if (connection.GetStatus(STATUS_DISCONNECTED) & STATUS_DISCONNECTED) {
      outcome->unreachable = true;
      return;
    }
    if (WriteSome(bytes, done)) {
      lastProgress = GetTickCount();
    } else if (GetTickCount() - lastProgress > sendTimeout) {
      outcome->timedOut = true;
      return;
    }
  }
}

/// One attempt with what is left; counts, records and logs what was taken of it, also when the attempt throws.
bool PrinterWriter::WriteSome(std::string_view bytes, size_t* done) {
  const std::string_view left = bytes.substr(*done);
  const auto size = static_cast<DWORD>(left.size());
  DWORD written = 0;
  const auto count = [&] {
    written = std::min(written, size);
    *done += written;
    port_.Recorder().Append(left.substr(0, written));
    port_.JobLog().AddBytes(written);
  };
  bool success = false;
  try {
    ProtocolInterface& protocol = port_.Protocol();
    success = protocol.IsActive() ? protocol.Write(left.data(), size, &written)
                                  : port_.PrinterConnection().Write(left.data(), size, &written);
  } catch (...) {
    count();
    throw;
  }
  count();
  return success && written > 0;
}

}  // namespace portwise
