#include "monitor/print_path.h"

#include <algorithm>
#include <climits>
#include <utility>

#include "connection/connection_use.h"
#include "core/synchronizer.h"
#include "monitor/port_context.h"
#include "xpml/request.h"

namespace portwise {
PrintPath::PrintPath(PortContext& port) : port_(port) {
  document_.SetTextHandler(WritePlainText, this);
  RegisterPortCommands(&port, document_);
}

void PrintPath::BeginJob() {
  document_.Reset();
  skipCount_ = 0;
  takenOfText_ = 0;
  sent_ = 0;
  failure_ = nullptr;
}

bool PrintPath::EndJob() {
  timedOut_ = unreachable_ = false;
  failure_ = nullptr;
  if (port_.JobIsDeleted()) {
    document_.FreePending();
    return false;
  }
  bool delivered = DeliverPending();
  if (delivered && !failure_) {
    document_.EndStream();
    delivered = DeliverPending();
  }
  RethrowFailure();
  return delivered;
}

BOOL PrintPath::Write(const BYTE* buffer, DWORD size, DWORD* written) {
  *written = 0;
  timedOut_ = unreachable_ = false;
  size = std::min<DWORD>(size, INT_MAX);
  const DWORD skipped = std::min(size, skipCount_);
  if (!DeliverPending()) {
    RethrowFailure();
    SetLastError(ERROR_IO_DEVICE);
    return FALSE;
  }
  if (size == skipped) {
    skipCount_ -= skipped;
    *written = size;
    return TRUE;
  }
  return Parse(buffer + skipped, size - skipped, skipped, written);
}

BOOL PrintPath::Parse(const BYTE* buffer, DWORD size, DWORD skipped, DWORD* written) {
  int consumed = 0;
  document_.Parse(reinterpret_cast<const char*>(buffer), static_cast<int>(size), &consumed);
  skipCount_ = 0;
  if (timedOut_ || unreachable_ || failure_) {
    skipCount_ = static_cast<DWORD>(consumed);
    *written = skipped;
    RethrowFailure();
    if (timedOut_) SetLastError(ERROR_IO_DEVICE);
    return FALSE;
  }
  *written = skipped + size;
  return TRUE;
}

/// The document's text handler. What is not written becomes pending output, which stops the parser.
bool PrintPath::WritePlainText(XPML_Document& document, void* path) {
  // When there is no memory for the pending output, the same text comes again; what was written of it is not.
  size_t& taken = static_cast<PrintPath*>(path)->takenOfText_;
  const std::string_view bytes = document.PlainText();
  taken += static_cast<PrintPath*>(path)->WriteBytes(bytes.substr(taken));
  if (taken < bytes.size()) document.SetPending(bytes.substr(taken));
  taken = 0;
  return true;
}

bool PrintPath::DeliverPending() {
  PendingOutput* pending = document_.Pending();
  if (!pending) return true;
  const auto written =
      static_cast<DWORD>(WriteBytes(std::string_view(pending->data.get() + pending->offset, pending->length)));
  pending->offset += written;
  pending->length -= written;
  if (pending->length > 0) return false;
  document_.FreePending();
  return true;
}

/// Returns the bytes written, also when the connection threw: what it took must not be sent again.
size_t PrintPath::WriteBytes(std::string_view bytes) {
  size_t done = 0;
  try {
    LowLevelWrite(bytes, &done);
  } catch (...) {
    failure_ = std::current_exception();
  }
  sent_ += done;
  return done;
}

void PrintPath::RethrowFailure() {
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

/// Writes to the connection until all is written, the printer has taken nothing for the send timeout, it cannot be
/// reached, or the job is being deleted. `*done` counts the bytes as they are taken.
void PrintPath::LowLevelWrite(std::string_view bytes, size_t* done) {
  Connection& connection = port_.PrinterConnection();
  ConnectionUse use(connection);
  const DWORD sendTimeout = port_.SendTimeout();
  DWORD lastProgress = GetTickCount();
  for (bool again = false; *done < bytes.size(); again = true) {
    if (again && port_.JobIsDeleted()) break;
    if (connection.GetStatus(STATUS_DISCONNECTED) & STATUS_DISCONNECTED) {
      unreachable_ = true;
      break;
    }
    DWORD written = 0;
    bool success = false;
    const size_t left = bytes.size() - *done;
    try {
      success = connection.Write(bytes.data() + *done, static_cast<DWORD>(left), &written);
    } catch (...) {
      *done += std::min<size_t>(written, left);
      throw;
    }
    *done += std::min<size_t>(written, left);
    if (success && written > 0) {
      lastProgress = GetTickCount();
    } else if (GetTickCount() - lastProgress > sendTimeout) {
      timedOut_ = true;
      break;
    }
  }
}

}  // namespace portwise
