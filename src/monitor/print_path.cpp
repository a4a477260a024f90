#include "monitor/print_path.h"

#include <algorithm>
#include <climits>

#include "connection/connection.h"
#include "core/synchronizer.h"
#include "monitor/port_context.h"
#include "monitor/spooler_queries.h"
#include "xpml/request.h"

namespace portwise {
namespace {

/// How long the printer may take nothing before a write gives up, in milliseconds.
constexpr DWORD kSendTimeout = 30000;

/// Holds a connection for the length of a write burst.
class ConnectionUse {
 public:
  explicit ConnectionUse(Connection& connection) : connection_(connection) { connection_.Lock(); }
  ~ConnectionUse() { connection_.Unlock(); }
  ConnectionUse(const ConnectionUse&) = delete;
  ConnectionUse& operator=(const ConnectionUse&) = delete;

 private:
  Connection& connection_;
};

}  // namespace

PrintPath::PrintPath(PortContext& port) : port_(port) {
  document_.SetTextHandler(WritePlainText, this);
  RegisterPortCommands(&port, document_);
}

void PrintPath::BeginJob() {
  document_.Reset();
  skipCount_ = 0;
}

bool PrintPath::EndJob() {
  timedOut_ = unreachable_ = false;
  return DeliverPending();
}

BOOL PrintPath::Write(const BYTE* buffer, DWORD size, DWORD* written) {
  *written = 0;
  timedOut_ = unreachable_ = false;
  size = std::min<DWORD>(size, INT_MAX);
  const DWORD skipped = std::min(size, skipCount_);
  if (!DeliverPending()) {
    SetLastError(ERROR_IO_DEVICE);
    return FALSE;
  }
  skipCount_ -= skipped;
  if (size == skipped) {
    *written = size;
    return TRUE;
  }
  return Parse(buffer + skipped, size - skipped, skipped, written);
}

BOOL PrintPath::Parse(const BYTE* buffer, DWORD size, DWORD skipped, DWORD* written) {
  int consumed = 0;
  document_.Parse(reinterpret_cast<const char*>(buffer), static_cast<int>(size), &consumed);
  if (timedOut_ || unreachable_) {
    skipCount_ = static_cast<DWORD>(consumed);
    *written = skipped;
    if (timedOut_) SetLastError(ERROR_IO_DEVICE);
    return FALSE;
  }
  *written = skipped + size;
  return TRUE;
}

/// The document's text handler. What is not written becomes pending output, which stops the parser.
bool PrintPath::WritePlainText(XPML_Document& document, void* path) {
  const std::string_view bytes = document.PlainText();
  const size_t written = static_cast<PrintPath*>(path)->LowLevelWrite(bytes);
  if (written < bytes.size()) document.SetPending(bytes.substr(written));
  return true;
}

bool PrintPath::DeliverPending() {
  PendingOutput* pending = document_.Pending();
  if (!pending) return true;
  const auto written =
      static_cast<DWORD>(LowLevelWrite(std::string_view(pending->data.get() + pending->offset, pending->length)));
  pending->offset += written;
  pending->length -= written;
  if (pending->length > 0) return false;
  document_.FreePending();
  return true;
}

/// Writes to the connection until all is written, the printer has taken nothing for the send timeout, it cannot be
/// reached, or the job is being deleted. Returns the bytes written.
size_t PrintPath::LowLevelWrite(std::string_view bytes) {
  Connection& connection = port_.PrinterConnection();
  ConnectionUse use(connection);
  DWORD lastProgress = GetTickCount();
  size_t done = 0;
  for (bool again = false; done < bytes.size(); again = true) {
    if (again && (JobStatus(port_.PrinterName(), port_.JobId()) & (JOB_STATUS_DELETING | JOB_STATUS_DELETED))) break;
    if (connection.GetStatus(STATUS_DISCONNECTED) & STATUS_DISCONNECTED) {
      unreachable_ = true;
      break;
    }
    DWORD written = 0;
    const bool success = connection.Write(bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &written);
    done += written;
    if (success && written > 0) {
      lastProgress = GetTickCount();
    } else if (GetTickCount() - lastProgress > kSendTimeout) {
      timedOut_ = true;
      break;
    }
  }
  return done;
}

}  // namespace portwise
